#include "Known.h"

#include "Needs.h"
#include "messages.h"
#include "regularFile.h"
#include "saving.h"
#include "utf8.h"

#include <QFile>
#include <QIODevice>

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// The longest message of which a pattern is made. To compile one takes time that grows with the
/// square of its length.
constexpr int longestMessage = 2000;

bool isBlank(QChar character)
{
    return character == QLatin1Char(' ') || character == QLatin1Char('\t');
}

/// What stands in a run's name for a character, behind a backslash; itself where there is no row.
constexpr struct {
    char character;
    char written;
} escapes[] = {
    {'\n', 'n'},
    {'\r', 'r'},
};

/// The character that \a written means behind a backslash.
QChar unescaped(QChar written)
{
    for (const auto &escape : escapes) {
        if (written == QLatin1Char(escape.written))
            return QLatin1Char(escape.character);
    }
    return written;
}

/// \a run as it is written in a line.
QString escaped(const QString &run)
{
    static const QString special = QStringLiteral(" \t\\\n\r");
    QString name;
    for (const QChar character : run) {
        const bool isMark = name.isEmpty() && character == QLatin1Char('#');
        if (isMark || special.contains(character))
            name += QLatin1Char('\\');
        const auto *const escape = std::find_if(std::begin(escapes), std::end(escapes),
            [character](const auto &row) { return character == QLatin1Char(row.character); });
        name += escape == std::end(escapes) ? character : QLatin1Char(escape->written);
    }
    return name;
}

/// Takes a run's name from the front of \a line, and the blanks behind it. What is left begins with
/// the pattern.
QString takeName(QString &line)
{
    QString name;
    decltype(line.size()) index = 0;
    for (; index < line.size() && !isBlank(line[index]); ++index) {
        const bool isEscape = line[index] == QLatin1Char('\\') && index + 1 < line.size();
        name += isEscape ? unescaped(line[++index]) : line[index];
    }
    while (index < line.size() && isBlank(line[index]))
        ++index;
    line.remove(0, index);
    return name;
}

} // namespace

bool Known::read(const QByteArray &suiteDirectory, QStringList &problems)
{
    path = suiteDirectory + '/' + knownFileName;
    patterns.clear();
    QByteArray content;
    QString problem;
    if (!readContent(content, problem)) {
        problems += problem;
        return false;
    }
    content.remove(0, static_cast<int>(byteOrderMarkLength(content.toStdString())));
    const auto before = problems.size();
    int number = 0;
    for (const QByteArray &line : content.replace('\r', QByteArray()).split('\n')) {
        ++number;
        if (!readLine(line, problem))
            problems += QStringLiteral("%1:%2: %3")
                            .arg(QLatin1String(knownFileName))
                            .arg(number)
                            .arg(problem);
    }
    return problems.size() == before;
}

/// Reads the file into \a content, which stays empty if there is none.
bool Known::readContent(QByteArray &content, QString &problem) const
{
    QFile file;
    struct stat status = {};
    if (openRegular(file, path)) {
        content = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return true;
        problem = file.errorString();
    } else if (const int error = errno; error == ENOENT && lstat(path, &status) != 0) {
        return true;
    } else {
        problem = reasonOf(error);
    }
    problem = QStringLiteral("cannot read '%1': %2").arg(QLatin1String(knownFileName), problem);
    return false;
}

bool Known::readLine(const QByteArray &line, QString &problem)
{
    QString text = decoded(line.toStdString());
    if (text.toUtf8() != line) {
        problem = QStringLiteral("the line is not UTF-8");
        return false;
    }
    while (!text.isEmpty() && isBlank(text[0]))
        text.remove(0, 1);
    if (text.isEmpty() || text.startsWith(QLatin1Char('#')))
        return true;
    const QString run = takeName(text);
    problem = text.isEmpty() ? QStringLiteral("a pattern is missing behind '%1'").arg(run)
                             : problemOfPattern(text);
    if (problem.isNull())
        patterns[run] += text;
    return problem.isNull();
}

QString Known::problemOfWriting() const
{
    return problemOfSaving(QFile::decodeName(path));
}

bool Known::isKnown(const Failure &failure) const
{
    const QStringList those = patternsOf(failure.run);
    return std::any_of(those.begin(), those.end(),
        [&failure](const QString &pattern) { return matchesMessage(pattern, failure.message); });
}

bool Known::add(const std::vector<Failure> &failures, QStringList &problems)
{
    const auto before = problems.size();
    QByteArray content; // once more, since somebody may have edited the file meanwhile
    QString problem;
    if (!readContent(content, problem)) {
        problems += problem;
        return false;
    }
    if (!content.isEmpty() && !content.endsWith('\n'))
        content += '\n';
    const auto start = content.size();
    for (const Failure &failure : failures) {
        if (isKnown(failure))
            continue;
        const QString pattern = patternOfMessage(failure.message);
        if (pattern.isNull()) {
            problems +=
                QStringLiteral("the message of '%1' is too long for a pattern").arg(failure.run);
            continue;
        }
        content += escaped(failure.run).toUtf8() + ' ' + pattern.toUtf8() + '\n';
        patterns[failure.run] += pattern;
    }
    const auto write = [&content](
                           QIODevice &file) { return file.write(content) == content.size(); };
    if (content.size() > start && !saveFile(QFile::decodeName(path), write, problem))
        problems += problem;
    return problems.size() == before;
}

QString patternOfMessage(const QString &message)
{
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}");
    if (message.size() > longestMessage)
        return {};
    QString pattern = QStringLiteral("^");
    for (const QChar character : message) {
        if (special.contains(character))
            pattern += QLatin1Char('\\');
        // What has no place in a line of text, or none in UTF-8.
        if (character.unicode() < 0x20 || character.isSurrogate())
            pattern += QStringLiteral("\\x%1").arg(
                static_cast<int>(character.unicode()), 4, 16, QLatin1Char('0'));
        else
            pattern += character;
    }
    pattern += QLatin1Char('$');
    const bool isPossible = problemOfPattern(pattern).isNull() && matchesMessage(pattern, message);
    return isPossible ? pattern : QString();
}

} // namespace Talmo

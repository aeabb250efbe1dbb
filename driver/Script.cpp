// A script begins with its heading. The line after it may select simulation programs; otherwise it
// is the first line to run. All that is known of a script before it runs is found out here.

#include "Script.h"

#include "PatternCost.h"
#include "commands.h"

#include <QFile>
#include <QRegExp>

#include <algorithm>

namespace Talmo
{

namespace
{

/// True if \a pattern, a wildcard, is a plain name. Then it is not compiled, which takes time that
/// grows with the square of its length.
bool isPlainName(const QString &pattern)
{
    return std::none_of(pattern.begin(), pattern.end(),
        [](QChar character) { return character == '*' || character == '?' || character == '['; });
}

} // namespace

bool Script::open(const QByteArray &path)
{
    fileName = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
    isRead = reader.open(path);
    if (!isRead) {
        error = QStringLiteral("Cannot read file") + reader.remark();
        return false;
    }
    heading = reader.readLine();
    if (!heading.startsWith(QLatin1Char('='))) {
        error = QStringLiteral("Invalid test file");
        return false;
    }
    readPatterns();
    return error.isNull();
}

/// Reads the line after the heading, unless it is the first one to run.
void Script::readPatterns()
{
    start = reader.position();
    const QString line = reader.readLine().simplified();
    // Deliberate: a longer word that begins with this one selects programs, too.
    if (!line.startsWith(QLatin1String("=simprogram")))
        return;
    start = reader.position();
    patterns = QStringList();
    const QStringList words = line.split(QLatin1Char(' ')).mid(1);
    for (const QString &pattern : words) {
        // Were it passed over, the script would pass without running.
        if (!isPlainName(pattern) && !isAffordableWildcard(pattern)) {
            error = QStringLiteral("Invalid =simprogram pattern");
            return;
        }
        *patterns += pattern;
    }
}

ScriptReader &Script::linesToRun()
{
    reader.seek(start);
    return reader;
}

/// Calls back for each line from the first one to run on, and behind a line that has the text of a
/// file for that text.
void Script::walk(const std::function<void(const ScriptLine &)> &onLine,
    const std::function<void(const FileBody &)> &onBody) const
{
    ScriptReader lines = reader; // it shares the text
    lines.seek(start);
    qint64 number = 1 + lines.linesBetween(0, start); // of the line at hand
    for (;;) {
        const size_t lineStart = lines.position();
        const QString line = lines.readLine();
        if (line.isNull())
            return;
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        onLine({number, words[0].isEmpty() ? QStringList() : words, line});
        const Command *const command = commandOf(words[0]);
        const bool hasBody = command != nullptr && command->following == FollowingLines::AreBody;
        if (hasBody && words.size() >= command->leastWords) {
            const size_t bodyStart = lines.position();
            const std::string_view text = lines.readUntil("=");
            const bool isCut = !text.empty() && text.back() != '\n'; // the script's last line
            const qint64 length = lines.linesBetween(bodyStart, lines.position()) + (isCut ? 1 : 0);
            onBody({words[1], number, number + 1 + length, text});
        }
        number += lines.linesBetween(lineStart, lines.position());
    }
}

std::vector<ScriptLine> Script::lines() const
{
    std::vector<ScriptLine> found;
    walk([&found](const ScriptLine &line) { found.push_back(line); }, [](const FileBody &) {});
    return found;
}

std::vector<FileBody> Script::bodies() const
{
    std::vector<FileBody> found;
    walk([](const ScriptLine &) {}, [&found](const FileBody &body) { found.push_back(body); });
    return found;
}

QStringList programsMatching(const QString &pattern, const QStringList &configured)
{
    const bool isName = isPlainName(pattern);
    const QRegExp wildcard(isName ? QString() : pattern, Qt::CaseSensitive, QRegExp::Wildcard);
    QStringList names;
    for (const QString &name : configured) {
        if (isName ? name == pattern : wildcard.exactMatch(name))
            names += name;
    }
    return names;
}

QStringList programsFor(const Script &script, const QStringList &configured)
{
    if (!script.programPatterns())
        return {QString()};
    QStringList programs;
    for (const QString &pattern : *script.programPatterns())
        programs += programsMatching(pattern, configured);
    return programs;
}

} // namespace Talmo

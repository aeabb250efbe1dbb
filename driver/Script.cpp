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

/// Those of \a configured whose whole name matches the wildcard \a pattern.
QStringList matching(const QString &pattern, const QStringList &configured)
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

} // namespace

bool Script::open(const QByteArray &path)
{
    fileName = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
    if (!reader.open(path)) {
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
    // Deliberate: a longer word serves, too.
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

std::vector<FileBody> Script::bodies()
{
    std::vector<FileBody> found;
    reader.seek(start);
    size_t counted = 0; // up to here,
    qint64 number = 1;  // where the line of this number begins
    const auto numberOfLineAt = [&](size_t position) {
        number += reader.linesBetween(counted, position);
        counted = position;
        return number;
    };
    for (;;) {
        const size_t lineStart = reader.position();
        const QString line = reader.readLine();
        if (line.isNull())
            return found;
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        const Command *const command = commandOf(words[0]);
        const bool hasBody = command != nullptr && command->following == FollowingLines::AreBody;
        if (!hasBody || words.size() < command->leastWords)
            continue;
        FileBody body = {words[1], numberOfLineAt(lineStart), 0, reader.readUntil("=")};
        body.endLine = numberOfLineAt(reader.position());
        found.push_back(body);
    }
}

QStringList programsFor(const Script &script, const QStringList &configured)
{
    if (!script.programPatterns())
        return {QString()};
    QStringList programs;
    for (const QString &pattern : *script.programPatterns())
        programs += matching(pattern, configured);
    return programs;
}

} // namespace Talmo

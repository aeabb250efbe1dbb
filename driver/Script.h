#pragma once

#include "ScriptReader.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace Talmo
{

/// The text of a file that a script holds behind a "=file" line. The numbers of lines are those of
/// the script's file, also if its lines end with carriage returns, which the text does not have.
struct FileBody {
    QString name;          ///< as the "=file" line has it; "$simProgram" is not replaced
    qint64 line;           ///< the number of that line, from 1; the text begins on the next one
    qint64 endLine;        ///< the number of the line behind the text, whether there is one or not
    std::string_view text; ///< valid as long as the script
};

/// A line of a script outside the texts of files, as the driver reads it.
struct ScriptLine {
    qint64 number;     ///< from 1
    QStringList words; ///< of the simplified line, "$simProgram" not replaced; none if it is empty
    QString text;      ///< the line itself

    bool isComment() const { return !words.isEmpty() && words[0].startsWith(QLatin1Char('#')); }
    bool isCommand() const { return !words.isEmpty() && !isComment(); }
};

/// A test script: what its first lines say, and where its parts begin.
class Script
{
public:
    /// Reads the script \a path, an absolute path as the system takes it. False if it cannot be
    /// run; problem() then says why.
    bool open(const QByteArray &path);

    /// Why the script cannot be run, as a message; null if it can.
    const QString &problem() const { return error; }

    /// Whether the file could be read. If not, that is the problem, and nothing else is known.
    bool wasRead() const { return isRead; }

    /// The name of the file, without its folder.
    const QString &name() const { return fileName; }

    /// The heading, the script's first line, without its "=".
    QString description() const { return heading.mid(1); }

    /// The wildcards that select the simulation programs which the script runs for; none if it runs
    /// once, without a program. If one needs too much time or memory, those before it.
    const std::optional<QStringList> &programPatterns() const { return patterns; }

    /// The script's lines, from the first one to run.
    ScriptReader &linesToRun();

    /// The lines from the first one to run on, without the texts of files; also those for other
    /// platforms.
    std::vector<ScriptLine> lines() const;

    /// The files that the script holds, in their order, also those for other platforms.
    std::vector<FileBody> bodies() const;

    /// Everything in the script's file, in its own bytes; valid as long as the script.
    std::string_view text() const { return reader.text(); }

private:
    void readPatterns();
    void walk(const std::function<void(const ScriptLine &)> &onLine,
        const std::function<void(const FileBody &)> &onBody) const;

    ScriptReader reader;
    QString fileName;
    QString heading;
    std::optional<QStringList> patterns;
    size_t start = 0; ///< of the first line to run
    bool isRead = false;
    QString error;
};

/// The programs out of \a configured that \a script runs for, pattern after pattern, each in the
/// order of \a configured; one empty name if the script runs without a program. A program that two
/// patterns match is there twice.
QStringList programsFor(const Script &script, const QStringList &configured);

/// Those of \a configured whose whole name matches \a pattern, one of Script::programPatterns().
QStringList programsMatching(const QString &pattern, const QStringList &configured);

} // namespace Talmo

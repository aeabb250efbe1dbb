#pragma once

#include "PlainCompare.h"

#include <QFile>
#include <QHash>
#include <QRegExp>
#include <QString>
#include <QStringList>

#include <optional>

/// Acts out a script by the manual alone, with files in memory. It shares nothing with the driver.
/// It does not know =run and =testbeam.
class PlainScript
{
public:
    /// The \a script is at \a path, and \a programs are configured. Its file names must not lead to
    /// other directories.
    PlainScript(const QByteArray &script, const QString &path, const QStringList &programs)
        : lines(PlainCompare::linesOf(script))
        , scriptPath(path)
        , configured(programs)
    {
    }

    /// Acts out the script. Returns false if the script needs what is not known here.
    bool run();

    QByteArray output;
    bool passed = true;
    QStringList keptDirectories; ///< in ascending order

private:
    struct Settlement {
        QString error; ///< null while all is well
        std::optional<QString> expectedFailure;
    };

    static QString decoded(const QByteArray &line)
    {
        const QByteArray guarded = '!' + line;
        return QString::fromUtf8(guarded.constData(), guarded.size()).mid(1);
    }

    /// \a text as printf prints it, which is up to a NUL.
    static QByteArray printed(const QString &text) { return qPrintable(text); }

    QStringList selectPrograms(int &first) const;
    void runOnce(int first, const QString &program);
    QString runLines(int first, const QString &program);
    Settlement perform(const QStringList &words, const QString &line);
    QString performFile(const QStringList &words);
    QString performPlatform(const QStringList &words);
    QString performCompare(const QStringList &words) const;
    bool isWritable(const QString &name) const;

    QList<QByteArray> lines;
    QString scriptPath;
    QStringList configured;
    int next = 0; ///< index of the line that comes next
    int debug = 0;
    bool isKnown = true;
    QHash<QString, QByteArray> files;
};

inline bool PlainScript::run()
{
    if (lines.isEmpty() || !decoded(lines[0]).startsWith('=')) {
        output = printed(scriptPath) + ": ***ERROR: Invalid test file\n";
        passed = false;
        return true;
    }
    int first = 1;
    const QStringList programs = selectPrograms(first);
    if (programs.isEmpty())
        output = printed(scriptPath) + ": No applicable SimPrograms\n";
    if (programs.size() > 6) // the output could be larger than the file that takes it may be
        return false;
    for (const QString &program : programs)
        runOnce(first, program);
    keptDirectories.removeDuplicates();
    keptDirectories.sort();
    return isKnown;
}

inline QStringList PlainScript::selectPrograms(int &first) const
{
    const QString line = lines.size() > 1 ? decoded(lines[1]).simplified() : QString();
    if (!line.startsWith("=simprogram"))
        return {QString()};
    first = 2;
    QStringList programs;
    const QStringList patterns = line.split(QLatin1Char(' ')).mid(1);
    for (const QString &pattern : patterns) {
        for (const QString &program : configured) {
            if (QRegExp(pattern, Qt::CaseSensitive, QRegExp::Wildcard).exactMatch(program))
                programs.append(program);
        }
    }
    return programs;
}

inline void PlainScript::runOnce(int first, const QString &program)
{
    QString name = scriptPath.section('/', -1);
    if (!program.isEmpty())
        name += "(" + program + ")";
    if (debug > 0)
        output += "==== start test " + printed(name) + '\n';
    const QString directory = name + ".dir";
    keptDirectories.removeAll(directory);
    const QString error = runLines(first, program);
    if (debug > 0)
        output += "==== end test " + printed(name) + '\n';
    if (!error.isNull()) {
        output += printed(name) + ": ***ERROR: " + printed(error) + '\n';
        passed = false;
        keptDirectories.append(directory);
        return;
    }
    output += printed(name) + ": " + printed(decoded(lines[0]).mid(1)) + '\n';
    if (debug > 0)
        keptDirectories.append(directory);
    --debug;
}

inline QString PlainScript::runLines(int first, const QString &program)
{
    files.clear();
    std::optional<QString> expectedFailure;
    for (next = first; next < lines.size();) {
        const QString line = decoded(lines[next]).replace("$simProgram", program);
        ++next;
        if (debug > 0)
            output += "==== line='" + printed(line) + "'\n";
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        if (words[0].isEmpty() || words[0].startsWith('#'))
            continue;
        Settlement settled = perform(words, line);
        const bool fails = !settled.error.isNull();
        if (expectedFailure && QRegExp(*expectedFailure).indexIn(settled.error) >= 0)
            settled.error = QString();
        else if (expectedFailure && !fails)
            settled.error = "Command should have failed";
        expectedFailure = settled.expectedFailure;
        if (settled.error.isNull())
            continue;
        if (debug > 0)
            output += "***errorMsg=" + printed(settled.error) + '\n';
        return settled.error;
    }
    return {};
}

inline PlainScript::Settlement PlainScript::perform(const QStringList &words, const QString &line)
{
    const QString &command = words[0];
    if (command == "=file")
        return {performFile(words), {}};
    if (command == "=platform")
        return {performPlatform(words), {}};
    if (command == "=compare")
        return {performCompare(words), {}};
    if (command == "=meanandsigma")
        return {"=meanandsigma UNIMPLEMENTED", {}};
    if (command == "=exists") {
        if (words.size() != 2)
            return {"Invalid =exists command", {}};
        const bool exists = words[1] == "." || files.contains(words[1]);
        return {exists ? QString() : "File '" + words[1] + "' does not exist", {}};
    }
    if (command == "=echo") {
        output += printed(words.mid(1).join(' ')) + '\n';
        return {};
    }
    if (command == "=debug") {
        ++debug;
        return {};
    }
    if (command == "=ignore") {
        QString pattern = line;
        while (line.startsWith("=ignore ") && pattern.size() > 7 && pattern[7] == ' ')
            pattern.remove(7, 1);
        return {{}, line.startsWith("=ignore ") ? pattern.mid(7) : line};
    }
    isKnown = isKnown && command != "=run" && command != "=testbeam";
    return {"Unknown test command '" + command + "'", {}};
}

inline bool PlainScript::isWritable(const QString &name) const
{
    return name != "." && !name.contains(QChar(u'\0')) && QFile::encodeName(name).size() <= 255;
}

inline QString PlainScript::performFile(const QStringList &words)
{
    if (words.size() < 2)
        return "Invalid =file command";
    if (!isWritable(words[1]))
        return "Cannot write file '" + words[1] + "'";
    QByteArray &content = files[words[1]];
    content.clear();
    for (; next < lines.size() && !lines[next].startsWith('='); ++next)
        content += lines[next] + '\n';
    return {};
}

inline QString PlainScript::performPlatform(const QStringList &words)
{
    const QStringList platforms = {"WINDOWS", "LINUX", "DARWIN"};
    for (const QString &word : words.mid(1)) {
        if (!platforms.contains(word))
            return "Invalid platform '" + word + "'";
    }
    if (words.size() > 1 && !words.contains("LINUX")) {
        while (next < lines.size() && !lines[next].startsWith("=platform"))
            ++next;
    }
    return {};
}

inline QString PlainScript::performCompare(const QStringList &words) const
{
    if (words.size() < 3)
        return "Invalid =compare command";
    for (const QString &name : {words[1], words[2]}) {
        if (!files.contains(name))
            return "Cannot read file '" + name + "'";
    }
    QString problem = PlainCompare::outcome(files[words[1]], files[words[2]], words.mid(3));
    if (problem.isEmpty())
        return {};
    if (problem.startsWith("Invalid"))
        return problem;
    const QString files1 = "'" + words[1] + "' and";
    const QString files2 = " '" + words[2] + "' ";
    if (problem.startsWith("comment"))
        return "File " + files1 + files2 + problem;
    if (problem.startsWith("too few") || problem.startsWith("invalid"))
        return "File " + files1 + "/or" + files2 + "has " + problem;
    return "Files " + files1 + files2 + problem;
}

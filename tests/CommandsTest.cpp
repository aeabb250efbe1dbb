#include "commands.h"

#include "PlainScript.h"

#include <QFile>

#include <gtest/gtest.h>

// Every row of the table of commands, held against the manual, which users read, and against the
// plain interpreter, which the fuzzer takes for the truth.

namespace
{

QStringList linesOfManual()
{
    QFile file(MANUAL_OF_SCRIPTS);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll()).split('\n');
}

/// The lines of the manual from the heading of the command \a name to the next heading; empty if it
/// has none.
QStringList sectionOf(const QString &name)
{
    const QStringList lines = linesOfManual();
    const int heading = static_cast<int>(lines.indexOf("### " + name));
    int end = heading + 1;
    while (heading >= 0 && end < lines.size() && !lines[end].startsWith("##"))
        ++end;
    return heading < 0 ? QStringList() : lines.mid(heading, end - heading);
}

/// What the plain interpreter prints for a script of \a lines; null if it does not know them all.
QByteArray playPlainly(const QByteArray &lines)
{
    PlainScript script("=heading\n\n" + lines, "script", {});
    return script.run() ? script.output : QByteArray();
}

/// The command \a name with words enough for \a count in all. Each names a file that is there.
QByteArray lineOf(const char *name, int count)
{
    QByteArray line = name;
    for (int word = 1; word < count; ++word)
        line += " file";
    return line + '\n';
}

/// What stands before a line, so that the plain interpreter can carry it out.
QByteArray preparationOf(const Command &command)
{
    const bool alwaysFails = QByteArray("=meanandsigma") == command.name;
    return QByteArray("=file file\n1\n") + (alwaysFails ? "=ignore UNIMPLEMENTED\n" : "");
}

/// What the plain interpreter leaves out, since it runs no programs and writes no beams.
bool isLeftOut(const Command &command)
{
    return QByteArray("=run") == command.name || QByteArray("=testbeam") == command.name;
}

constexpr int manyWords = 14;

} // namespace

TEST(Commands, AreThoseOfTheManual)
{
    QStringList inManual;
    for (const QString &line : linesOfManual()) {
        if (line.startsWith("### ="))
            inManual += line.mid(4);
    }
    QStringList inTable;
    for (const Command &command : commands)
        inTable += command.name;
    EXPECT_EQ(inTable.join(' ').toStdString(), inManual.join(' ').toStdString());
}

TEST(Commands, AreUsedAsTheManualShows)
{
    for (const Command &command : commands) {
        SCOPED_TRACE(command.name);
        const QStringList section = sectionOf(command.name);
        QStringList shown;
        for (const QString &line : section) {
            if (line.startsWith(QString("    ") + command.name))
                shown += line.trimmed();
        }
        EXPECT_EQ(shown.join('\n').toStdString(), command.usage);
    }
}

TEST(Commands, TheManualTellsWhatIsSaidOfAWrongNumberOfWords)
{
    for (const Command &command : commands) {
        SCOPED_TRACE(command.name);
        const bool canBeWrong = command.leastWords > 1 || command.mostWords < Command::unlimited;
        ASSERT_EQ(canBeWrong, command.wrongCount != nullptr);
        const QString message = QString("- `%1`").arg(command.wrongCount);
        EXPECT_EQ(sectionOf(command.name).filter(message).size(), canBeWrong ? 1 : 0);
    }
}

TEST(Commands, TheirUsageTellsHowManyWordsTheyTake)
{
    for (const Command &command : commands) {
        SCOPED_TRACE(command.name);
        const QStringList words = QString(command.usage).section('\n', 0, 0).split(' ');
        int needed = 0;
        while (needed < words.size() && !words[needed].startsWith('['))
            ++needed;
        // Deliberate: without a pattern, =ignore takes its own line for one.
        EXPECT_EQ(command.leastWords, QByteArray("=ignore") == command.name ? 1 : needed);
        EXPECT_TRUE(command.mostWords == Command::unlimited || command.mostWords == needed);
    }
}

TEST(Commands, ThePlainInterpreterTakesAsManyWords)
{
    for (const Command &command : commands) {
        for (int count = 1; count <= manyWords; ++count) {
            const QByteArray line = lineOf(command.name, count);
            SCOPED_TRACE(line.toStdString());
            const QByteArray output = playPlainly(preparationOf(command) + line);
            ASSERT_EQ(output.isNull(), isLeftOut(command));
            const bool isWrong = count < command.leastWords || count > command.mostWords;
            const bool isCalledWrong =
                command.wrongCount != nullptr && output.contains(command.wrongCount);
            EXPECT_EQ(isCalledWrong, isWrong && !isLeftOut(command)) << output.toStdString();
            EXPECT_FALSE(output.contains("Unknown test command"));
        }
    }
}

TEST(Commands, ThePlainInterpreterKnowsNoOthers)
{
    for (const char *const name : {"=files", "=Echo", "=", "echo", "=simprogram", "=filex"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(commandOf(name), nullptr);
        EXPECT_TRUE(playPlainly(lineOf(name, 2))
                        .contains("Unknown test command '" + QByteArray(name) + "'"));
    }
}

TEST(Commands, ThePlainInterpreterDoesTheSameWithTheLinesThatFollow)
{
    for (const Command &command : commands) {
        if (isLeftOut(command))
            continue;
        SCOPED_TRACE(command.name);
        const bool maySkip = command.following == FollowingLines::MayBeSkipped;
        const QByteArray line =
            maySkip ? QByteArray("=platform DARWIN\n") : lineOf(command.name, command.leastWords);
        const QByteArray output = playPlainly(
            preparationOf(command) + line + "next\n=echo behind\n=platform\n=echo at the end\n");
        // The line "next" would be an unknown command, at which the script ends.
        const bool isNext = command.following == FollowingLines::AreNext;
        EXPECT_EQ(output.contains("'next'"), isNext);
        EXPECT_EQ(output.contains("at the end"), !isNext);
        EXPECT_EQ(output.contains("behind"), command.following == FollowingLines::AreBody);
    }
}

#include "Sessions.h"

#include "Printing.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <vector>

namespace
{

/// A block between lines of three backquotes.
struct Block {
    QByteArray kind; ///< what stands behind the first backquotes
    QList<QByteArray> lines;
};

/// A command, and what it prints and how it ends by the manual.
struct Step {
    QByteArray command;
    QByteArray output;
    QByteArray status;
};

const QByteArray session = "session";

std::vector<Block> blocksOf(const QString &manual)
{
    QFile file(manual);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << manual.toStdString();
    std::vector<Block> blocks;
    bool isInside = false;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("```")) {
            isInside = !isInside;
            if (isInside)
                blocks.push_back({line.mid(3), {}});
        } else if (isInside) {
            blocks.back().lines += line;
        }
    }
    return blocks;
}

void appendSteps(const Block &block, std::vector<Step> &steps)
{
    const QList<QByteArray> statuses = block.kind.split(' ').mid(1);
    int count = 0;
    bool isContinued = false;
    for (const QByteArray &line : block.lines) {
        if (isContinued)
            steps.back().command += '\n' + line;
        else if (line.startsWith("$ "))
            steps.push_back({line.mid(2), {}, statuses.value(count++, "0")});
        else if (count > 0)
            steps.back().output += line + '\n';
        else
            ADD_FAILURE() << "A session begins with no command: " << line.toStdString();
        isContinued = line.endsWith('\\') && (isContinued || line.startsWith("$ "));
    }
    EXPECT_GE(count, statuses.size())
        << "More statuses than commands: " << block.kind.toStdString();
}

void writeFile(const Block &block, const QString &work)
{
    QFile file(work + '/' + QString::fromUtf8(block.kind.mid(5)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(block.lines.join('\n') + '\n');
}

/// What differs from one machine and one day to the next becomes the same.
QString comparable(const QByteArray &printed)
{
    static const QRegularExpression duration(QStringLiteral("^([0-9]+ runs? in )[0-9.]+ s(?=:)"),
        QRegularExpression::MultilineOption); // as "talmo run" ends
    static const QRegularExpression time(
        QStringLiteral("[0-9]{4}-[0-9]{2}-[0-9]{2}[T ][0-9:.]+( ?[+-][0-9:]+|Z)?"));
    return QString::fromUtf8(printed)
        .replace(duration, QStringLiteral("\\1 0 s"))
        .replace(time, QStringLiteral("TIME"));
}

/// The pattern that what was printed must match where the manual has \a shown.
QRegularExpression patternFor(const QByteArray &shown)
{
    QString pattern = QRegularExpression::escape(comparable(shown));
    pattern.replace(
        QRegularExpression::escape(QStringLiteral("[...]\n")), QStringLiteral("(.*\n)?"));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
        QRegularExpression::DotMatchesEverythingOption);
}

/// What each of \a steps prints when a shell takes one after the other; and, behind a byte 2, the
/// exit status with which it ends.
QList<QByteArray> printedBy(
    const std::vector<Step> &steps, const Environment &environment, const QString &work)
{
    QByteArray lines = "exec 2>&1\nlast=0\n";
    for (const Step &step : steps)
        lines += "printf '\\001'\n(exit $last)\n" + step.command + // it may ask for $?
                 "\nlast=$?\nprintf '\\002%d' $last\n";
    const Outcome outcome = runProcess(
        QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromUtf8(lines)}, environment, work);
    return outcome.output.mid(1).split('\001');
}

} // namespace

int expectSessions(
    const QString &manual, const Environment &environment, const QString &work, const QString &home)
{
    std::vector<Step> steps;
    for (const Block &block : blocksOf(manual)) {
        if (block.kind.split(' ')[0] == session)
            appendSteps(block, steps);
        else if (block.kind.startsWith("file "))
            writeFile(block, work);
    }
    const QList<QByteArray> printed = printedBy(steps, environment, work);
    EXPECT_EQ(printed.size(), static_cast<int>(steps.size()));
    for (int index = 0; index < printed.size() && index < static_cast<int>(steps.size()); ++index) {
        const Step &step = steps[static_cast<size_t>(index)];
        const QList<QByteArray> parts = printed[index].split('\002');
        QByteArray output = parts[0];
        EXPECT_EQ(parts.value(1), step.status)
            << "is the exit status of $ " << step.command.toStdString();
        output.replace(home.toUtf8(), "/home/me");
        if (!patternFor(step.output).match(comparable(output)).hasMatch())
            ADD_FAILURE() << "$ " << step.command.toStdString() << "\nprints\n"
                          << output.toStdString() << "and the manual shows\n"
                          << step.output.toStdString();
    }
    return static_cast<int>(steps.size());
}

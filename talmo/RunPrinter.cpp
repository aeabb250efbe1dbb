#include "RunPrinter.h"

#include "Descriptor.h"
#include "counts.h"
#include "messages.h"

#include <QFile>

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr char red[] = "31";
constexpr char yellow[] = "33";
constexpr char green[] = "32";
constexpr char indentation[] = "    ";

/// Prints the bytes of \a part, and a newline if they do not end with one.
void print(const FilePart &part)
{
    char last = '\n';
    forEachBlock(part, [&last](const char *bytes, size_t count) {
        last = bytes[count - 1];
        return std::fwrite(bytes, 1, count, stdout) == count;
    });
    if (last != '\n')
        std::putchar('\n');
}

/// The runs with \a state.
std::vector<const RunRecord *> those(const std::vector<RunRecord> &runs, RunState state)
{
    std::vector<const RunRecord *> found;
    for (const RunRecord &run : runs) {
        if (run.state == state)
            found.push_back(&run);
    }
    return found;
}

/// How many characters a line of the terminal has.
int terminalWidth()
{
    constexpr int usual = 80;
    winsize size = {};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : usual;
}

void printFailures(const std::vector<RunRecord> &runs)
{
    const auto failed = those(runs, RunState::Failed);
    if (!failed.empty())
        std::puts("\nFailed:");
    for (const RunRecord *const run : failed) {
        std::printf("  %s: %s", qPrintable(run->name), qPrintable(run->message));
        if (!run->directory.isNull())
            std::printf(" [%s]", qPrintable(run->directory));
        std::puts("");
    }
}

void printNotRun(const std::vector<RunRecord> &runs)
{
    constexpr size_t most = 20;
    const auto notRun = those(runs, RunState::NotRun);
    if (!notRun.empty())
        std::puts("\nNot run:");
    for (size_t index = 0; index < std::min(most, notRun.size()); ++index)
        std::printf(
            "  %s: %s\n", qPrintable(notRun[index]->name), qPrintable(notRun[index]->message));
    if (notRun.size() > most)
        std::printf("  and %zu more\n", notRun.size() - most);
}

void printSlowest(const std::vector<RunRecord> &runs)
{
    constexpr size_t most = 5;
    std::vector<const RunRecord *> made;
    for (const RunRecord &run : runs) {
        if (run.attempts > 0)
            made.push_back(&run);
    }
    if (made.size() < 2)
        return;
    const size_t shown = std::min(most, made.size());
    std::partial_sort(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(shown), made.end(),
        [](const RunRecord *one, const RunRecord *other) { return one->seconds > other->seconds; });
    std::puts("\nSlowest:");
    for (size_t index = 0; index < shown; ++index)
        std::printf("  %8s  %s\n", qPrintable(durationOf(made[index]->seconds)),
            qPrintable(made[index]->name));
}

} // namespace

RunPrinter::RunPrinter(size_t itsTotal, bool isToldAll)
    : total(itsTotal)
    , isVerbose(isToldAll)
    , isTerminal(isatty(STDOUT_FILENO) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR") &&
                 qgetenv("TERM") != "dumb")
{
}

QByteArray RunPrinter::coloured(const QByteArray &text, const char *colour) const
{
    return isTerminal ? QByteArray("\033[") + colour + 'm' + text + "\033[m" : text;
}

void RunPrinter::hideCounter()
{
    if (isTerminal)
        std::fputs("\r\033[K", stdout);
}

void RunPrinter::ended(const RunRecord &record)
{
    ++done;
    hideCounter();
    const bool isPass = record.state == RunState::Passed;
    if (isVerbose || !isPass)
        print(record.output);
    if (isPass)
        std::puts(passLine(record.name, record.heading));
    else
        std::puts(coloured(failureLine(record.name.toLocal8Bit(), record.message),
            record.state == RunState::Known ? yellow : red));
    for (const QString &detail : record.details)
        std::printf("%s%s\n", indentation, qPrintable(detail));
    if (record.state == RunState::Known)
        std::printf("%sa known failure: %s\n", indentation, qPrintable(record.knownPattern));
    else if (!isPass)
        ++failures;
    for (const QString &remark : record.remarks)
        std::printf("%s%s\n", indentation, qPrintable(remark));
    if (record.isFlaky())
        std::printf("%sflaky: it passed at attempt %d\n", indentation, record.attempts);
}

void RunPrinter::skipped(const QByteArray &path)
{
    ++done;
    hideCounter();
    std::puts(skipLine(path));
}

void RunPrinter::count(const QStringList &atWork)
{
    hideCounter();
    QString line =
        QStringLiteral("[%1/%2] %3 failed")
            .arg(QString::number(done), QString::number(total), QString::number(failures));
    if (!atWork.isEmpty())
        line += QStringLiteral("; at work: ") + atWork.join(QStringLiteral(", "));
    // A line that wraps could not be taken back.
    std::fputs(qPrintable(line.left(terminalWidth() - 1)), stdout);
    std::fflush(stdout);
}

void RunPrinter::sumUp(const RunResults &results, const Suite &suite,
    const std::vector<std::pair<size_t, LeftBehind>> &leftBehind)
{
    hideCounter();
    printFailures(results.runs);
    printNotRun(results.runs);
    printSlowest(results.runs);
    if (!leftBehind.empty())
        std::puts("\nStill running:");
    for (const auto &[run, program] : leftBehind)
        std::printf("  '%s' (process %lld), left behind by %s\n", program.name.constData(),
            static_cast<long long>(program.process), qPrintable(suite.runs[run].name));
    if (!results.interruption.isNull())
        std::printf("\n***talmo: interrupted by %s\n", qPrintable(results.interruption));
    const Counts counts = countsOf(results.runs);
    const char *const colour = counts.areWell() ? green : red;
    const QByteArray sentence = sentenceOf(counts, results.seconds).toLocal8Bit();
    std::printf("\n%s\n", coloured(sentence, colour).constData());
    std::fflush(stdout);
}

} // namespace Talmo

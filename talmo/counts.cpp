#include "counts.h"

namespace Talmo
{

Counts countsOf(const std::vector<RunRecord> &runs)
{
    Counts counts;
    for (const RunRecord &run : runs) {
        switch (run.state) {
        case RunState::Passed:
            ++(run.isFlaky() ? counts.flaky : counts.passed);
            break;
        case RunState::Failed:
            ++counts.failed;
            break;
        case RunState::Known:
            ++counts.known;
            break;
        case RunState::Skipped:
            ++counts.skipped;
            break;
        case RunState::NotRun:
            ++counts.notRun;
            break;
        }
    }
    return counts;
}

QString sentenceOf(const Counts &counts, double seconds)
{
    const auto number = [](size_t count) { return QString::number(count); };
    const QString runs = number(counts.all()) + QLatin1String(counts.all() == 1 ? " run" : " runs");
    const QString time = seconds < 0 ? QString() : QStringLiteral(" in ") + durationOf(seconds);
    return runs + time +
           QStringLiteral(": %1 passed, %2 failed, %3 known, %4 flaky, %5 skipped, %6 not run")
               .arg(number(counts.passed), number(counts.failed), number(counts.known),
                   number(counts.flaky), number(counts.skipped), number(counts.notRun));
}

QString durationOf(double seconds)
{
    constexpr double manySeconds = 10;
    return QString::number(seconds, 'f', seconds < manySeconds ? 2 : 1) + QStringLiteral(" s");
}

} // namespace Talmo

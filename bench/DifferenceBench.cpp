#include "Difference.h"

#include <QTemporaryFile>

#include <benchmark/benchmark.h>

using namespace Talmo;

namespace
{

/// Writes \a lines lines of twelve numbers, which depend only on the line and on \a shift.
void fill(QTemporaryFile &file, int64_t lines, double shift)
{
    unsigned random = 1;
    if (!file.open())
        return;
    for (int64_t line = 0; line < lines; ++line) {
        QByteArray text;
        for (int column = 0; column < 12; ++column) {
            random = random * 1664525U + 1013904223U;
            text += QByteArray::number(random / 4294967296.0 + shift, 'g', 8) + ' ';
        }
        file.write(text + '\n');
    }
    file.flush();
}

/// Bytes per second of a walk to the end of two files, which differ in \a differences places on
/// each line.
void walk(benchmark::State &state, double shift, const std::vector<double> &tolerances,
    int64_t differences)
{
    QTemporaryFile first;
    QTemporaryFile second;
    fill(first, state.range(0), 0);
    fill(second, state.range(0), shift);
    for (auto _ : state) {
        LineReader file1;
        LineReader file2;
        int64_t found = 0;
        const auto count = [&found](const Difference &, const LinePair &) {
            ++found;
            return Walk::GoesOn;
        };
        const bool open = file1.open(first.fileName()) && file2.open(second.fileName());
        const Lengths lengths = forEachDifference(file1, file2, tolerances, count);
        if (!open || lengths.lines1 != state.range(0) || found != differences * state.range(0)) {
            state.SkipWithError("the files are not what they should be");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * (first.size() + second.size()));
}

const std::vector<double> tolerances(12, 1e-6);

void exactly(benchmark::State &state)
{
    walk(state, 0, {}, 0);
}
BENCHMARK(exactly)->RangeMultiplier(10)->Range(1000, 100000);

void equalColumns(benchmark::State &state)
{
    walk(state, 0, tolerances, 0);
}
BENCHMARK(equalColumns)->RangeMultiplier(10)->Range(1000, 100000);

void otherDigits(benchmark::State &state)
{
    walk(state, 5e-7, tolerances, 0);
}
BENCHMARK(otherDigits)->RangeMultiplier(10)->Range(1000, 100000);

void everyColumnDiffers(benchmark::State &state)
{
    walk(state, 5e-6, tolerances, 12);
}
BENCHMARK(everyColumnDiffers)->RangeMultiplier(10)->Range(1000, 100000);

void everyLineDiffers(benchmark::State &state)
{
    walk(state, 5e-6, {}, 1);
}
BENCHMARK(everyLineDiffers)->RangeMultiplier(10)->Range(1000, 100000);

} // namespace

#include "Difference.h"

#include <QTemporaryFile>

#include <benchmark/benchmark.h>

using namespace Talmo;

namespace
{

/// A file of \a lines lines of twelve numbers, always the same but for a \a shift of each.
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

/// Bytes per second of a comparison that finds two files to agree.
template <typename Compare>
void compareAlike(benchmark::State &state, double shift, Compare compare)
{
    QTemporaryFile first;
    QTemporaryFile second;
    fill(first, state.range(0), 0);
    fill(second, state.range(0), shift);
    for (auto _ : state) {
        LineReader file1;
        LineReader file2;
        const bool open = file1.open(first.fileName()) && file2.open(second.fileName());
        if (!open || compare(file1, file2).kind != Difference::None) {
            state.SkipWithError("the files must agree");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * (first.size() + second.size()));
}

void exactly(benchmark::State &state)
{
    compareAlike(state, 0, compareExactly);
}
BENCHMARK(exactly)->RangeMultiplier(10)->Range(1000, 100000);

void byColumns(benchmark::State &state, double shift)
{
    const std::vector<double> tolerances(12, 1e-6);
    compareAlike(state, shift, [&](LineReader &file1, LineReader &file2) {
        return compareColumns(file1, file2, tolerances);
    });
}

void equalColumns(benchmark::State &state)
{
    byColumns(state, 0);
}
BENCHMARK(equalColumns)->RangeMultiplier(10)->Range(1000, 100000);

void otherDigits(benchmark::State &state)
{
    byColumns(state, 5e-7);
}
BENCHMARK(otherDigits)->RangeMultiplier(10)->Range(1000, 100000);

} // namespace

#include "talmo/RegExp.h"

#include <benchmark/benchmark.h>

using Talmo::RE;

namespace
{

const QString pattern = "^[a-z]+ *= *([0-9.]+)";
const QString text = "length = 12.5 mm";

/// What a pattern costs when it is met for the first time.
void firstUse(benchmark::State &state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(RE.find(pattern, text));
        RE.forget(pattern);
    }
}
BENCHMARK(firstUse);

/// What it costs afterwards.
void cached(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(RE.find(pattern, text));
}
BENCHMARK(cached);

} // namespace

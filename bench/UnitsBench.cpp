#include "talmo/Flaw.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <benchmark/benchmark.h>

using Talmo::Macro;
using Talmo::Units;

namespace
{

void evaluateShort(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::evaluate("%.12g", "2*3mm+5mm", "mm"));
}
BENCHMARK(evaluateShort);

void evaluateNumber(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::evaluate("%.12g", "25.4mm", "in"));
}
BENCHMARK(evaluateNumber);

void evaluateFunctions(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::evaluate("%g", "sqrt(2)*max(3mm,4in)", "-"));
}
BENCHMARK(evaluateFunctions);

void flawOfShort(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Talmo::flawOfExpression("2*3mm+5mm"));
}
BENCHMARK(flawOfShort);

void evaluateTerms(benchmark::State &state)
{
    const QString expression = "1mm" + QString("+2mm").repeated(static_cast<int>(state.range()));
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::value(expression, "mm", nullptr));
    state.SetComplexityN(state.range());
}
BENCHMARK(evaluateTerms)->RangeMultiplier(10)->Range(1000, 100000)->Complexity(benchmark::oN);

void evaluateNames(benchmark::State &state)
{
    Macro::hash["step"] = "2mm";
    const QString expression = "1mm" + QString("+$step").repeated(static_cast<int>(state.range()));
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::value(expression, "mm", nullptr));
    state.SetComplexityN(state.range());
}
BENCHMARK(evaluateNames)->RangeMultiplier(10)->Range(1000, 100000)->Complexity(benchmark::oN);

void convertText(benchmark::State &state)
{
    const QString line = "beam 1: x 12.5mm, at 300 K, 2.5GeV, 17 times\n";
    const QString text = line.repeated(static_cast<int>(state.range() / line.size()));
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::convertAll(text, "*"));
    state.SetComplexityN(state.range());
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(convertText)->RangeMultiplier(10)->Range(10000, 1000000)->Complexity(benchmark::oN);

void expandLine(benchmark::State &state)
{
    Macro::hash["cell"] = "500mm";
    Macro::hash["field"] = "3.5Tpm";
    for (auto _ : state)
        benchmark::DoNotOptimize(Macro::expand("quad $field ${cell} # ${2*$cell;mm}"));
}
BENCHMARK(expandLine);

void flawOfShortLine(benchmark::State &state)
{
    Macro::hash["cell"] = "500mm";
    Macro::hash["field"] = "3.5Tpm";
    for (auto _ : state)
        benchmark::DoNotOptimize(Talmo::flawOfLine("quad $field ${cell} # ${2*$cell;mm}"));
}
BENCHMARK(flawOfShortLine);

void expandExpression(benchmark::State &state)
{
    Macro::hash["cell"] = "500mm";
    for (auto _ : state)
        benchmark::DoNotOptimize(Macro::expand("quad at ${%.3f;2*$cell+1mm;mm}"));
}
BENCHMARK(expandExpression);

void expandReferences(benchmark::State &state)
{
    Macro::hash["a"] = "5mm";
    const QString line = QString("$a ").repeated(static_cast<int>(state.range()));
    for (auto _ : state)
        benchmark::DoNotOptimize(Macro::expand(line));
    state.SetComplexityN(state.range());
}
BENCHMARK(expandReferences)->RangeMultiplier(10)->Range(1000, 100000)->Complexity(benchmark::oN);

} // namespace

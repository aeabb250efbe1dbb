#include "talmo/StartupGuard.h"

#include <benchmark/benchmark.h>

int main(int argc, char *argv[])
{
    Talmo::enterMain();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}

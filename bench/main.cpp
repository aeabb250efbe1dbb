#include "talmo/StartupGuard.h"

#include <benchmark/benchmark.h>

int main(int argc, char *argv[])
{
    mainHasBeenEntered = true;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}

// The one entry of the benchmark program; every other file in bench/ only registers.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();

// The benchmarks' entry point: run them all with `make bench`.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();

// The benchmarks' entry point: run them all with `make bench`.
#include <benchmark/benchmark.h>
#include <malloc.h>

int main(int argc, char** argv) {
  // glibc serves a block above its mmap threshold straight from the kernel, raises that threshold
  // when such a block is freed, and gives the heap's free top back once it passes the trim
  // threshold. Which of these a benchmark meets depends on what ran before it, so a parse that
  // builds a few hundred KiB of records either reuses warm memory or page-faults fresh memory on
  // every run (the inbox parse read 200 or 550 µs). Fixed thresholds give every run the same,
  // warm heap: the figures are of the code, not of the allocator's history.
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

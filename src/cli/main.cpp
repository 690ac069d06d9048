// Entry point of the `trivo` command.
#include <malloc.h>

#include <iostream>

#include "cli/command.h"

int main(int argc, char** argv) {
  // A command holds a page of a few hundred kilobytes several times over (read, edited, checked
  // against the disk, kept for history). Above 128 KiB glibc maps each such block afresh and
  // unmaps it when freed, so every copy faults its pages in again; from the heap, a freed block
  // is reused. A command lives for milliseconds, so keeping what it freed costs nothing.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  return trivo::cli::runMain(argc, argv, std::cout, std::cerr);
}

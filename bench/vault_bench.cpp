// Whole vaults read page by page: `trivo check`'s own path (discovery, read, parse into records)
// beside md4c and cmark over the same files and a plain C read loop, the floor.
// The vaults come from TRIVO_BENCH_VAULTS (`make bench-vault` generates them once); each
// benchmark is skipped when its vault is missing.
#include <benchmark/benchmark.h>
#include <cmark.h>
#include <fcntl.h>
#include <md4c.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/store/page_check.h"
#include "core/store/serializer_codec.h"
#include "core/vault/vault.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// "y10-md" under TRIVO_BENCH_VAULTS, or nothing when it is not there.
std::optional<fs::path> vaultFolder(std::int64_t years, bool org) {
  const char* base = std::getenv("TRIVO_BENCH_VAULTS");
  if (!base || !*base) return std::nullopt;
  const fs::path folder = fs::path(base) / ("y" + std::to_string(years) + (org ? "-org" : "-md"));
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) return std::nullopt;
  return folder;
}

// The page files of a vault, found once per vault and run, for the loops that only read.
const std::vector<PageFile>& pagesOf(const fs::path& folder) {
  static std::map<fs::path, std::vector<PageFile>> found;
  auto& pages = found[folder];
  if (pages.empty()) pages = findPageFiles({folder});
  return pages;
}

bool prepare(benchmark::State& state, fs::path& folder) {
  const auto at = vaultFolder(state.range(0), state.range(1) != 0);
  if (!at) {
    state.SkipWithError("no generated vault: run make bench-vault (sets TRIVO_BENCH_VAULTS)");
    return false;
  }
  folder = *at;
  state.SetLabel(std::to_string(state.range(0)) + (state.range(1) ? "y org" : "y md"));
  return true;
}

void report(benchmark::State& state, const std::vector<PageFile>& pages, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
  state.counters["pages"] = static_cast<double>(pages.size());
}

// Reads a whole file into `buffer` with open/read/close, reusing the buffer's storage.
std::size_t readInto(const char* path, std::string& buffer) {
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  std::size_t size = 0;
  for (;;) {
    if (buffer.size() < size + 65536) buffer.resize(size + 65536);
    const ssize_t got = ::read(fd, buffer.data() + size, buffer.size() - size);
    if (got <= 0) break;
    size += static_cast<std::size_t>(got);
  }
  ::close(fd);
  return size;
}

// `trivo check`: discovery, then each page read and parsed into its record on every core. Its
// time is the wall clock's and its CPU time that of the whole process (all its threads); the
// other benchmarks read on one thread, where the two are the same.
void BM_VaultCheck(benchmark::State& state) {
  fs::path folder;
  if (!prepare(state, folder)) return;
  std::size_t problems = 0;
  std::vector<PageFile> pages;
  for (auto _ : state) {
    pages = findPageFiles({folder});
    std::shared_ptr<const SerializerCodec> codec;
    std::vector<const SerializerCodec*> codecs;
    codecs.reserve(pages.size());
    for (const auto& page : pages) {
      if (!codec) {
        codec = SerializerCodec::forVault(Vault{page.vaultRoot, page.format, "en", std::nullopt},
                                          YearMode::quarter);
      }
      codecs.push_back(codec.get());
    }
    for (const auto& checked : checkPages(pages, codecs, /*roundtrip=*/false)) {
      if (checked.problem) ++problems;
    }
  }
  if (problems) state.SkipWithError("a generated page did not read");
  std::size_t bytes = 0;
  for (const auto& page : pages) bytes += static_cast<std::size_t>(fs::file_size(page.path));
  report(state, pages, bytes);
}

// Discovery alone: which files of the vault are pages, of which vault and format.
void BM_VaultDiscovery(benchmark::State& state) {
  fs::path folder;
  if (!prepare(state, folder)) return;
  std::vector<PageFile> pages;
  for (auto _ : state) pages = findPageFiles({folder});
  report(state, pages, 0);
}

// The read floor: the same files, open/read/close into one buffer, nothing parsed.
void BM_VaultReadFloor(benchmark::State& state) {
  fs::path folder;
  if (!prepare(state, folder)) return;
  const auto& pages = pagesOf(folder);
  std::string buffer;
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = 0;
    for (const auto& page : pages) bytes += readInto(page.path.c_str(), buffer);
    benchmark::DoNotOptimize(buffer.data());
  }
  report(state, pages, bytes);
}

int md4cBlock(MD_BLOCKTYPE, void*, void* count) {
  ++*static_cast<std::size_t*>(count);
  return 0;
}
int md4cSpan(MD_SPANTYPE, void*, void*) { return 0; }
int md4cText(MD_TEXTTYPE, const MD_CHAR*, MD_SIZE, void*) { return 0; }

// md4c tokenizing the same files (read as the floor reads them).
void BM_VaultMd4c(benchmark::State& state) {
  fs::path folder;
  if (!prepare(state, folder)) return;
  const auto& pages = pagesOf(folder);
  MD_PARSER parser{};
  parser.flags = MD_FLAG_TASKLISTS | MD_FLAG_STRIKETHROUGH | MD_FLAG_TABLES;
  parser.enter_block = md4cBlock;
  parser.leave_block = md4cBlock;
  parser.enter_span = md4cSpan;
  parser.leave_span = md4cSpan;
  parser.text = md4cText;
  std::string buffer;
  std::size_t bytes = 0;
  std::size_t blocks = 0;
  for (auto _ : state) {
    bytes = 0;
    for (const auto& page : pages) {
      const std::size_t size = readInto(page.path.c_str(), buffer);
      bytes += size;
      md_parse(buffer.data(), static_cast<MD_SIZE>(size), &parser, &blocks);
    }
  }
  benchmark::DoNotOptimize(blocks);
  report(state, pages, bytes);
}

// cmark building its tree of the same files.
void BM_VaultCmark(benchmark::State& state) {
  fs::path folder;
  if (!prepare(state, folder)) return;
  const auto& pages = pagesOf(folder);
  std::string buffer;
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = 0;
    for (const auto& page : pages) {
      const std::size_t size = readInto(page.path.c_str(), buffer);
      bytes += size;
      cmark_node* doc = cmark_parse_document(buffer.data(), size, CMARK_OPT_DEFAULT);
      benchmark::DoNotOptimize(doc);
      cmark_node_free(doc);
    }
  }
  report(state, pages, bytes);
}

// Arguments: years, then 0 Markdown or 1 Org. md4c and cmark tokenize the Org files too, as
// Markdown: the same bytes, which are a fifth more than the Markdown vault's for the same days.
void bothSyntaxes(benchmark::internal::Benchmark* b) {
  for (int years : {1, 10, 30}) b->Args({years, 0})->Args({years, 1});
  b->Unit(benchmark::kMillisecond)->MinWarmUpTime(0.2);
}

BENCHMARK(BM_VaultCheck)->Apply(bothSyntaxes)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_VaultDiscovery)->Apply(bothSyntaxes);
BENCHMARK(BM_VaultReadFloor)->Apply(bothSyntaxes);
BENCHMARK(BM_VaultMd4c)->Apply(bothSyntaxes);
BENCHMARK(BM_VaultCmark)->Apply(bothSyntaxes);

}  // namespace
}  // namespace trivo

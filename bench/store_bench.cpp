// The cost of safe page writes: the store's queued save and flush (scratch file, fdatasync,
// rename, folder sync, the outside-edit check and the undo step) beside the bare floor of
// write + fsync + rename, and the folding the text cache does for search.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/store/text_cache.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

struct BenchFolder {
  BenchFolder() {
    std::string pattern = (fs::temp_directory_path() / "trivo-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    path = pattern;
  }
  ~BenchFolder() { fs::remove_all(path); }
  fs::path path;
};

std::string pageText(std::size_t round) {
  std::string text = "# A day\n\n## Outcomes\n- [x] Ship the beta → #1\n- [ ] Call Ana\n- [ ]\n\n";
  text += "## Journal\n- 09:30 Round " + std::to_string(round) + " of writing.\n";
  text.resize(2048, '.');
  return text;
}

void BM_StoreSaveAndFlush(benchmark::State& state) {
  BenchFolder folder;
  VaultStore::Options options;
  options.debounce = std::chrono::hours(1);  // flushed by hand below
  VaultStore store(Vault{folder.path, VaultFormat::markdown, "en", {}}, options);
  std::size_t round = 0;
  for (auto _ : state) {
    const EntryKey key = EntryKey::day(DayDate{2026, 1, 1}.adding(static_cast<std::int64_t>(round % 30)));
    store.saveText(key, pageText(round++));
    store.flush();
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("pages");
}
BENCHMARK(BM_StoreSaveAndFlush)->Unit(benchmark::kMicrosecond);

void BM_PlainWriteFsyncRename(benchmark::State& state) {
  BenchFolder folder;
  std::size_t round = 0;
  for (auto _ : state) {
    const std::string text = pageText(round);
    const fs::path target = folder.path / ("page" + std::to_string(round % 30) + ".md");
    const fs::path scratch = folder.path / ".scratch.tmp";
    const int fd = ::open(scratch.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || ::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::fsync(fd) != 0 || ::close(fd) != 0) {
      state.SkipWithError("write failed");
      break;
    }
    fs::rename(scratch, target);
    ++round;
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("pages");
}
BENCHMARK(BM_PlainWriteFsyncRename)->Unit(benchmark::kMicrosecond);

void BM_TextCacheFold(benchmark::State& state) {
  std::string text;
  while (text.size() < 64 * 1024) {
    text += "Ärger über die Straße; CAFÉ crème, naïve façade. Plain ASCII words follow here.\n";
  }
  for (auto _ : state) benchmark::DoNotOptimize(TextCache::fold(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_TextCacheFold);

}  // namespace
}  // namespace trivo

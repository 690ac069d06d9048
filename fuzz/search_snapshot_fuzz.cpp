// Reads arbitrary bytes as the copy of a vault's pages that search keeps in its cache. The copy
// is refused or read within its bounds: every text it gives for a path can be read to its end,
// and a copy is only trusted for the vault it was made of.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "core/search/search_snapshot.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::filesystem::path file =
      std::filesystem::temp_directory_path() /
      ("trivo-snapshot-fuzz-" + std::to_string(::getpid()) + ".pages");
  {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const auto copy = trivo::SearchSnapshot::load(file, "/vault");
  std::filesystem::remove(file);
  if (!copy) return 0;
  if (trivo::SearchSnapshot::load(file, "/another")) std::abort();
  for (const std::string_view path :
       {"days/2026-01-01.md", "days/2026-01-02.md", "inbox.md", "weeks/2026-W01.md", ""}) {
    const auto page = copy->find(path);
    if (!page) continue;
    if (page->stamp.size < 0 || static_cast<std::size_t>(page->stamp.size) != page->text.size()) {
      std::abort();
    }
    std::size_t lines = 0;
    for (const char c : page->text) lines += c == '\n' ? 1 : 0;
    if (lines > page->text.size()) std::abort();
    (void)copy->current(*page, page->stamp);
  }
  return 0;
}

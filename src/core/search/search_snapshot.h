// A copy of the pages' text kept beside the search index. A search that must read every page (a
// word in most lines, as "the") takes each unchanged page from this one file instead of opening,
// reading and closing thousands of files. A page is taken from the copy only when its size and
// modification time are still those it had when it was copied, and it had last changed well
// before the copy was made (a change in the same tick of the file system's clock leaves the
// time as it was). Any other page is read from the vault.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/search/search_sources.h"

namespace trivo {

class SearchSnapshot {
 public:
  struct Page {
    SearchStamp stamp;
    std::string_view text;
  };

  // The copy of `vault`'s pages in `file`; nothing when there is none, or when it is not whole
  // or was made of another vault: a damaged cache is never trusted.
  static std::optional<SearchSnapshot> load(const std::filesystem::path& file,
                                            std::string_view vault);

  // Writes a copy of `pages` (paths from the vault root), each read no earlier than `since`, in
  // place of the one in `file`: written beside it, flushed to the disk and then renamed over it,
  // so that a reader finds the old copy or the new one whole, even after a power cut. False when
  // it cannot be written; it is a cache, and the search goes on without it.
  static bool write(const std::filesystem::path& file, std::string_view vault,
                    std::vector<std::pair<std::string_view, Page>> pages, std::int64_t since);

  // The clock that file modification times are read in, in nanoseconds.
  static std::int64_t now();
  // A copy begun at `since` is trusted only for pages last changed before this time.
  static std::int64_t settledBefore(std::int64_t since);

  SearchSnapshot(SearchSnapshot&& other) noexcept;
  SearchSnapshot& operator=(SearchSnapshot&& other) noexcept;
  ~SearchSnapshot();

  // The copy of the page at `relative` (from the vault root, with "/"), when it holds one.
  [[nodiscard]] std::optional<Page> find(std::string_view relative) const;
  // Whether a page whose stamp is now `stamp` still has the text the copy holds.
  [[nodiscard]] bool current(const Page& page, const SearchStamp& stamp) const;
  [[nodiscard]] std::size_t size() const { return count_; }

 private:
  SearchSnapshot() = default;

  // The file is mapped, not read: its pages are those the kernel already holds in its cache.
  const char* map_ = nullptr;
  std::size_t bytes_ = 0;
  const char* records_ = nullptr;  // sorted by path
  const char* block_ = nullptr;
  std::size_t count_ = 0;
  std::int64_t since_ = 0;
};

}  // namespace trivo

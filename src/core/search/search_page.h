// What a search finds in one file, and the order in which files are shown.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/vault/entry_key.h"

namespace trivo {

// One file with lines that match, and the lines shown around them.
struct SearchPage {
  std::string file;              // relative to the vault root, with "/"
  std::optional<EntryKey> page;  // nothing for an Org file of the person's own
  std::optional<DayDate> first;  // the first and last day of the page's period
  std::optional<DayDate> last;
  bool pinned = false;               // an Org file named in the pins
  std::vector<std::size_t> matches;  // numbers of the matching lines, ascending

  // The matching lines and their neighbours in line order: each line's number, and where its
  // text stands in `text`. The texts follow one another in one block: a common word finds tens
  // of thousands of lines, and a string apiece cost more than finding them.
  struct Line {
    std::size_t number = 0;
    std::size_t offset = 0;
    std::size_t size = 0;
    bool operator==(const Line&) const = default;
  };
  std::vector<Line> lines;
  std::string text;

  // Adds a line after the last one; numbers are ascending.
  void add(std::size_t number, std::string_view line);
  [[nodiscard]] std::string_view textOf(const Line& line) const {
    return std::string_view(text).substr(line.offset, line.size);
  }
  // The text of line `number` when the page shows it.
  [[nodiscard]] std::optional<std::string_view> lineText(std::size_t number) const;

  bool operator==(const SearchPage&) const = default;
};

// The first and last day of a page's period; nothing for the inbox.
std::optional<std::pair<DayDate, DayDate>> periodDays(const EntryKey& page);

// Where a file stands among the results, before its path settles ties: pages with days newest
// first (by their last day, then their first), then the inbox, then other Org files, pinned
// first.
struct ShownPlace {
  int group = 0;          // pages with days, the inbox, other Org files
  std::int64_t last = 0;  // day numbers negated, so that the newest come first
  std::int64_t first = 0;
  bool unpinned = true;
  auto operator<=>(const ShownPlace&) const = default;
};
ShownPlace shownPlace(const std::optional<DayDate>& first, const std::optional<DayDate>& last,
                      bool page, bool pinned);

// Whether `a` is shown before `b`: by their places, then by path.
bool shownBefore(const SearchPage& a, const SearchPage& b);

}  // namespace trivo

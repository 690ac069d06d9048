// Where the next captured item goes in an inbox page that this program wrote itself, so that a
// capture can add one line to the text instead of reading every item into records and writing
// them all out again (on an inbox of years, that is nearly all of a capture's time).
//
// A point is only a hint, kept in the cache folder: it names the whole page text it was taken
// from by size and hash, and a page changed in any way since then (by an editor, a sync tool,
// another device, or a write that never landed) does not match it, so the capture reads the
// page in full as it would without one. Adding a line at the point gives the same bytes as
// rendering the record with the item appended, because the text came from that renderer and the
// new item is the last of the list items.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace trivo {

struct InboxAppendPoint {
  std::uint64_t size = 0;    // of the page text
  std::uint64_t hash = 0;    // fnv1aHash of the page text
  std::uint64_t offset = 0;  // the end of the last list item's line, before its newline
  std::int64_t number = 0;   // that item's number; the next one gets one more

  // The point after the line that holds `id` in `text`: the line of an item just rendered as the
  // last list item, with nothing under it. Nothing when the id is not on exactly one list line,
  // or when the line stands inside a fenced block (the page would not read back as written).
  static std::optional<InboxAppendPoint> after(std::string_view text, std::string_view id,
                                               std::int64_t number);
  // Whether `line` can be added at a point: one list line, with nothing under it.
  static bool canAdd(std::string_view line);

  // Whether this point was taken from exactly this text.
  [[nodiscard]] bool fits(std::string_view text) const;
  // Adds `line` (which canAdd) to `text` (which fits) as the new last list item, in place.
  void add(std::string& text, std::string_view line) const;
  // The point after `line` once add() put it there.
  [[nodiscard]] InboxAppendPoint next(std::string_view text, std::string_view line) const;

  // Nothing for a missing, unreadable or damaged file.
  static std::optional<InboxAppendPoint> load(const std::filesystem::path& file);
  // Best effort, since the point is only a hint: a failure leaves no file, never a torn one.
  void save(const std::filesystem::path& file) const;
  // Forgets the point (after a capture that went the long way and has none to give).
  static void forget(const std::filesystem::path& file);

  bool operator==(const InboxAppendPoint&) const = default;
};

}  // namespace trivo

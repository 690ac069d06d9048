// Saved tag filters of the sidebar lists and the edits made to them. Names within one list are
// unique: a name already taken gets " 2", " 3", … appended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/util/json_fields.h"

namespace trivo {

struct SavedFilter {
  std::string name;
  std::vector<std::string> tags;
  bool matchAll = false;
  std::string words;
  std::optional<std::string> color;
  std::optional<std::string> tint;
  bool bold = false;
  std::optional<std::string> icon;
  bool operator==(const SavedFilter&) const = default;
};

void to_json(Json& j, const SavedFilter& f);
void from_json(const Json& j, SavedFilter& f);

// Operations on one list of saved filters. Each returns the changed list; a name that is not in
// the list leaves it unchanged.
struct SavedFilters {
  using List = std::vector<SavedFilter>;

  // Stores the filter under its name: replaces the filter of that name in place, else appends.
  static List saving(List list, SavedFilter filter);
  // Appends the filter, giving it a name no other filter of the list has.
  static List adding(List list, SavedFilter filter);
  static List removing(List list, std::string_view name);
  // Renames a filter; the new name is made unique among the others. An empty name is ignored.
  static List renaming(List list, std::string_view name, std::string_view newName);
  // Puts `filter` in the place of the one named `name`, keeping its position (and a unique name).
  static List replacing(List list, std::string_view name, SavedFilter filter);
  // Moves a filter by `offset` places, stopping at either end.
  static List moving(List list, std::string_view name, std::int64_t offset);
  // Rewrites a tag in every filter; a filter that already had the new tag keeps it once.
  static List renamingTag(List list, std::string_view tag, std::string_view newTag);
  static List styling(List list, std::string_view name, std::optional<std::string> tint, bool bold);
  // The filter the current selection matches: the same tags (in any order), the same match mode
  // and the same words.
  static std::optional<std::size_t> active(const List& list, const std::vector<std::string>& tags,
                                           bool matchAll, std::string_view words);
  // The filter `by` places from `current` (nothing: from before the first), wrapping around at
  // both ends. Nothing for an empty list.
  static std::optional<std::size_t> step(const List& list, std::optional<std::size_t> current,
                                         std::int64_t by);
  // Tags typed as text: words split at spaces and commas, a leading "#" dropped, empty words
  // and repeats left out, first spelling kept.
  static std::vector<std::string> tags(std::string_view text);
};

}  // namespace trivo

// The English content bundle: every fixed text of the pages and screens, looked up by key.
// Keys are dotted lower-case paths ("file.day.outcomes", "prompt.day.monday"); they never appear
// in page text themselves.
#pragma once

#include <optional>
#include <string_view>

namespace trivo::content {

// The English text of a key; nothing for an unknown key.
std::optional<std::string_view> english(std::string_view key);
// The text of a key, or the key itself when the bundle has no text for it (so a missing
// translation shows up as its key rather than as an empty line).
std::string_view text(std::string_view key);
// Whether the compiled table is in key order (lookups bisect it).
bool bundleIsSorted();

}  // namespace trivo::content

// Indented outline lines: a note or task line is indented two spaces per level (a tab also counts
// as one level), and moving a line moves the lines indented under it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trivo::NoteLine {

struct Parts {
  std::size_t depth = 0;
  std::string text;  // without the indentation
  bool operator==(const Parts&) const = default;
};

// The depth and text of a line; a single odd space rounds down.
Parts split(std::string_view line);
// Indents the text to the depth and appends the done stamp when given.
std::string join(std::string_view text, const std::optional<std::string>& stamp, std::size_t depth);
// The same line with new text: indentation and a trailing done stamp are kept.
std::string reword(std::string_view line, std::string_view text);
// Index one past the last line indented deeper than the line at `after` (its subtree's end).
std::size_t subtreeEnd(const std::vector<std::string>& lines, std::size_t after);
// Moves the line at `index` and its subtree one level out; false when it is at the top level.
bool lift(std::vector<std::string>& lines, std::size_t index);
// Moves the line at `index` and its subtree one level in, under the line before it; false when
// there is no line before it at the same depth or deeper to nest under.
bool sink(std::vector<std::string>& lines, std::size_t index);

}  // namespace trivo::NoteLine

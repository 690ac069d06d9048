// Formatting commands for a text being edited: wrap the selection in emphasis or a link, or turn
// the selected lines into headings, a list or a checklist, in the syntax of the vault.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/format/text_syntax.h"

namespace trivo {

struct TextMarks {
  enum class Mark { bold, italic, link, title, subtitle, list, checklist };

  // A range of the text in UTF-16 code units, as text editors count them.
  struct Selection {
    std::int64_t location = 0;
    std::int64_t length = 0;
    bool operator==(const Selection&) const = default;
  };
  struct Result {
    std::string text;
    Selection selection;
    bool operator==(const Result&) const = default;
  };

  // Applies one command. Every command toggles: applied to a selection that already carries the
  // mark it takes the mark off. Emphasis and links wrap the selected words (Markdown "**bold**",
  // "_italic_", "[words](url)"; Org "*bold*", "/italic/", "[[url][words]]"); the new selection
  // covers the words, or the "url" placeholder of a new link. Line commands (title "# "/"* ",
  // subtitle "## "/"** ", list "- ", checklist "- [ ] ") act on every line the selection touches
  // and select those lines afterwards. A selection outside the text is clamped to it; any bytes
  // are accepted (an invalid UTF-8 byte counts as one unit).
  static Result apply(Mark mark, std::string_view text, Selection selection, TextSyntax syntax);

  // Converts between UTF-16 offsets and byte offsets of a UTF-8 text, clamped to the text.
  static std::size_t byteOffset(std::string_view text, std::int64_t utf16);
  static std::int64_t utf16Offset(std::string_view text, std::size_t byte);
};

}  // namespace trivo

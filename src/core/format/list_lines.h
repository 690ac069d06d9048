// The list lines of a page: checkbox lines ("- [x] text"), numbered lines ("2. text") and the
// serves mark that ties an outcome to one of the three outcomes a level up ("text → #2").
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/records/outcome.h"

namespace trivo {

struct CheckboxLine {
  std::string mark;  // the one character between the brackets, " " for an open box
  std::string text;

  // "- [" + mark + "] " + text, or "- [" + mark + "]" when the text is empty.
  static std::string render(std::string_view mark, std::string_view text);
  // Reads a line that begins with "- [", one character (any, also a multi-byte one) and "]";
  // the text is the rest with one following space dropped, trimmed. The caller strips any
  // indentation first. Nothing for any other line.
  static std::optional<CheckboxLine> parse(std::string_view line);

  // The mark written for a state: " " planned, "x" done, "-" for the cancelled or blocked.
  static std::string_view markFor(OutcomeState state);
  // The state a mark reads as: " " planned, "x" or "X" done, "-" blocked; nothing otherwise.
  static std::optional<OutcomeState> stateFor(std::string_view mark);

  bool operator==(const CheckboxLine&) const = default;
};

struct NumberedLine {
  std::int64_t number = 0;
  std::string text;

  // number + ". " + text, or number + "." when the text is empty.
  static std::string render(std::int64_t number, std::string_view text);
  // Reads "12. text" or "12." (digits, a dot, then a space or the end); nothing otherwise.
  static std::optional<NumberedLine> parse(std::string_view line);

  bool operator==(const NumberedLine&) const = default;
};

struct ServesLink {
  // Written before the position: a space, U+2192, a space and a number sign.
  static constexpr std::string_view marker = " \u2192 #";
  // Also read (not written): the same mark typed without an arrow key.
  static constexpr std::string_view asciiMarker = " -> #";

  std::string text;
  std::optional<std::int64_t> serves;

  // Takes a trailing mark with a position 1–3 off an outcome text. Anything else (no mark, a
  // position outside 1–3, words after the number) leaves the text whole and serves nothing.
  static ServesLink split(std::string_view text);
  // The text followed by the mark, or the text alone when it serves nothing.
  static std::string join(std::string_view text, std::optional<std::int64_t> serves);

  bool operator==(const ServesLink&) const = default;
};

}  // namespace trivo

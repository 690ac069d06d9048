// Line and white-space helpers shared by the page syntax code. Every function accepts any bytes;
// white space here is ASCII (space, tab, and for the line-aware trims CR and LF too).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace trivo::text {

inline bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
inline bool isSpaceOrBreak(char c) { return isSpace(c) || c == '\r' || c == '\n'; }

// Trims spaces and tabs (and, with the `Breaks` forms, line breaks) from both ends.
std::string_view trim(std::string_view s);
std::string_view trimBreaks(std::string_view s);
std::string_view trimEnd(std::string_view s);
std::string_view trimStart(std::string_view s);

// Cuts a text at every "\n"; a text ending in "\n" gives a final empty line, and the empty text
// gives one empty line, so joining the result with "\n" restores the text exactly.
std::vector<std::string_view> lines(std::string_view s);
std::string join(const std::vector<std::string_view>& parts, std::string_view separator);
std::string join(const std::vector<std::string>& parts, std::string_view separator);

// True when the line is empty or holds only white space.
bool isBlank(std::string_view line);
// ASCII case folding; other bytes are unchanged.
std::string lower(std::string_view s);
std::string upper(std::string_view s);
bool startsWithNoCase(std::string_view s, std::string_view prefix);
// Equal when ASCII letters are folded as lower() folds them.
bool equalsNoCase(std::string_view a, std::string_view b);
// The line without a final "\r" (a CRLF line end read as text).
std::string_view withoutCR(std::string_view line);
// The byte length of the UTF-8 sequence that starts at s[i] (1 for an invalid or stray byte).
std::size_t charLength(std::string_view s, std::size_t i);

}  // namespace trivo::text

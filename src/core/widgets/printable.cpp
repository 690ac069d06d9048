// Terminal-safe text.
#include "core/widgets/printable.h"

#include <cstdint>

namespace trivo::widgets {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// The length of the UTF-8 sequence at `at` and its code point; 0 when the bytes there are not a
// well-formed, shortest-form sequence of a scalar value.
std::size_t decodePrintable(std::string_view text, std::size_t at, char32_t& code) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[at + i]); };
  const std::uint8_t lead = byte(0);
  std::size_t length = 0;
  if (lead < 0x80) {
    code = lead;
    return 1;
  }
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    code = lead & 0x1Fu;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    code = lead & 0x0Fu;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    code = lead & 0x07u;
  } else {
    return 0;
  }
  if (at + length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0u) != 0x80u) return 0;
    code = (code << 6) | (byte(i) & 0x3Fu);
  }
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (overlong || surrogate || code > 0x10FFFF) return 0;
  return length;
}

bool isSpaceLike(char32_t code) {
  return code == '\t' || code == '\n' || code == '\r' || code == '\v' || code == '\f' ||
         code == 0x2028 || code == 0x2029;
}

bool isControl(char32_t code) {
  return code < 0x20 || code == 0x7F || (code >= 0x80 && code <= 0x9F) ||
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

}  // namespace

std::string printableText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    char32_t code = 0;
    const std::size_t length = decodePrintable(text, at, code);
    if (length == 0) {
      out += kReplacement;
      ++at;
      continue;
    }
    if (isSpaceLike(code)) {
      out += ' ';
    } else if (isControl(code)) {
      out += kReplacement;
    } else {
      out.append(text.substr(at, length));
    }
    at += length;
  }
  return out;
}

}  // namespace trivo::widgets

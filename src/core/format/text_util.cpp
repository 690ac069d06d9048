// Line and white-space helpers shared by the page syntax code.
#include "core/format/text_util.h"

namespace trivo::text {

std::string_view trim(std::string_view s) { return trimEnd(trimStart(s)); }

std::string_view trimStart(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size() && isSpace(s[i])) ++i;
  return s.substr(i);
}

std::string_view trimEnd(std::string_view s) {
  std::size_t n = s.size();
  while (n > 0 && isSpace(s[n - 1])) --n;
  return s.substr(0, n);
}

std::string_view trimBreaks(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size() && isSpaceOrBreak(s[i])) ++i;
  std::size_t n = s.size();
  while (n > i && isSpaceOrBreak(s[n - 1])) --n;
  return s.substr(i, n - i);
}

std::vector<std::string_view> lines(std::string_view s) {
  std::vector<std::string_view> out;
  // Room for lines of a usual length, so that the list of a page's lines (split many times) is
  // seldom moved while it grows; counting the breaks first costs as much as a second split.
  out.reserve(s.size() / 32 + 2);
  std::size_t start = 0;
  while (true) {
    std::size_t nl = s.find('\n', start);
    if (nl == std::string_view::npos) {
      out.push_back(s.substr(start));
      return out;
    }
    out.push_back(s.substr(start, nl - start));
    start = nl + 1;
  }
}

namespace {
template <class T>
std::string joinAny(const std::vector<T>& parts, std::string_view separator) {
  std::string out;
  std::size_t size = parts.empty() ? 0 : separator.size() * (parts.size() - 1);
  for (const auto& part : parts) size += part.size();
  out.reserve(size);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) out += separator;
    out += parts[i];
  }
  return out;
}
}  // namespace

std::string join(const std::vector<std::string_view>& parts, std::string_view separator) {
  return joinAny(parts, separator);
}
std::string join(const std::vector<std::string>& parts, std::string_view separator) {
  return joinAny(parts, separator);
}

bool isBlank(std::string_view line) { return trimBreaks(line).empty(); }

namespace {
char lowerLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
}  // namespace

std::string lower(std::string_view s) {
  std::string out(s);
  for (auto& c : out) c = lowerLetter(c);
  return out;
}

std::string upper(std::string_view s) {
  std::string out(s);
  for (auto& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

bool startsWithNoCase(std::string_view s, std::string_view prefix) {
  // Asked of every line of an Org page (is it a block's fence?): compared in place, folding
  // ASCII letters as lower() does.
  if (s.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (lowerLetter(s[i]) != lowerLetter(prefix[i])) return false;
  }
  return true;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && startsWithNoCase(a, b);
}

std::string_view withoutCR(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::size_t charLength(std::string_view s, std::size_t i) {
  const auto lead = static_cast<unsigned char>(s[i]);
  std::size_t n = 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    n = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    n = 3;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    n = 4;
  } else {
    return 1;
  }
  if (i + n > s.size()) return 1;
  for (std::size_t k = 1; k < n; ++k) {
    if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return 1;
  }
  return n;
}

}  // namespace trivo::text

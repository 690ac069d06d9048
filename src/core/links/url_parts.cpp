// Splitting a link into scheme, host, path and query items.
#include "core/links/url_parts.h"

#include <utf8proc.h>

#include "core/util/percent_encoding.h"

namespace trivo {
namespace {

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

std::string lowerAsciiPart(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

bool isValidUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  auto left = static_cast<utf8proc_ssize_t>(text.size());
  while (left > 0) {
    utf8proc_int32_t codepoint = 0;
    const utf8proc_ssize_t used = utf8proc_iterate(bytes, left, &codepoint);
    if (used <= 0) return false;
    bytes += used;
    left -= used;
  }
  return true;
}

// Decodes one component; its text must be UTF-8 once decoded, since everything a link carries
// is text that ends up in pages and JSON.
std::optional<std::string> decode(std::string_view component) {
  auto text = percentDecode(component);
  if (!text || !isValidUtf8(*text)) return std::nullopt;
  return text;
}

std::optional<std::vector<UrlParts::QueryItem>> splitQuery(std::string_view query) {
  std::vector<UrlParts::QueryItem> items;
  while (!query.empty()) {
    const std::size_t amp = query.find('&');
    const std::string_view item = query.substr(0, amp);
    query = amp == std::string_view::npos ? std::string_view{} : query.substr(amp + 1);
    if (item.empty()) continue;
    const std::size_t eq = item.find('=');
    auto name = decode(item.substr(0, eq));
    if (!name) return std::nullopt;
    UrlParts::QueryItem parsed{std::move(*name), std::nullopt};
    if (eq != std::string_view::npos) {
      parsed.value = decode(item.substr(eq + 1));
      if (!parsed.value) return std::nullopt;
    }
    items.push_back(std::move(parsed));
  }
  return items;
}

}  // namespace

std::optional<UrlParts> UrlParts::split(std::string_view url) {
  const std::size_t colon = url.find(':');
  if (colon == 0 || colon == std::string_view::npos || !isAsciiLetter(url[0])) return std::nullopt;
  for (char c : url.substr(0, colon)) {
    if (!isAsciiLetter(c) && !isAsciiDigit(c) && c != '+' && c != '-' && c != '.') {
      return std::nullopt;
    }
  }
  UrlParts parts;
  parts.scheme = lowerAsciiPart(url.substr(0, colon));
  std::string_view rest = url.substr(colon + 1);
  rest = rest.substr(0, rest.find('#'));

  if (rest.substr(0, 2) == "//") {
    rest.remove_prefix(2);
    const std::size_t end = rest.find_first_of("/?");
    parts.host = lowerAsciiPart(rest.substr(0, end));
    rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end);
  }

  const std::size_t question = rest.find('?');
  auto path = decode(rest.substr(0, question));
  if (!path) return std::nullopt;
  parts.path = std::move(*path);
  if (question != std::string_view::npos) {
    parts.query = splitQuery(rest.substr(question + 1)).value_or(std::vector<QueryItem>{});
  }
  return parts;
}

std::optional<std::string> UrlParts::value(std::string_view name) const {
  for (const QueryItem& item : query) {
    if (item.name == name) return item.value;
  }
  return std::nullopt;
}

}  // namespace trivo

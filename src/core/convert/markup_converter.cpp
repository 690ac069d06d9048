// Both directions scan a line once, left to right. A mark is converted only where both syntaxes
// agree that it is one (a boundary before the opening mark, a non-blank character inside each
// end, a boundary after the closing one), which is what makes Markdown → Org → Markdown give
// back the bytes it started from.
#include "core/convert/markup_converter.h"

#include <optional>
#include <tuple>
#include <vector>

namespace trivo {
namespace {

constexpr std::string_view kZeroWidthSpace = "\xE2\x80\x8B";

bool isWhite(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Characters after which a mark may open, and before which one may close.
bool opensAfter(std::string_view s, std::size_t i) {
  if (i == 0) return true;
  const char c = s[i - 1];
  return isWhite(c) || std::string_view("-({'\"").find(c) != std::string_view::npos;
}
bool closesBefore(std::string_view s, std::size_t i) {
  if (i >= s.size()) return true;
  const char c = s[i];
  return isWhite(c) || std::string_view("-.,:;!?'\")}").find(c) != std::string_view::npos;
}

// A span s[i, i+len) … s[p, p+len) of the same marker, with non-blank characters inside both
// ends and boundaries outside; returns p.
std::optional<std::size_t> spanEnd(std::string_view s, std::size_t i, std::string_view marker) {
  const std::size_t n = marker.size();
  if (s.substr(i, n) != marker || !opensAfter(s, i)) return std::nullopt;
  const std::size_t inner = i + n;
  if (inner >= s.size() || isWhite(s[inner]) || s[inner] == marker[0]) return std::nullopt;
  for (std::size_t p = s.find(marker, inner + 1); p != std::string_view::npos;
       p = s.find(marker, p + 1)) {
    if (isWhite(s[p - 1]) || s[p - 1] == marker[0]) continue;
    if (p + n < s.size() && s[p + n] == marker[0]) continue;
    if (closesBefore(s, p + n)) return p;
  }
  return std::nullopt;
}

bool isSchemeChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
         c == '.' || c == '-';
}

// Whether a link target names a scheme ("https:", "trivo:", "mailto:").
bool hasScheme(std::string_view target) {
  const std::size_t colon = target.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  const char first = target[0];
  if (!((first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z'))) return false;
  for (std::size_t k = 0; k < colon; ++k) {
    if (!isSchemeChar(target[k])) return false;
  }
  return colon + 1 < target.size();
}

// A bare address ("https://…") starting at i: its length, so that nothing inside is read as a
// mark.
std::size_t bareAddress(std::string_view s, std::size_t i) {
  if (!opensAfter(s, i)) return 0;
  std::size_t k = i;
  while (k < s.size() && isSchemeChar(s[k])) ++k;
  if (k == i || s.substr(k, 3) != "://") return 0;
  while (k < s.size() && !isWhite(s[k])) ++k;
  return k - i;
}

std::optional<std::string_view> mediaPath(std::string_view target) {
  if (target.starts_with("media/")) return target;
  if (target.starts_with("../media/")) return target.substr(3);
  return std::nullopt;
}

// A Markdown link "[text](target)" or image "![text](target)" at i.
struct MarkdownLink {
  bool image = false;
  std::string_view text;
  std::string_view target;
  std::size_t length = 0;
};

std::optional<MarkdownLink> markdownLinkAt(std::string_view s, std::size_t i) {
  MarkdownLink link;
  std::size_t open = i;
  if (s[i] == '!') {
    if (i + 1 >= s.size() || s[i + 1] != '[') return std::nullopt;
    link.image = true;
    open = i + 1;
  } else if (s[i] != '[') {
    return std::nullopt;
  }
  const std::size_t close = s.find(']', open + 1);
  if (close == std::string_view::npos || close + 1 >= s.size() || s[close + 1] != '(') {
    return std::nullopt;
  }
  const std::size_t end = s.find(')', close + 2);
  if (end == std::string_view::npos) return std::nullopt;
  link.text = s.substr(open + 1, close - open - 1);
  link.target = s.substr(close + 2, end - close - 2);
  if (link.target.empty() || link.target.find_first_of(" \t") != std::string_view::npos) {
    return std::nullopt;
  }
  link.length = end + 1 - i;
  return link;
}

// An Org link "[[target][description]]" or "[[target]]" at i.
struct OrgLink {
  std::string_view target;
  std::optional<std::string_view> description;
  std::size_t length = 0;
};

std::optional<OrgLink> orgLinkAt(std::string_view s, std::size_t i) {
  if (s.substr(i, 2) != "[[") return std::nullopt;
  const std::size_t end = s.find("]]", i + 2);
  if (end == std::string_view::npos) return std::nullopt;
  OrgLink link;
  const std::string_view inner = s.substr(i + 2, end - i - 2);
  const std::size_t split = inner.find("][");
  if (split == std::string_view::npos) {
    link.target = inner;
  } else {
    link.target = inner.substr(0, split);
    link.description = inner.substr(split + 2);
  }
  if (link.target.empty()) return std::nullopt;
  link.length = end + 2 - i;
  return link;
}

// What an Org link becomes in Markdown, or nothing when it stays as written.
std::optional<std::string> orgLinkAsMarkdown(const OrgLink& link) {
  if (link.target.starts_with("file:")) {
    auto media = mediaPath(link.target.substr(5));
    if (!media || !media->starts_with("media/")) return std::nullopt;
    if (link.description && link.description->find(']') != std::string_view::npos) {
      return std::nullopt;
    }
    return "![" + std::string(link.description.value_or("")) + "](" + std::string(*media) + ")";
  }
  if (!hasScheme(link.target) || link.target.find_first_of(" ()") != std::string_view::npos) {
    return std::nullopt;
  }
  if (!link.description) {
    if (link.target.find('>') != std::string_view::npos) return std::nullopt;
    return "<" + std::string(link.target) + ">";
  }
  if (link.description->find(']') != std::string_view::npos) return std::nullopt;
  return "[" + std::string(*link.description) + "](" + std::string(link.target) + ")";
}

// Whether Markdown → Org would write this Org link from a Markdown link; a literal "[[…]]" in
// Markdown text that fromOrgMark would change is protected instead.
bool orgWouldConvert(std::string_view s, std::size_t i) {
  auto link = orgLinkAt(s, i);
  return link && orgLinkAsMarkdown(*link).has_value();
}

bool containsText(std::string_view s, char c) { return s.find(c) != std::string_view::npos; }

}  // namespace

bool MarkupConverter::wrapped(std::string_view text) {
  if (text.size() < 3) return false;
  if (text.front() == '*' && text.back() == '*') return !text.starts_with("**");
  if (text.front() == '/' && text.back() == '/') return !text.starts_with("//");
  return false;
}

std::string MarkupConverter::fromOrgMark(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 8);
  std::size_t i = 0;
  while (i < s.size()) {
    // A zero-width space kept a literal from reading as a mark; Markdown needs no such help.
    if (s.substr(i, kZeroWidthSpace.size()) == kZeroWidthSpace &&
        i + kZeroWidthSpace.size() < s.size() &&
        containsText("/=~+*[", s[i + kZeroWidthSpace.size()])) {
      out += s[i + kZeroWidthSpace.size()];
      i += kZeroWidthSpace.size() + 1;
      continue;
    }
    if (s.substr(i, 8) == "@@trivo:") {
      const std::size_t end = s.find("@@", i + 8);
      if (end != std::string_view::npos) {
        const std::string_view inner = s.substr(i + 8, end - i - 8);
        if (!inner.empty() && !isWhite(inner.front()) && !isWhite(inner.back()) &&
            inner.find("--") == std::string_view::npos) {
          out += "<!-- " + std::string(inner) + " -->";
          i = end + 2;
          continue;
        }
      }
    }
    if (const std::size_t address = bareAddress(s, i)) {
      out.append(s.substr(i, address));
      i += address;
      continue;
    }
    if (auto link = orgLinkAt(s, i)) {
      if (auto markdown = orgLinkAsMarkdown(*link)) {
        out += *markdown;
      } else {
        out.append(s.substr(i, link->length));
      }
      i += link->length;
      continue;
    }
    const char c = s[i];
    if (containsText("*/~=+", c)) {
      const std::string_view marker = s.substr(i, 1);
      if (auto end = spanEnd(s, i, marker)) {
        const std::string_view inner = s.substr(i + 1, *end - i - 1);
        std::optional<std::string> converted;
        if (c == '*' && !containsText(inner, '*')) {
          converted = "**" + std::string(inner) + "**";
        } else if (c == '/' && !containsText(inner, '*')) {
          converted = "*" + std::string(inner) + "*";
        } else if (c == '/' && !containsText(inner, '_')) {
          converted = "_" + std::string(inner) + "_";
        } else if ((c == '~' || c == '=') && !containsText(inner, '`')) {
          converted = "`" + std::string(inner) + "`";
        } else if (c == '+' && !containsText(inner, '~')) {
          converted = "~~" + std::string(inner) + "~~";
        }
        if (converted) {
          out += *converted;
          i = *end + 1;
          continue;
        }
      }
    }
    out += c;
    ++i;
  }
  return out;
}

std::string MarkupConverter::toOrgMark(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 8);
  std::size_t i = 0;
  while (i < s.size()) {
    if (const std::size_t address = bareAddress(s, i)) {
      out.append(s.substr(i, address));
      i += address;
      continue;
    }
    const char c = s[i];
    if (c == '[' || c == '!') {
      if (s.substr(i, 2) == "[[" && orgWouldConvert(s, i)) {
        out += kZeroWidthSpace;
        out += "[[";
        i += 2;
        continue;
      }
      if (auto link = markdownLinkAt(s, i)) {
        std::optional<std::string> converted;
        auto media = mediaPath(link->target);
        const bool plainText = !containsText(link->text, ']') && !containsText(link->text, '[');
        if (link->image && media && plainText) {
          converted = "[[file:" + std::string(*media) + "]" +
                      (link->text.empty() ? "" : "[" + std::string(link->text) + "]") + "]";
        } else if (!link->image && hasScheme(link->target) && !link->target.starts_with("file:") &&
                   plainText && !link->text.empty() && !containsText(link->target, ']')) {
          converted = "[[" + std::string(link->target) + "][" + std::string(link->text) + "]]";
        }
        out += converted ? *converted : std::string(s.substr(i, link->length));
        i += link->length;
        continue;
      }
    }
    if (s.substr(i, 5) == "<!-- ") {
      // A hidden note: Org hides the same text as a snippet of the "trivo" back end.
      const std::size_t end = s.find(" -->", i + 5);
      if (end != std::string_view::npos) {
        const std::string_view inner = s.substr(i + 5, end - i - 5);
        if (!inner.empty() && !isWhite(inner.front()) && !isWhite(inner.back()) &&
            inner.find("@@") == std::string_view::npos &&
            inner.find("--") == std::string_view::npos) {
          out += "@@trivo:" + std::string(inner) + "@@";
          i = end + 4;
          continue;
        }
      }
    }
    if (c == '<') {
      const std::size_t end = s.find('>', i + 1);
      if (end != std::string_view::npos) {
        const std::string_view target = s.substr(i + 1, end - i - 1);
        if (hasScheme(target) && !target.starts_with("file:") &&
            target.find_first_of(" \t[]()") == std::string_view::npos) {
          out += "[[" + std::string(target) + "]]";
          i = end + 1;
          continue;
        }
      }
    }
    if (c == '`') {
      if (auto end = spanEnd(s, i, "`")) {
        const std::string_view inner = s.substr(i + 1, *end - i - 1);
        if (!containsText(inner, '~')) {
          out += "~" + std::string(inner) + "~";
          i = *end + 1;
          continue;
        }
        if (!containsText(inner, '=')) {
          out += "=" + std::string(inner) + "=";
          i = *end + 1;
          continue;
        }
        out.append(s.substr(i, *end + 1 - i));
        i = *end + 1;
        continue;
      }
    }
    if (c == '*' || c == '_' || c == '~') {
      const std::string_view twice = s.substr(i, 2);
      if (twice.size() == 2 && twice[1] == c) {
        if (auto end = spanEnd(s, i, twice)) {
          const std::string_view inner = s.substr(i + 2, *end - i - 2);
          const char org = c == '~' ? '+' : '*';
          if (!containsText(inner, org)) {
            out += org + std::string(inner) + org;
            i = *end + 2;
            continue;
          }
        }
      } else if (c != '~') {
        if (auto end = spanEnd(s, i, s.substr(i, 1))) {
          const std::string_view inner = s.substr(i + 1, *end - i - 1);
          if (!containsText(inner, '/')) {
            out += "/" + std::string(inner) + "/";
            i = *end + 1;
            continue;
          }
        }
      }
    }
    // Markdown text that Org would read as a mark.
    if (containsText("/=~+", c) && spanEnd(s, i, s.substr(i, 1))) {
      out += kZeroWidthSpace;
      out += c;
      ++i;
      continue;
    }
    if (s.substr(i, kZeroWidthSpace.size()) == kZeroWidthSpace) {
      // A zero-width space of the person's own before a mark character would be taken for ours.
      const std::size_t next = i + kZeroWidthSpace.size();
      if (next < s.size() && containsText("/=~+*[", s[next])) out += kZeroWidthSpace;
    }
    out += c;
    ++i;
  }
  return out;
}

namespace {

std::vector<std::string_view> splitIntoLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string_view leadingBlanks(std::string_view line) {
  std::size_t k = 0;
  while (k < line.size() && (line[k] == ' ' || line[k] == '\t')) ++k;
  return line.substr(0, k);
}

std::string lowered(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

// The words after a fence or block opener ("python" in "```python").
std::string_view trimmedText(std::string_view s) {
  while (!s.empty() && isWhite(s.front())) s.remove_prefix(1);
  while (!s.empty() && isWhite(s.back())) s.remove_suffix(1);
  return s;
}

}  // namespace

std::string MarkupConverter::toOrg(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 16);
  std::optional<char> fence;  // the character of the open fence
  bool first = true;
  for (std::string_view line : splitIntoLines(text)) {
    if (!first) out += '\n';
    first = false;
    const std::string_view indent = leadingBlanks(line);
    const std::string_view rest = line.substr(indent.size());
    if (fence) {
      if (rest.size() >= 3 && rest.find_first_not_of(*fence) >= 3 &&
          trimmedText(rest).find_first_not_of(*fence) == std::string_view::npos) {
        out += std::string(indent) + (*fence == '`' ? "#+end_src" : "#+end_example");
        fence.reset();
      } else {
        out += line;
      }
      continue;
    }
    if ((rest.starts_with("```") || rest.starts_with("~~~"))) {
      const char c = rest[0];
      const std::size_t count = rest.find_first_not_of(c);
      const std::string_view info =
          trimmedText(count == std::string_view::npos ? std::string_view{} : rest.substr(count));
      if (count == 3 || count == std::string_view::npos) {
        if (!containsText(info, '`') && !containsText(info, '~')) {
          fence = c;
          out += std::string(indent) + (c == '`' ? "#+begin_src" : "#+begin_example") +
                 (info.empty() ? "" : " " + std::string(info));
          continue;
        }
      }
    }
    if (indent.empty() && line.starts_with("##")) {
      const std::size_t level = line.find_first_not_of('#');
      if (level != std::string_view::npos && level <= 6 && line[level] == ' ') {
        out += std::string(level - 1, '*') + " " + toOrgMark(line.substr(level + 1));
        continue;
      }
    }
    if (indent.empty() && line.starts_with("* ")) {
      out += "+ " + toOrgMark(line.substr(2));
      continue;
    }
    out += toOrgMark(line);
  }
  return out;
}

std::string MarkupConverter::toMarkdown(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 16);
  std::optional<std::string> blockEnd;  // "#+end_src" or "#+end_example" while inside one
  bool first = true;
  for (std::string_view line : splitIntoLines(text)) {
    if (!first) out += '\n';
    first = false;
    const std::string_view indent = leadingBlanks(line);
    const std::string_view rest = line.substr(indent.size());
    const std::string lower = lowered(rest);
    if (blockEnd) {
      if (trimmedText(lower) == *blockEnd) {
        out += std::string(indent) + (*blockEnd == "#+end_src" ? "```" : "~~~");
        blockEnd.reset();
      } else {
        out += line;
      }
      continue;
    }
    bool opened = false;
    for (const auto& [begin, end, fenceText] :
         {std::tuple{"#+begin_src", "#+end_src", "```"},
          std::tuple{"#+begin_example", "#+end_example", "~~~"}}) {
      const std::string_view opener = begin;
      if (lower.starts_with(opener) &&
          (lower.size() == opener.size() || lower[opener.size()] == ' ')) {
        const std::string_view info = trimmedText(rest.substr(opener.size()));
        if (!containsText(info, '`') && !containsText(info, '~')) {
          out += std::string(indent) + fenceText + std::string(info);
          blockEnd = end;
          opened = true;
        }
        break;
      }
    }
    if (opened) continue;
    if (line.starts_with("+ ")) {
      out += "* " + fromOrgMark(line.substr(2));
      continue;
    }
    if (line.starts_with("*")) {
      const std::size_t level = line.find_first_not_of('*');
      if (level != std::string_view::npos && level <= 5 && line[level] == ' ') {
        out += std::string(level + 1, '#') + " " + fromOrgMark(line.substr(level + 1));
        continue;
      }
    }
    out += fromOrgMark(line);
  }
  return out;
}

}  // namespace trivo

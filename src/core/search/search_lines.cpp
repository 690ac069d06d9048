// Splitting page text into indexed lines with their kinds and tags.
#include "core/search/search_lines.h"

#include <algorithm>

#include "core/format/legacy_headings.h"
#include "core/format/text_syntax.h"
#include "core/format/text_util.h"
#include "core/store/text_cache.h"

namespace trivo {
namespace {

bool isLineBlank(char c) { return c == ' ' || c == '\t'; }

bool isTagByte(char c) {
  const auto u = static_cast<unsigned char>(c);
  return u >= 0x80 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         c == '_' || c == '-' || c == '/';
}

bool startsTag(char c) {
  const auto u = static_cast<unsigned char>(c);
  return u >= 0x80 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The depth of a heading line in this syntax ("## x" → 2, "* x" → 1), 0 for other lines.
std::size_t headingDepth(std::string_view line, VaultFormat syntax) {
  const char marker = syntax == VaultFormat::markdown ? '#' : '*';
  std::size_t depth = 0;
  while (depth < line.size() && line[depth] == marker) ++depth;
  if (depth == 0 || depth >= line.size() || !isLineBlank(line[depth])) return 0;
  return depth;
}

// The kind of the lines under a section heading of a page.
SearchKind sectionKind(std::string_view title, EntryKey::Kind page) {
  const std::string_view name = text::trim(title);
  if (LegacyHeadings::names("outcomes", name) || text::lower(name).starts_with("outcomes")) {
    return SearchKind::outcomes;
  }
  if (page == EntryKey::Kind::day &&
      (LegacyHeadings::names("journal", name) || LegacyHeadings::names("notes", name))) {
    return SearchKind::journal;
  }
  if (page != EntryKey::Kind::day &&
      (LegacyHeadings::names("reflection", name) || LegacyHeadings::names("gratitude", name))) {
    return SearchKind::reflections;
  }
  return SearchKind::other;
}

void addFolded(std::vector<std::string>& tags, std::string_view tag) {
  std::string folded = TextCache::fold(tag);
  if (!folded.empty() && std::find(tags.begin(), tags.end(), folded) == tags.end()) {
    tags.push_back(std::move(folded));
  }
}

}  // namespace

std::vector<std::string> tagsInLine(std::string_view line, VaultFormat syntax) {
  std::vector<std::string> tags;
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    if (line[i] != '#' || (i > 0 && !isLineBlank(line[i - 1])) || !startsTag(line[i + 1])) continue;
    std::size_t end = i + 1;
    while (end < line.size() && isTagByte(line[end])) ++end;
    std::string_view tag = line.substr(i + 1, end - i - 1);
    while (!tag.empty() && (tag.back() == '-' || tag.back() == '/')) tag.remove_suffix(1);
    tags.emplace_back(tag);
    i = end - 1;
  }
  if (syntax == VaultFormat::org && headingDepth(line, syntax) > 0) {
    const std::string_view title = text::trimEnd(text::withoutCR(line));
    const std::size_t blank = title.find_last_of(" \t");
    const std::string_view last = blank == std::string_view::npos ? title : title.substr(blank + 1);
    if (blank != std::string_view::npos && last.size() > 2 && last.front() == ':' &&
        last.back() == ':') {
      std::size_t from = 1;
      while (from < last.size()) {
        const std::size_t colon = last.find(':', from);
        if (colon == std::string_view::npos) break;
        if (colon > from) tags.emplace_back(last.substr(from, colon - from));
        from = colon + 1;
      }
    }
  }
  return tags;
}

std::vector<SearchLine> searchLines(std::string_view text, VaultFormat syntax,
                                    const std::optional<EntryKey>& page) {
  std::vector<SearchLine> lines;
  const TextSyntax textSyntax = syntax == VaultFormat::org ? TextSyntax::org : TextSyntax::markdown;
  FenceTracker fences(textSyntax);
  // A page's sections are its headings of this depth; the page title of Markdown is one higher.
  const std::size_t sectionDepth = syntax == VaultFormat::markdown ? 2 : 1;
  SearchKind current = page && page->isInbox() ? SearchKind::inbox : SearchKind::other;
  std::vector<std::pair<std::size_t, std::vector<std::string>>> headings;
  std::size_t number = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::string_view line = text.substr(at, end - at);
    at = end + 1;
    ++number;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

    const bool fenceLine = fences.feed(line);
    const std::size_t depth = fenceLine || fences.inFence() ? 0 : headingDepth(line, syntax);
    std::vector<std::string> own;
    for (const std::string& tag : tagsInLine(line, syntax)) addFolded(own, tag);
    if (depth > 0) {
      while (!headings.empty() && headings.back().first >= depth) headings.pop_back();
      if (page && !page->isInbox() && depth == sectionDepth) {
        const auto title = textSyntax.splitTags(text::trim(line.substr(depth))).title;
        current = sectionKind(title, page->kind());
      }
      headings.emplace_back(depth, own);
    }
    SearchLine entry{number, line, current, own};
    for (const auto& heading : headings) {
      for (const std::string& tag : heading.second) addFolded(entry.tags, tag);
    }
    lines.push_back(std::move(entry));
  }
  return lines;
}

}  // namespace trivo

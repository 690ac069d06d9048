// Counting tags over page texts.
#include "core/indexes/tag_index.h"

#include <algorithm>

#include "core/search/search_lines.h"
#include "core/store/text_cache.h"

namespace trivo {
namespace {

std::string folded(std::string_view tag) {
  while (!tag.empty() && (tag.front() == '#' || tag.front() == ':')) tag.remove_prefix(1);
  return TextCache::fold(tag);
}

}  // namespace

void TagIndex::add(std::string_view text, VaultFormat syntax) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::vector<std::string> onLine;
    for (std::string& tag : tagsInLine(text.substr(at, end - at), syntax)) {
      std::string key = folded(tag);
      if (key.empty() || std::find(onLine.begin(), onLine.end(), key) != onLine.end()) continue;
      onLine.push_back(key);
      Seen& seen = tags_[key];
      if (seen.name.empty()) seen.name = std::move(tag);
      ++seen.count;
    }
    at = end + 1;
  }
}

std::vector<TagCount> TagIndex::list(const std::vector<std::string>& pins,
                                     const std::map<std::string, std::string>& colors) const {
  std::map<std::string, std::string> colorByKey;
  for (const auto& [name, color] : colors) colorByKey.emplace(folded(name), color);
  auto colorOf = [&](const std::string& key) -> std::optional<std::string> {
    const auto it = colorByKey.find(key);
    if (it == colorByKey.end()) return std::nullopt;
    return it->second;
  };
  std::vector<TagCount> out;
  std::vector<std::string> pinnedKeys;
  for (const std::string& pin : pins) {
    const std::string key = folded(pin);
    if (key.empty() || std::find(pinnedKeys.begin(), pinnedKeys.end(), key) != pinnedKeys.end()) {
      continue;
    }
    pinnedKeys.push_back(key);
    const auto it = tags_.find(key);
    std::string name(pin);
    while (!name.empty() && name.front() == '#') name.erase(0, 1);
    out.push_back(TagCount{it == tags_.end() ? name : it->second.name,
                           it == tags_.end() ? 0 : it->second.count, true, colorOf(key)});
  }
  const std::size_t rest = out.size();
  for (const auto& [key, seen] : tags_) {
    if (std::find(pinnedKeys.begin(), pinnedKeys.end(), key) != pinnedKeys.end()) continue;
    out.push_back(TagCount{seen.name, seen.count, false, colorOf(key)});
  }
  std::stable_sort(out.begin() + static_cast<std::ptrdiff_t>(rest), out.end(),
                   [](const TagCount& a, const TagCount& b) { return a.count > b.count; });
  return out;
}

}  // namespace trivo

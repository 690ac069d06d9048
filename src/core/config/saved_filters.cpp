// The edits of saved filter lists.
#include "core/config/saved_filters.h"

#include <algorithm>

namespace trivo {
namespace {

using List = SavedFilters::List;

List::iterator find(List& list, std::string_view name) {
  return std::find_if(list.begin(), list.end(),
                      [&](const SavedFilter& f) { return f.name == name; });
}

bool taken(const List& list, std::string_view name, const SavedFilter* except) {
  return std::any_of(list.begin(), list.end(),
                     [&](const SavedFilter& f) { return &f != except && f.name == name; });
}

std::string uniqueName(const List& list, std::string_view wanted, const SavedFilter* except) {
  std::string name(wanted);
  for (int n = 2; taken(list, name, except); ++n)
    name = std::string(wanted) + " " + std::to_string(n);
  return name;
}

}  // namespace

List SavedFilters::saving(List list, SavedFilter filter) {
  if (auto it = find(list, filter.name); it != list.end()) {
    *it = std::move(filter);
  } else {
    list.push_back(std::move(filter));
  }
  return list;
}

List SavedFilters::adding(List list, SavedFilter filter) {
  filter.name = uniqueName(list, filter.name, nullptr);
  list.push_back(std::move(filter));
  return list;
}

List SavedFilters::removing(List list, std::string_view name) {
  if (auto it = find(list, name); it != list.end()) list.erase(it);
  return list;
}

List SavedFilters::renaming(List list, std::string_view name, std::string_view newName) {
  if (newName.empty()) return list;
  if (auto it = find(list, name); it != list.end()) it->name = uniqueName(list, newName, &*it);
  return list;
}

List SavedFilters::replacing(List list, std::string_view name, SavedFilter filter) {
  if (auto it = find(list, name); it != list.end()) {
    *it = std::move(filter);
    it->name = uniqueName(list, it->name, &*it);
  }
  return list;
}

List SavedFilters::moving(List list, std::string_view name, std::int64_t offset) {
  auto it = find(list, name);
  if (it == list.end()) return list;
  const auto from = static_cast<std::int64_t>(it - list.begin());
  const auto last = static_cast<std::int64_t>(list.size()) - 1;
  // Clamp before adding so that a huge offset cannot overflow.
  const std::int64_t step = std::clamp(offset, -last, last);
  const std::int64_t to = std::clamp(from + step, std::int64_t{0}, last);
  SavedFilter moved = std::move(*it);
  list.erase(it);
  list.insert(list.begin() + to, std::move(moved));
  return list;
}

List SavedFilters::renamingTag(List list, std::string_view tag, std::string_view newTag) {
  for (auto& filter : list) {
    std::vector<std::string> tags;
    for (const auto& t : filter.tags) {
      std::string next = t == tag ? std::string(newTag) : t;
      if (!next.empty() && std::find(tags.begin(), tags.end(), next) == tags.end()) {
        tags.push_back(std::move(next));
      }
    }
    filter.tags = std::move(tags);
  }
  return list;
}

List SavedFilters::styling(List list, std::string_view name, std::optional<std::string> tint,
                           bool bold) {
  if (auto it = find(list, name); it != list.end()) {
    it->tint = std::move(tint);
    it->bold = bold;
  }
  return list;
}

std::optional<std::size_t> SavedFilters::active(const List& list,
                                                const std::vector<std::string>& tags, bool matchAll,
                                                std::string_view words) {
  auto sorted = [](std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
    return v;
  };
  const auto wanted = sorted(tags);
  for (std::size_t i = 0; i < list.size(); ++i) {
    const auto& f = list[i];
    if (f.matchAll == matchAll && f.words == words && sorted(f.tags) == wanted) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> SavedFilters::step(const List& list, std::optional<std::size_t> current,
                                              std::int64_t by) {
  if (list.empty()) return std::nullopt;
  const auto size = static_cast<std::int64_t>(list.size());
  // "Before the first" is position -1, so one step forward lands on the first filter.
  const std::int64_t from =
      current && *current < list.size() ? static_cast<std::int64_t>(*current) : -1;
  const std::int64_t to = ((from + by % size) % size + size) % size;
  return static_cast<std::size_t>(to);
}

std::vector<std::string> SavedFilters::tags(std::string_view text) {
  std::vector<std::string> out;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && (text[i] == ' ' || text[i] == ',' || text[i] == '\t')) ++i;
    std::size_t end = i;
    while (end < text.size() && text[end] != ' ' && text[end] != ',' && text[end] != '\t') ++end;
    std::string_view word = text.substr(i, end - i);
    while (!word.empty() && word.front() == '#') word.remove_prefix(1);
    if (!word.empty() && std::find(out.begin(), out.end(), word) == out.end()) {
      out.emplace_back(word);
    }
    i = end;
  }
  return out;
}

void to_json(Json& j, const SavedFilter& f) {
  j = Json::object();
  json::put(j, "name", f.name);
  json::put(j, "tags", f.tags);
  json::put(j, "matchAll", f.matchAll);
  json::put(j, "words", f.words);
  json::put(j, "color", f.color);
  json::put(j, "tint", f.tint);
  json::put(j, "bold", f.bold);
  json::put(j, "icon", f.icon);
}

void from_json(const Json& j, SavedFilter& f) {
  json::requireObject(j, "SavedFilter");
  json::take(j, "name", f.name);
  json::take(j, "tags", f.tags);
  json::take(j, "matchAll", f.matchAll);
  json::take(j, "words", f.words);
  json::take(j, "color", f.color);
  json::take(j, "tint", f.tint);
  json::take(j, "bold", f.bold);
  json::take(j, "icon", f.icon);
}

}  // namespace trivo

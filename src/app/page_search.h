// What the Search screen asks of a search engine: the lines of the vault's pages that match a
// query, grouped by page. Any engine can stand behind it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trivo::app {

struct SearchHit {
  std::string page;      // the page's id as links name it: "2026-09-16", "2026-W38", "inbox"
  std::string file;      // relative to the vault
  std::size_t line = 0;  // from 1
  std::string text;      // the line, trimmed
  bool operator==(const SearchHit&) const = default;
};

class PageSearch {
 public:
  virtual ~PageSearch() = default;
  // At most `limit` hits, newest pages first, every word of the query on the line (letter case
  // ignored); nothing for a blank query. Never throws: unreadable files are skipped.
  virtual std::vector<SearchHit> find(std::string_view query, std::size_t limit) = 0;
};

}  // namespace trivo::app

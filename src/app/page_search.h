// What the Search screen asks of a search engine: the lines of the vault's pages that match a
// query, grouped by page. Any engine can stand behind it.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace trivo::app {

struct SearchHit {
  std::string page;      // the page's id as links name it: "2026-09-16", "2026-W38", "inbox";
                         // empty for a file that is not a period page
  std::string file;      // relative to the vault
  std::size_t line = 0;  // from 1
  std::string text;      // the line, as a person reads it
  bool operator==(const SearchHit&) const = default;
};

// A query the engine cannot answer; the message is one sentence for the person.
class PageSearchError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class PageSearch {
 public:
  // How far reading the vault has come (files read, files in all), when a query must first read
  // every page.
  using Progress = std::function<void(std::size_t, std::size_t)>;

  virtual ~PageSearch() = default;
  // At most `limit` hits, grouped by page, newest pages first; nothing for a blank query.
  // Throws PageSearchError for a query it cannot read or an index it cannot keep.
  virtual std::vector<SearchHit> find(std::string_view query, std::size_t limit,
                                      const Progress& progress) = 0;
};

}  // namespace trivo::app

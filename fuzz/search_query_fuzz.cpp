// Reads arbitrary text as a search query. Reading either succeeds or refuses with a sentence;
// a query that reads must read the same from its own words, and marking a line must give
// ranges inside it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/search/search_index.h"
#include "core/search/search_query.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    const trivo::SearchQuery query = trivo::SearchQuery::parse(text);
    if (query.asksNothing()) std::abort();
    if (query.from && query.to && *query.to < *query.from) std::abort();
    // Folding is idempotent, so the terms read back as themselves when written as phrases.
    std::string again;
    for (const std::string& term : query.terms) {
      if (term.find('"') == std::string::npos) again += "\"" + term + "\" ";
    }
    for (const auto& [from, to] : trivo::SearchIndex::marks(text, query)) {
      if (from >= to || to > text.size()) std::abort();
    }
    if (!again.empty()) {
      const trivo::SearchQuery reread = trivo::SearchQuery::parse(again);
      for (const std::string& term : reread.terms) {
        if (std::find(query.terms.begin(), query.terms.end(), term) == query.terms.end()) {
          std::abort();
        }
      }
    }
  } catch (const trivo::SearchQueryError& e) {
    const std::string_view what = e.what();
    if (what.empty() || what.back() != '.') std::abort();
  }
  return 0;
}

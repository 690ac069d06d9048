// Reads arbitrary text as a search query. Reading either succeeds or refuses with a sentence;
// a query that reads must read the same from its own words, and marking a line must give
// ranges inside it. The text is also folded as a line that search reads from a page: the folder
// that remembers characters must fold it as fold() does, and up to where it says the text stops
// folding byte for byte, folding must only lower ASCII.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/search/search_index.h"
#include "core/search/search_query.h"
#include "core/store/text_cache.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  static trivo::TextCache::Folder folder;  // kept from one input to the next, as a reader's is
  std::string folded;
  folder.fold(text, folded);
  if (folded != trivo::TextCache::fold(text)) std::abort();
  const std::string_view same = text.substr(0, std::min(folder.nextChanged(text, 0), size));
  std::string lowered(same);
  for (char& c : lowered) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  if (lowered != trivo::TextCache::fold(same)) std::abort();
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

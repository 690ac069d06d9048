// Reading the search language into a SearchQuery.
#include "core/search/search_query.h"

#include <algorithm>

#include "core/config/saved_filters.h"
#include "core/config/vault_config.h"
#include "core/format/text_util.h"
#include "core/store/text_cache.h"

namespace trivo {
namespace {

// Every control character separates words: none can be typed into a line of a page that the
// search would match, and folding would not keep them as they are.
bool isSeparator(char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; }

// The person's word inside a sentence: control characters (a NUL would end the message where it
// stands) are shown as U+FFFD.
std::string inQuotes(std::string_view text) {
  std::string shown;
  for (char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      shown += "\xEF\xBF\xBD";
    } else {
      shown += c;
    }
  }
  return "\xE2\x80\x9C" + shown + "\xE2\x80\x9D";
}

// A tag as written after "tag:" or in a setting: "#work" and "work" name the same tag.
std::string tagName(std::string_view text) {
  while (!text.empty() && (text.front() == '#' || text.front() == ':')) text.remove_prefix(1);
  while (!text.empty() && text.back() == ':') text.remove_suffix(1);
  return TextCache::fold(text);
}

// A word or phrase as the index holds text: folded, and trimmed after folding too, since a
// spacing accent ("˚", "¨") folds to a space.
std::string foldedTerm(std::string_view text) {
  return std::string(text::trim(TextCache::fold(text::trim(text))));
}

void addUnique(std::vector<std::string>& list, std::string value) {
  if (!value.empty() && std::find(list.begin(), list.end(), value) == list.end()) {
    list.push_back(std::move(value));
  }
}

DayDate dayBound(std::string_view word, std::string_view value) {
  if (auto day = DayDate::parse(value)) return *day;
  throw SearchQueryError(inQuotes(word) +
                         " is not a day; write days as YYYY-MM-DD, as in from:2026-01-31.");
}

SearchKind kindBound(std::string_view word, std::string_view value) {
  if (auto kind = searchKindNamed(text::lower(value))) return *kind;
  throw SearchQueryError(inQuotes(word) +
                         " names no part of the vault; use in:journal, in:inbox, in:outcomes, "
                         "in:reflections or in:other.");
}

// Everything but the check that the query asks for something.
SearchQuery readWords(std::string_view text) {
  SearchQuery query;
  std::vector<SearchKind> leftOut;
  std::size_t at = 0;
  while (at < text.size()) {
    if (isSeparator(text[at])) {
      ++at;
      continue;
    }
    bool negated = false;
    if (text[at] == '-' && at + 1 < text.size() && !isSeparator(text[at + 1])) {
      negated = true;
      ++at;
    }
    if (text[at] == '"') {
      // A phrase runs to the closing quote, or to the end when it is never closed.
      const std::size_t close = text.find('"', at + 1);
      const std::size_t end = close == std::string_view::npos ? text.size() : close;
      std::string phrase = foldedTerm(text.substr(at + 1, end - at - 1));
      addUnique(negated ? query.excluded : query.terms, std::move(phrase));
      at = close == std::string_view::npos ? text.size() : close + 1;
      continue;
    }
    std::size_t end = at;
    while (end < text.size() && !isSeparator(text[end])) ++end;
    const std::string_view word = text.substr(at, end - at);
    at = end;
    const std::size_t colon = word.find(':');
    const std::string field =
        colon == std::string_view::npos ? std::string() : text::lower(word.substr(0, colon));
    const std::string_view value =
        colon == std::string_view::npos ? std::string_view() : word.substr(colon + 1);
    if (!value.empty() && field == "tag") {
      addUnique(negated ? query.excludedTags : query.tags, tagName(value));
    } else if (!value.empty() && field == "in") {
      const SearchKind kind = kindBound(word, value);
      if (negated) {
        leftOut.push_back(kind);
      } else if (std::find(query.kinds.begin(), query.kinds.end(), kind) == query.kinds.end()) {
        query.kinds.push_back(kind);
      }
    } else if (!value.empty() && field == "from" && !negated) {
      query.from = dayBound(word, value);
    } else if (!value.empty() && field == "to" && !negated) {
      query.to = dayBound(word, value);
    } else {
      addUnique(negated ? query.excluded : query.terms, foldedTerm(word));
    }
  }
  if (!leftOut.empty()) {
    if (query.kinds.empty()) {
      for (std::size_t i = 0; i < kSearchKindNames.size(); ++i) {
        query.kinds.push_back(static_cast<SearchKind>(i));
      }
    }
    std::erase_if(query.kinds, [&](SearchKind k) {
      return std::find(leftOut.begin(), leftOut.end(), k) != leftOut.end();
    });
    if (query.kinds.empty()) {
      throw SearchQueryError("The query leaves out every part of the vault, so nothing can match.");
    }
  }
  if (query.from && query.to && *query.to < *query.from) {
    throw SearchQueryError("The query asks for days from " + query.from->isoString() + " to " +
                           query.to->isoString() + ", which end before they begin.");
  }
  return query;
}

SearchQuery checked(SearchQuery query, std::string_view what) {
  if (query.asksNothing()) {
    throw SearchQueryError(std::string(what) +
                           " asks for nothing; give a word, a \"phrase\", tag:NAME, in:KIND or "
                           "from:DAY.");
  }
  return query;
}

}  // namespace

std::optional<SearchKind> searchKindNamed(std::string_view name) {
  for (std::size_t i = 0; i < kSearchKindNames.size(); ++i) {
    if (kSearchKindNames[i] == name) return static_cast<SearchKind>(i);
  }
  return std::nullopt;
}

SearchQuery SearchQuery::parse(std::string_view text) {
  return checked(readWords(text), "The search");
}

SearchQuery SearchQuery::fromSaved(const SavedSearch& saved) {
  SearchQuery query = readWords(saved.words);
  for (const std::string& tag : saved.tags) addUnique(query.tags, tagName(tag));
  if (!text::trim(saved.kind).empty()) {
    const SearchKind kind = kindBound("in:" + saved.kind, text::trim(saved.kind));
    if (std::find(query.kinds.begin(), query.kinds.end(), kind) == query.kinds.end()) {
      query.kinds.push_back(kind);
    }
  }
  for (const std::string& hidden : saved.hide) {
    if (const auto kind = searchKindNamed(text::lower(text::trim(hidden)))) {
      if (query.kinds.empty()) {
        for (std::size_t i = 0; i < kSearchKindNames.size(); ++i) {
          query.kinds.push_back(static_cast<SearchKind>(i));
        }
      }
      std::erase(query.kinds, *kind);
    } else {
      addUnique(query.excluded, foldedTerm(hidden));
    }
  }
  return checked(std::move(query), "The saved search " + inQuotes(saved.name));
}

SearchQuery SearchQuery::fromFilter(const SavedFilter& filter) {
  SearchQuery query = readWords(filter.words);
  for (const std::string& tag : filter.tags) {
    addUnique(filter.matchAll ? query.tags : query.anyTags, tagName(tag));
  }
  return checked(std::move(query), "The saved filter " + inQuotes(filter.name));
}

bool SearchQuery::asksNothing() const {
  return terms.empty() && tags.empty() && anyTags.empty() && kinds.empty() && !from && !to &&
         excludedTags.empty() && excluded.empty();
}

bool SearchQuery::allows(SearchKind kind) const {
  return kinds.empty() || std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

bool SearchQuery::allowsText(std::string_view flat) const {
  for (const std::string& term : terms) {
    if (flat.find(term) == std::string_view::npos) return false;
  }
  for (const std::string& term : excluded) {
    if (flat.find(term) != std::string_view::npos) return false;
  }
  return true;
}

}  // namespace trivo

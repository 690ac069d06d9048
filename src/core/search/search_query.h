// A search as a person types it ("coffee -decaf \"with Ana\" tag:work in:journal from:2026-01-01"),
// read into what a matching line must and must not contain.
#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/day_date.h"

namespace trivo {

struct SavedSearch;
struct SavedFilter;

// Where a line stands in the vault: the journal (a day's journal and notes), the inbox, an
// outcomes section, a reflection (or a year's gratitude), or anywhere else.
enum class SearchKind { journal, inbox, outcomes, reflections, other };
inline constexpr std::array<std::string_view, 5> kSearchKindNames = {"journal", "inbox", "outcomes",
                                                                     "reflections", "other"};
std::optional<SearchKind> searchKindNamed(std::string_view name);

// A query that cannot be read; the message is one sentence for the person.
class SearchQueryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct SearchQuery {
  // Folded words and phrases that a matching line contains, each anywhere in the line.
  std::vector<std::string> terms;
  // Folded words and phrases that a matching line does not contain.
  std::vector<std::string> excluded;
  // Folded tag names that a matching line carries, all of them.
  std::vector<std::string> tags;
  // When not empty, a matching line carries at least one of these folded tag names.
  std::vector<std::string> anyTags;
  // Folded tag names that a matching line does not carry.
  std::vector<std::string> excludedTags;
  // When not empty, the kinds a matching line may have.
  std::vector<SearchKind> kinds;
  // Pages whose days all lie outside from..to (both inclusive) are left out; so are pages
  // without days (the inbox, other Org files) when either bound is given.
  std::optional<DayDate> from;
  std::optional<DayDate> to;

  // Reads the query language: words (all must appear in the line), "exact phrase", -word and
  // -"phrase", tag:NAME (also -tag:NAME), in:KIND (several widen the set; -in:KIND leaves one
  // out), from:DAY and to:DAY. Case and accents are folded. Throws SearchQueryError for an
  // unknown kind, a day that is not YYYY-MM-DD, from after to, or a query that asks for
  // nothing.
  static SearchQuery parse(std::string_view text);
  // A saved search: its words as a query, every tag required, its kind as in:, and each entry of
  // `hide` a kind left out when it names one, else a word left out. Throws as parse does.
  static SearchQuery fromSaved(const SavedSearch& saved);
  // A saved filter: its words as a query and its tags, all of them when `matchAll`, else any.
  static SearchQuery fromFilter(const SavedFilter& filter);

  // True when the query would match every line: no term, tag, kind or day bound.
  [[nodiscard]] bool asksNothing() const;
  // Whether a line of this kind may match.
  [[nodiscard]] bool allows(SearchKind kind) const;
  // Whether a folded line holds every term and none of the words left out.
  [[nodiscard]] bool allowsText(std::string_view flat) const;
  // Whether a line whose tags `carries` tells (called with a folded tag name) has the tags asked
  // for and none of those left out.
  template <class Carries>
  [[nodiscard]] bool allowsTags(const Carries& carries) const {
    for (const std::string& tag : tags) {
      if (!carries(tag)) return false;
    }
    for (const std::string& tag : excludedTags) {
      if (carries(tag)) return false;
    }
    if (anyTags.empty()) return true;
    for (const std::string& tag : anyTags) {
      if (carries(tag)) return true;
    }
    return false;
  }
  // Whether the lines' kinds or tags matter: the only things that need a page's sections read.
  [[nodiscard]] bool asksKindsOrTags() const {
    return !kinds.empty() || !tags.empty() || !excludedTags.empty() || !anyTags.empty();
  }

  bool operator==(const SearchQuery&) const = default;
};

}  // namespace trivo

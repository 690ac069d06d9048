// The search language: what each query asks of a line, and the queries refused.
#include "core/search/search_query.h"

#include <gtest/gtest.h>

#include "core/config/saved_filters.h"
#include "core/config/vault_config.h"

namespace trivo {
namespace {

using K = SearchKind;

SearchQuery words(std::vector<std::string> terms, std::vector<std::string> excluded = {}) {
  SearchQuery q;
  q.terms = std::move(terms);
  q.excluded = std::move(excluded);
  return q;
}

TEST(SearchQuery, ReadsEachPartOfTheLanguage) {
  const DayDate jan1 = *DayDate::make(2026, 1, 1);
  const DayDate mar31 = *DayDate::make(2026, 3, 31);
  struct Row {
    std::string text;
    SearchQuery expected;
  };
  auto with = [](SearchQuery q, auto&& change) {
    change(q);
    return q;
  };
  const std::vector<Row> rows = {
      {"coffee", words({"coffee"})},
      {"  Coffee   BEANS ", words({"coffee", "beans"})},
      {"Café", words({"cafe"})},
      {"ÅNGSTRÖM straße", words({"angstrom", "strasse"})},
      {"\"with Ana\" park", words({"with ana", "park"})},
      {"\"unclosed phrase", words({"unclosed phrase"})},
      {"coffee -decaf -\"instant coffee\"", words({"coffee"}, {"decaf", "instant coffee"})},
      {"coffee coffee", words({"coffee"})},
      // A spacing accent folds to a space, which a word or phrase does not keep at its ends (a
      // fuzz input: the word read back as a phrase read differently).
      {"x˚ \"˚ring\"", words({"x", "ring"})},
      {"a - b", words({"a", "-", "b"})},
      {"tag:Work", with(SearchQuery{}, [](SearchQuery& q) { q.tags = {"work"}; })},
      {"tag:#Café -tag:old", with(SearchQuery{},
                                  [](SearchQuery& q) {
                                    q.tags = {"cafe"};
                                    q.excludedTags = {"old"};
                                  })},
      {"in:journal in:INBOX", with(SearchQuery{},
                                   [](SearchQuery& q) {
                                     q.kinds = {K::journal, K::inbox};
                                   })},
      {"-in:inbox", with(SearchQuery{},
                         [](SearchQuery& q) {
                           q.kinds = {K::journal, K::outcomes, K::reflections, K::other};
                         })},
      {"run from:2026-01-01 to:2026-03-31", with(words({"run"}),
                                                 [&](SearchQuery& q) {
                                                   q.from = jan1;
                                                   q.to = mar31;
                                                 })},
      // A field without a value, or one the language does not know, is a word.
      {"tag: to:", words({"tag:", "to:"})},
      {"http://example.org", words({"http://example.org"})},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(SearchQuery::parse(row.text), row.expected) << row.text;
  }
}

TEST(SearchQuery, RefusesWhatCannotBeReadWithOneSentence) {
  const std::vector<std::pair<std::string, std::string>> rejected = {
      {"", "The search asks for nothing"},
      {"   \"\"  ", "The search asks for nothing"},
      {"in:diary", "\xE2\x80\x9Cin:diary\xE2\x80\x9D names no part of the vault"},
      {"from:2026-13-01",
       "\xE2\x80\x9C"
       "from:2026-13-01\xE2\x80\x9D is not a day"},
      {"to:yesterday", "is not a day"},
      {"from:2026-03-01 to:2026-02-01", "which end before they begin"},
      {"-in:journal -in:inbox -in:outcomes -in:reflections -in:other", "leaves out every part"},
  };
  for (const auto& [text, message] : rejected) {
    try {
      (void)SearchQuery::parse(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const SearchQueryError& e) {
      const std::string what = e.what();
      EXPECT_NE(what.find(message), std::string::npos) << text << ": " << what;
      EXPECT_TRUE(what.ends_with(".")) << what;
    }
  }
}

TEST(SearchQuery, SavedSearchesAndFiltersBecomeQueries) {
  SavedSearch saved{"Runs", "run -treadmill", {"#Sport"}, "journal", {"inbox", "rain"}};
  SearchQuery expected = words({"run"}, {"treadmill", "rain"});
  expected.tags = {"sport"};
  expected.kinds = {K::journal};
  EXPECT_EQ(SearchQuery::fromSaved(saved), expected);

  SavedFilter any{"Family",     {"Mum", "dad"}, false, "",
                  std::nullopt, std::nullopt,   false, std::nullopt};
  SearchQuery anyExpected;
  anyExpected.anyTags = {"mum", "dad"};
  EXPECT_EQ(SearchQuery::fromFilter(any), anyExpected);
  any.matchAll = true;
  SearchQuery allExpected;
  allExpected.tags = {"mum", "dad"};
  EXPECT_EQ(SearchQuery::fromFilter(any), allExpected);

  SavedFilter empty;
  empty.name = "Empty";
  EXPECT_THROW((void)SearchQuery::fromFilter(empty), SearchQueryError);
  EXPECT_THROW((void)SearchQuery::fromSaved(SavedSearch{"Odd", "x", {}, "diary", {}}),
               SearchQueryError);
}

}  // namespace
}  // namespace trivo

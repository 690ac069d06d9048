// Search over real temporary vaults in both syntaxes: folding, the query language, lines and
// their kinds and tags, incremental updates, and indexes that are damaged on disk.
#include "core/search/search_index.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "core/search/search_lines.h"
#include "core/store/text_cache.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

const std::string kMarkdownDay = R"(---
date: 2026-09-16
type: day
---
# Wednesday, 16 September 2026

## Outcomes
- [ ] Ship the report #work
- [ ] Call the bank

## Notes
Coffee at the Café Müller with Ana.
Bought COFFEE beans.

## Journal
- 09:14 — Met Ana at the park #friends
  she moved to Lyon
- 18:00 — Decaf coffee, sadly

## Sessions
)";

const std::string kOrgDay = R"(#+title: Wednesday, 16 September 2026
#+date: 2026-09-16
#+type: day
#+TODO: TODO NEXT | DONE


* Outcomes
** TODO Ship the report :work:
** TODO Call the bank

* Notes
Coffee at the Café Müller with Ana.
Bought COFFEE beans.

* Journal
- [2026-09-16 Wed 09:14] Met Ana at the park #friends
  she moved to Lyon
- [2026-09-16 Wed 18:00] Decaf coffee, sadly
)";

// Each query runs in both syntaxes, and three ways: with an index that looks at every file before
// each search (a command's), with one that watches the folders and answers from the lines it
// holds in memory (the window's), and reading the files themselves (a command's, for a word
// most lines hold). All three must find the same lines. What only an index keeps (updates and
// its database) runs the first two ways.
enum class Way { looking, watching, reading };

class SearchVault : public ::testing::Test {
 protected:
  SearchVault(VaultFormat format, Way way) : format_(format), way_(way) {
    writePage("days/2026-09-16" + ext(), format == VaultFormat::org ? kOrgDay : kMarkdownDay);
    writePage("days/2025-01-02" + ext(), "Cafe notes from last year\n");
    writePage("weeks/2026-W38" + ext(), "Weekly coffee review\n");
    writePage("inbox" + ext(), "- [ ] buy coffee filters #errands\n");
  }
  std::string ext() const { return format_ == VaultFormat::org ? ".org" : ".md"; }
  fs::path vault() const { return dir_.path() / "vault"; }
  void writePage(const std::string& relative, const std::string& text) const {
    dir_.write("vault/" + relative, text);
  }

  SearchIndex::Options options() const {
    SearchIndex::Options o;
    o.vault = vault();
    o.format = format_;
    o.watchFolders = way_ == Way::watching;
    o.plan = way_ == Way::reading ? SearchIndex::Options::Plan::files
                                  : SearchIndex::Options::Plan::index;
    o.cacheFolder = dir_.path() / "cache";
    o.context = 1;
    return o;
  }

  // "file:line" for every matching line, in the order found.
  std::vector<std::string> find(const std::string& query, SearchIndex::Options o) const {
    SearchIndex index(std::move(o));
    std::vector<std::string> out;
    for (const SearchPage& page : index.search(SearchQuery::parse(query))) {
      for (std::size_t n : page.matches) out.push_back(page.file + ":" + std::to_string(n));
    }
    return out;
  }
  std::vector<std::string> find(const std::string& query) const { return find(query, options()); }

  testing::TempDir dir_;
  VaultFormat format_;
  Way way_;
};

std::string searchWayName(VaultFormat format, Way way) {
  return std::string(format == VaultFormat::org ? "Org" : "Markdown") +
         (way == Way::looking    ? "Looking"
          : way == Way::watching ? "Watching"
                                 : "Reading");
}

class SearchIndexTest : public SearchVault,
                        public ::testing::WithParamInterface<std::tuple<VaultFormat, Way>> {
 protected:
  SearchIndexTest() : SearchVault(std::get<0>(GetParam()), std::get<1>(GetParam())) {}
};

INSTANTIATE_TEST_SUITE_P(
    BothSyntaxes, SearchIndexTest,
    ::testing::Combine(::testing::Values(VaultFormat::markdown, VaultFormat::org),
                       ::testing::Values(Way::looking, Way::watching, Way::reading)),
    [](const auto& p) { return searchWayName(std::get<0>(p.param), std::get<1>(p.param)); });

// The ways that keep an index, and the one that watches the folders.
class SearchIndexKept : public SearchIndexTest {};

INSTANTIATE_TEST_SUITE_P(
    BothSyntaxes, SearchIndexKept,
    ::testing::Combine(::testing::Values(VaultFormat::markdown, VaultFormat::org),
                       ::testing::Values(Way::looking, Way::watching)),
    [](const auto& p) { return searchWayName(std::get<0>(p.param), std::get<1>(p.param)); });

class SearchIndexWatching : public SearchVault, public ::testing::WithParamInterface<VaultFormat> {
 protected:
  SearchIndexWatching() : SearchVault(GetParam(), Way::watching) {}
};

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, SearchIndexWatching, testing::bothSyntaxes(),
                         testing::syntaxName);

TEST_P(SearchIndexTest, FoldsCaseAndAccentsBothWays) {
  const std::string day = "days/2026-09-16" + ext();
  EXPECT_EQ(find("café"),
            (std::vector<std::string>{day + ":12", "days/2025-01-02" + ext() + ":1"}));
  EXPECT_EQ(find("CAFE mueller").size(), 0u);
  EXPECT_EQ(find("cafe muller"), std::vector<std::string>{day + ":12"});
}

TEST_P(SearchIndexTest, NewestPageFirstThenTheInbox) {
  std::vector<std::string> files;
  for (const SearchPage& page : SearchIndex(options()).search(SearchQuery::parse("coffee"))) {
    files.push_back(page.file);
  }
  // The week ends on Sunday 20 September, after the day page.
  EXPECT_EQ(files, (std::vector<std::string>{"weeks/2026-W38" + ext(), "days/2026-09-16" + ext(),
                                             "inbox" + ext()}));
}

TEST_P(SearchIndexTest, PhrasesWordsInAnyOrderAndLeftOutWords) {
  const std::string day = "days/2026-09-16" + ext();
  EXPECT_EQ(find("\"with ana\""), std::vector<std::string>{day + ":12"});
  EXPECT_EQ(find("\"ana with\"").size(), 0u);
  EXPECT_EQ(find("ana with"), std::vector<std::string>{day + ":12"});
  EXPECT_EQ(find("coffee in:journal -decaf"), (std::vector<std::string>{day + ":12", day + ":13"}));
  // Two-letter words are matched too, though the trigram index cannot look them up.
  EXPECT_EQ(find("ly in:journal"), (std::vector<std::string>{day + ":17", day + ":18"}));
}

TEST_P(SearchIndexTest, TagsKindsAndDays) {
  const std::string day = "days/2026-09-16" + ext();
  EXPECT_EQ(find("tag:friends"), std::vector<std::string>{day + ":16"});
  EXPECT_EQ(find("tag:work"), std::vector<std::string>{day + ":8"});
  EXPECT_EQ(find("tag:errands coffee"), std::vector<std::string>{"inbox" + ext() + ":1"});
  EXPECT_EQ(find("bank in:outcomes").size(), 1u);
  EXPECT_EQ(find("bank in:journal").size(), 0u);
  EXPECT_EQ(find("coffee in:inbox"), std::vector<std::string>{"inbox" + ext() + ":1"});
  EXPECT_EQ(find("cafe to:2025-12-31"),
            (std::vector<std::string>{"days/2025-01-02" + ext() + ":1"}));
  // A week reaches into the days it spans; undated pages stay out of a bounded search.
  EXPECT_EQ(find("coffee from:2026-09-20"),
            (std::vector<std::string>{"weeks/2026-W38" + ext() + ":1"}));
}

TEST_P(SearchIndexTest, NeighboursAroundEachMatch) {
  SearchIndex index(options());
  const auto pages = index.search(SearchQuery::parse("lyon"));
  ASSERT_EQ(pages.size(), 1u);
  EXPECT_EQ(pages[0].matches, std::vector<std::size_t>{17});
  ASSERT_EQ(pages[0].lines.size(), 3u);
  EXPECT_NE(pages[0].lineText(16).value_or("").find("Met Ana"), std::string::npos);
  EXPECT_NE(pages[0].lineText(18).value_or("").find("Decaf"), std::string::npos);
}

TEST_P(SearchIndexKept, ReadsOnlyWhatChangedAndForgetsWhatIsGone) {
  SearchIndex index(options());
  EXPECT_EQ(index.refresh(), (SearchIndex::Refresh{true, 4, 0}));
  EXPECT_EQ(index.refresh(), (SearchIndex::Refresh{false, 0, 0}));

  writePage("days/2025-01-02" + ext(), "Tea notes from last year\n");
  const SearchQuery cafe = SearchQuery::parse("cafe");
  EXPECT_EQ(index.search(cafe).size(), 1u);
  EXPECT_EQ(index.lastRefresh(), (SearchIndex::Refresh{false, 1, 0}));
  EXPECT_EQ(index.search(SearchQuery::parse("tea")).size(), 1u);

  fs::remove(vault() / ("weeks/2026-W38" + ext()));
  EXPECT_EQ(index.search(SearchQuery::parse("weekly")).size(), 0u);
  EXPECT_EQ(index.lastRefresh(), (SearchIndex::Refresh{false, 0, 1}));

  // A second process opening the same database finds it up to date.
  SearchIndex again(options());
  EXPECT_EQ(again.refresh(), (SearchIndex::Refresh{false, 0, 0}));
}

// A watching index looks at no file while nothing changed, so every kind of change must reach
// it through its watches, at once: an edit in place, a new page, a page gone, a new Org file
// in a new folder, and the index rewritten meanwhile by another process that read the change
// first (which gives row ids to other lines than the ones this index holds in memory).
TEST_P(SearchIndexWatching, SeesEveryChangeAtOnce) {
  auto o = options();
  o.orgFiles = true;
  SearchIndex index(o);
  auto lines = [&](const std::string& query) {
    std::vector<std::string> out;
    for (const SearchPage& page : index.search(SearchQuery::parse(query))) {
      for (std::size_t n : page.matches)
        out.push_back(page.file + ":" + std::string(*page.lineText(n)));
    }
    return out;
  };
  const std::string old = "days/2025-01-02" + ext();
  ASSERT_EQ(lines("cafe notes"), std::vector<std::string>{old + ":Cafe notes from last year"});
  EXPECT_EQ(index.refresh(), SearchIndex::Refresh{});

  {
    std::ofstream append(vault() / old, std::ios::app);
    append << "Green tea at noon\n";
  }
  EXPECT_EQ(lines("green tea"), std::vector<std::string>{old + ":Green tea at noon"});

  writePage("days/2024-05-05" + ext(), "Mint tea\n");
  EXPECT_EQ(lines("mint"), std::vector<std::string>{"days/2024-05-05" + ext() + ":Mint tea"});

  fs::remove(vault() / ("days/2024-05-05" + ext()));
  EXPECT_TRUE(lines("mint").empty());

  fs::create_directories(vault() / "projects" / "kitchen");
  dir_.write("vault/projects/kitchen/tea.org", "* Oolong tasting\n");
  EXPECT_EQ(lines("oolong"), std::vector<std::string>{"projects/kitchen/tea.org:* Oolong tasting"});

  writePage(old, "Rooibos in the evening\nCafe notes from last year\n");
  auto other = options();
  other.orgFiles = true;
  other.watchFolders = false;
  ASSERT_EQ(SearchIndex(other).search(SearchQuery::parse("rooibos")).size(), 1u);
  EXPECT_EQ(lines("rooibos"), std::vector<std::string>{old + ":Rooibos in the evening"});
  EXPECT_EQ(lines("cafe notes"), std::vector<std::string>{old + ":Cafe notes from last year"});
}

TEST_P(SearchIndexKept, DamagedOrMissingDatabasesAreRebuiltNeverTrusted) {
  const fs::path file = SearchIndex::databaseFile(dir_.path() / "cache", vault());
  {
    SearchIndex index(options());
    index.refresh();
  }
  ASSERT_TRUE(fs::exists(file));
  const auto size = fs::file_size(file);

  auto rebuiltAndRight = [&](const std::string& damage) {
    SearchIndex index(options());
    EXPECT_EQ(find("cafe").size(), 2u) << damage;
    EXPECT_TRUE(SearchIndex(options()).refresh() == (SearchIndex::Refresh{false, 0, 0})) << damage;
  };

  fs::resize_file(file, size / 2);
  rebuiltAndRight("truncated to half");

  fs::resize_file(file, 0);
  rebuiltAndRight("truncated to nothing");

  {
    std::ofstream garbage(file, std::ios::binary | std::ios::trunc);
    std::mt19937 random(7);
    for (int i = 0; i < 100000; ++i) garbage.put(static_cast<char>(random()));
  }
  rebuiltAndRight("garbage");

  {
    // Damage inside an otherwise valid file: a page of the index overwritten.
    SearchIndex(options()).refresh();
    std::fstream inside(file, std::ios::binary | std::ios::in | std::ios::out);
    inside.seekp(4096 * 2);
    for (int i = 0; i < 4096; ++i) inside.put('\x5a');
  }
  rebuiltAndRight("a page overwritten");

  fs::remove(file);
  rebuiltAndRight("deleted");
}

TEST_P(SearchIndexTest, OtherOrgFilesOnlyWhenAskedAndPinnedFirst) {
  dir_.write("vault/projects/garden.org", "* TODO Buy coffee plants\n");
  dir_.write("vault/notes.org", "* Coffee tasting notes :tasting:\n");
  dir_.write("vault/archive/old.org", "* Coffee from long ago\n");
  auto o = options();
  const auto without = find("coffee", o);
  EXPECT_TRUE(std::none_of(without.begin(), without.end(), [](const std::string& s) {
    return s.find("notes.org") != std::string::npos;
  }));
  o.orgFiles = true;
  o.orgSkip = {"archive"};
  o.orgPins = {"projects/garden.org"};
  const auto with = find("coffee", o);
  ASSERT_GE(with.size(), 2u);
  EXPECT_EQ(with[with.size() - 2], "projects/garden.org:1");
  EXPECT_EQ(with.back(), "notes.org:1");
  EXPECT_EQ(find("tag:tasting", o), std::vector<std::string>{"notes.org:1"});
}

// Options for a Markdown vault in dir/vault.
SearchIndex::Options searchOptionsIn(const testing::TempDir& dir, SearchIndex::Options::Plan plan) {
  SearchIndex::Options o;
  o.vault = dir.path() / "vault";
  o.cacheFolder = dir.path() / "cache";
  o.plan = plan;
  return o;
}

TEST(SearchIndexMarks, MarksTheRawBytesOfFoldedMatches) {
  const SearchQuery q = SearchQuery::parse("cafe \"ANA\"");
  const std::string line = "Café with Ana and Anaïs";
  const auto marks = SearchIndex::marks(line, q);
  std::vector<std::string> marked;
  for (const auto& [from, to] : marks) marked.push_back(line.substr(from, to - from));
  EXPECT_EQ(marked, (std::vector<std::string>{"Café", "Ana", "Ana"}));
}

// What the index finds for a plain word is exactly what a line-by-line scan of the folded text
// finds, over pages full of accents and capitals.
TEST(SearchIndexAgreement, SameLinesAsAScanOfEveryFile) {
  testing::TempDir dir;
  const std::vector<std::string> vocabulary = {
      "café",    "Cafe", "CAFÉ", "naïve",  "Naive", "résumé",   "Resume", "straße",
      "STRASSE", "über", "uber", "coffee", "tea",   "Ångström", "x",      "ab"};
  std::mt19937 random(42);
  std::map<std::string, std::string> texts;
  for (int d = 1; d <= 60; ++d) {
    std::string text;
    for (int line = 0; line < 30; ++line) {
      for (int w = 0; w < 6; ++w) text += vocabulary[random() % vocabulary.size()] + " ";
      text += "\n";
    }
    char name[32];
    std::snprintf(name, sizeof name, "days/2026-03-%02d.md", (d - 1) % 28 + 1);
    const std::string file = d <= 28 ? name : "weeks/2026-W" + std::to_string(d - 18) + ".md";
    texts[file] = text;
    dir.write("vault/" + file, text);
  }
  SearchIndex index(searchOptionsIn(dir, SearchIndex::Options::Plan::index));
  for (const std::string word :
       {"cafe", "CAFÉ", "naive", "resume", "strasse", "über", "ab", "angstrom", "e s", "offe"}) {
    const std::string folded = TextCache::fold(word);
    std::set<std::string> expected;
    for (const auto& [file, text] : texts) {
      for (const SearchLine& line : searchLines(text, VaultFormat::markdown, std::nullopt)) {
        if (TextCache::fold(line.text).find(folded) != std::string::npos) {
          expected.insert(file + ":" + std::to_string(line.number));
        }
      }
    }
    std::set<std::string> found;
    for (const SearchPage& page :
         index.search(SearchQuery::parse("\"" + std::string(word) + "\""))) {
      for (std::size_t n : page.matches) found.insert(page.file + ":" + std::to_string(n));
    }
    EXPECT_EQ(found, expected) << word;
    EXPECT_FALSE(expected.empty()) << word;
  }
}

// Reading the files finds, page for page and line for line, what the index finds: over pages of
// both syntaxes with sections, tags, accents in both forms, letters that fold to two, Windows
// line ends, bytes that are not UTF-8 and last lines without an end, for words, phrases, words
// left out, short words, tags, kinds and days, with no neighbours and with two.
TEST(SearchIndexAgreement, ReadingTheFilesFindsWhatTheIndexFinds) {
  // Pages as a person reads them, so that a difference shows where it is.
  auto shown = [](const std::vector<SearchPage>& pages) {
    std::string out;
    for (const SearchPage& page : pages) {
      out += page.file + "\n";
      for (const SearchPage::Line& line : page.lines) {
        const bool match =
            std::binary_search(page.matches.begin(), page.matches.end(), line.number);
        out += std::to_string(line.number) + (match ? ": " : "- ") +
               std::string(page.textOf(line)) + "\n";
      }
    }
    return out;
  };
  // Among them a mark inside a word, which folding drops.
  const std::vector<std::string> words = {
      "the", "The",  "café",    "CAFÉ", "cafe\u0301", "Straße", "strasse",
      "ﬁne", "fine", "—",       "→",    "#work",      "#Café",  "a",
      "ab",  "\xFF", "bad\xC3", "e",    "x",          "Über",   "ca\u0301fe"};
  for (const VaultFormat format : {VaultFormat::markdown, VaultFormat::org}) {
    testing::TempDir dir;
    const bool org = format == VaultFormat::org;
    const std::string ext = org ? ".org" : ".md";
    std::mt19937 random(format == VaultFormat::org ? 7 : 11);
    auto line = [&] {
      std::string text;
      for (int w = 0; w < 5; ++w) text += words[random() % words.size()] + " ";
      return text;
    };
    for (int d = 1; d <= 24; ++d) {
      const std::string end = d % 3 == 0 ? "\r\n" : "\n";
      std::string text = org ? "#+title: A day\n" : "# A day\n";
      for (const char* section : {"Outcomes", "Journal", "Notes", "Mine"}) {
        text += (org ? "* " : "## ") + std::string(section) + (d % 4 == 0 ? " :work:" : "") + end;
        for (int l = 0; l < 4; ++l) text += line() + end;
      }
      if (d % 5 == 0) text += "the last line has no end";
      char name[32];
      std::snprintf(name, sizeof name, "days/2026-03-%02d", d);
      dir.write("vault/" + std::string(name) + ext, text);
    }
    dir.write("vault/weeks/2026-W10" + ext, line() + "\n" + line() + "\n");
    dir.write("vault/inbox" + ext, "- [ ] " + line() + "\n- [ ] the café #work\n");
    dir.write("vault/projects/plan.org", "* TODO " + line() + " :work:\n" + line() + "\n");

    SearchIndex::Options o = searchOptionsIn(dir, SearchIndex::Options::Plan::index);
    o.format = format;
    o.orgFiles = true;
    for (const std::size_t context : {std::size_t{0}, std::size_t{2}}) {
      o.context = context;
      o.plan = SearchIndex::Options::Plan::index;
      SearchIndex index(o);
      o.plan = SearchIndex::Options::Plan::files;
      SearchIndex files(o);
      for (const std::string query :
           {"the", "CAFE", "\"the cafe\"", "strasse", "fine", "cafe -the", "ab", "e", "x",
            "tag:work", "tag:cafe the", "in:journal cafe", "in:outcomes -in:journal strasse",
            "from:2026-03-05 to:2026-03-09 the", "\xFF", "uber", "—"}) {
        const SearchQuery parsed = SearchQuery::parse(query);
        const auto expected = index.search(parsed);
        const auto found = files.search(parsed);
        EXPECT_EQ(shown(found), shown(expected)) << query << " with " << context << " around";
        EXPECT_EQ(found, expected) << query;
        EXPECT_FALSE(expected.empty()) << query;
      }
    }
  }
}

// Pages read from the files are handed on one by one in the order shown, across the batches the
// readers share; a caller that throws midway stops the search, and the throw reaches it.
TEST(SearchIndexAgreement, PagesComeOneByOneInOrderAndAThrowStopsTheSearch) {
  testing::TempDir dir;
  for (int d = 0; d < 300; ++d) {
    const DayDate day = DayDate::make(2025, 1, 1)->adding(d);
    dir.write("vault/days/" + day.isoString() + ".md", "Coffee on day " + std::to_string(d) + "\n");
  }
  SearchIndex index(searchOptionsIn(dir, SearchIndex::Options::Plan::files));
  const SearchQuery coffee = SearchQuery::parse("coffee");
  std::vector<std::string> handed;
  index.search(coffee, [&](SearchPage&& page) { handed.push_back(page.file); });
  ASSERT_EQ(handed.size(), 300u);
  EXPECT_EQ(handed.front(), "days/2025-10-27.md");
  EXPECT_TRUE(std::is_sorted(handed.rbegin(), handed.rend()));
  std::size_t seen = 0;
  EXPECT_THROW(index.search(coffee,
                            [&](SearchPage&&) {
                              if (++seen == 3) throw std::runtime_error("stop");
                            }),
               std::runtime_error);
  EXPECT_EQ(seen, 3u);
}

// A pipe or a folder named like a page is no page: reading the files passes over it, where
// opening the pipe to read it would wait for a writer for ever.
TEST(SearchIndexAgreement, ReadingTheFilesPassesOverWhatIsNoFile) {
  testing::TempDir dir;
  dir.write("vault/days/2026-01-02.md", "# A day\n- coffee\n");
  ASSERT_EQ(::mkfifo((dir.path() / "vault/days/2026-01-01.md").c_str(), 0644), 0);
  std::filesystem::create_directories(dir.path() / "vault/days/2026-01-03.md");
  const auto pages = SearchIndex(searchOptionsIn(dir, SearchIndex::Options::Plan::files))
                         .search(SearchQuery::parse("co"));
  ASSERT_EQ(pages.size(), 1u);
  EXPECT_EQ(pages.front().file, "days/2026-01-02.md");
}

}  // namespace
}  // namespace trivo

// A capture that adds one line at the remembered point must leave the same bytes as one that
// reads every item and writes them all, whatever the page held and whatever happened to it in
// between; and it must take the short way when it can, or it buys nothing.
#include "core/inbox/inbox_append_point.h"

#include <gtest/gtest.h>

#include <regex>

#include "core/inbox/inbox_model.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

const DayDate kToday{2026, 11, 25};

// One vault with its store and model; `remember` turns the append point on.
struct Planner {
  Planner(const std::filesystem::path& root, VaultFormat format, const std::filesystem::path* point)
      : vault{root, format, "en", {}} {
    VaultStore::Options options;
    options.debounce = 1h;
    options.clock = &clock;
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    options.keepOnDisk = false;
    store = std::make_unique<VaultStore>(vault, options);
    model = std::make_unique<InboxModel>(*store, clock, kToday);
    if (point) model->rememberAppendPoint(*point);
  }
  ~Planner() { store->flush(); }

  Vault vault;
  testing::FakeClock clock{Instant{} + 24h * 20782 + 14h + 5min};
  std::unique_ptr<VaultStore> store;
  std::unique_ptr<InboxModel> model;
};

// Item ids are new on every capture; the rest of the text must match byte for byte.
std::string withoutIds(const std::string& text) {
  static const std::regex id("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  return std::regex_replace(text, id, "ID");
}

class InboxAppendPointTest : public ::testing::TestWithParam<VaultFormat> {
 protected:
  std::string inboxFile() const { return GetParam() == VaultFormat::org ? "inbox.org" : "inbox.md"; }
  bool org() const { return GetParam() == VaultFormat::org; }

  // Captures the lines one by one in two vaults that start from `page` (none: no inbox yet),
  // one with the point and one without, calling `between` on both vaults' folders after each
  // capture; returns the numbers the short way printed, after checking them and the pages.
  std::vector<std::int64_t> captureBoth(const std::optional<std::string>& page,
                                        const std::vector<std::string>& lines,
                                        const std::function<void(const testing::TempDir&)>&
                                            between = {}) {
    if (page) {
      shortWay_.write(inboxFile(), *page);
      longWay_.write(inboxFile(), *page);
    }
    std::vector<std::int64_t> numbers;
    for (const auto& line : lines) {
      std::int64_t expected = 0;
      {
        Planner planner(longWay_.path(), GetParam(), nullptr);
        expected = planner.model->capture(line).number;
      }
      {
        Planner planner(shortWay_.path(), GetParam(), &pointFile_);
        numbers.push_back(planner.model->capture(line).number);
      }
      EXPECT_EQ(numbers.back(), expected) << line;
      EXPECT_EQ(withoutIds(shortWay_.read(inboxFile())), withoutIds(longWay_.read(inboxFile())))
          << "after capturing \"" << line << "\"";
      if (between) {
        between(shortWay_);
        between(longWay_);
      }
    }
    return numbers;
  }

  // Whether the point on file was taken from the short-way vault's page as it stands.
  bool pointFitsThePage() const {
    const auto point = InboxAppendPoint::load(pointFile_);
    return point && point->fits(shortWay_.read(inboxFile()));
  }

  testing::TempDir shortWay_;
  testing::TempDir longWay_;
  testing::TempDir cache_;
  std::filesystem::path pointFile_ = cache_.path() / "inbox-point.json";
};

TEST_P(InboxAppendPointTest, AddingAtThePointWritesWhatTheLongWayWrites) {
  const std::string mine = org() ? "* Mine\nkeep this\n" : "## Mine\nkeep this\n";
  const std::string block = org() ? "#+begin_src sh\n- [ ] not an item\n#+end_src\n"
                                  : "```\n- [ ] not an item\n```\n";
  const std::vector<std::optional<std::string>> pages = {
      std::nullopt,
      org() ? "#+title: Inbox\n\n- [ ] first\n  - [ ] a step under it\n\nA note of mine.\n\n" + mine +
                  block
            : "# Inbox\n\n- [ ] first\n  - [ ] a step under it\n\nA note of mine.\n\n" + mine +
                  block,
      org() ? "#+title: Inbox\n* TODO Renew passport\nDEADLINE: <2026-12-01 Tue>\n* Mine\ntext\n"
            : "---\ntype: inbox\nowner: me\n---\n# Inbox\n\n- [x] done long ago\n"};
  for (const auto& page : pages) {
    SCOPED_TRACE(page.value_or("(no page)"));
    std::filesystem::remove_all(shortWay_.path() / inboxFile());
    std::filesystem::remove_all(longWay_.path() / inboxFile());
    InboxAppendPoint::forget(pointFile_);
    captureBoth(page, {"call mum friday 6pm", "pay rent every month on the 1st", "someday read",
                       "buy milk !1 remind 30m before", "a line with an `inline` mark",
                       "note <!-- mine --> \u00B7 a @@trivo:x@@ b", "see [[Zo\u00EB]] #home 🎸"});
    EXPECT_TRUE(pointFitsThePage());
  }
}

TEST_P(InboxAppendPointTest, ThePointIsUsedOnlyOnThePageItWasTakenFrom) {
  const auto numbers = captureBoth(std::nullopt, {"one", "two"});
  EXPECT_EQ(numbers, (std::vector<std::int64_t>{1, 2}));
  const auto before = InboxAppendPoint::load(pointFile_);
  ASSERT_TRUE(before);
  EXPECT_EQ(before->number, 2);

  // An edit anywhere, even one byte that keeps the size, makes the point stale.
  std::string page = shortWay_.read(inboxFile());
  page[page.find("one")] = 'O';
  EXPECT_FALSE(before->fits(page));

  // Hand edits between captures, an appended line and a rewritten item: the long way each time,
  // and the same bytes.
  int calls = 0;  // two per capture: the same edit goes to both vaults
  captureBoth(std::nullopt, {"three", "four", "five"}, [&](const testing::TempDir& vault) {
    std::string text = vault.read(inboxFile());
    if (calls++ / 2 % 2 == 0) {
      text += org() ? "\n* Later\nwritten in an editor\n" : "\n## Later\nwritten in an editor\n";
    } else {
      text.replace(text.find("two"), 3, "TWO");
    }
    vault.write(inboxFile(), text);
  });
  EXPECT_FALSE(pointFitsThePage());
}

TEST_P(InboxAppendPointTest, AFittingPointIsTrustedWithoutReadingTheItems) {
  captureBoth(std::nullopt, {"one", "two"});
  // A point that fits the page but holds a number no reading of the page would give: only the
  // short way can print it.
  auto point = InboxAppendPoint::load(pointFile_);
  ASSERT_TRUE(point);
  point->number = 41;
  point->save(pointFile_);
  Planner planner(shortWay_.path(), GetParam(), &pointFile_);
  EXPECT_EQ(planner.model->capture("three").number, 42);
}

TEST_P(InboxAppendPointTest, OnlyOneListLineIsAddedAndFenceMarksInItsWordsChangeNothing) {
  EXPECT_TRUE(InboxAppendPoint::canAdd("- [ ] call mum"));
  EXPECT_TRUE(InboxAppendPoint::canAdd("- [ ] ``` mid-line")) << "a fence begins its line";
  EXPECT_FALSE(InboxAppendPoint::canAdd("```"));
  EXPECT_FALSE(InboxAppendPoint::canAdd("- [ ] one\n- [ ] two"));
  EXPECT_FALSE(InboxAppendPoint::canAdd("* TODO a heading"));
  // The page gets the same bytes either way.
  captureBoth(std::nullopt, {"first", "code ``` fence", "~~~", "#+begin_quote", "last"});
}

TEST(InboxAppendPoint, IsFoundOnlyAfterAListLineWithNothingUnderItAndOutsideFences) {
  const std::string id = "0F2C1D2E-0000-4000-8000-00000000000A";
  const std::string line = "- [ ] call mum <!-- id: " + id + " -->";
  const std::string page = "# Inbox\n\n- [ ] first\n" + line + "\n\n## Mine\n";
  const auto point = InboxAppendPoint::after(page, id, 2);
  ASSERT_TRUE(point);
  EXPECT_EQ(point->offset, page.find(line) + line.size());
  EXPECT_TRUE(point->fits(page));
  std::string added = page;
  point->add(added, "- [ ] next");
  EXPECT_EQ(added, "# Inbox\n\n- [ ] first\n" + line + "\n- [ ] next\n\n## Mine\n");
  const auto next = point->next(added, "- [ ] next");
  EXPECT_EQ(next.number, 3);
  EXPECT_TRUE(next.fits(added));
  EXPECT_EQ(added.substr(0, next.offset), "# Inbox\n\n- [ ] first\n" + line + "\n- [ ] next");

  EXPECT_FALSE(InboxAppendPoint::after(page, "not there", 1));
  EXPECT_FALSE(InboxAppendPoint::after(page + line + "\n", id, 2)) << "the id twice";
  EXPECT_FALSE(InboxAppendPoint::after("# Inbox\n\n" + line + "\n  - [ ] a step\n", id, 1));
  EXPECT_FALSE(InboxAppendPoint::after("# Inbox\n\n```\n" + line + "\n", id, 1));
  EXPECT_FALSE(InboxAppendPoint::after("# Inbox\n\ntext " + line + "\n", id, 1));
}

TEST(InboxAppendPoint, AMissingOrDamagedFileIsNoPoint) {
  testing::TempDir dir;
  const auto file = dir.path() / "sub" / "point.json";
  EXPECT_FALSE(InboxAppendPoint::load(file));
  const InboxAppendPoint point{100, 42, 10, 3};
  point.save(file);
  EXPECT_EQ(InboxAppendPoint::load(file), point);
  for (const std::string damaged :
       {"", "{", "[]", R"({"size":1,"hash":"zz","offset":0,"number":1})",
        R"({"size":1,"hash":"2a","offset":5,"number":1})",
        R"({"size":10,"hash":"2a","offset":5,"number":0})"}) {
    dir.write("sub/point.json", damaged);
    EXPECT_FALSE(InboxAppendPoint::load(file)) << damaged;
  }
  InboxAppendPoint::forget(file);
  EXPECT_FALSE(std::filesystem::exists(file));
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, InboxAppendPointTest, testing::bothSyntaxes(),
                         testing::syntaxName);

}  // namespace
}  // namespace trivo

// The copy of the pages' text that a search reads: what it trusts, what it never trusts, and
// that a search with it finds what the pages hold now.
#include "core/search/search_snapshot.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "core/search/search_index.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kHour = 3600LL * 1'000'000'000;

std::string readBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void writeBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// Sets a file's modification time, in nanoseconds.
void setMtime(const fs::path& file, std::int64_t mtime) {
  const timespec times[2] = {{0, UTIME_OMIT},
                             {static_cast<time_t>(mtime / 1'000'000'000), mtime % 1'000'000'000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

SearchStamp stampNow(const fs::path& file) { return *stampOf(file); }

TEST(SearchSnapshot, TrustsOnlyPagesUnchangedAndSettledBeforeTheCopyWasBegun) {
  testing::TempDir dir;
  const fs::path file = dir.path() / "copy.pages";
  const std::int64_t since = SearchSnapshot::now();
  const std::int64_t old = since - kHour;
  const std::int64_t recent = since - 1000;  // within the clock's tick of the copy
  ASSERT_TRUE(SearchSnapshot::write(file, "/vault",
                                    {{"days/2026-01-02.md", {{5, old}, "hello"}},
                                     {"days/2026-01-01.md", {{3, old}, "abc"}},
                                     {"inbox.md", {{0, old}, ""}},
                                     {"weeks/2026-W01.md", {{4, recent}, "next"}},
                                     // cut short while read: its text is not its size
                                     {"months/2026-01.md", {{9, old}, "short"}}},
                                    since));
  EXPECT_FALSE(SearchSnapshot::load(file, "/another"));
  const auto copy = SearchSnapshot::load(file, "/vault");
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->size(), 4u);
  const auto hello = copy->find("days/2026-01-02.md");
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->text, "hello");
  EXPECT_TRUE(copy->current(*hello, {5, old}));
  EXPECT_FALSE(copy->current(*hello, {5, old + 1}));
  EXPECT_FALSE(copy->current(*hello, {6, old}));
  EXPECT_EQ(copy->find("days/2026-01-01.md")->text, "abc");
  EXPECT_EQ(copy->find("inbox.md")->text, "");
  const auto next = copy->find("weeks/2026-W01.md");
  ASSERT_TRUE(next);
  EXPECT_FALSE(copy->current(*next, {4, recent}));
  EXPECT_FALSE(copy->find("months/2026-01.md"));
  EXPECT_FALSE(copy->find("days/2026-01-03.md"));
  EXPECT_FALSE(copy->find("days"));
  EXPECT_FALSE(SearchSnapshot::load(dir.path() / "missing.pages", "/vault"));

  // A copy laid out by hand, byte by byte (the fuzzer's seed): the layout stays readable.
  const fs::path seed = fs::path(TRIVO_SOURCE_DIR) / "fuzz/corpus/search_snapshot/two-days";
  const auto seeded = SearchSnapshot::load(seed, "/vault");
  ASSERT_TRUE(seeded);
  EXPECT_EQ(seeded->size(), 3u);
  EXPECT_EQ(seeded->find("days/2026-01-02.md")->text, "coffee\n");
  EXPECT_EQ(seeded->find("days/2026-01-01.md")->stamp, (SearchStamp{12, 5}));
}

// A copy cut off at any length, or with bytes changed in its header and records, is refused
// or read within its bounds: never a crash, never a text from outside the file.
TEST(SearchSnapshot, DamagedCopiesAreRefusedOrReadWithinTheirBounds) {
  testing::TempDir dir;
  const fs::path file = dir.path() / "copy.pages";
  std::vector<std::pair<std::string_view, SearchSnapshot::Page>> pages;
  std::vector<std::string> names;
  for (int d = 1; d <= 20; ++d) names.push_back("days/2026-02-" + std::to_string(10 + d) + ".md");
  for (const std::string& name : names) pages.push_back({name, {{6, 1}, "coffee"}});
  ASSERT_TRUE(SearchSnapshot::write(file, "/vault", pages, SearchSnapshot::now()));
  const std::string whole = readBytes(file);
  const std::size_t headed = 40 + 8 + 20 * 40;  // header, padded vault path, records
  for (std::size_t length = 0; length < whole.size(); length += 3) {
    writeBytes(file, whole.substr(0, length));
    EXPECT_FALSE(SearchSnapshot::load(file, "/vault")) << length;
  }
  std::mt19937 random(3);
  for (int round = 0; round < 400; ++round) {
    std::string damaged = whole;
    for (int flip = 0; flip < 3; ++flip) {
      damaged[random() % headed] ^= static_cast<char>(1 << (random() % 8));
    }
    writeBytes(file, damaged);
    const auto copy = SearchSnapshot::load(file, "/vault");
    if (!copy) continue;
    for (const std::string& name : names) {
      if (const auto page = copy->find(name)) {
        EXPECT_LE(page->text.size(), whole.size());
        EXPECT_EQ(std::string(page->text).size(), page->text.size());  // readable to its end
      }
    }
  }
}

class SearchWithCopy : public ::testing::Test {
 protected:
  SearchWithCopy() {
    options_.vault = dir_.path() / "vault";
    options_.cacheFolder = dir_.path() / "cache";
    options_.plan = SearchIndex::Options::Plan::files;
    options_.context = 0;
  }

  void page(const std::string& name, const std::string& text, std::int64_t mtime) {
    dir_.write("vault/" + name, text);
    setMtime(options_.vault / name, mtime);
  }

  // Each matching page and its matching lines, as one text.
  std::string search(const std::string& query) {
    std::string out;
    for (const SearchPage& found : SearchIndex(options_).search(SearchQuery::parse(query))) {
      out += found.file + ":";
      for (const SearchPage::Line& line : found.lines) out += " " + std::string(found.textOf(line));
      out += "\n";
    }
    return out;
  }

  fs::path copyFile() const {
    return SearchIndex::cacheFile(options_.cacheFolder, options_.vault, "search-", ".pages");
  }

  testing::TempDir dir_;
  SearchIndex::Options options_;
  const std::int64_t old_ = SearchSnapshot::now() - kHour;
};

TEST_F(SearchWithCopy, FindsWhatThePagesHoldNowAsTheyChangeAroundTheCopy) {
  for (int d = 1; d <= 9; ++d) {
    page("days/2026-03-0" + std::to_string(d) + ".md", "# Day\ncoffee " + std::to_string(d) + "\n",
         old_);
  }
  page("inbox.md", "- [ ] tea\n", old_);
  const std::string before = search("coffee");
  ASSERT_TRUE(fs::exists(copyFile()));
  EXPECT_EQ(search("coffee"), before);  // the same lines from the copy

  // Changed with a new time: read from the vault. Gone: not shown. New: shown.
  page("days/2026-03-02.md", "# Day\ncoffee Z\n", old_ + 5);  // the same size
  fs::remove(options_.vault / "days/2026-03-03.md");
  page("days/2026-03-10.md", "# Day\ncoffee ten\n", old_);
  page("inbox.md", "- [ ] coffee beans\n", old_ + 1);
  const std::string after = search("coffee");
  EXPECT_NE(after.find("days/2026-03-02.md: coffee Z\n"), std::string::npos) << after;
  EXPECT_EQ(after.find("2026-03-03"), std::string::npos) << after;
  EXPECT_NE(after.find("days/2026-03-10.md: coffee ten\n"), std::string::npos) << after;
  EXPECT_NE(after.find("inbox.md: - [ ] coffee beans\n"), std::string::npos) << after;

  // The same search with no copy at all finds the same.
  fs::remove(copyFile());
  EXPECT_EQ(search("coffee"), after);
  // A damaged copy is passed over, not trusted.
  std::string bytes = readBytes(copyFile());
  bytes[0] ^= 1;
  writeBytes(copyFile(), bytes);
  EXPECT_EQ(search("coffee"), after);
}

// A page changed twice within the file system's clock tick keeps its time and size: a copy made
// between the two changes must not be trusted for it.
TEST_F(SearchWithCopy, APageChangedJustBeforeTheCopyIsReadFromTheVault) {
  for (int d = 1; d <= 9; ++d) {
    page("days/2026-04-0" + std::to_string(d) + ".md", "coffee " + std::to_string(d) + "\n", old_);
  }
  dir_.write("vault/days/2026-04-10.md", "coffee first\n");
  const SearchStamp first = stampNow(options_.vault / "days/2026-04-10.md");
  EXPECT_NE(search("coffee").find("coffee first"), std::string::npos);
  ASSERT_TRUE(fs::exists(copyFile()));
  dir_.write("vault/days/2026-04-10.md", "coffee later\n");
  setMtime(options_.vault / "days/2026-04-10.md", first.mtime);
  ASSERT_EQ(stampNow(options_.vault / "days/2026-04-10.md"), first);
  const std::string found = search("coffee");
  EXPECT_NE(found.find("coffee later"), std::string::npos) << found;
  EXPECT_EQ(found.find("coffee first"), std::string::npos) << found;
}

// A search that limits the days reads only some pages: it writes no copy, and one written
// before serves it.
TEST_F(SearchWithCopy, ASearchOfSomeDaysWritesNoCopyButReadsOne) {
  for (int d = 1; d <= 9; ++d) {
    page("days/2026-05-0" + std::to_string(d) + ".md", "coffee " + std::to_string(d) + "\n", old_);
  }
  EXPECT_EQ(search("from:2026-05-08 coffee"),
            "days/2026-05-09.md: coffee 9\ndays/2026-05-08.md: coffee 8\n");
  EXPECT_FALSE(fs::exists(copyFile()));
  search("coffee");
  ASSERT_TRUE(fs::exists(copyFile()));
  EXPECT_EQ(search("to:2026-05-01 coffee"), "days/2026-05-01.md: coffee 1\n");
}

}  // namespace
}  // namespace trivo

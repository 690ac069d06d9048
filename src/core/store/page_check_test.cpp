// Which files of a folder are pages, and of which vault.
#include "core/store/page_check.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(PageFiles, PerspectivePagesBelongToTheVaultAtTheRootAndOnlyItsFormatCounts) {
  testing::TempDir dir;
  dir.write("v/.trivo/config.json", R"({"fileFormat": "org"})");
  dir.write("v/inbox.org", "");
  dir.write("v/inbox.md", "");
  dir.write("v/_perspectives/work/weeks/2026-W38.org", "");
  dir.write("v/_perspectives/work/weeks/2026-W38 (conflicted copy).org", "");
  dir.write("v/.git/days/2026-09-16.org", "");

  const auto pages = findPageFiles({dir.path() / "v"});
  ASSERT_EQ(pages.size(), 2u);
  EXPECT_EQ(pages[0].relative, "_perspectives/work/weeks/2026-W38.org");
  EXPECT_EQ(pages[0].key, EntryKey::week(ISOWeek{2026, 38}));
  EXPECT_EQ(pages[0].vaultRoot, dir.path() / "v");
  EXPECT_EQ(pages[1].relative, "inbox.org");
  EXPECT_EQ(pages[1].format, VaultFormat::org);

  // Named twice, found once.
  EXPECT_EQ(findPageFiles({dir.path() / "v/inbox.org", dir.path() / "v"}).size(), 2u);
  EXPECT_THROW((void)findPageFiles({dir.path() / "v/missing"}), std::filesystem::filesystem_error);
}

// Pages come in the order of their paths as std::filesystem::path orders them (component by
// component, so "v/…" before "v-2/…"), each once, whatever order the folders were named in and
// whichever vault's format was settled last.
TEST(PageFiles, PagesComeInPathOrderOnceEach) {
  testing::TempDir dir;
  dir.write("v/.trivo/config.json", R"({"fileFormat": "markdown"})");
  dir.write("v-2/days/2026-09-16.md", "");  // no settings, no inbox: its pages decide its format
  dir.write("v-2/days/2026-09-15.md", "");
  for (const char* day : {"2026-09-16", "2026-09-02", "2026-10-01", "2026-09-20"}) {
    dir.write(std::string("v/days/") + day + ".md", "");
  }
  dir.write("v/weeks/2026-W38.md", "");
  dir.write("v/inbox.md", "");

  const auto pages = findPageFiles({dir.path() / "v-2", dir.path() / "v", dir.path() / "v/days"});
  std::vector<std::filesystem::path> paths;
  for (const auto& page : pages) paths.emplace_back(page.path);
  ASSERT_EQ(paths.size(), 8u);
  EXPECT_TRUE(std::is_sorted(paths.begin(), paths.end()));
  EXPECT_EQ(std::adjacent_find(paths.begin(), paths.end()), paths.end());
  EXPECT_EQ(pages.front().relative, "days/2026-09-02.md");
  EXPECT_EQ(pages.back().relative, "days/2026-09-16.md");
  EXPECT_EQ(pages.back().vaultRoot, (dir.path() / "v-2").native());
}

// The pages are read on every core: each result must still be its own page's, in order, with
// the text kept exactly where there is something to report.
TEST(PageCheck, EveryCoreChecksAndEachPageGetsItsOwnResultInOrder) {
  testing::TempDir dir;
  dir.write("v/.trivo/config.json", R"({"fileFormat": "markdown"})");
  for (int d = 1; d <= 28; ++d) {
    for (int m = 1; m <= 9; ++m) {
      char name[64];
      std::snprintf(name, sizeof name, "v/days/2026-%02d-%02d.md", m, d);
      const int n = m * 100 + d;
      // Every seventh page names another day, every eleventh never closes its front matter.
      std::string text = n % 7 == 0 ? "---\ndate: 2020-01-01\ntype: day\n---\n"
                         : n % 11 == 0 ? "---\ntype: day\n"
                                       : "";
      text += "## Journal\n- 09:00 \xe2\x80\x94 page " + std::to_string(n) + "\n";
      dir.write(name, text);
    }
  }
  const auto pages = findPageFiles({dir.path() / "v"});
  ASSERT_EQ(pages.size(), 252u);
  const auto codec = SerializerCodec::forVault(
      Vault{pages[0].vaultRoot, VaultFormat::markdown, "en", std::nullopt}, YearMode::quarter);
  const std::vector<const SerializerCodec*> codecs(pages.size(), codec.get());
  for (const bool roundtrip : {false, true}) {
    const auto checks = checkPages(pages, codecs, roundtrip);
    ASSERT_EQ(checks.size(), pages.size());
    std::size_t problems = 0;
    for (std::size_t i = 0; i < pages.size(); ++i) {
      const PageCheck one = checkPage(pages[i], *codec, roundtrip);
      EXPECT_EQ(checks[i].problem, one.problem) << pages[i].relative;
      EXPECT_EQ(checks[i].rewritten, one.rewritten) << pages[i].relative;
      const bool reported = one.problem || one.rewritten;
      EXPECT_EQ(checks[i].text, reported ? one.text : "") << pages[i].relative;
      // Its memory too: thirteen thousand kept buffers took a thirty-year vault's check to
      // 90 MiB.
      if (!reported) {
        EXPECT_EQ(checks[i].text.capacity(), std::string().capacity()) << pages[i].relative;
      }
      if (one.problem) ++problems;
    }
    EXPECT_EQ(problems, 56u);  // the numbers that are multiples of 7 or of 11
  }
}

// Counts, through inotify, how often each folder under a root is opened (a listing opens it).
class FolderOpenings {
 public:
  explicit FolderOpenings(const std::filesystem::path& root)
      : fd_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    watch(root);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (entry.is_directory() && !entry.is_symlink()) watch(entry.path());
    }
    (void)counts();  // the walk above opened the folders it watched
  }
  ~FolderOpenings() { ::close(fd_); }
  FolderOpenings(const FolderOpenings&) = delete;
  FolderOpenings& operator=(const FolderOpenings&) = delete;

  // Folder (relative to the root) → openings since the watches were set.
  std::map<std::string, int> counts() {
    std::map<std::string, int> opened;
    alignas(inotify_event) char buffer[65536];
    for (;;) {
      const ssize_t got = ::read(fd_, buffer, sizeof buffer);
      if (got <= 0) break;
      for (ssize_t at = 0; at < got;) {
        inotify_event event;
        std::memcpy(&event, buffer + at, sizeof event);
        // A folder's own watch reports its opening without a name.
        if ((event.mask & IN_OPEN) && event.len == 0) ++opened[folders_.at(event.wd)];
        at += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
      }
    }
    return opened;
  }

 private:
  void watch(const std::filesystem::path& folder) {
    const int wd = inotify_add_watch(fd_, folder.c_str(), IN_OPEN | IN_ONLYDIR);
    if (wd >= 0) folders_[wd] = folder.filename().string();
  }

  int fd_;
  std::map<int, std::string> folders_;
};

// Regression: a vault without settings had its period folders listed again for every page.
TEST(PageFiles, DiscoveryListsEveryFolderOnce) {
  struct Case {
    const char* label;
    std::vector<std::pair<const char*, const char*>> files;
    std::size_t pages;
  };
  const std::vector<Case> cases = {
      {"settings", {{".trivo/config.json", R"({"fileFormat": "org"})"}, {"inbox.org", ""}}, 5},
      {"lone inbox", {{"inbox.org", ""}}, 5},
      {"no settings, no inbox", {}, 4},
      {"markdown among org", {{"years/2026.md", ""}}, 1},
  };
  for (const auto& c : cases) {
    testing::TempDir dir;
    for (const auto& [name, text] : c.files) dir.write(name, text);
    for (const char* page : {"days/2026-09-16.org", "days/2026-09-17.org", "weeks/2026-W38.org",
                             "months/2026-09.org"}) {
      dir.write(page, "");
    }
    dir.write("days/sketch.md", "");  // the person's own
    FolderOpenings openings(dir.path());
    EXPECT_EQ(findPageFiles({dir.path()}).size(), c.pages) << c.label;
    const auto counts = openings.counts();
    EXPECT_GE(counts.size(), 3u) << c.label;  // the walk was seen: root, days, weeks, …
    for (const auto& [folder, opened] : counts) {
      EXPECT_EQ(opened, 1) << c.label << ": " << folder;
    }
  }
}

}  // namespace
}  // namespace trivo

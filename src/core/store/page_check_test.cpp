// Which files of a folder are pages, and of which vault.
#include "core/store/page_check.h"

#include <gtest/gtest.h>

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

TEST(PageCheck, ProblemsAreDescribedInOneLine) {
  EXPECT_EQ(describe(ReadProblem::identity("2026-W38", "2026-W39")),
            "identity: expected 2026-W38, found 2026-W39");
  EXPECT_EQ(describe(ReadProblem::of(ReadProblem::Kind::unreadable, "Permission denied")),
            "unreadable: Permission denied");
}

}  // namespace
}  // namespace trivo

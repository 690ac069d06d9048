// Media references in page text and the leftovers of the media folder, on a real folder.
#include "core/vault/vault_media.h"

#include <gtest/gtest.h>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

TEST(VaultMedia, ReferencedFindsMarkdownAndOrgLinksToMedia) {
  const std::vector<std::string> pages{
      "![](media/shot.png) and [the scan](media/scan%20one.pdf \"title\")\n"
      "<media/angle one.jpg> ![x](<media/spaced name.png>)\n"
      "up a level: ![](../media/up.png)\n",
      "* Org\n[[file:media/org.png]] [[media/bare.png][a description]] [[file:../media/o2.png]]\n"
      "nested: ![](media/2026/09/deep.png)\n",
  };
  const std::set<std::string> expected{"shot.png",        "scan one.pdf", "angle one.jpg",
                                       "spaced name.png", "up.png",       "org.png",
                                       "bare.png",        "o2.png",       "2026/09/deep.png"};
  EXPECT_EQ(VaultMedia::referenced(pages), expected);
}

TEST(VaultMedia, ReferencedIgnoresMentionsThatAreNotLinks) {
  const std::vector<std::string> pages{
      "I put it in media/shot.png yesterday\n"
      "see socialmedia/x.png and (media/y.png) and [](media/)\n"
      "a/media/z.png and http:media/w.png\n"};
  EXPECT_TRUE(VaultMedia::referenced(pages).empty());
}

class MediaFolder : public ::testing::Test {
 protected:
  MediaFolder() : paths(dir.path(), VaultFormat::markdown) {}
  testing::TempDir dir;
  VaultPaths paths;
};

TEST_F(MediaFolder, FolderSizeCountsRegularFilesRecursively) {
  EXPECT_EQ(VaultMedia::folderSize(dir.path() / "media"), 0);
  dir.write("media/a.png", std::string(1000, 'a'));
  dir.write("media/2026/b.png", std::string(24, 'b'));
  fs::create_symlink(dir.path() / "media/a.png", dir.path() / "media/link.png");
  EXPECT_EQ(VaultMedia::folderSize(dir.path() / "media"), 1024);
}

TEST_F(MediaFolder, LeftoversAreFilesNoPageAnywhereUnderBaseRefersTo) {
  dir.write("days/2026-09-16.md", "![](media/used.png)\n");
  dir.write("drafts/idea.org", "[[file:media/2026/from-org.png]]\n");
  dir.write("notes.txt", "![](media/in-a-text-file.png)\n");
  for (const char* name : {"used.png", "2026/from-org.png", "in-a-text-file.png", "zz.png",
                           "2026/old.jpg", ".stignore", "2026/.sync.tmp"}) {
    dir.write(fs::path("media") / name, "x");
  }
  const std::vector<std::string> expected{"2026/old.jpg", "in-a-text-file.png", "zz.png"};
  EXPECT_EQ(VaultMedia::leftovers(paths), expected);

  EXPECT_EQ(VaultMedia::deleteOrphans(paths), expected);
  EXPECT_FALSE(fs::exists(dir.path() / "media/zz.png"));
  EXPECT_FALSE(fs::exists(dir.path() / "media/2026/old.jpg"));
  EXPECT_TRUE(fs::exists(dir.path() / "media/used.png"));
  EXPECT_TRUE(fs::exists(dir.path() / "media/2026/from-org.png"));
  EXPECT_TRUE(fs::exists(dir.path() / "media/.stignore"));
  EXPECT_TRUE(VaultMedia::leftovers(paths).empty());
}

TEST_F(MediaFolder, APerspectiveHasItsOwnMediaFolder) {
  const Vault vault{dir.path(), VaultFormat::org, "en", "Work"};
  dir.write("_perspectives/work/media/w.png", "x");
  dir.write("media/root.png", "x");
  EXPECT_EQ(VaultMedia::leftovers(vault), std::vector<std::string>{"w.png"});
  dir.write("_perspectives/work/inbox.org", "[[file:media/w.png]]");
  EXPECT_TRUE(VaultMedia::leftovers(vault).empty());
  EXPECT_TRUE(VaultMedia::deleteOrphans(vault).empty());
}

}  // namespace
}  // namespace trivo

// The Vault record: perspective slugs, JSON and the move out of the old perspectives folder.
#include "core/vault/vault.h"

#include <gtest/gtest.h>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

TEST(VaultSlug, LowerCasesAndJoinsWordsWithSingleDashes) {
  const std::pair<const char*, const char*> cases[] = {
      {"Deep Work!", "deep-work"},
      {"Work", "work"},
      {"  --Side  project--  ", "side-project"},
      {"Q3 2026", "q3-2026"},
      {"a/b\\c..d", "a-b-c-d"},
      {"!!!", "perspective"},
      {"", "perspective"},
      {"Café Ünter", "café-ünter"},
      {"Cafe\xCC\x81", "caf\xC3\xA9"},  // a decomposed accent stays with its letter
      {"ÆRØ Straße", "ærø-straße"},
      {"日本 語", "日本-語"},
      {"Ω→Σ", "ω-σ"},
      {"bad\xFF"
       "byte",
       "bad-byte"},
  };
  for (const auto& [name, slug] : cases) EXPECT_EQ(Vault::slug(name), slug) << name;
}

TEST(Vault, BaseIsTheRootOrThePerspectivesFolder) {
  Vault vault{"/v", VaultFormat::org, "de", std::nullopt};
  EXPECT_EQ(vault.baseURL(), "/v");
  vault.perspective = "Deep Work!";
  EXPECT_EQ(vault.baseURL(), "/v/_perspectives/deep-work");
}

TEST(Vault, JsonUsesTheFieldNamesAndReadsLeniently) {
  const Vault vault{"/home/ada/My Vault", VaultFormat::org, "de_CH", "Work"};
  const Json j = vault;
  EXPECT_EQ(
      j.dump(),
      R"({"rootURL":"/home/ada/My Vault","format":"org","locale":"de_CH","perspective":"Work"})");
  EXPECT_EQ(j.get<Vault>(), vault);
  const auto fromUrl = Json::parse(R"({"rootURL":"file:///home/ada/My%20Vault"})").get<Vault>();
  EXPECT_EQ(fromUrl, (Vault{"/home/ada/My Vault", VaultFormat::markdown, "en", std::nullopt}));
  EXPECT_THROW(Json::parse(R"({"format":"rtf"})").get<Vault>(), RecordError);
}

class MovePerspectives : public ::testing::Test {
 protected:
  testing::TempDir dir;
  [[nodiscard]] bool exists(const char* relative) const {
    return fs::exists(dir.path() / relative);
  }
};

TEST_F(MovePerspectives, MovesTheOldFolderWhole) {
  dir.write("perspectives/work/days/2026-09-16.md", "old day");
  EXPECT_TRUE(Vault::movePerspectivesFolder(dir.path()).empty());
  EXPECT_FALSE(exists("perspectives"));
  EXPECT_EQ(dir.read("_perspectives/work/days/2026-09-16.md"), "old day");
}

TEST_F(MovePerspectives, FoldsIntoAnExistingFolderWithoutOverwritingAnything) {
  dir.write("perspectives/work/days/2026-09-16.md", "old day");
  dir.write("perspectives/work/days/2026-09-17.md", "only old");
  dir.write("perspectives/home/inbox.md", "home inbox");
  dir.write("_perspectives/work/days/2026-09-16.md", "new day");
  dir.write("_perspectives/work/days/2026-09-16 (2).md", "an earlier clash");

  const auto renamed = Vault::movePerspectivesFolder(dir.path());

  ASSERT_EQ(renamed.size(), 1u);
  EXPECT_EQ(renamed[0], dir.path() / "_perspectives/work/days/2026-09-16 (3).md");
  EXPECT_EQ(dir.read("_perspectives/work/days/2026-09-16.md"), "new day");
  EXPECT_EQ(dir.read("_perspectives/work/days/2026-09-16 (2).md"), "an earlier clash");
  EXPECT_EQ(dir.read("_perspectives/work/days/2026-09-16 (3).md"), "old day");
  EXPECT_EQ(dir.read("_perspectives/work/days/2026-09-17.md"), "only old");
  EXPECT_EQ(dir.read("_perspectives/home/inbox.md"), "home inbox");
  EXPECT_FALSE(exists("perspectives"));
}

TEST_F(MovePerspectives, LeavesAVaultWithoutTheOldFolderAlone) {
  dir.write("_perspectives/work/inbox.md", "x");
  dir.write("perspectives", "a file, not the old folder");
  EXPECT_TRUE(Vault::movePerspectivesFolder(dir.path()).empty());
  EXPECT_EQ(dir.read("perspectives"), "a file, not the old folder");
  EXPECT_EQ(dir.read("_perspectives/work/inbox.md"), "x");
}

}  // namespace
}  // namespace trivo

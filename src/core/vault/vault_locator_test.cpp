// Which vault a command works on, and which format a vault folder has.
#include "core/vault/vault_locator.h"

#include <gtest/gtest.h>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class Locate : public ::testing::Test {
 protected:
  Locate() {
    fs::create_directories(dir.path() / "home/vault/.trivo");
    fs::create_directories(dir.path() / "home/vault/days/deep");
    fs::create_directories(dir.path() / "elsewhere/sub");
    fs::create_directories(dir.path() / "config");
    search.currentDirectory = dir.path() / "home/vault/days/deep";
    search.configDirectory = dir.path() / "config";
  }
  testing::TempDir dir;
  VaultSearch search;
};

TEST_F(Locate, OptionThenEnvironmentThenNearestFolderHoldingDotTrivo) {
  search.option = "../../../../elsewhere/";
  search.environment = "/from/env";
  EXPECT_EQ(locateVault(search), dir.path() / "elsewhere");
  search.option.reset();
  EXPECT_EQ(locateVault(search), "/from/env");
  search.environment.reset();
  EXPECT_EQ(locateVault(search), dir.path() / "home/vault");
}

TEST_F(Locate, KnownVaultsDefaultServesWhenNoFolderUpwardHoldsDotTrivo) {
  search.currentDirectory = dir.path() / "elsewhere/sub";
  dir.write("config/vaults.json",
            R"({"vaults": ["/a"], "default": ")" + (dir.path() / "home/vault").string() + "\"}");
  EXPECT_EQ(locateVault(search), dir.path() / "home/vault");
}

TEST_F(Locate, NoVaultIsOneSentenceSayingHowToMakeOne) {
  search.currentDirectory = dir.path() / "elsewhere/sub";
  for (const char* list :
       {"", "not json", R"(["/a"])", R"({"default": 3})", R"({"default": "/does/not/exist"})"}) {
    dir.write("config/vaults.json", list);
    try {
      locateVault(search);
      ADD_FAILURE() << "found a vault with list " << list;
    } catch (const VaultNotFound& e) {
      EXPECT_EQ(std::string(e.what()),
                "No vault found: run trivo init DIR to make one (add --sample to try it with "
                "sample pages), pass --vault DIR, or set TRIVO_VAULT.");
    }
  }
}

TEST(VaultFormatDetection, SettingFirstThenThePagesPresent) {
  testing::TempDir dir;
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::markdown);
  dir.write("days/2026-09-16.org", "");
  dir.write("days/notes.md", "");  // not a page
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::org);
  dir.write("inbox.md", "");
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::markdown);
  dir.write("inbox.org", "");  // both inboxes: the Markdown one is a page, so not org
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::markdown);
  dir.write(".trivo/config.json", R"({"fileFormat": "org"})");
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::org);
  dir.write(".trivo/config.json", R"({"fileFormat": "rtf"})");
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::markdown);
}

// A lone inbox decides, so that a command about one day never lists the period folders, which
// hold a page for every day of the vault's years.
TEST(VaultFormatDetection, ALoneInboxDecidesWithoutTheFolders) {
  testing::TempDir dir;
  dir.write("inbox.org", "");
  dir.write("days/2026-09-16.md", "");
  EXPECT_EQ(detectVaultFormat(dir.path()), VaultFormat::org);
  testing::TempDir md;
  md.write("inbox.md", "");
  md.write("days/2026-09-16.org", "");
  EXPECT_EQ(detectVaultFormat(md.path()), VaultFormat::markdown);
  // Without an inbox the pages decide, and one Markdown page among Org ones rules org out.
  testing::TempDir mixed;
  mixed.write("weeks/2026-W38.org", "");
  mixed.write("days/2026-09-16.org", "");
  EXPECT_EQ(detectVaultFormat(mixed.path()), VaultFormat::org);
  mixed.write("years/2026.md", "");
  EXPECT_EQ(detectVaultFormat(mixed.path()), VaultFormat::markdown);
}

}  // namespace
}  // namespace trivo

// The known-vaults list that trivo init writes, read back by the vault search.
#include "core/vault/known_vaults.h"

#include <gtest/gtest.h>

#include "core/util/json_fields.h"
#include "core/vault/vault_locator.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(KnownVaults, TheLastVaultMadeIsTheDefaultAndEachIsListedOnce) {
  testing::TempDir dir;
  const auto config = dir.path() / "config";
  dir.write("config/vaults.json", R"({"vaults": ["/old"], "window": {"width": 3}})");
  std::filesystem::create_directories(dir.path() / "a");
  std::filesystem::create_directories(dir.path() / "b");
  rememberDefaultVault(config, dir.path() / "a");
  rememberDefaultVault(config, dir.path() / "b");
  rememberDefaultVault(config, dir.path() / "a");
  const Json list = Json::parse(dir.read("config/vaults.json"));
  EXPECT_EQ(list["default"], (dir.path() / "a").string());
  EXPECT_EQ(list["vaults"], Json::array({"/old", (dir.path() / "a").string(),
                                         (dir.path() / "b").string()}));
  EXPECT_EQ(list["window"]["width"], 3);

  VaultSearch search;
  search.currentDirectory = dir.path();
  search.configDirectory = config;
  EXPECT_EQ(locateVault(search), dir.path() / "a");
}

TEST(KnownVaults, AListThatIsNotAnObjectIsStartedAfresh) {
  testing::TempDir dir;
  for (const char* damaged : {"not json", R"(["/a"])", R"({"vaults": 3})"}) {
    dir.write("config/vaults.json", damaged);
    rememberDefaultVault(dir.path() / "config", "/v");
    const Json list = Json::parse(dir.read("config/vaults.json"));
    EXPECT_EQ(list["default"], "/v") << damaged;
    EXPECT_EQ(list["vaults"], Json::array({"/v"})) << damaged;
  }
}

}  // namespace
}  // namespace trivo

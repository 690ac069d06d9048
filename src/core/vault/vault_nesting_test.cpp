// Nesting of vault folders, checked on real folders.
#include "core/vault/vault_nesting.h"

#include <gtest/gtest.h>

#include <vector>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class Nesting : public ::testing::Test {
 protected:
  Nesting() {
    for (const char* folder : {"vault/notes/deep", "v", "other"}) {
      fs::create_directories(dir.path() / folder);
    }
    fs::create_directory_symlink(dir.path() / "vault", dir.path() / "link");
  }
  [[nodiscard]] fs::path at(const char* relative) const { return dir.path() / relative; }
  testing::TempDir dir;
};

TEST_F(Nesting, CandidateInsideAKnownVault) {
  const std::vector<fs::path> known{at("other"), at("vault")};
  EXPECT_EQ(VaultNesting::check(at("vault/notes/deep"), known),
            (VaultNesting{VaultNesting::Kind::inside, at("vault")}));
  // Through a symbolic link and through "..", it is still the same place.
  EXPECT_EQ(VaultNesting::check(at("link/notes"), known),
            (VaultNesting{VaultNesting::Kind::inside, at("vault")}));
  EXPECT_EQ(VaultNesting::check(at("other/../vault/notes/"), known),
            (VaultNesting{VaultNesting::Kind::inside, at("vault")}));
}

TEST_F(Nesting, CandidateHoldingAKnownVault) {
  const std::vector<fs::path> known{at("link/notes")};
  EXPECT_EQ(VaultNesting::check(at("vault"), known),
            (VaultNesting{VaultNesting::Kind::holds, at("link/notes")}));
  EXPECT_EQ(VaultNesting::check(dir.path(), known),
            (VaultNesting{VaultNesting::Kind::holds, at("link/notes")}));
}

TEST_F(Nesting, SiblingsWithPrefixNamesTheSameFolderAndStrangersAreNotNested) {
  const std::vector<fs::path> known{at("v")};
  EXPECT_EQ(VaultNesting::check(at("vault"), known), std::nullopt);
  EXPECT_EQ(VaultNesting::check(at("v/"), known), std::nullopt);
  EXPECT_EQ(VaultNesting::check(at("other"), std::vector<fs::path>{at("vault"), at("link")}),
            std::nullopt);
  EXPECT_EQ(VaultNesting::check(at("link"), std::vector<fs::path>{at("vault")}), std::nullopt);
  // A folder that does not exist yet is placed by its path.
  EXPECT_EQ(VaultNesting::check(at("v/new/vault"), known),
            (VaultNesting{VaultNesting::Kind::inside, at("v")}));
}

}  // namespace
}  // namespace trivo

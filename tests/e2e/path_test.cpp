// `trivo path`: the file of a page address in the located vault.
#include <gtest/gtest.h>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

class PathCommand : public ::testing::Test {
 protected:
  PathCommand() { dir.write("vault/.trivo/config.json", R"({"yearMode": "calendar"})"); }
  testing::ProcessResult trivo(std::vector<std::string> args) {
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2027-01-01";
    options.env["TRIVO_VAULT"] = std::nullopt;
    options.env["XDG_CONFIG_HOME"] = (dir.path() / "config").string();
    options.cwd = (dir.path() / "vault/.trivo").string();
    return testing::runTrivo(args, options);
  }
  [[nodiscard]] std::string vault() const { return (dir.path() / "vault").string(); }
  testing::TempDir dir;
};

TEST_F(PathCommand, PrintsThePathOfRelativeAndExplicitPagesInTheNearestVault) {
  EXPECT_EQ(trivo({"path", "yesterday"}).out, vault() + "/days/2026-12-31.md\n");
  EXPECT_EQ(trivo({"path", "wo"}).out, vault() + "/weeks/2026-W53.md\n");
  EXPECT_EQ(trivo({"path", "yo"}).out, vault() + "/years/2027.md\n");
  EXPECT_EQ(trivo({"path", "quarter:2026-Q3"}).out, vault() + "/quarters/2026-Q3.md\n");
  dir.write("vault/inbox.org", "");
  EXPECT_EQ(trivo({"path", "inbox"}).out, vault() + "/inbox.org\n");
}

TEST_F(PathCommand, JsonNamesTheKeyAndPath) {
  const auto r = trivo({"--vault", vault(), "--json", "path", "today"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto j = Json::parse(r.out);
  EXPECT_EQ(j["key"], Json::parse(R"({"day":{"year":2027,"month":1,"day":1}})"));
  EXPECT_EQ(j["pageKey"], "day:2027-01-01");
  EXPECT_EQ(j["path"], vault() + "/days/2027-01-01.md");
}

TEST_F(PathCommand, RefusesBadAddressesAndViews) {
  auto bad = trivo({"path", "2026-9-16"});
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_EQ(bad.out, "");
  EXPECT_EQ(bad.err.rfind("trivo: \"2026-9-16\" is not a page address;", 0), 0u) << bad.err;
  auto view = trivo({"path", "agenda"});
  EXPECT_EQ(view.exitCode, 1);
  EXPECT_EQ(view.err, "trivo: \"agenda\" names the agenda view, which has no file of its own.\n");
  EXPECT_EQ(trivo({"path"}).exitCode, 2);
}

}  // namespace
}  // namespace trivo

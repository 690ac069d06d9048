// `trivo history` and `trivo restore` on a real vault: versions kept by snapshots and by the
// writes of other commands, a restore that can itself be restored away, and names refused.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/store/atomic_write.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

class HistoryCommand : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(trivo({"init", dir_.path().string() + "/v"}).exitCode, 0); }

  testing::ProcessResult trivo(std::vector<std::string> args) {
    if (args.front() != "init")
      args.insert(args.begin(), {"--vault", (dir_.path() / "v").string()});
    testing::ProcessOptions options;
    options.env["XDG_CONFIG_HOME"] = (dir_.path() / "config").string();
    options.env["XDG_DATA_HOME"] = (dir_.path() / "data").string();
    options.env["TRIVO_TODAY"] = "2026-03-14";
    return testing::runTrivo(args, options);
  }
  std::string page() { return Coordinated::read(dir_.path() / "v/days/2026-03-14.md"); }

  testing::TempDir dir_;
};

TEST_F(HistoryCommand, ARestoreBringsBackAVersionAndCanBeRestoredAway) {
  ASSERT_EQ(trivo({"journal", "first", "--at", "09:00"}).exitCode, 0);
  const std::string first = page();
  ASSERT_EQ(trivo({"history", "--snapshot"}).exitCode, 0);
  ASSERT_EQ(trivo({"journal", "second", "--at", "10:00"}).exitCode, 0);
  const std::string second = page();

  const auto listed = trivo({"history", "today"});
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  // The snapshot and the text kept before the second write are the same text: one version.
  EXPECT_EQ(std::count(listed.out.begin(), listed.out.end(), '\n'), 1) << listed.out;
  EXPECT_EQ(listed.out.substr(0, 5), "  1  ") << listed.out;

  const auto restored = trivo({"restore", "today", "1"});
  EXPECT_EQ(restored.exitCode, 0) << restored.err;
  EXPECT_EQ(page(), first);
  // The message names the version that holds the text just replaced.
  const auto at = restored.out.find("trivo restore today ");
  ASSERT_NE(at, std::string::npos) << restored.out;
  const std::string back = restored.out.substr(at + 20, 8);
  EXPECT_EQ(trivo({"restore", "today", back}).exitCode, 0);
  EXPECT_EQ(page(), second);

  const auto unknown = trivo({"restore", "today", "ffff0000"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_EQ(unknown.err,
            "trivo: No kept version of days/2026-03-14.md is named \"ffff0000\"; trivo history "
            "today lists them.\n");
  EXPECT_EQ(trivo({"history", "someday"}).exitCode, 1);
  EXPECT_EQ(page(), second);
}

}  // namespace
}  // namespace trivo

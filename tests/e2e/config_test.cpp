// `trivo config get/set`: settings read and changed through the merge, wrong values refused.
#include <gtest/gtest.h>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

class ConfigCommand : public ::testing::Test {
 protected:
  ConfigCommand() {
    dir.write("vault/.trivo/config.json",
              R"({"quoteEvery": 2, "futureKey": [1], "focus": {"style": "free"}})");
  }
  testing::ProcessResult trivo(std::vector<std::string> args) {
    testing::ProcessOptions options;
    options.env["TRIVO_VAULT"] = std::nullopt;
    options.env["XDG_CONFIG_HOME"] = (dir.path() / "config").string();
    options.cwd = (dir.path() / "vault").string();
    return testing::runTrivo(args, options);
  }
  [[nodiscard]] std::string settings() const { return dir.read("vault/.trivo/config.json"); }
  testing::TempDir dir;
};

TEST_F(ConfigCommand, GetPrintsValuesAsJsonWithDefaultsFilledIn) {
  auto r = trivo({"config", "get", "quoteEvery"});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "2\n");
  EXPECT_EQ(trivo({"config", "get", "focus.cueSet.finished.sound"}).out, "\"Glass\"\n");
  EXPECT_EQ(trivo({"config", "get", "firstDay"}).out, "null\n");
  const Json all = Json::parse(trivo({"config", "get"}).out);
  EXPECT_EQ(all["font"], "rounded");
}

TEST_F(ConfigCommand, SetTakesJsonOrAPlainWordAndKeepsUnknownKeys) {
  EXPECT_EQ(trivo({"config", "set", "weekStart", "sunday"}).exitCode, 0);
  EXPECT_EQ(trivo({"config", "set", "focus.pomodoroWork", "50"}).exitCode, 0);
  EXPECT_EQ(trivo({"config", "set", "orgSkip", R"(["archive", "old"])"}).exitCode, 0);
  EXPECT_EQ(trivo({"config", "set", "tagColors.work", "\"12\""}).exitCode, 0);
  auto r = trivo({"config", "set", "focus.sound", "rain"});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
  const Json j = Json::parse(settings());
  EXPECT_EQ(j["weekStart"], "sunday");
  EXPECT_EQ(j["focus"]["pomodoroWork"], 50);
  EXPECT_EQ(j["focus"]["style"], "free");
  EXPECT_EQ(j["orgSkip"], Json::parse(R"(["archive", "old"])"));
  EXPECT_EQ(j["tagColors"]["work"], "12");
  EXPECT_EQ(j["futureKey"], Json::parse("[1]"));
  EXPECT_EQ(j["quoteEvery"], 2);
  // A sound is this device's own choice: it lives in the device file only.
  EXPECT_FALSE(j["focus"].contains("sound"));
  EXPECT_EQ(Json::parse(dir.read("config/trivo/device.json"))["focus"]["sound"], "rain");
  EXPECT_EQ(trivo({"config", "get", "focus.sound"}).out, "\"rain\"\n");
}

TEST_F(ConfigCommand, WrongTypesAndUnknownKeysAreRefusedWithTheFileUntouched) {
  // Which values each setting takes is the settings' own test; here, how a refusal is said.
  const std::string before = settings();
  struct Case {
    std::vector<std::string> args;
    std::string err;
  };
  const Case cases[] = {
      {{"config", "set", "quoteEvery", "often"},
       "trivo: often is not a valid value for quoteEvery.\n"},
      {{"config", "set", "focus", "3"}, "trivo: 3 is not a valid value for focus.\n"},
      {{"config", "set", "focus.nope", "3"},
       "trivo: \"focus.nope\" is not a setting; `trivo config get` lists them all.\n"},
      {{"config", "set", "futureKey", "3"},
       "trivo: \"futureKey\" is not a setting; `trivo config get` lists them all.\n"},
      {{"config", "get", "nope"},
       "trivo: \"nope\" is not a setting; `trivo config get` lists them all.\n"},
  };
  for (const auto& c : cases) {
    auto r = trivo(c.args);
    EXPECT_EQ(r.exitCode, 1) << c.args[3];
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(settings(), before) << c.args[3];
  }
  EXPECT_EQ(trivo({"config"}).exitCode, 2);
}

TEST_F(ConfigCommand, RefusesNewerAndCorruptFiles) {
  const std::string newer = R"({"vaultVersion": 2})";
  dir.write("vault/.trivo/config.json", newer);
  auto r = trivo({"config", "set", "quoteEvery", "3"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err, "trivo: The settings file " +
                       (dir.path() / "vault/.trivo/config.json").string() +
                       " was written by a newer version of Trivo, so this version leaves it "
                       "unchanged.\n");
  EXPECT_EQ(settings(), newer);
  dir.write("vault/.trivo/config.json", "{oops");
  r = trivo({"config", "get", "quoteEvery"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("is not a readable settings object"), std::string::npos) << r.err;
  EXPECT_EQ(trivo({"config", "set", "quoteEvery", "3"}).exitCode, 1);
  EXPECT_EQ(settings(), "{oops");
}

}  // namespace
}  // namespace trivo

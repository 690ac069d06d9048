#include "core/config/config_store.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>

#include "core/platform/device_identity.h"
#include "core/store/atomic_write.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

class ConfigStoreTest : public ::testing::Test {
 protected:
  [[nodiscard]] fs::path vault() const { return dir.path() / "vault"; }
  [[nodiscard]] fs::path deviceFile() const {
    return dir.path() / "config" / "trivo" / "device.json";
  }
  void writeSettings(const std::string& text) const { dir.write("vault/.trivo/config.json", text); }
  [[nodiscard]] std::string settingsText() const { return dir.read("vault/.trivo/config.json"); }
  [[nodiscard]] Json settings() const { return Json::parse(settingsText()); }
  [[nodiscard]] ConfigStore store(bool withDevice = false) const {
    return {vault(), withDevice ? std::optional(deviceFile()) : std::nullopt};
  }
  TempDir dir;
};

TEST_F(ConfigStoreTest, MissingFileTakesTheFormatOfThePages) {
  dir.write("vault/days/2026-09-16.org", "");
  EXPECT_EQ(store().load().fileFormat, VaultFormat::org);
  dir.write("vault/weeks/2026-W38.md", "");
  EXPECT_EQ(store().load().fileFormat, VaultFormat::markdown);
  EXPECT_FALSE(fs::exists(vault() / ".trivo" / "config.json"));
}

TEST_F(ConfigStoreTest, EmptyObjectLoadsAsDefaultsAndCorruptFilesAreRefusedUntouched) {
  writeSettings("{}");
  EXPECT_EQ(store().load(), VaultConfig{});
  // 20,000 nested arrays used to overflow the stack when the tree was copied or merged.
  const std::string deep = "{\"x\": " + std::string(20000, '[') + std::string(20000, ']') + "}";
  for (const std::string& text :
       {std::string("[1, 2]"), std::string("{\"fileFormat\": "), std::string(), deep,
        std::string("{\"orgAgenda\": 3}")}) {
    writeSettings(text);
    if (text == "{\"orgAgenda\": 3}") {
      EXPECT_THROW((void)store().load(), RecordError) << text.substr(0, 40);
    } else {
      EXPECT_THROW((void)store().load(), ConfigError) << text.substr(0, 40);
    }
    try {
      store().save(VaultConfig{});
      ADD_FAILURE() << "saved over " << text.substr(0, 40);
    } catch (const ConfigError& e) {
      EXPECT_EQ(e.which(), ConfigError::Case::corruptFile);
      EXPECT_EQ(std::string(e.what()), "The settings file " +
                                           (vault() / ".trivo/config.json").string() +
                                           " is not a readable settings object; fix or remove "
                                           "it by hand.");
    }
    EXPECT_EQ(settingsText(), text);
  }
}

TEST_F(ConfigStoreTest, NewerFileIsNeverRewritten) {
  const std::string text = R"({"vaultVersion": 2, "font": "serif"})";
  writeSettings(text);
  VaultConfig c = store().load();
  EXPECT_TRUE(c.isNewerThanThisApp());
  c.font = "mono";
  try {
    store().save(c);
    FAIL() << "downgraded a newer file";
  } catch (const ConfigError& e) {
    EXPECT_EQ(e.which(), ConfigError::Case::newerVersion);
  }
  EXPECT_EQ(settingsText(), text);
}

TEST_F(ConfigStoreTest, UnknownKeysSurviveALoadChangeSaveCycle) {
  writeSettings(R"({"futureThing": {"a": [1, 2]}, "focus": {"laterKnob": 7}, "font": "serif"})");
  VaultConfig c = store().load();
  c.wideMode = true;
  store().save(c);
  const Json j = settings();
  EXPECT_EQ(j["futureThing"], Json::parse(R"({"a": [1, 2]})"));
  EXPECT_EQ(j["focus"]["laterKnob"], 7);
  EXPECT_EQ(j["wideMode"], true);
  EXPECT_EQ(j["font"], "serif");
  EXPECT_EQ(store().load().wideMode, true);
  EXPECT_FALSE(fs::exists(vault() / ".trivo" / "config.json.tmp"));
}

// Another process's change wins over a value we did not change, whether it came before our
// save or after it (when our record was not loaded again).
TEST_F(ConfigStoreTest, AnotherWritersChangeWinsOverAnUnchangedValue) {
  writeSettings(R"({"font": "serif", "accent": "blue"})");
  VaultConfig c = store().load();
  writeSettings(R"({"font": "mono", "accent": "blue"})");  // another process
  c.accent = "green";
  store().save(c);
  EXPECT_EQ(settings()["font"], "mono");
  EXPECT_EQ(settings()["accent"], "green");
  writeSettings(R"({"font": "sans", "accent": "green"})");  // again, after our save
  c.accent = "blue";
  store().save(c);
  EXPECT_EQ(settings()["font"], "sans");
  EXPECT_EQ(settings()["accent"], "blue");
}

TEST_F(ConfigStoreTest, DeviceSettingsLiveOnlyInTheDeviceFile) {
  writeSettings(
      R"({"font": "serif", "focus": {"sound": "rain", "style": "pomodoro", "cues": false}})");
  dir.write("config/trivo/device.json", R"({"focus": {"cues": true, "volume": 0.5}})");
  VaultConfig c = store(true).load();
  EXPECT_EQ(c.font, "serif");
  EXPECT_EQ(c.focus.volume, 0.5);
  EXPECT_FALSE(c.focus.cues);  // the shared value wins over one an older version kept here
  c.focus.muted = true;
  store(true).save(c);
  const Json shared = settings();
  EXPECT_FALSE(shared.contains("font"));
  EXPECT_FALSE(shared["focus"].contains("sound"));
  EXPECT_FALSE(shared["focus"].contains("muted"));
  EXPECT_EQ(shared["focus"]["style"], "pomodoro");
  EXPECT_FALSE(shared["timeline"].contains("enabled"));
  EXPECT_TRUE(shared["timeline"].contains("showCalendar"));
  const Json device = Json::parse(dir.read("config/trivo/device.json"));
  EXPECT_EQ(device["font"], "serif");
  EXPECT_EQ(device["focus"]["sound"], "rain");
  EXPECT_EQ(device["focus"]["muted"], true);
  EXPECT_FALSE(device["focus"].contains("cues"));
  EXPECT_EQ(store(true).load(), c);
}

TEST(ConfigMerge, KeyByKeyOverNestedTrees) {
  const auto j = [](const char* text) { return Json::parse(text); };
  // What the case shows; our record, what we read, what is on disk; the merge.
  const std::array<const char*, 5> cases[] = {
      {"both change different keys", R"({"a": 2, "b": 1})", R"({"a": 1, "b": 1})",
       R"({"a": 1, "b": 3})", R"({"a": 2, "b": 3})"},
      {"both change the same key: ours wins", R"({"a": 2})", R"({"a": 1})", R"({"a": 3})",
       R"({"a": 2})"},
      {"unknown keys kept", R"({"a": 1})", R"({"a": 1})", R"({"a": 1, "z": {"q": 1}})",
       R"({"a": 1, "z": {"q": 1}})"},
      {"nested objects merge key by key", R"({"f": {"x": 2, "y": 1}})",
       R"({"f": {"x": 1, "y": 1}})", R"({"f": {"x": 1, "y": 5, "new": 0}})",
       R"({"f": {"x": 2, "y": 5, "new": 0}})"},
      {"a key we dropped goes", R"({"m": {"k": 1}})", R"({"m": {"k": 1, "gone": 2}})",
       R"({"m": {"k": 1, "gone": 2}})", R"({"m": {"k": 1}})"},
      {"a key we dropped but they changed stays", R"({"m": {}})", R"({"m": {"gone": 2}})",
       R"({"m": {"gone": 9}})", R"({"m": {"gone": 9}})"},
      {"a key they deleted that we never changed is ours again", R"({"a": 1})", R"({"a": 1})",
       R"({})", R"({"a": 1})"},
      {"lists are single values", R"({"l": [1, 2]})", R"({"l": [1]})", R"({"l": [1, 3]})",
       R"({"l": [1, 2]})"},
      {"key order does not make a change", R"({"o": [{"a": 1, "b": 2}]})",
       R"({"o": [{"b": 2, "a": 1}]})", R"({"o": [{"c": 3}]})", R"({"o": [{"c": 3}]})"},
      {"no base: ours wins", R"({"a": 1})", R"({})", R"({"a": 2, "u": 0})", R"({"a": 1, "u": 0})"},
  };
  for (const auto& [what, mine, read, disk, expected] : cases) {
    EXPECT_EQ(ConfigStore::merged(j(mine), j(read), j(disk), ConfigStore::known(j(mine))),
              j(expected))
        << what;
  }
  // A known key that our record no longer writes is removed, an unknown one kept.
  EXPECT_EQ(ConfigStore::merged(j(R"({"a": 1})"), j("{}"), j(R"({"a": 1, "old": 1, "u": 1})"),
                                j(R"({"a": null, "old": null})")),
            j(R"({"a": 1, "u": 1})"));
}

TEST(ConfigMerge, DottedKeyPaths) {
  Json j = Json::parse(R"({"focus": {"sound": "rain"}, "font": 3})");
  EXPECT_EQ(ConfigStore::value(j, "focus.sound"), Json("rain"));
  EXPECT_EQ(ConfigStore::value(j, "focus.volume"), std::nullopt);
  EXPECT_EQ(ConfigStore::value(j, "font.size"), std::nullopt);
  ConfigStore::set(j, "timeline.enabled", false);
  ConfigStore::set(j, "font.size", 12);
  ConfigStore::remove(j, "focus.sound");
  ConfigStore::remove(j, "nothing.here");
  EXPECT_EQ(j,
            Json::parse(R"({"focus": {}, "font": {"size": 12}, "timeline": {"enabled": false}})"));
}

// Two real processes, each changing its own key 100 times from a record loaded once: the write
// lock and the merge together keep every change of both.
TEST_F(ConfigStoreTest, TwoProcessesChangingDifferentKeysKeepBoth) {
  writeSettings("{}");
  constexpr std::int64_t kRounds = 100;
  auto work = [&](bool first) {
    VaultConfig c = store().load();
    for (std::int64_t i = 1; i <= kRounds; ++i) {
      if (first) {
        c.quoteEvery = i;
      } else {
        c.draftsFillColumn = 100 + i;
      }
      store().save(c);
    }
  };
  const pid_t child = testing::runInChild([&] { work(false); });
  ASSERT_GE(child, 0);
  work(true);
  testing::expectExitedCleanly(child);
  const VaultConfig end = store().load();
  EXPECT_EQ(end.quoteEvery, kRounds);
  EXPECT_EQ(end.draftsFillColumn, 100 + kRounds);
}

TEST(DeviceIdentity, StableHashedIdAndHostName) {
  EXPECT_EQ(sha256("abc")[0], 0xba);
  EXPECT_EQ(sha256("abc")[31], 0xad);
  EXPECT_EQ(sha256(std::string(64, 'a'))[0], 0xff);  // two blocks of padding
  const auto a = DeviceIdentity::derive("4c4c4544003", "desk");
  EXPECT_EQ(a, DeviceIdentity::derive("4c4c4544003", "desk"));
  EXPECT_NE(a.id, DeviceIdentity::derive("4c4c4544004", "desk").id);
  EXPECT_EQ(a.id.size(), 32u);
  EXPECT_EQ(a.id.find("4c4c4544003"), std::string::npos);
  EXPECT_EQ(DeviceIdentity::derive("x", "").name, "this device");
  EXPECT_EQ(DeviceIdentity::current(), DeviceIdentity::current());
}

TEST(ConfigStoreDevice, DefaultDeviceFileFollowsXdgConfigHome) {
  testing::ScopedEnv xdg("XDG_CONFIG_HOME", "/tmp/xdg");
  EXPECT_EQ(ConfigStore::defaultDeviceURL(), fs::path("/tmp/xdg/trivo/device.json"));
  testing::ScopedEnv relative("XDG_CONFIG_HOME", "rel");
  testing::ScopedEnv home("HOME", "/home/ann");
  EXPECT_EQ(ConfigStore::defaultDeviceURL(), fs::path("/home/ann/.config/trivo/device.json"));
}


// An editor that saves the settings file by rewriting it (without our lock) while this process
// saves settings of its own: every key the editor added must still be there at the end.
TEST_F(ConfigStoreTest, SavesNeverDropAKeyAnEditorAddedMeanwhile) {
  writeSettings("{}\n");
  constexpr int kRounds = 100;
  const fs::path file = vault() / ".trivo" / "config.json";
  const pid_t editor = testing::runInChild([&] {
    for (int i = 0; i < kRounds; ++i) {
      Json j = Json::parse(Coordinated::read(file), nullptr, false);
      if (!j.is_object()) j = Json::object();
      j["editor" + std::to_string(i)] = i;
      const fs::path temp = file.string() + ".editor";
      { std::ofstream(temp) << j.dump(2) << "\n"; }
      if (i % 2 == 0) {
        fs::rename(temp, file);  // as most editors save
      } else {
        fs::remove(temp);
        std::ofstream(file, std::ios::trunc) << j.dump(2) << "\n";  // in place
      }
    }
  });
  ASSERT_GE(editor, 0);
  VaultConfig config;
  for (int i = 0; i < kRounds; ++i) {
    config.textScale = 1.0 + i / 1000.0;
    try {
      store().save(config);
    } catch (const ConfigError&) {
      // Caught the editor halfway through an in-place write: not a settings object yet.
    }
  }
  testing::expectExitedCleanly(editor);
  store().save(config);
  const Json j = settings();
  int missing = 0;
  for (int i = 0; i < kRounds; ++i) missing += j.contains("editor" + std::to_string(i)) ? 0 : 1;
  EXPECT_EQ(missing, 0) << j.dump(2);
}

}  // namespace
}  // namespace trivo

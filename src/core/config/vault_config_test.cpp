#include "core/config/vault_config.h"

#include <gtest/gtest.h>

#include <utility>

#include "core/config/key_shortcut.h"
#include "core/config/saved_filters.h"

namespace trivo {
namespace {

VaultConfig read(const char* text) { return Json::parse(text).get<VaultConfig>(); }

TEST(VaultConfig, WritesEveryKeyInOrderAndReadsItBack) {
  VaultConfig c;
  c.fileFormat = VaultFormat::org;
  c.savedFilters["sidebar"] = {
      SavedFilter{"Work", {"work"}, true, "", "blue", std::nullopt, true, std::nullopt}};
  c.activityDays["exercise"] = {1, 3};
  c.view["zoom"] = 1.5;
  c.view["compact"] = true;
  c.view["count"] = std::int64_t{3};
  c.view["mode"] = std::string("list");
  c.focus.round = Focus::Round{"2026-09-16", 4, 2};
  c.focus.nextStartsAt = Instant{} + std::chrono::seconds(1'789'000'000);
  c.draftActions = std::vector<DraftAction>{{"a", "Tidy", "Tidy this", true}};
  const Json j = c;
  EXPECT_EQ(j.size(), 64u);
  EXPECT_EQ(j.begin().key(), "fileFormat");
  EXPECT_EQ((--j.end()).key(), "view");
  EXPECT_EQ(j["firstDay"], nullptr);
  EXPECT_EQ(j["focus"]["nextStartsAt"], "2026-09-10T00:26:40.000Z");
  EXPECT_EQ(j["quickCaptureShortcut"], Json::parse(R"({"keyCode":8,"modifiers":3})"));
  EXPECT_EQ(Json::parse(j.dump()).get<VaultConfig>(), c);
}

TEST(VaultConfig, DeliberateReadingRules) {
  EXPECT_EQ(read(R"({"quoteOnPause": true})").quoteBreakEvery, 1);
  EXPECT_EQ(read(R"({"quoteOnPause": true, "quoteBreakEvery": 3})").quoteBreakEvery, 3);
  EXPECT_EQ(read(R"({"quoteOnPause": false})").quoteBreakEvery, 0);
  EXPECT_EQ(read(R"({"sidebarTint": "white"})").sidebarTint, "none");
  EXPECT_EQ(read(R"({"sidebarTint": "blue"})").sidebarTint, "blue");
  EXPECT_TRUE(read(R"({"vaultVersion": 2})").isNewerThanThisApp());
  EXPECT_FALSE(read(R"({"vaultVersion": 1})").isNewerThanThisApp());
}

TEST(VaultConfig, MissingKeysInsideNestedRecordsKeepTheirOwnDefaults) {
  const VaultConfig c = read(R"({"focus": {"sound": "rain", "cueSet": {"warning": {"speak": true}}},
                                 "journalNoteShortcut": {"modifiers": 8}})");
  EXPECT_EQ(c.focus.sound, "rain");
  EXPECT_EQ(c.focus.pomodoroWork, 25);
  EXPECT_EQ(c.focus.cueSet.warning, (Cue{"Tink", true, false}));
  EXPECT_EQ(c.focus.cueSet.started.sound, "Pop");
  EXPECT_EQ(c.journalNoteShortcut.keyCode, KeyShortcut::journalNoteDefault().keyCode);
  EXPECT_EQ(c.journalNoteShortcut.modifiers.rawValue, 8);
}

TEST(VaultConfig, WrongTypesAreErrors) {
  for (const char* text :
       {R"([])", R"({"fileFormat": "rtf"})", R"({"orgAgenda": "yes"})", R"({"quoteEvery": 1.5})",
        R"({"quoteEvery": 1e300})", R"({"vaultVersion": 18446744073709551615})",
        R"({"tagPins": "work"})", R"({"focus": []})", R"({"focus": {"continueMinutes": [1, "3"]}})",
        R"({"view": {"x": [1]}})", R"({"activityDays": {"run": 3}})", R"({"textScale": "big"})",
        R"({"savedFilters": {"a": [{"name": 3}]}})", R"({"focus": {"nextStartsAt": "soon"}})",
        R"({"weekStart": "tuesday"})", R"({"captureDraftShortcut": {"keyCode": "F"}})"}) {
    EXPECT_THROW(read(text), RecordError) << text;
  }
}

TEST(KeyShortcut, DisplayAndSystemReservedNotes) {
  using M = KeyShortcut::Modifiers;
  EXPECT_EQ(KeyShortcut::captureJournalDefault().display(), "⌃⌥⇧J");
  EXPECT_EQ((KeyShortcut{49, {M::command}}).display(), "⌘Space");
  EXPECT_EQ((KeyShortcut{200, {}}).keyName(), "Key 200");
  const std::pair<KeyShortcut, std::optional<std::string>> cases[] = {
      {{3, {M::control | M::command}}, "⌃⌘F is Full Screen."},
      {{3, {M::command}}, std::nullopt},
      {{12, {M::command}}, "⌘Q, ⌘H and ⌘W belong to every app."},
      {{4, {M::command}}, "⌘Q, ⌘H and ⌘W belong to every app."},
      {{13, {M::command | M::shift}}, std::nullopt},
      {{22, {M::shift | M::command}}, "⇧⌘3–6 are the macOS screenshot keys."},
      {{19, {M::shift | M::command}}, std::nullopt},
      {{48, {M::shift | M::command}}, "⌘⇥ switches apps."},
      {{49, {M::option | M::command}}, "⌘Space is Spotlight."},
      {{49, {M::control | M::option}}, "Used by macOS to switch the input source."},
      {{49, {M::control | M::command}}, std::nullopt},
  };
  for (const auto& [shortcut, note] : cases) {
    EXPECT_EQ(shortcut.systemReservedNote(), note) << shortcut.display();
  }
  for (const auto& s : {KeyShortcut::quickCaptureDefault(), KeyShortcut::focusToggleDefault(),
                        KeyShortcut::journalNoteDefault(), KeyShortcut::askAIDefault(),
                        KeyShortcut::captureJournalDefault(), KeyShortcut::captureDraftDefault()}) {
    EXPECT_EQ(s.systemReservedNote(), std::nullopt) << s.display();
  }
}

SavedFilter named(const char* name, std::vector<std::string> tags = {}) {
  SavedFilter f;
  f.name = name;
  f.tags = std::move(tags);
  return f;
}

std::vector<std::string> names(const SavedFilters::List& list) {
  std::vector<std::string> out;
  for (const auto& f : list) out.push_back(f.name);
  return out;
}

TEST(SavedFilters, NamesStayUniqueAndEditsKeepPositions) {
  SavedFilters::List list;
  list = SavedFilters::adding(list, named("Work"));
  list = SavedFilters::adding(list, named("Work"));
  list = SavedFilters::adding(list, named("Work"));
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Work 2", "Work 3"}));
  list = SavedFilters::renaming(list, "Work 3", "Work");
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Work 2", "Work 3"}));
  list = SavedFilters::renaming(list, "Work 2", "Home");
  list = SavedFilters::saving(list, named("Home", {"home"}));
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Home", "Work 3"}));
  EXPECT_EQ(list[1].tags, std::vector<std::string>{"home"});
  list = SavedFilters::replacing(list, "Work 3", named("Home"));
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Home", "Home 2"}));
  list = SavedFilters::moving(list, "Work", 5);
  EXPECT_EQ(names(list), (std::vector<std::string>{"Home", "Home 2", "Work"}));
  list = SavedFilters::moving(list, "Work", std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Home", "Home 2"}));
  list = SavedFilters::removing(list, "Home");
  EXPECT_EQ(names(list), (std::vector<std::string>{"Work", "Home 2"}));
  list = SavedFilters::styling(list, "Work", "red", true);
  EXPECT_EQ(list[0].tint, "red");
  EXPECT_TRUE(list[0].bold);
}

TEST(SavedFilters, TagsRenameActiveAndStep) {
  SavedFilters::List list = {named("A", {"work", "deep"}), named("B", {"deep", "home"})};
  list = SavedFilters::renamingTag(list, "work", "home");
  EXPECT_EQ(list[0].tags, (std::vector<std::string>{"home", "deep"}));
  list = SavedFilters::renamingTag(list, "deep", "home");
  EXPECT_EQ(list[0].tags, std::vector<std::string>{"home"});
  EXPECT_EQ(list[1].tags, std::vector<std::string>{"home"});
  list[1].matchAll = true;
  EXPECT_EQ(SavedFilters::active(list, {"home", "home"}, true, ""), 1u);
  EXPECT_EQ(SavedFilters::active(list, {"home"}, false, ""), 0u);
  EXPECT_EQ(SavedFilters::active(list, {"home"}, false, "words"), std::nullopt);
  EXPECT_EQ(SavedFilters::step(list, std::nullopt, 1), 0u);
  EXPECT_EQ(SavedFilters::step(list, 1, 1), 0u);
  EXPECT_EQ(SavedFilters::step(list, 0, -1), 1u);
  EXPECT_EQ(SavedFilters::step(list, 0, std::numeric_limits<std::int64_t>::min()), 0u);
  EXPECT_EQ(SavedFilters::step({}, 0, 1), std::nullopt);
  EXPECT_EQ(SavedFilters::tags(" #work, deep  #work ,,#"),
            (std::vector<std::string>{"work", "deep"}));
}

}  // namespace
}  // namespace trivo

#include "core/drafts/draft_shelf.h"

#include <gtest/gtest.h>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

TEST(DraftShelf, PreviewIsTheFirstLineThatSaysSomething) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"---\ntitle: Ideas\n---\n\n# Ideas for the garden\nmore", "Ideas for the garden"},
      {"#+title: Trip\n#+date: 2026-11-01\n:PROPERTIES:\n:ID: x\n:END:\n** TODO Book the train",
       "TODO Book the train"},
      {"\n\n  - [ ] buy seeds  \r\n", "buy seeds"},
      {"#\n*\n- \nreal words", "real words"},
      {"", ""},
      {"---\nunclosed front matter", ""},
  };
  for (const auto& [text, want] : cases) EXPECT_EQ(DraftShelf::preview(text), want) << text;

  // Long lines are cut at a character, never inside one.
  const std::string longLine = std::string(79, 'a') + "ééé";
  EXPECT_EQ(DraftShelf::preview(longLine), std::string(79, 'a') + "é…");
}

TEST(DraftShelf, PinsComeInTheirOrderElseTheNewestDrafts) {
  testing::TempDir vault;
  vault.write("drafts/Ideas.md", "Plant tulips\n");
  vault.write("drafts/Trip.org", "* Book the train\n");
  vault.write("drafts/notes.txt", "loose notes\n");
  vault.write("drafts/.Ideas.md.scratch", "not a draft\n");
  vault.write("drafts/picture.png", "not a draft\n");
  const auto base = fs::file_time_type::clock::now();
  fs::last_write_time(vault.path() / "drafts/Ideas.md", base - std::chrono::hours(3));
  fs::last_write_time(vault.path() / "drafts/Trip.org", base - std::chrono::hours(1));
  fs::last_write_time(vault.path() / "drafts/notes.txt", base - std::chrono::hours(2));
  const DraftShelf shelf(vault.path());

  using Line = LiveState::DraftLine;
  EXPECT_EQ(shelf.lines({"Trip", "Gone", "../Ideas", "Ideas"}, 6),
            (std::vector<Line>{{"Trip", "Book the train"}, {"Ideas", "Plant tulips"}}));
  EXPECT_EQ(shelf.lines({}, 2),
            (std::vector<Line>{{"Trip", "Book the train"}, {"notes", "loose notes"}}));
  EXPECT_TRUE(DraftShelf(vault.path() / "nowhere").lines({}, 6).empty());
}

}  // namespace
}  // namespace trivo

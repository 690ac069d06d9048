// `trivo open`: following links from the command line, as the desktop's link handler does.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(TrivoOpen, DryRunPrintsTheLinkAsJson) {
  auto r = testing::runTrivo(
      {"open", "--dry-run", "trivo://focus/start?minutes=25&subject=Deep%20work"});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Json::parse(r.out),
            Json::parse(R"({"case":"focusStart","minutes":25,"subject":"Deep work","slot":null})"));
}

TEST(TrivoOpen, ALinkThatDoesNotParseIsRefusedWithExitOne) {
  for (const char* url : {"trivo://focus/start?minutes=1441", "https://open?page=calendar"}) {
    for (bool dryRun : {true, false}) {
      std::vector<std::string> args = {"open", url};
      if (dryRun) args.insert(args.begin() + 1, "--dry-run");
      auto r = testing::runTrivo(args);
      EXPECT_EQ(r.exitCode, 1) << url;
      EXPECT_EQ(r.err, std::string("not a trivo link: ") + url + "\n");
      EXPECT_EQ(r.out, "");
    }
  }
}

TEST(TrivoOpen, OpensPagesOfTheVaultAndNeverANoteOutsideIt) {
  testing::TempDir dir;
  const auto vault = dir.path() / "vault";
  dir.write("vault/.trivo/config.json", "{}");
  dir.write("vault/notes/a b.md", "x");
  dir.write("secret.md", "x");
  std::filesystem::create_directory_symlink(dir.path(), vault / "out");
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-09-16";

  auto day = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo-app://open?page=yesterday"}, options);
  EXPECT_EQ(day.exitCode, 0) << day.err;
  EXPECT_EQ(day.out,
            "Would open day 2026-09-15: " + (vault / "days/2026-09-15.md").string() + "\n");

  auto note = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://open?page=files&file=notes/a%20b.md"}, options);
  EXPECT_EQ(note.exitCode, 0) << note.err;
  EXPECT_EQ(note.out, "Would open the note: " + (vault / "notes/a b.md").string() + "\n");

  for (const std::string file :
       {"../secret.md", "notes/../../secret.md", "/etc/passwd", "out/secret.md"}) {
    auto r = testing::runTrivo(
        {"--vault", vault.string(), "open", "trivo://open?page=files&file=" + file}, options);
    EXPECT_EQ(r.exitCode, 1) << file;
    EXPECT_EQ(r.err, "trivo: \"" + file +
                         "\" is outside the vault; a note link names a file inside the vault.\n");
  }
}

TEST(TrivoOpen, TimerLinksLeaveAnOrderInTheCommandFile) {
  testing::TempDir group;
  testing::ProcessOptions options;
  options.env["TRIVO_GROUP_DIR"] = (group.path() / "g").string();
  options.env["XDG_STATE_HOME"] = (group.path() / "state").string();
  auto start = testing::runTrivo({"open", "trivo://widget/start"}, options);
  EXPECT_EQ(start.exitCode, 0) << start.err;
  EXPECT_EQ(start.out.rfind("Asked the focus timer to start.", 0), 0u) << start.out;
  const Json order = Json::parse(group.read("g/command.json"));
  EXPECT_EQ(order["command"], "start");

  // Nothing runs (no live state), so "hold" has nothing to pause.
  auto hold = testing::runTrivo({"open", "trivo://widget/hold"}, options);
  EXPECT_EQ(hold.exitCode, 1);
  EXPECT_EQ(hold.err, "trivo: No focus session is under way, so there is nothing to hold.\n");

  auto stop = testing::runTrivo({"open", "trivo://focus/stop"}, options);
  EXPECT_EQ(stop.exitCode, 0) << stop.err;
  EXPECT_EQ(Json::parse(group.read("g/command.json"))["command"], "stop");
}

// Regression: a captured line used to be appended as raw text at the page's end, inside the
// person's own last section, where it was no item.
TEST(TrivoOpen, CaptureGoesAmongTheInboxItemsAboveTheOwnersOwnSection) {
  testing::TempDir dir;
  const auto vault = dir.path() / "vault";
  dir.write("vault/.trivo/config.json", "{}");
  dir.write("vault/inbox.md", "# Inbox\n\n- [ ] Existing item\n\n## Mine\nmy own words\n");
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-09-16";
  auto r = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://capture?text=Buy%20milk%20%26%20eggs%20friday"},
      options);
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "Captured into the inbox: Buy milk & eggs\n");
  const std::string page = dir.read("vault/inbox.md");
  const auto item =
      page.find("- [ ] Existing item\n- [ ] Buy milk & eggs due:2026-09-18 <!-- id: ");
  EXPECT_NE(item, std::string::npos) << page;
  EXPECT_NE(page.find("captured: 2026-09-16 -->\n\n## Mine\nmy own words\n", item),
            std::string::npos)
      << page;

  auto fresh = testing::runTrivo(
      {"--vault", (dir.path() / "new").string(), "open", "trivo://capture?text=First"}, options);
  ASSERT_EQ(fresh.exitCode, 0) << fresh.err;
  EXPECT_NE(dir.read("new/inbox.md").find("- [ ] First <!-- id: "), std::string::npos);
}

TEST(TrivoOpen, ControlCharactersInACaptureLinkAreRefusedAndNothingIsWritten) {
  testing::TempDir dir;
  const auto vault = dir.path() / "vault";
  dir.write("vault/.trivo/config.json", "{}");
  const std::string before = "# Inbox\n\n- [ ] Existing item\n";
  dir.write("vault/inbox.md", before);
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-09-16";
  for (const std::string text : {"a%00b", "bell%07", "esc%1B%5B2J", "del%7F", "c1%C2%9B"}) {
    for (const std::string pull : {"", "&pull=true"}) {
      auto r = testing::runTrivo(
          {"--vault", vault.string(), "open", "trivo://capture?text=" + text + pull}, options);
      EXPECT_EQ(r.exitCode, 2) << text << pull << r.err;
      EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
  }
  EXPECT_EQ(dir.read("vault/inbox.md"), before);
  EXPECT_FALSE(std::filesystem::exists(vault / "days"));
  // Line breaks are only layout: they become blanks.
  auto r = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://capture?text=two%0Alines"}, options);
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(dir.read("vault/inbox.md").find("- [ ] two lines <!--"), std::string::npos);
}

TEST(TrivoOpen, CaptureWithPullPutsTheLineOnTodaysPageServingTheSlot) {
  testing::TempDir dir;
  const auto vault = dir.path() / "vault";
  dir.write("vault/.trivo/config.json", "{}");
  dir.write("vault/days/2026-09-16.md", "# Wednesday\n\n## Notes\nBought bread.\n");
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-09-16";
  auto pull = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://capture?text=Call%20Ana&pull=true&slot=1"},
      options);
  ASSERT_EQ(pull.exitCode, 0) << pull.err;
  EXPECT_EQ(pull.out, "Captured onto today's page: Call Ana\n");
  const std::string page = dir.read("vault/days/2026-09-16.md");
  EXPECT_NE(page.find("Bought bread."), std::string::npos) << page;
  const auto from = page.find("## From the inbox\n- [ ] Call Ana → #2 <!-- id: ");
  EXPECT_NE(from, std::string::npos) << page;
  EXPECT_NE(page.find("captured: 2026-09-16 · pulled: 2026-09-16 -->", from), std::string::npos)
      << page;
  EXPECT_FALSE(std::filesystem::exists(vault / "inbox.md"));

  dir.write("vault/days/2026-09-16.md", "---\ndate: 2026-09-17\n---\n");
  auto refused = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://capture?text=x&pull=true"}, options);
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_EQ(dir.read("vault/days/2026-09-16.md"), "---\ndate: 2026-09-17\n---\n");
}

}  // namespace
}  // namespace trivo

// `trivo open`: following links from the command line, as the desktop's link handler does.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

// A vault with today pinned to Wednesday 2026-09-16, and the shared folder of a test's own.
class TrivoOpen : public ::testing::Test {
 protected:
  TrivoOpen() { dir.write("vault/.trivo/config.json", "{}"); }
  [[nodiscard]] std::filesystem::path vault() const { return dir.path() / "vault"; }
  testing::ProcessResult open(const std::string& url, bool dryRun = false) {
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-09-16";
    options.env["TRIVO_GROUP_DIR"] = (dir.path() / "group").string();
    options.env["XDG_STATE_HOME"] = (dir.path() / "state").string();
    std::vector<std::string> args = {"--vault", vault().string(), "open", url};
    if (dryRun) args.insert(args.begin() + 3, "--dry-run");
    return testing::runTrivo(args, options);
  }
  testing::TempDir dir;
};

TEST_F(TrivoOpen, DryRunPrintsTheLinkAsJsonAndALinkThatDoesNotParseIsRefusedWithExitOne) {
  auto r = open("trivo://focus/start?minutes=25&subject=Deep%20work", true);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Json::parse(r.out),
            Json::parse(R"({"case":"focusStart","minutes":25,"subject":"Deep work","slot":null})"));

  for (const char* url : {"trivo://focus/start?minutes=1441", "https://open?page=calendar"}) {
    for (bool dryRun : {true, false}) {
      auto bad = open(url, dryRun);
      EXPECT_EQ(bad.exitCode, 1) << url;
      EXPECT_EQ(bad.err, std::string("trivo: ") + url +
                             " is not a link Trivo follows; write one such as "
                             "trivo://open?page=journal, trivo://capture?text=milk or "
                             "trivo://find?q=coffee.\n");
      EXPECT_EQ(bad.out, "");
    }
  }
}

TEST_F(TrivoOpen, OpensPagesOfTheVaultAndNeverANoteOutsideIt) {
  dir.write("vault/notes/a b.md", "x");
  dir.write("secret.md", "x");
  std::filesystem::create_directory_symlink(dir.path(), vault() / "out");

  auto day = open("trivo-app://open?page=yesterday");
  EXPECT_EQ(day.exitCode, 0) << day.err;
  EXPECT_EQ(day.out,
            "Would open day 2026-09-15: " + (vault() / "days/2026-09-15.md").string() + "\n");

  auto note = open("trivo://open?page=files&file=notes/a%20b.md");
  EXPECT_EQ(note.exitCode, 0) << note.err;
  EXPECT_EQ(note.out, "Would open the note: " + (vault() / "notes/a b.md").string() + "\n");

  for (const std::string file :
       {"../secret.md", "notes/../../secret.md", "/etc/passwd", "out/secret.md"}) {
    auto r = open("trivo://open?page=files&file=" + file);
    EXPECT_EQ(r.exitCode, 1) << file;
    EXPECT_EQ(r.err, "trivo: \"" + file +
                         "\" is outside the vault; a note link names a file inside the vault.\n");
  }
}

TEST_F(TrivoOpen, TimerLinksLeaveAnOrderInTheCommandFile) {
  auto start = open("trivo://widget/start");
  EXPECT_EQ(start.exitCode, 0) << start.err;
  EXPECT_EQ(start.out.rfind("Asked the focus timer to start.", 0), 0u) << start.out;
  EXPECT_EQ(Json::parse(dir.read("group/command.json"))["command"], "start");

  // Nothing runs (no live state), so "hold" has nothing to pause.
  auto hold = open("trivo://widget/hold");
  EXPECT_EQ(hold.exitCode, 1);
  EXPECT_EQ(hold.err, "trivo: No focus session is under way, so there is nothing to hold.\n");

  auto stop = open("trivo://focus/stop");
  EXPECT_EQ(stop.exitCode, 0) << stop.err;
  EXPECT_EQ(Json::parse(dir.read("group/command.json"))["command"], "stop");
}

// Regression: a captured line used to be appended as raw text at the page's end, inside the
// person's own last section, where it was no item.
TEST_F(TrivoOpen, CaptureGoesAmongTheInboxItemsAboveTheOwnersOwnSection) {
  dir.write("vault/inbox.md", "# Inbox\n\n- [ ] Existing item\n\n## Mine\nmy own words\n");
  auto r = open("trivo://capture?text=Buy%20milk%20%26%20eggs%20friday");
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "Captured into the inbox: Buy milk & eggs\n");
  const std::string page = dir.read("vault/inbox.md");
  const auto item =
      page.find("- [ ] Existing item\n- [ ] Buy milk & eggs due:2026-09-18 <!-- id: ");
  EXPECT_NE(item, std::string::npos) << page;
  EXPECT_NE(page.find("captured: 2026-09-16 -->\n\n## Mine\nmy own words\n", item),
            std::string::npos)
      << page;

  // A vault folder that is not there (a sync folder not mounted yet) is not started afresh.
  std::filesystem::remove_all(vault());
  EXPECT_EQ(open("trivo://capture?text=First").exitCode, 1);
  EXPECT_FALSE(std::filesystem::exists(vault()));
}

TEST_F(TrivoOpen, ControlCharactersInACaptureLinkAreRefusedAndNothingIsWritten) {
  const std::string before = "# Inbox\n\n- [ ] Existing item\n";
  dir.write("vault/inbox.md", before);
  for (const std::string text : {"a%00b", "bell%07", "esc%1B%5B2J", "del%7F", "c1%C2%9B"}) {
    for (const std::string pull : {"", "&pull=true"}) {
      auto r = open("trivo://capture?text=" + text + pull);
      EXPECT_EQ(r.exitCode, 1) << text << pull << r.err;
      EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
  }
  EXPECT_EQ(dir.read("vault/inbox.md"), before);
  EXPECT_FALSE(std::filesystem::exists(vault() / "days"));
  // Line breaks are only layout: they become blanks.
  auto r = open("trivo://capture?text=two%0Alines");
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(dir.read("vault/inbox.md").find("- [ ] two lines <!--"), std::string::npos);
}

TEST_F(TrivoOpen, CaptureWithPullPutsTheLineOnTodaysPageServingTheSlot) {
  dir.write("vault/days/2026-09-16.md", "# Wednesday\n\n## Notes\nBought bread.\n");
  auto pull = open("trivo://capture?text=Call%20Ana&pull=true&slot=1");
  ASSERT_EQ(pull.exitCode, 0) << pull.err;
  EXPECT_EQ(pull.out, "Captured onto today's page: Call Ana\n");
  const std::string page = dir.read("vault/days/2026-09-16.md");
  EXPECT_NE(page.find("Bought bread."), std::string::npos) << page;
  const auto from = page.find("## From the inbox\n- [ ] Call Ana → #2 <!-- id: ");
  EXPECT_NE(from, std::string::npos) << page;
  EXPECT_NE(page.find("captured: 2026-09-16 · pulled: 2026-09-16 -->", from), std::string::npos)
      << page;
  EXPECT_FALSE(std::filesystem::exists(vault() / "inbox.md"));

  dir.write("vault/days/2026-09-16.md", "---\ndate: 2026-09-17\n---\n");
  auto refused = open("trivo://capture?text=x&pull=true");
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_EQ(dir.read("vault/days/2026-09-16.md"), "---\ndate: 2026-09-17\n---\n");
}

}  // namespace
}  // namespace trivo

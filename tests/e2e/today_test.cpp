// The daily commands (today, outcome, done, undone, journal, pull, carry, plan) against a vault in
// a temporary folder, in both page syntaxes, with the day pinned by TRIVO_TODAY.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "core/util/json_fields.h"
#include "core/vault/vault_format.h"
#include "testing/process.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// A day written by hand, the way a person types it, with things left open.
const std::string kFridayMarkdown =
    "---\ndate: 2026-09-11\ntype: day\n---\n# Friday\n\n## Outcomes\n"
    "- [ ] Ship the report → #2\n- [x] Call the bank\n- [ ]\n\n"
    "## Checklist\n- [ ] Book the dentist\n- [x] Pay rent\n\n"
    "## For tomorrow\n- [ ] Buy milk\n";
const std::string kFridayOrg =
    "#+title: Friday\n#+date: 2026-09-11\n#+type: day\n* Outcomes\n"
    "** TODO Ship the report → #2\n** DONE Call the bank\n"
    "* Checklist\n- [ ] Book the dentist\n- [x] Pay rent\n"
    "* For tomorrow\n- [ ] Buy milk\n";

class DailyCommands : public ::testing::TestWithParam<VaultFormat> {
 protected:
  DailyCommands() { dir.write(".trivo/config.json", org() ? R"({"fileFormat": "org"})" : "{}"); }
  [[nodiscard]] bool org() const { return GetParam() == VaultFormat::org; }
  [[nodiscard]] std::string file(const std::string& stem) const {
    return stem + (org() ? ".org" : ".md");
  }
  testing::ProcessResult trivo(const std::string& today, std::vector<std::string> args) {
    args.insert(args.begin(), {"--vault", dir.path().string()});
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = today;
    options.env["NO_COLOR"] = std::nullopt;
    return testing::runTrivo(args, options);
  }
  // Runs a command that must succeed and returns what it printed.
  std::string ok(const std::string& today, const std::vector<std::string>& args) {
    const auto r = trivo(today, args);
    EXPECT_EQ(r.exitCode, 0) << args.front() << ": " << r.err;
    return r.out;
  }
  // Every page file of the vault with its bytes (the hidden folder is not a page).
  [[nodiscard]] std::map<std::string, std::string> pages() const {
    std::map<std::string, std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(dir.path())) {
      const std::string rel = fs::relative(e.path(), dir.path()).generic_string();
      if (e.is_regular_file() && !rel.starts_with(".trivo")) out[rel] = dir.read(rel);
    }
    return out;
  }

  testing::TempDir dir;
};

TEST_P(DailyCommands, ADayLivedThroughTheCommandsIsPrintedAndWritten) {
  const std::string day = "2026-09-16";
  ok(day, {"outcome", "wo", "1", "Chapter", "3"});
  ok(day, {"outcome", "1", "Write 2k", "--serves", "1"});
  ok(day, {"outcome", "2", "Stretch"});
  ok(day, {"outcome", "2", "--move-to", "3"});
  EXPECT_EQ(ok(day, {"done", "1"}), "1. [x] Write 2k  (day 2026-09-16)\n");
  ok(day, {"done", "--blocked", "3"});
  ok(day, {"journal", "Lunch with Ana", "--at", "12:30"});
  ok(day, {"journal", "Woke early", "--at", "7:15"});
  ok(day, {"capture", "call mum"});
  EXPECT_EQ(ok(day, {"pull", "1", "--slot", "2"}), "Pulled into 2026-09-16: call mum → #2\n");
  EXPECT_EQ(ok(day, {"done", "p1"}), "p1. [x] call mum\n");

  EXPECT_EQ(ok(day, {"today"}),
            "Wednesday 2026-09-16  (week 2026-W38)\n"
            "Outcomes\n"
            "  1. [x] Write 2k → #1\n"
            "  2. [ ] (not set)\n"
            "  3. [-] Stretch\n"
            "From the inbox\n"
            "  p1. [x] call mum → #2\n"
            "Journal\n"
            "  07:15 Woke early\n"
            "  12:30 Lunch with Ana\n");
  const Json j = Json::parse(ok(day, {"--json", "today"}));
  EXPECT_EQ(j["day"]["outcomes"]["outcomes"][0]["state"], "done");
  EXPECT_EQ(j["day"]["pulledItems"][0]["done"], true);
  EXPECT_EQ(j["carryOffers"], Json::array());

  // The lines themselves are the page format's; the week lived through the commands pins them.
  EXPECT_NE(dir.read(file("weeks/2026-W38")).find("Chapter 3"), std::string::npos);
  const std::string journal = dir.read(file("days/2026-09-16"));
  EXPECT_LT(journal.find("Woke early"), journal.find("Lunch with Ana"));
  EXPECT_EQ(dir.read("inbox" + std::string(org() ? ".org" : ".md")).find("call mum"),
            std::string::npos);

  ok(day, {"undone", "1", "p1"});
  EXPECT_EQ(ok(day, {"outcome"}),
            "day 2026-09-16\n  1. [ ] Write 2k → #1\n  2. [ ] (not set)\n  3. [-] Stretch\n");
  const auto check = trivo(day, {"check", "--roundtrip", dir.path().string()});
  EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

TEST_P(DailyCommands, CarryOverCrossesAGapOfDaysAndCarryingTwiceNeverDuplicates) {
  dir.write(file("days/2026-09-11"), org() ? kFridayOrg : kFridayMarkdown);
  const std::string day = "2026-09-16";  // four days later, none of them with a page

  EXPECT_EQ(ok(day, {"today"}),
            "Wednesday 2026-09-16  (week 2026-W38)\n"
            "Outcomes\n"
            "  1. [ ] (not set)\n  2. [ ] (not set)\n  3. [ ] (not set)\n"
            "Left from 2026-09-11 (trivo carry --all, or trivo carry N…):\n"
            "  1. Ship the report  (outcome)\n"
            "  2. Book the dentist  (checklist)\n"
            "  3. Buy milk  (for tomorrow)\n");
  EXPECT_EQ(ok(day, {"carry", "3"}),
            "Carried into 2026-09-16 from 2026-09-11:\n  Buy milk  (for tomorrow)\n");
  ok(day, {"carry", "--all"});
  EXPECT_EQ(ok(day, {"carry", "--all"}), "Nothing is left to carry over from 2026-09-11.\n");
  EXPECT_EQ(ok(day, {"carry"}), "Nothing is left to carry over from 2026-09-11.\n");

  EXPECT_EQ(ok(day, {"today"}),
            "Wednesday 2026-09-16  (week 2026-W38)\n"
            "Outcomes\n"
            "  1. [ ] Ship the report\n  2. [ ] (not set)\n  3. [ ] (not set)\n"
            "Checklist\n"
            "  c1. [ ] Buy milk\n"
            "  c2. [ ] Book the dentist\n");
  // The old day keeps where each thing went (the lived week pins those lines).
  EXPECT_NE(dir.read(file("days/2026-09-11")).find("carried to 2026-09-16"), std::string::npos);

  // A day later the chain goes on from the day just lived.
  ok(day, {"done", "c2"});
  EXPECT_EQ(ok("2026-09-17", {"carry"}),
            "Left from 2026-09-16:\n  1. Ship the report  (outcome)\n"
            "  2. Buy milk  (checklist)\n");
  const auto check = trivo(day, {"check", "--roundtrip", dir.path().string()});
  EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

TEST_P(DailyCommands, BadInputIsOneSentenceWithExitOneAndWritesNothing) {
  const std::string day = "2026-09-16";
  ok(day, {"capture", "call mum"});
  dir.write(file("days/2026-09-11"), org() ? kFridayOrg : kFridayMarkdown);
  const auto before = pages();
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"outcome", "4", "Too many"}, "There is no outcome 4; a period has outcomes 1, 2 and 3."},
      {{"outcome", "1", "Write", "--serves", "4"}, "not 4."},
      {{"outcome", "1", "Write", "--serves", "x"}, "\"x\" is not an outcome to serve"},
      {{"outcome", "nopage", "1", "Write"}, "\"nopage\" is not a period page"},
      {{"outcome", "2026", "1", "Write", "--serves", "1"}, "A year's outcomes serve nothing"},
      {{"journal", "Late", "--at", "25:00"}, "\"25:00\" is not a time of day"},
      {{"carry", "9"}, "There is no carry-over item 9; the items are numbered 1 to 3."},
      {{"carry", "--all", "1"}, "Give either --all or item numbers, not both."},
      {{"done", "7"}, "Today has outcomes 1, 2 and 3, not 7; an inbox item is written i7."},
      {{"done", "zz"}, "\"zz\" is not something to tick"},
      {{"done", "2"}, "Outcome 2 of day 2026-09-16 is not set, so there is nothing to tick."},
      {{"done", "i9"}, "the inbox has no item 9"},
      {{"done", "c1"}, "Today's checklist has no item 1; it has 0."},
      {{"pull", "9"}, "The inbox has no item 9; trivo inbox lists the numbers."},
      {{"pull", "1", "--slot", "4"}, "A pulled item can serve today's outcome 1, 2 or 3, not 4."},
      {{"today", "someday"}, "\"someday\" is not a day"},
  };
  for (const auto& [args, sentence] : cases) {
    const auto r = trivo(day, args);
    EXPECT_EQ(r.exitCode, 1) << args.front() << " " << args.at(1) << ": " << r.err;
    EXPECT_NE(r.err.find(sentence), std::string::npos) << r.err;
    EXPECT_TRUE(r.err.starts_with("trivo: ") && r.err.ends_with(".\n") &&
                std::count(r.err.begin(), r.err.end(), '\n') == 1)
        << r.err;
    EXPECT_TRUE(r.out.empty()) << r.out;
  }
  // Several targets: the bad one refuses the good ones with it.
  ok(day, {"outcome", "1", "Write"});
  const auto planned = pages();
  EXPECT_EQ(trivo(day, {"done", "1", "3"}).exitCode, 1);
  EXPECT_EQ(pages(), planned);
  EXPECT_NE(before, planned);
}

TEST_P(DailyCommands, AnUnreadablePageIsNamedAndNeverWritten) {
  const std::string wrong = org() ? "#+title: Tuesday\n#+date: 2026-09-15\n* Journal\n"
                                  : "---\ndate: 2026-09-15\n---\n# Tuesday\n";
  dir.write(file("days/2026-09-16"), wrong);
  dir.write(file("days/2026-09-11"), org() ? kFridayOrg : kFridayMarkdown);
  for (const std::vector<std::string>& args : {std::vector<std::string>{"journal", "Hello"},
                                               {"outcome", "1", "Write"},
                                               {"today"},
                                               {"carry", "--all"}}) {
    const auto r = trivo("2026-09-16", args);
    EXPECT_EQ(r.exitCode, 3) << args.front() << ": " << r.err;
    EXPECT_NE(r.err.find("The page " + file("days/2026-09-16") + " cannot be read"),
              std::string::npos)
        << r.err;
  }
  EXPECT_EQ(dir.read(file("days/2026-09-16")), wrong);
}

TEST_P(DailyCommands, APageWrittenElsewhereMeanwhileIsRefusedAndKept) {
  ok("2026-09-16", {"outcome", "1", "Write"});
  const std::string page = dir.read(file("days/2026-09-16"));
  // Another device syncing the vault wrote the page later than the copy here.
  Json touched = {{"device", "another-device"},
                  {"stamp", "2099-01-01T00:00:00.000Z"},
                  {"paths", {file("days/2026-09-16")}}};
  dir.write(".trivo/signal/touched/another-device.json", touched.dump());
  const auto r = trivo("2026-09-16", {"done", "1"});
  EXPECT_EQ(r.exitCode, 4) << r.err;
  EXPECT_EQ(r.err, "trivo: The page " + file("days/2026-09-16") +
                       " changed on disk while the command ran, so it was kept as it is and not "
                       "written; run the command again.\n");
  EXPECT_EQ(dir.read(file("days/2026-09-16")), page);
}

// Which periods are offered when is the offers' own test; here, that plan reads the vault.
TEST_P(DailyCommands, PlanNoLongerAsksForWhatTheVaultHolds) {
  const std::string monthEnd = "2026-09-30";
  EXPECT_NE(ok(monthEnd, {"plan"}).find("Set the outcomes of: month 2026-10, quarter 2026-Q4"),
            std::string::npos);
  ok(monthEnd, {"outcome", "2026-10", "1", "Launch"});
  EXPECT_NE(ok(monthEnd, {"plan"}).find("Set the outcomes of: quarter 2026-Q4\n"),
            std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, DailyCommands, testing::bothSyntaxes(),
                         testing::syntaxName);

}  // namespace
}  // namespace trivo

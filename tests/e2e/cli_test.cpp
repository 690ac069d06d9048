// Runs the built programs as a user would and checks what they print and return.
#include <gtest/gtest.h>

#include "testing/process.h"

namespace trivo {
namespace {

TEST(TrivoCommand, BothProgramsPrintTheirHelpAndTrivoItsVersion) {
  auto help = testing::runTrivo({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.out.find("Rule of Three"), std::string::npos) << help.out;
  auto version = testing::runTrivo({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out.rfind("trivo ", 0), 0u) << version.out;
  auto widgets = testing::runProgram("trivo-widgets", {"--help"});
  EXPECT_EQ(widgets.exitCode, 0);
  EXPECT_NE(widgets.out.find("trivo-widgets"), std::string::npos);
}

TEST(PlanCommand, PinnedTodayDrivesThePlanJsonHasTheFieldNamesAndABadDayIsRefused) {
  testing::ProcessOptions pinned;
  pinned.env["TRIVO_TODAY"] = "2027-12-31";
  auto text = testing::runTrivo({"plan"}, pinned);
  EXPECT_EQ(text.exitCode, 0) << text.err;
  EXPECT_NE(text.out.find("Friday 2027-12-31, week 2027-W52"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Reflections due: week 2027-W52, month 2027-12, quarter 2027-Q4, year "
                          "2027\n"),
            std::string::npos)
      << text.out;

  auto json = testing::runTrivo({"--json", "plan", "tomorrow"}, pinned);
  EXPECT_EQ(json.exitCode, 0) << json.err;
  EXPECT_NE(json.out.find("\"promptKey\": \"prompt.day.saturday\""), std::string::npos) << json.out;

  auto bad = testing::runTrivo({"plan", "2026-02-30"});
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_EQ(bad.err,
            "trivo: \"2026-02-30\" is not a day; write it as YYYY-MM-DD, today, yesterday, "
            "tomorrow or a weekday name.\n");
}

}  // namespace
}  // namespace trivo

// Runs the built programs as a user would and checks what they print and return.
#include <gtest/gtest.h>

#include "testing/process.h"

namespace trivo {
namespace {

TEST(TrivoCommand, HelpListsTheProgramAndVersionPrintsIt) {
  auto help = testing::runTrivo({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.out.find("Rule of Three"), std::string::npos) << help.out;
  auto version = testing::runTrivo({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out.rfind("trivo ", 0), 0u) << version.out;
}

TEST(TrivoCommand, UnknownCommandIsAUsageError) {
  auto r = testing::runTrivo({"frobnicate"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.err.find("usage: trivo"), std::string::npos) << r.err;
}

TEST(WidgetHost, HelpRuns) {
  auto r = testing::runProgram("trivo-widgets", {"--help"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_NE(r.out.find("trivo-widgets"), std::string::npos);
}

}  // namespace
}  // namespace trivo

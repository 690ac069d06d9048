// `trivo progress` and `trivo tree` over a small vault written into a temporary folder.
#include <gtest/gtest.h>

#include "core/util/json_fields.h"
#include "testing/chain_vault.h"
#include "testing/process.h"

namespace trivo {
namespace {

using testing::outcome;
using testing::pulled;

class ChainCommands : public ::testing::Test {
 protected:
  ChainCommands() {
    vault.dir().write(".trivo/config.json", "{}");
    vault.week({2026, 38}, {outcome("Chapter 3"), outcome("Run", OutcomeState::done)});
    vault.day(*DayDate::make(2026, 9, 14),
              {outcome("Outline", OutcomeState::done, 1), outcome("Stretch")});
    vault.day(*DayDate::make(2026, 9, 16), {outcome("Write 2k", OutcomeState::planned, 1)},
              {pulled("Print notes", 1, OutcomeState::blocked)});
    vault.month({2026, 9}, {outcome("Part one")});
    vault.reopen();
  }
  testing::ProcessResult trivo(std::vector<std::string> args) {
    args.insert(args.begin(), {"--vault", vault.dir().path().string()});
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-09-16";
    return testing::runTrivo(args, options);
  }
  testing::ChainVault vault;
};

TEST_F(ChainCommands, ProgressPrintsOneLinePerOutcomeWithCountsAndDotsOrItsRecord) {
  const auto r = trivo({"progress", "wo"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out,
            "week 2026-W38\n"
            "1. Chapter 3  1/3 (1 blocked)  ●⊘○\n"
            "2. Run  0/0  ●\n"
            "3. (not set)  0/0\n"
            "Serving nothing: 1\n");
  // The same page by its key and its bare text.
  EXPECT_EQ(trivo({"progress", "week:2026-W38"}).out, r.out);
  EXPECT_EQ(trivo({"progress", "2026-W38"}).out, r.out);

  const auto j = Json::parse(trivo({"--json", "progress", "2026-W38"}).out);
  EXPECT_EQ(j["slots"]["1"], Json::parse(R"({"total": 3, "done": 1, "blocked": 1})"));
  EXPECT_EQ(j["unlinked"], 1);
  EXPECT_EQ(j["children"]["1"][1]["tasks"][0]["text"], "Print notes");
  EXPECT_EQ(j["children"]["2"], Json::array());
}

TEST_F(ChainCommands, TreePrintsTheChainIndented) {
  const auto r = trivo({"tree", "2026-W38"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out,
            "week 2026-W38\n"
            "  1. [ ] Chapter 3\n"
            "    [x] Outline  (day 2026-09-14)\n"
            "    [ ] Write 2k  (day 2026-09-16)\n"
            "    [-] Print notes  (task, day 2026-09-16)\n"
            "  2. [x] Run\n"
            "  3. [ ] (not set)\n"
            "Serving nothing:\n"
            "  [ ] Stretch  (day 2026-09-14)\n"
            "Above, month 2026-09:\n"
            "  1. [ ] Part one\n"
            "  2. [ ] (not set)\n"
            "  3. [ ] (not set)\n"
            "Above, quarter 2026-Q3:\n"
            "  1. [ ] (not set)\n"
            "  2. [ ] (not set)\n"
            "  3. [ ] (not set)\n"
            "Above, year 2026:\n"
            "  1. [ ] (not set)\n"
            "  2. [ ] (not set)\n"
            "  3. [ ] (not set)\n");
  const auto j = Json::parse(trivo({"--json", "tree", "mo"}).out);
  EXPECT_EQ(j["key"], Json::parse(R"({"month": {"year": 2026, "month": 9}})"));
  EXPECT_EQ(j["unlinked"][0]["id"], "week:2026-W38#1");
}

TEST_F(ChainCommands, DaysTheInboxViewsAndBadAddressesAreRefused) {
  const auto day = trivo({"progress", "today"});
  EXPECT_EQ(day.exitCode, 1);
  EXPECT_EQ(day.out, "");
  EXPECT_EQ(day.err,
            "trivo: \"today\" names day 2026-09-16, which nothing serves; name a week, month, "
            "quarter or year page instead.\n");
  EXPECT_EQ(trivo({"tree", "inbox"}).exitCode, 1);
  EXPECT_EQ(trivo({"tree", "agenda"}).exitCode, 1);
  EXPECT_EQ(trivo({"progress", "2026-W99"}).exitCode, 1);
  EXPECT_EQ(trivo({"tree"}).exitCode, 2);
}

TEST_F(ChainCommands, APageThatCannotBeReadIsReportedWithExitThree) {
  vault.dir().write("days/2026-09-15.md", "---\ndate: [broken\n---\n");
  const auto r = trivo({"progress", "2026-W38"});
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_EQ(r.err.rfind("trivo: A page counted for week 2026-W38 cannot be read (", 0), 0U)
      << r.err;
}

}  // namespace
}  // namespace trivo

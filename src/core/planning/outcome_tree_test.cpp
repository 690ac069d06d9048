// The outcome chain as a tree and as a year overview, over pages written into a real folder.
#include "core/planning/outcome_tree.h"

#include <gtest/gtest.h>

#include "core/planning/outcome_graph.h"
#include "testing/chain_vault.h"

namespace trivo {
namespace {

using testing::outcome;
using testing::pulled;
constexpr auto doneOutcome = OutcomeState::done;
constexpr auto plannedOutcome = OutcomeState::planned;

DayDate treeDay(std::int64_t month, std::int64_t day) { return *DayDate::make(2026, month, day); }

std::vector<std::string> ids(const std::vector<OutcomeTree::Node>& nodes) {
  std::vector<std::string> out;
  for (const auto& n : nodes) out.push_back(n.id);
  return out;
}

// A chain from day to year around 2026-W38, with a loose end at each level.
void writeChain(testing::ChainVault& vault) {
  vault.year(2026, {outcome("Book out"), outcome("Fit")});
  vault.quarter({2026, 3}, {outcome("Draft done", plannedOutcome, 1)});
  vault.month({2026, 9}, {outcome("Part one", plannedOutcome, 1), outcome("Loose month")});
  vault.week({2026, 38}, {outcome("Chapter 3", plannedOutcome, 1), outcome("Run"), outcome("")});
  vault.week({2026, 39}, {outcome("Chapter 4", doneOutcome, 1)});
  vault.day(treeDay(9, 16), {outcome("Write 2k", doneOutcome, 1), outcome("Jog", plannedOutcome, 3)},
            {pulled("Print notes", 1), pulled("Unfiled", std::nullopt)});
  vault.day(treeDay(9, 14), {outcome("Outline", doneOutcome, 1)});
  vault.reopen();
}

TEST(OutcomeTree, AWeekTreeHangsDayOutcomesAndTasksUnderWhatTheyServe) {
  testing::ChainVault vault;
  writeChain(vault);
  const auto tree = OutcomeTree(vault.store()).build(EntryKey::week({2026, 38}));
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->key, EntryKey::week({2026, 38}));
  EXPECT_EQ(ids(tree->children),
            (std::vector<std::string>{"week:2026-W38#1", "week:2026-W38#2", "week:2026-W38#3"}));
  // Page by page in calendar order; within a day, outcomes before pulled items.
  const auto& first = tree->children[0];
  EXPECT_EQ(ids(first.children), (std::vector<std::string>{"day:2026-09-14#1", "day:2026-09-16#1",
                                                           "task:2026-09-16#0"}));
  EXPECT_EQ(first.children[2].kind, OutcomeTree::Kind::task);
  EXPECT_EQ(first.children[2].ref, OutcomeTree::Ref::task(treeDay(9, 16), 0));
  EXPECT_EQ(first.children[1].ref, OutcomeTree::Ref::outcome(EntryKey::day(treeDay(9, 16)), 1));
  EXPECT_EQ(first.children[1].state, doneOutcome);
  // The blank third week outcome still stands; the day outcome serving it hangs below.
  EXPECT_EQ(ids(tree->children[2].children), std::vector<std::string>{"day:2026-09-16#2"});
  EXPECT_EQ(ids(tree->unlinked), std::vector<std::string>{"task:2026-09-16#1"});

  // Above: the month, quarter and year of the week's Monday, nearest first.
  ASSERT_EQ(tree->above.size(), 3U);
  EXPECT_EQ(tree->above[0][0].id, "month:2026-09#1");
  EXPECT_EQ(tree->above[1][0].title, "Draft done");
  EXPECT_EQ(tree->above[2][1].title, "Fit");
  EXPECT_TRUE(tree->above[2][1].children.empty());

  EXPECT_EQ(tree->serves.at("day:2026-09-16#2"), 3);
  EXPECT_EQ(tree->serves.at("week:2026-W38#1"), 1);
  EXPECT_EQ(tree->serves.at("quarter:2026-Q3#1"), 1);
  EXPECT_FALSE(tree->serves.contains("week:2026-W38#2"));
}

TEST(OutcomeTree, IdsAndShapeAreStableAcrossBuildsAndStores) {
  testing::ChainVault vault;
  writeChain(vault);
  const auto once = OutcomeTree(vault.store()).build(EntryKey::month({2026, 9}));
  const auto twice = OutcomeTree(vault.store()).build(EntryKey::month({2026, 9}));
  ASSERT_TRUE(once);
  EXPECT_EQ(once, twice);
  EXPECT_EQ(OutcomeTree(vault.reopen()).build(EntryKey::month({2026, 9})), once);
  // A month tree reaches down to the days through its weeks.
  const auto& partOne = once->children[0];
  EXPECT_EQ(ids(partOne.children),
            (std::vector<std::string>{"week:2026-W38#1", "week:2026-W39#1"}));
  EXPECT_EQ(partOne.children[0].children.size(), 3U);
  // The blank third outcome of W38 stays in the tree because a day outcome serves it.
  EXPECT_EQ(ids(once->unlinked), (std::vector<std::string>{"week:2026-W38#2", "week:2026-W38#3"}));
  EXPECT_EQ(ids(once->unlinked[1].children), std::vector<std::string>{"day:2026-09-16#2"});
  EXPECT_EQ(once->above.size(), 2U);
  EXPECT_TRUE(OutcomeTree(vault.store()).build(EntryKey::year(2026))->above.empty());
}

TEST(OutcomeTree, DaysAndTheInboxHaveNoTree) {
  testing::ChainVault vault;
  EXPECT_FALSE(OutcomeTree(vault.store()).build(EntryKey::day(treeDay(9, 16))));
  EXPECT_FALSE(OutcomeTree(vault.store()).build(EntryKey::inbox()));
}

TEST(OutcomeTree, TreeReadsBackFromJson) {
  testing::ChainVault vault;
  writeChain(vault);
  const auto tree = OutcomeTree(vault.store()).build(EntryKey::week({2026, 38}));
  const Json j = *tree;
  EXPECT_EQ(j["children"][0]["children"][2]["ref"]["task"]["index"], 0);
  EXPECT_EQ(j["children"][0]["kind"], "outcome");
  EXPECT_EQ(j.get<OutcomeTree::Tree>(), *tree);
}

TEST(OutcomeGraph, WeekFractionsFollowTheWholeChainAndAreAbsentWithoutIt) {
  testing::ChainVault vault;
  writeChain(vault);
  // W37: its outcome serves a month outcome that serves nothing, so nothing reaches Q3.
  vault.week({2026, 37}, {outcome("Side", plannedOutcome, 2)});
  vault.day(treeDay(9, 8), {outcome("Side work", doneOutcome, 1)});
  // W39: served by one doneOutcome and one open day outcome.
  vault.day(treeDay(9, 22), {outcome("Chapter 4a", doneOutcome, 1), outcome("Chapter 4b", plannedOutcome, 1)});
  vault.reopen();
  const OutcomeGraph graph(vault.store(), 2026);
  EXPECT_EQ(graph.weekFraction({2026, 37}), std::nullopt);
  EXPECT_EQ(graph.weekFraction({2026, 40}), std::nullopt);  // no pages at all
  // W38: of Outline, Write 2k (both serving Chapter 3) doneOutcome; Jog serves a blank outcome.
  EXPECT_EQ(graph.weekFraction({2026, 38}), 1.0);
  EXPECT_EQ(graph.weekFraction({2026, 39}), 0.5);

  const auto q3 = graph.quarter({2026, 3});
  EXPECT_EQ(q3.weekFractions.size(), ISOWeek::weeks({2026, 3}).size());
  EXPECT_EQ(q3.months, (std::vector<std::optional<OutcomeGraph::MonthCell>>(3)));
  EXPECT_EQ(q3.outcomes[0].outcome.text, "Draft done");
  EXPECT_EQ(q3.outcomes[0].serving, (ServesProgress::Stat{1, 0, 0}));

  const auto g = graph.graph();
  ASSERT_EQ(g.years.size(), 1U);
  EXPECT_EQ(g.years[0].year, 2026);
  EXPECT_EQ(g.years[0].quarters.size(), 4U);
  EXPECT_EQ(g.years[0].outcomes[0].serving, (ServesProgress::Stat{1, 0, 0}));
  EXPECT_EQ(g.years[0].outcomes[2].slot, 3);
  const Json j = g;
  EXPECT_TRUE(j["years"][0]["quarters"][2]["months"][0].is_null());
  EXPECT_EQ(j.get<OutcomeGraph::Graph>(), g);
}

}  // namespace
}  // namespace trivo

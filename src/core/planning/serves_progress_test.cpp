// Counting what serves each outcome, over pages written into a real folder.
#include "core/planning/serves_progress.h"

#include <gtest/gtest.h>

#include "testing/chain_vault.h"

namespace trivo {
namespace {

using testing::outcome;
using testing::pulled;
using Stat = ServesProgress::Stat;
constexpr auto doneState = OutcomeState::done;
constexpr auto blocked = OutcomeState::blocked;
constexpr auto plannedState = OutcomeState::planned;

const ISOWeek kW38{2026, 38};  // Monday 14 September 2026 to Sunday the 20th
DayDate onDay(std::int64_t month, std::int64_t day) { return *DayDate::make(2026, month, day); }

TEST(ServesProgress, WeekCountsDayOutcomesAndPulledItemsByThePositionTheyServe) {
  testing::ChainVault vault;
  vault.day(onDay(9, 14), {outcome("Draft", doneState, 1), outcome("Call Ana", plannedState, 2),
                        outcome("  ", doneState, 1)});  // blank: an empty slot, counted nowhere
  vault.day(onDay(9, 16), {outcome("Review", blocked, 1), outcome("Loose")},
            {pulled("Pay rent", 1, doneState), pulled("Someday", std::nullopt),
             pulled("Fix bike", 3, blocked)});
  vault.day(onDay(9, 20), {outcome("Rest")});
  vault.day(onDay(9, 21), {outcome("Next week", doneState, 1)});  // outside the week
  // Positions out of range read back as plain text that serves nothing.
  vault.store().saveText(EntryKey::day(onDay(9, 17)),
                         "---\ndate: 2026-09-17\ntype: day\n---\n# Thu\n\n## Outcomes\n"
                         "- [x] Four \u2192 #4\n- [ ] Zero \u2192 #0\n- [ ] Two -> #2\n");
  vault.reopen();

  const auto set = ServesProgress(vault.store()).forWeek(kW38);
  EXPECT_EQ(set.slots.at(1), (Stat{3, 2, 1}));  // Draft, Review, Pay rent
  EXPECT_EQ(set.slots.at(2), (Stat{2, 0, 0}));  // Call Ana, Two
  EXPECT_EQ(set.slots.at(3), (Stat{1, 0, 1}));  // Fix bike
  EXPECT_EQ(set.unlinked, 5);                   // Loose, Someday, Rest, Four, Zero

  const auto& one = set.children.at(1);
  ASSERT_EQ(one.size(), 2U);
  EXPECT_EQ(one[0].text, "Draft");
  EXPECT_EQ(one[0].from, EntryKey::day(onDay(9, 14)));
  EXPECT_EQ(one[0].slot, 1);
  EXPECT_TRUE(one[0].tasks.empty());
  EXPECT_EQ(one[1].text, "Review");
  EXPECT_EQ(one[1].state, blocked);
  ASSERT_EQ(one[1].tasks.size(), 1U);  // the task sits with its day's outcome serving the same
  EXPECT_EQ(one[1].tasks[0].text, "Pay rent");
  EXPECT_TRUE(one[1].tasks[0].done);
  EXPECT_EQ(one[1].tasks[0].index, 0);

  // A task whose day has no outcome serving the same position gets a stand-in for the day.
  const auto& three = set.children.at(3);
  ASSERT_EQ(three.size(), 1U);
  EXPECT_EQ(three[0].slot, 0);
  EXPECT_EQ(three[0].text, "");
  EXPECT_EQ(three[0].from, EntryKey::day(onDay(9, 16)));
  ASSERT_EQ(three[0].tasks.size(), 1U);
  EXPECT_EQ(three[0].tasks[0].index, 2);
}

TEST(ServesProgress, AnEmptyPeriodHasAllThreePositionsAtZero) {
  testing::ChainVault vault;
  const auto set = ServesProgress(vault.store()).forYear(2026);
  EXPECT_EQ(set.slots.size(), 3U);
  EXPECT_EQ(set.children.size(), 3U);
  EXPECT_EQ(set.slots.at(2), Stat{});
  EXPECT_EQ(set.unlinked, 0);
}

TEST(ServesProgress, AMonthCountsTheWeeksThatStartInIt) {
  // September 2026 begins onDay a Tuesday and ends onDay a Wednesday: 2026-W36 (from 31 August)
  // belongs to August, 2026-W40 (from 28 September) to September.
  EXPECT_EQ(ServesProgress::weeksOf(YearMonth{2026, 9}),
            (std::vector<ISOWeek>{{2026, 37}, {2026, 38}, {2026, 39}, {2026, 40}}));
  // January 2027 begins in 2026-W53, which belongs to December.
  EXPECT_EQ(ServesProgress::weeksOf(YearMonth{2027, 1}).front(), (ISOWeek{2027, 1}));
  EXPECT_EQ(ServesProgress::weeksOf(YearMonth{2026, 12}).back(), (ISOWeek{2026, 53}));

  testing::ChainVault vault;
  vault.week({2026, 36}, {outcome("Straddles into September", doneState, 1)});
  vault.week({2026, 37}, {outcome("Plan", doneState, 1), outcome("Loose")});
  vault.week({2026, 40}, {outcome("Straddles into October", plannedState, 2)});
  vault.reopen();
  const ServesProgress progress(vault.store());
  const auto september = progress.forMonth(YearMonth{2026, 9});
  EXPECT_EQ(september.slots.at(1), (Stat{1, 1, 0}));
  EXPECT_EQ(september.slots.at(2), (Stat{1, 0, 0}));
  EXPECT_EQ(september.unlinked, 1);
  EXPECT_EQ(progress.forMonth(YearMonth{2026, 8}).slots.at(1), (Stat{1, 1, 0}));
  EXPECT_EQ(progress.forMonth(YearMonth{2026, 10}).slots.at(2), Stat{});
}

TEST(ServesProgress, QuartersCountTheirMonthsAndYearsTheirQuarters) {
  testing::ChainVault vault;
  vault.month({2026, 7}, {outcome("July", doneState, 2)});
  vault.month({2026, 9}, {outcome("September", blocked, 2), outcome("Free")});
  vault.month({2026, 10}, {outcome("October", doneState, 2)});
  vault.quarter({2026, 1}, {outcome("Q1", doneState, 3)});
  vault.quarter({2026, 4}, {outcome("Q4", plannedState, 3)});
  vault.quarter({2027, 1}, {outcome("Next year", doneState, 3)});
  vault.reopen();
  const ServesProgress progress(vault.store());
  const auto q3 = progress.forQuarter(YearQuarter{2026, 3});
  EXPECT_EQ(q3.slots.at(2), (Stat{2, 1, 1}));
  EXPECT_EQ(q3.unlinked, 1);
  ASSERT_EQ(q3.children.at(2).size(), 2U);
  EXPECT_EQ(q3.children.at(2)[1].from, EntryKey::month(YearMonth{2026, 9}));
  EXPECT_EQ(progress.forYear(2026).slots.at(3), (Stat{2, 1, 0}));
}

TEST(ServesProgress, EditOutcomeChangesTheChildInItsOwnPage) {
  testing::ChainVault vault;
  vault.day(onDay(9, 15), {outcome("Draft", plannedState, 1)});
  vault.reopen();
  const ServesProgress progress(vault.store());
  EXPECT_TRUE(progress.editOutcome(EntryKey::day(onDay(9, 15)), 1,
                                   [](Outcome& o) { o.state = OutcomeState::done; }));
  EXPECT_FALSE(progress.editOutcome(EntryKey::day(onDay(9, 15)), 4, [](Outcome&) {}));
  EXPECT_FALSE(progress.editOutcome(EntryKey::inbox(), 1, [](Outcome&) {}));
  auto& reopened = vault.reopen();
  EXPECT_EQ(reopened.peekDay(onDay(9, 15)).outcomes.outcomes[0].state, OutcomeState::done);
  EXPECT_EQ(ServesProgress(reopened).forWeek(kW38).slots.at(1), (Stat{1, 1, 0}));
}

TEST(ServesProgressStat, DotsShowDoneBlockedAndOpenItemsScaledToTen) {
  struct Case {
    Stat stat;
    OutcomeState state;
    std::string dots;
  };
  const Case cases[] = {
      {{0, 0, 0}, plannedState, ""},
      {{0, 0, 0}, doneState, "●"},
      {{0, 0, 0}, blocked, "⊘"},
      {{3, 1, 1}, plannedState, "●⊘○"},
      {{2, 2, 0}, doneState, "●●"},
      {{20, 10, 0}, plannedState, "●●●●●○○○○○"},
      {{100, 1, 0}, plannedState, "●○○○○○○○○○"},  // a single doneState item still shows
      {{100, 100, 0}, plannedState, "●●●●●●●●●●"},
      {{-1, 0, 0}, plannedState, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.stat.dots(c.state), c.dots) << c.stat.total << "/" << c.stat.done;
  }
}

}  // namespace
}  // namespace trivo

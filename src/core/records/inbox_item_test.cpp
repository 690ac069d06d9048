// Inbox items: close stamps, the day questions, recurrence hand-off and the full record in JSON.
#include "core/records/inbox_item.h"

#include <gtest/gtest.h>

#include "core/records/day_entry.h"

namespace trivo {
namespace {

const DayDate kDay{2026, 9, 16};

TEST(InboxItem, NextDueNeedsBothARuleAndADueDate) {
  InboxItem item = InboxItem::make("Water plants");
  item.repeats = Repeat::weekly();
  EXPECT_EQ(item.nextDue(kDay), std::nullopt);
  item.due = kDay;
  EXPECT_EQ(item.nextDue(kDay), (DayDate{2026, 9, 23}));
  item.repeats.reset();
  EXPECT_EQ(item.nextDue(kDay), std::nullopt);
}

TEST(InboxItem, MarkingDoneTwiceLeavesOneClosedLineAndUndoneRemovesIt) {
  InboxItem item = InboxItem::make("Call Ana");
  item.trailingLines = {"a note kept under the item"};
  item.setPulledDone(true, "2026-09-16 10:00");
  item.setPulledDone(true, "2026-09-16 10:05");
  EXPECT_TRUE(item.done);
  EXPECT_EQ(item.trailingLines,
            (std::vector<std::string>{"CLOSED: 2026-09-16 10:05", "a note kept under the item"}));
  item.setPulledDone(false, std::nullopt);
  EXPECT_FALSE(item.done);
  EXPECT_EQ(item.trailingLines, std::vector<std::string>{"a note kept under the item"});
}

TEST(InboxItem, CloseStampLivesInTheFieldsAndTheLineTogether) {
  InboxItem item = InboxItem::make("x");
  EXPECT_EQ(item.closedAt(), std::nullopt);
  item.setClosedAt("2026-09-16 10:05");
  EXPECT_EQ(item.closed, kDay);
  EXPECT_EQ(item.closedTime, (ClockTime{10, 5}));
  EXPECT_EQ(item.closedAt(), "2026-09-16 10:05");
  EXPECT_EQ(item.trailingLines.front(), "CLOSED: 2026-09-16 10:05");
  item.setClosedAt(std::nullopt);
  EXPECT_EQ(item.closedAt(), std::nullopt);
  EXPECT_TRUE(item.trailingLines.empty());
  // A stamp that only a page line carries is still read.
  item.trailingLines = {"CLOSED:  [2026-09-16 Wed 10:05]"};
  EXPECT_EQ(item.closedAt(), "[2026-09-16 Wed 10:05]");
}

TEST(InboxItem, StatePrefersDoneOverBlocked) {
  InboxItem item = InboxItem::make("x");
  EXPECT_EQ(item.state(), OutcomeState::planned);
  item.blocked = true;
  EXPECT_EQ(item.state(), OutcomeState::blocked);
  item.done = true;
  EXPECT_EQ(item.state(), OutcomeState::done);
}

TEST(InboxItem, DayQuestions) {
  InboxItem item = InboxItem::make("Taxes");
  item.due = DayDate{2026, 9, 20};
  item.hiddenUntil = DayDate{2026, 9, 18};
  EXPECT_TRUE(item.isHidden(kDay));
  EXPECT_FALSE(item.isListed(kDay));
  EXPECT_TRUE(item.isListed(DayDate{2026, 9, 18}));
  EXPECT_TRUE(item.isAhead(kDay));
  EXPECT_FALSE(item.isDue(kDay));
  EXPECT_TRUE(item.isDue(DayDate{2026, 9, 20}));
  EXPECT_TRUE(item.isDue(DayDate{2026, 9, 25}));  // overdue is still due
  item.someday = true;
  EXPECT_FALSE(item.isListed(DayDate{2026, 9, 19}));
  item.waiting = true;
  EXPECT_FALSE(item.isWaiting(kDay));  // hidden
  EXPECT_TRUE(item.isWaiting(DayDate{2026, 9, 19}));
  item.done = true;
  EXPECT_FALSE(item.isWaiting(DayDate{2026, 9, 19}));
  EXPECT_FALSE(item.isDue(DayDate{2026, 9, 25}));

  InboxItem routine = InboxItem::make("Stretch");
  routine.due = DayDate{2026, 9, 14};  // a Monday
  routine.repeats = Repeat::weekly(1, {Weekday::monday, Weekday::thursday});
  EXPECT_TRUE(routine.isRoutine(DayDate{2026, 9, 17}));
  EXPECT_FALSE(routine.isRoutine(kDay));
  EXPECT_FALSE(routine.isRoutine(DayDate{2026, 9, 10}));  // before the rule starts
  EXPECT_EQ(routine.occurrences(DayDate{2026, 9, 14}, DayDate{2026, 9, 24}),
            (std::vector<DayDate>{{2026, 9, 14}, {2026, 9, 17}, {2026, 9, 21}, {2026, 9, 24}}));
  InboxItem once = InboxItem::make("Once");
  once.due = kDay;
  EXPECT_EQ(once.occurrences(DayDate{2026, 9, 1}, DayDate{2026, 9, 30}),
            std::vector<DayDate>{kDay});
  EXPECT_TRUE(once.occurrences(DayDate{2026, 10, 1}, DayDate{2026, 10, 30}).empty());
}

TEST(InboxItem, RollingMovesTheDueDateAndThePulledDay) {
  InboxItem item = InboxItem::make("x");
  EXPECT_EQ(item.rolled(kDay).due, std::nullopt);
  item.due = DayDate{2026, 9, 1};
  item.pulledInto = DayDate{2026, 9, 1};
  const auto moved = item.rolled(kDay);
  EXPECT_EQ(moved.due, kDay);
  EXPECT_EQ(moved.pulledInto, kDay);
  EXPECT_EQ(moved.id, item.id);
}

TEST(InboxItem, IdsAreUpperCaseUuidsAndDiffer) {
  const auto a = InboxItem::newId();
  const auto b = InboxItem::newId();
  EXPECT_NE(a, b);
  ASSERT_EQ(a.size(), 36u);
  EXPECT_EQ(a[8], '-');
  EXPECT_EQ(a.find_first_of("abcdef"), std::string::npos);
}

TEST(InboxItem, AFullyPopulatedItemAndDayTravelThroughJson) {
  InboxItem item = InboxItem::make("Plan trip", kDay);
  item.pulledInto = kDay;
  item.priority = Priority::b;
  item.blocked = true;
  item.closed = kDay;
  item.closedTime = ClockTime{9, 0};
  item.hiddenUntil = DayDate{2026, 9, 10};
  item.someday = item.waiting = item.orgHeading = true;
  item.serves = 2;
  item.trailingLines = {"CLOSED: x"};
  item.comments = {"c"};
  item.subtasks = {{"book", true, "2026-09-16 09:00", {"note"}, {}}};
  item.orgKeyword = OrgKeyword{"WAIT", OutcomeState::blocked};
  item.due = kDay;
  item.time = ClockTime{18, 30};
  item.repeats = Repeat::monthly(2, {-1});
  item.alerts = {{-15}, {0}};
  item.extraMeta = {"energy: low"};
  item.orgPlanningRest = "SCHEDULED: <2026-09-16 Wed>";
  item.orgProperties = {":EFFORT: 1:00"};
  item.orgStampExtra = {"<2026-09-20 Sun>"};
  item.doneDates = {DayDate{2026, 8, 31}};
  item.orgLogbook = {"CLOCK: [2026-09-16 Wed 09:00]--[2026-09-16 Wed 09:30] =>  0:30"};
  EXPECT_EQ(Json(item).get<InboxItem>(), item);
  EXPECT_EQ(Json(item).size(), 28u);

  DayEntry day;
  day.date = kDay;
  day.outcomes = OutcomeSet(Scope::day, {Outcome::make("Write", OutcomeState::done, 1)});
  day.pulledItems = {item};
  day.notes = "notes";
  day.journal = {{{7, 30}, "Woke early\n- [ ] stretch"}};
  day.forTomorrow = {{"Call", false, {}, CarryItem::Fate::today, std::nullopt, {}}};
  day.activities = {"run"};
  day.sessions = {{{9, 0}, ClockTime{9, 25}, 25, "Write", {}, {}, std::nullopt, true}};
  day.liked = true;
  EXPECT_EQ(Json(day).get<DayEntry>(), day);

  // Text the reader kept verbatim is part of the record: a different tail, a different page.
  DayEntry other = day;
  other.passthrough.sectionTails["notes"] = "kept line";
  EXPECT_NE(other, day);
}

}  // namespace
}  // namespace trivo

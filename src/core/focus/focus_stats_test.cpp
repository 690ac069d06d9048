// Focus totals over a span of days, and adding two spans together.
#include "core/focus/focus_stats.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

FocusSession statsSession(std::int64_t hour, std::int64_t minutes, std::string outcome) {
  FocusSession s;
  s.start = {hour, 0};
  s.minutes = minutes;
  s.outcome = std::move(outcome);
  return s;
}

TEST(FocusStats, TotalsEveryDayOfTheSpanByWeekdayHourAndOutcome) {
  MemorySessionLog log;
  DayDate mon{2026, 9, 14}, tue{2026, 9, 15}, wed{2026, 9, 16};
  log.append(mon.adding(-1), statsSession(9, 99, "before the span"));
  log.append(mon, statsSession(9, 25, "Essay"));
  log.append(mon, statsSession(9, 10, ""));
  log.append(wed, statsSession(14, 50, "Taxes"));
  log.append(wed, statsSession(15, 25, "Essay"));
  log.append(wed, statsSession(23, 5000, "Typo"));  // a hand-edited page: counted as one whole day

  auto r = FocusStats(log).compute(3, wed);
  EXPECT_EQ(r.perDay,
            (std::vector<FocusStats::DayTotal>{{mon, 35, 2}, {tue, 0, 0}, {wed, 1515, 3}}));
  EXPECT_EQ(r.totalMinutes, 1550);
  EXPECT_EQ(r.sessionCount, 5);
  EXPECT_EQ(r.longestSession, 1440);
  EXPECT_EQ(r.byHour[9], 35);
  EXPECT_EQ(r.byHour[14], 50);
  EXPECT_EQ(r.byWeekday.at(Weekday::monday), 35);
  EXPECT_FALSE(r.byWeekday.contains(Weekday::tuesday));
  EXPECT_EQ(r.activeDays(), 2);
  EXPECT_EQ(r.averagePerActiveDay(), 775);
  EXPECT_EQ(r.topOutcomes, (std::vector<FocusStats::OutcomeTotal>{
                               {"Typo", 1440, 1}, {"Essay", 50, 2}, {"Taxes", 50, 1}}));

  EXPECT_EQ(FocusStats(log).compute(0, wed), FocusStats::Result{});
  EXPECT_EQ(FocusStats::Result{}.averagePerActiveDay(), 0);
}

TEST(FocusStats, MergedSumsSharedDaysAndOutcomes) {
  MemorySessionLog a, b;
  DayDate wed{2026, 9, 16};
  a.append(wed, statsSession(9, 20, "Essay"));
  b.append(wed, statsSession(9, 30, "Essay"));
  b.append(wed.adding(1), statsSession(10, 45, "Taxes"));
  auto merged = FocusStats(a).compute(1, wed).merged(FocusStats(b).compute(2, wed.adding(1)));
  EXPECT_EQ(merged.perDay,
            (std::vector<FocusStats::DayTotal>{{wed, 50, 2}, {wed.adding(1), 45, 1}}));
  EXPECT_EQ(merged.topOutcomes,
            (std::vector<FocusStats::OutcomeTotal>{{"Essay", 50, 2}, {"Taxes", 45, 1}}));
  EXPECT_EQ(merged.byHour[9], 50);
  EXPECT_EQ(merged.byWeekday.at(Weekday::wednesday), 50);
  EXPECT_EQ(merged.totalMinutes, 95);
  EXPECT_EQ(merged.sessionCount, 3);
  EXPECT_EQ(merged.longestSession, 45);
}

}  // namespace
}  // namespace trivo

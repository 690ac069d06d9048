// Recurrence rules against dates checked by hand on a calendar.
#include "core/records/repeat.h"

#include <gtest/gtest.h>

#include <limits>

namespace trivo {
namespace {

DayDate repeatDay(std::int64_t y, std::int64_t m, std::int64_t d) { return DayDate{y, m, d}; }

std::vector<std::string> texts(const std::vector<DayDate>& dates) {
  std::vector<std::string> out;
  for (const auto& d : dates) out.push_back(d.isoString());
  return out;
}

// The dates of the rule started on `first` up to `through`, as text.
std::vector<std::string> run(const Repeat& rule, DayDate first, DayDate through) {
  return texts(rule.dates(first, through));
}

TEST(Repeat, NextIsNeverTheAnchorsOwnDayWhenAskedAfterItAndNeverBeforeTheAnchor) {
  Repeat every3 = Repeat::daily(3);
  const DayDate anchor = repeatDay(2026, 9, 16);
  EXPECT_EQ(every3.next(anchor, anchor), repeatDay(2026, 9, 19));
  EXPECT_EQ(every3.next(repeatDay(2026, 9, 1), anchor), anchor);
  EXPECT_EQ(every3.next(repeatDay(2026, 9, 20), anchor), repeatDay(2026, 9, 22));
  // Far past the anchor the start step is jumped to, not walked.
  EXPECT_EQ(every3.next(repeatDay(2036, 9, 16), anchor), repeatDay(2036, 9, 17));

  Repeat mondays = Repeat::weekly(1, {Weekday::monday});
  // The anchor is a Wednesday: the Monday of its own week lies before it and is not a date.
  EXPECT_EQ(mondays.next(repeatDay(2026, 9, 1), repeatDay(2026, 9, 16)), repeatDay(2026, 9, 21));
}

TEST(Repeat, EveryTwoWeeksOnMondayAndThursdayAcrossTheYearEnd) {
  Repeat rule = Repeat::weekly(2, {Weekday::thursday, Weekday::monday});
  EXPECT_EQ(run(rule, repeatDay(2026, 12, 14), repeatDay(2027, 1, 28)),
            (std::vector<std::string>{"2026-12-14", "2026-12-17", "2026-12-28", "2026-12-31",
                                      "2027-01-11", "2027-01-14", "2027-01-25", "2027-01-28"}));
}

TEST(Repeat, WeeklyWithoutWeekdaysKeepsTheAnchorsWeekday) {
  Repeat rule = Repeat::weekly(1);
  EXPECT_EQ(run(rule, repeatDay(2026, 9, 16), repeatDay(2026, 10, 7)),
            (std::vector<std::string>{"2026-09-16", "2026-09-23", "2026-09-30", "2026-10-07"}));
}

TEST(Repeat, OrdinalsCountTheirKindOfDayInEachMonthOf2026) {
  struct Case {
    Repeat::OnThe onThe;
    std::vector<std::int64_t> days;  // the repeatDay of the month in January … December
  };
  const Case cases[] = {
      {{2, Repeat::Kind::of(Weekday::tuesday)}, {13, 10, 10, 14, 12, 9, 14, 11, 8, 13, 10, 8}},
      {{-1, Repeat::Kind::workday()}, {30, 27, 31, 30, 29, 30, 31, 31, 30, 30, 30, 31}},
      {{1, Repeat::Kind::weekend()}, {3, 1, 1, 4, 2, 6, 4, 1, 5, 3, 1, 5}},
      {{-1, Repeat::Kind::anyDay()}, {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}},
      {{3, Repeat::Kind::anyDay()}, {3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}},
  };
  for (const auto& c : cases) {
    std::vector<std::string> expected;
    for (std::int64_t m = 1; m <= 12; ++m) {
      expected.push_back(repeatDay(2026, m, c.days[static_cast<std::size_t>(m - 1)]).isoString());
    }
    EXPECT_EQ(run(Repeat::monthly(1, {}, c.onThe), repeatDay(2026, 1, 1), repeatDay(2026, 12, 31)), expected)
        << Repeat::monthly(1, {}, c.onThe).phrase();
  }
}

TEST(Repeat, AFifthFridaySkipsTheMonthsThatHaveOnlyFour) {
  EXPECT_EQ(run(Repeat::monthly(1, {}, Repeat::OnThe{5, Repeat::Kind::of(Weekday::friday)}),
                repeatDay(2026, 1, 1), repeatDay(2026, 12, 31)),
            (std::vector<std::string>{"2026-01-30", "2026-05-29", "2026-07-31", "2026-10-30"}));
}

TEST(Repeat, MonthDaysBeyondTheMonthsEndMeanItsLastDayAndNegativeOnesCountFromTheEnd) {
  EXPECT_EQ(run(Repeat::monthly(1, {31}), repeatDay(2026, 1, 1), repeatDay(2026, 4, 30)),
            (std::vector<std::string>{"2026-01-31", "2026-02-28", "2026-03-31", "2026-04-30"}));
  EXPECT_EQ(run(Repeat::monthly(1, {-2}), repeatDay(2026, 1, 1), repeatDay(2026, 3, 31)),
            (std::vector<std::string>{"2026-01-30", "2026-02-27", "2026-03-30"}));
  // 30 and 31 fall on the same repeatDay in February and count once there.
  EXPECT_EQ(run(Repeat::monthly(1, {30, 1, 31}), repeatDay(2026, 2, 1), repeatDay(2026, 3, 2)),
            (std::vector<std::string>{"2026-02-01", "2026-02-28", "2026-03-01"}));
}

TEST(Repeat, MonthDaysAndAnOrdinalTogetherPickBoth) {
  EXPECT_EQ(run(Repeat::monthly(1, {1}, Repeat::OnThe{-1, Repeat::Kind::of(Weekday::friday)}),
                repeatDay(2026, 9, 1), repeatDay(2026, 10, 31)),
            (std::vector<std::string>{"2026-09-01", "2026-09-25", "2026-10-01", "2026-10-30"}));
}

TEST(Repeat, EveryMonthWithoutDaysKeepsTheAnchorsDayClampedToShortMonths) {
  EXPECT_EQ(run(Repeat::monthly(), repeatDay(2026, 1, 31), repeatDay(2026, 5, 31)),
            (std::vector<std::string>{"2026-01-31", "2026-02-28", "2026-03-31", "2026-04-30",
                                      "2026-05-31"}));
  Repeat quarterly = Repeat::monthly();
  quarterly.every = 3;
  EXPECT_EQ(run(quarterly, repeatDay(2026, 11, 15), repeatDay(2027, 8, 31)),
            (std::vector<std::string>{"2026-11-15", "2027-02-15", "2027-05-15", "2027-08-15"}));
}

TEST(Repeat, YearlyOn29FebruaryFallsOnThe28thInCommonYears) {
  Repeat rule = Repeat::yearly(1);
  EXPECT_EQ(run(rule, repeatDay(2024, 2, 29), repeatDay(2028, 12, 31)),
            (std::vector<std::string>{"2024-02-29", "2025-02-28", "2026-02-28", "2027-02-28",
                                      "2028-02-29"}));
}

TEST(Repeat, YearlyInChosenMonthsOnChosenDaysEveryOtherYear) {
  Repeat rule = Repeat::yearly(2, {9, 3}, {15});
  EXPECT_EQ(run(rule, repeatDay(2026, 1, 1), repeatDay(2029, 12, 31)),
            (std::vector<std::string>{"2026-03-15", "2026-09-15", "2028-03-15", "2028-09-15"}));
  Repeat thanksgiving =
      Repeat::yearly(1, {11}, {}, Repeat::OnThe{4, Repeat::Kind::of(Weekday::thursday)});
  EXPECT_EQ(thanksgiving.next(repeatDay(2026, 11, 26), repeatDay(2026, 1, 1)), repeatDay(2027, 11, 25));
}

TEST(Repeat, RulesThatNeverMatchEndWithNothing) {
  const Repeat never[] = {
      Repeat::yearly(1, {2}, {}, Repeat::OnThe{30, Repeat::Kind::anyDay()}),
      Repeat::yearly(1, {13}),
      Repeat::monthly(1, {0}),
      Repeat::monthly(1, {}, Repeat::OnThe{0, Repeat::Kind::of(Weekday::monday)}),
      Repeat::monthly(1, {}, Repeat::OnThe{6, Repeat::Kind::of(Weekday::monday)}),
      Repeat::monthly(1, {}, Repeat::OnThe{-24, Repeat::Kind::workday()}),
  };
  for (const auto& rule : never) {
    EXPECT_EQ(rule.next(repeatDay(2026, 1, 1), repeatDay(2026, 1, 1)), std::nullopt) << rule.phrase();
    EXPECT_TRUE(rule.dates(repeatDay(2026, 1, 1), repeatDay(2100, 1, 1)).empty()) << rule.phrase();
    EXPECT_EQ(rule.firstDate(repeatDay(2026, 1, 1)), std::nullopt) << rule.phrase();
  }
}

TEST(Repeat, StepsBelowOneStepLikeOneAndGiantStepsEndWithoutOverflow) {
  Repeat zero = Repeat::daily(0);
  EXPECT_EQ(zero.next(repeatDay(2026, 9, 16), repeatDay(2026, 9, 16)), repeatDay(2026, 9, 17));
  Repeat negative = Repeat::monthly(-3);
  EXPECT_EQ(negative.next(repeatDay(2026, 9, 16), repeatDay(2026, 9, 16)), repeatDay(2026, 10, 16));
  for (auto unit :
       {Repeat::Unit::day, Repeat::Unit::week, Repeat::Unit::month, Repeat::Unit::year}) {
    Repeat giant = Repeat::daily(std::numeric_limits<std::int64_t>::max());
    giant.unit = unit;
    EXPECT_EQ(giant.next(repeatDay(2026, 9, 16), repeatDay(2026, 9, 16)), std::nullopt);
  }
}

TEST(Repeat, FollowingCountsFromTheDueDateTheCompletionDayOrCatchesUp) {
  const DayDate thursday = repeatDay(2026, 9, 10);
  Repeat monThu = Repeat::weekly(1, {Weekday::thursday, Weekday::monday});
  EXPECT_EQ(monThu.following(thursday, repeatDay(2026, 9, 16)), repeatDay(2026, 9, 14));
  monThu.from = Repeat::From::done;
  // Completed on Wednesday: the next of its days after that is the Thursday.
  EXPECT_EQ(monThu.following(thursday, repeatDay(2026, 9, 16)), repeatDay(2026, 9, 17));

  Repeat every3 = Repeat::daily(3);
  every3.from = Repeat::From::done;
  EXPECT_EQ(every3.following(thursday, repeatDay(2026, 9, 15)), repeatDay(2026, 9, 18));
  // Completed early, the next date still counts from the completion repeatDay.
  EXPECT_EQ(every3.following(thursday, repeatDay(2026, 9, 8)), repeatDay(2026, 9, 11));

  Repeat weekly = Repeat::weekly(1);
  weekly.from = Repeat::From::catchUp;
  // Due Monday 7 September, ticked on Wednesday 23rd: the Mondays in between are skipped.
  EXPECT_EQ(weekly.following(repeatDay(2026, 9, 7), repeatDay(2026, 9, 23)), repeatDay(2026, 9, 28));
  // Ticked on the due repeatDay itself or early, it still moves on by one step.
  EXPECT_EQ(weekly.following(repeatDay(2026, 9, 7), repeatDay(2026, 9, 7)), repeatDay(2026, 9, 14));
  EXPECT_EQ(weekly.following(repeatDay(2026, 9, 7), repeatDay(2026, 9, 1)), repeatDay(2026, 9, 14));

  Repeat monthlyDue = Repeat::monthly();
  EXPECT_EQ(monthlyDue.following(repeatDay(2026, 1, 31), repeatDay(2026, 2, 3)), repeatDay(2026, 2, 28));
}

TEST(Repeat, FirstDateIsTheDayItselfWhenItMatches) {
  Repeat monThu = Repeat::weekly(1, {Weekday::monday, Weekday::thursday});
  EXPECT_EQ(monThu.firstDate(repeatDay(2026, 9, 16)), repeatDay(2026, 9, 17));
  EXPECT_EQ(monThu.firstDate(repeatDay(2026, 9, 14)), repeatDay(2026, 9, 14));
  EXPECT_EQ(Repeat::monthly(1, {1}).firstDate(repeatDay(2026, 9, 2)), repeatDay(2026, 10, 1));
}

TEST(Repeat, DatesStopAtTheLimitAndOccurrencesKeepTheAnchorsRhythm) {
  Repeat daily = Repeat::daily(1);
  EXPECT_EQ(daily.dates(repeatDay(2026, 1, 1), repeatDay(2026, 12, 31), 3).size(), 3u);
  EXPECT_EQ(daily.dates(repeatDay(2026, 1, 1), repeatDay(2026, 12, 31)).size(), 365u);
  EXPECT_TRUE(daily.dates(repeatDay(2026, 2, 1), repeatDay(2026, 1, 1)).empty());
  Repeat fortnightly = Repeat::weekly(2);
  EXPECT_EQ(texts(fortnightly.occurrences(repeatDay(2026, 9, 2), repeatDay(2026, 9, 20), repeatDay(2026, 10, 20))),
            (std::vector<std::string>{"2026-09-30", "2026-10-14"}));
  EXPECT_TRUE(fortnightly.occurrences(repeatDay(2026, 9, 2), repeatDay(2026, 8, 1), repeatDay(2026, 9, 1)).empty());
}

TEST(Repeat, OrgRepeatersReadAndWriteBothWays) {
  struct Case {
    const char* text;
    Repeat rule;
  };
  const Case cases[] = {
      {"+1w", Repeat::weekly(1)},
      {".+2d", Repeat::daily(2).counted(Repeat::From::done)},
      {"++1m", Repeat::monthly(1).counted(Repeat::From::catchUp)},
      {"+10y", Repeat::yearly(10)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Repeat::fromOrgRepeater(c.text), c.rule) << c.text;
    EXPECT_EQ(c.rule.orgRepeater(), c.text) << c.text;
  }
  EXPECT_EQ(Repeat::fromOrgRepeater("  +3d "), (Repeat::daily(3)));
  for (const char* bad :
       {"+1h", "1w", "+w", "+0d", "+-1d", "+1d/3d", "++", "", "+1x", ".+ 1d", "-1d", "+1W"}) {
    EXPECT_EQ(Repeat::fromOrgRepeater(bad), std::nullopt) << bad;
  }
}

TEST(Repeat, OrgRepeaterForADueDateOnlyWhenOrgWouldGiveTheSameDates) {
  const DayDate thursday = repeatDay(2026, 9, 17);
  EXPECT_EQ((Repeat::weekly(1, {Weekday::thursday})).orgRepeater(thursday), "+1w");
  EXPECT_EQ((Repeat::weekly(1, {Weekday::monday, Weekday::thursday})).orgRepeater(thursday),
            std::nullopt);
  EXPECT_EQ(Repeat::monthly(1, {17}).orgRepeater(thursday), "+1m");
  EXPECT_EQ(Repeat::monthly(1, {1}).orgRepeater(thursday), std::nullopt);
  EXPECT_EQ(Repeat::monthly(1, {}, Repeat::OnThe{3, Repeat::Kind::of(Weekday::thursday)})
                .orgRepeater(thursday),
            std::nullopt);
  EXPECT_EQ((Repeat::yearly(1, {9})).orgRepeater(thursday), "+1y");
  EXPECT_EQ((Repeat::yearly(1, {3, 9})).orgRepeater(thursday), std::nullopt);
}

TEST(Repeat, PhrasesReadBackAsTheSameRule) {
  struct Case {
    Repeat rule;
    const char* phrase;
  };
  using Kind = Repeat::Kind;
  const Case cases[] = {
      {Repeat{}, "every day"},
      {Repeat::daily(3), "every 3 days"},
      {Repeat::weekly(1), "every week"},
      {Repeat::weekly(2, {Weekday::monday, Weekday::thursday}),
       "every 2 weeks on Monday and Thursday"},
      {Repeat::weekly(1, {Weekday::monday, Weekday::wednesday, Weekday::friday}),
       "every week on Monday, Wednesday and Friday"},
      {Repeat::weekly(1, {Weekday::monday, Weekday::tuesday, Weekday::wednesday, Weekday::thursday,
                          Weekday::friday}),
       "every weekday"},
      {Repeat::monthly(1), "every month"},
      {Repeat::monthly(1, {}, Repeat::OnThe{-1, Kind::of(Weekday::friday)}),
       "every month on the last Friday"},
      {Repeat::monthly(1, {}, Repeat::OnThe{2, Kind::of(Weekday::tuesday)}),
       "every month on the second Tuesday"},
      {Repeat::monthly(1, {1, 15}), "every month on the 1st and the 15th"},
      {Repeat::monthly(1, {-1}, Repeat::OnThe{1, Kind::weekend()}),
       "every month on the last day and the first weekend day"},
      {Repeat::monthly(1, {22, -3}, Repeat::OnThe{-2, Kind::workday()}),
       "every month on the 22nd, the 3rd to last day and the second to last workday"},
      {Repeat::monthly(1, {}, Repeat::OnThe{7, Kind::anyDay()}), "every month on the 7th day"},
      {Repeat::monthly(6).counted(Repeat::From::done), "every 6 months after completion"},
      {Repeat::yearly(1, {2}, {29}), "every year in February on the 29th"},
      {Repeat::yearly(1, {3, 9}), "every year in March and September"},
      {Repeat::yearly(1, {}, {}, Repeat::OnThe{4, Kind::of(Weekday::thursday)}),
       "every year on the fourth Thursday"},
      {Repeat::weekly(1).counted(Repeat::From::catchUp), "every week, skipping missed ones"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.rule.phrase(), c.phrase);
    EXPECT_EQ(Repeat::fromPhrase(c.phrase), c.rule) << c.phrase;
  }
}

TEST(Repeat, PhrasesAreReadLenientlyAndNonsenseIsRejected) {
  EXPECT_EQ(Repeat::fromPhrase("Every other Week on friday"),
            (Repeat::weekly(2, {Weekday::friday})));
  EXPECT_EQ(Repeat::fromPhrase("every 1 day"), Repeat{});
  EXPECT_EQ(Repeat::fromPhrase("every 2 weeks skipping missed ones"),
            (Repeat::weekly(2).counted(Repeat::From::catchUp)));
  for (const char* bad :
       {"", "every", "each day", "every 0 days", "every day on Monday", "every week on Funday",
        "every week on", "every month on the", "every month on the last", "every fortnight",
        "every month on the first Monday and the last Friday", "every year in Smarch",
        "every month on 1st", "every month on the 1xx"}) {
    EXPECT_EQ(Repeat::fromPhrase(bad), std::nullopt) << bad;
  }
}

TEST(Repeat, JsonRoundTripsAndReadsKindsLeniently) {
  Repeat full =
      Repeat::yearly(2, {3, 9}, {1, -1}, Repeat::OnThe{-2, Repeat::Kind::of(Weekday::wednesday)})
          .counted(Repeat::From::catchUp);
  full.weekdays = {Weekday::sunday};
  const Json j = full;
  EXPECT_EQ(j.dump(),
            R"({"every":2,"unit":"year","weekdays":[7],"monthDays":[1,-1],"months":[3,9],)"
            R"("onThe":{"ordinal":-2,"kind":{"weekday":3}},"from":"catchUp"})");
  EXPECT_EQ(j.get<Repeat>(), full);
  EXPECT_EQ(Json::parse(R"({"unit":"week"})").get<Repeat>(), (Repeat::weekly(1)));

  EXPECT_EQ(Json::parse(R"({"workday":{}})").get<Repeat::Kind>(), Repeat::Kind::workday());
  EXPECT_EQ(Json::parse(R"("weekend")").get<Repeat::Kind>(), Repeat::Kind::weekend());
  EXPECT_EQ(Json(Repeat::Kind::anyDay()).dump(), R"({"day":{}})");
  for (const char* bad : {R"({"unit":"fortnight"})", R"({"every":"2"})",
                          R"({"onThe":{"kind":"weekday"}})", R"({"onThe":{"kind":{"weekday":9}}})",
                          R"({"onThe":{"kind":{"day":{},"weekend":{}}}})", R"([])"}) {
    EXPECT_THROW(Json::parse(bad).get<Repeat>(), RecordError) << bad;
  }
}

}  // namespace
}  // namespace trivo

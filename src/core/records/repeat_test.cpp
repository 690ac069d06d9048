// Recurrence rules against dates checked by hand on a calendar.
#include "core/records/repeat.h"

#include <gtest/gtest.h>

#include <limits>

namespace trivo {
namespace {

using Kind = Repeat::Kind;

DayDate repeatOn(const char* iso) { return *DayDate::parse(iso); }

// Dates as one line of text, for comparing a whole run at once.
std::string repeatDates(const std::vector<DayDate>& dates) {
  std::string out;
  for (const auto& d : dates) out += (out.empty() ? "" : " ") + d.isoString();
  return out;
}

TEST(Repeat, NextIsNeverTheAnchorsOwnDayWhenAskedAfterItAndNeverBeforeTheAnchor) {
  const struct {
    Repeat rule;
    const char* after;
    const char* anchor;
    std::optional<DayDate> next;
  } cases[] = {
      {Repeat::daily(3), "2026-09-16", "2026-09-16", repeatOn("2026-09-19")},
      {Repeat::daily(3), "2026-09-01", "2026-09-16", repeatOn("2026-09-16")},
      {Repeat::daily(3), "2026-09-20", "2026-09-16", repeatOn("2026-09-22")},
      // Far past the anchor the start step is jumped to, not walked.
      {Repeat::daily(3), "2036-09-16", "2026-09-16", repeatOn("2036-09-17")},
      // The anchor is a Wednesday: the Monday of its own week lies before it and is not a date.
      {Repeat::weekly(1, {Weekday::monday}), "2026-09-01", "2026-09-16", repeatOn("2026-09-21")},
      {Repeat::yearly(1, {11}, {}, Repeat::OnThe{4, Kind::of(Weekday::thursday)}), "2026-11-26",
       "2026-01-01", repeatOn("2027-11-25")},
      // Steps below one step like one.
      {Repeat::daily(0), "2026-09-16", "2026-09-16", repeatOn("2026-09-17")},
      {Repeat::monthly(-3), "2026-09-16", "2026-09-16", repeatOn("2026-10-16")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.rule.next(repeatOn(c.after), repeatOn(c.anchor)), c.next)
        << c.rule.phrase() << " after " << c.after;
  }
  // Giant steps end without overflow.
  for (auto unit :
       {Repeat::Unit::day, Repeat::Unit::week, Repeat::Unit::month, Repeat::Unit::year}) {
    Repeat giant = Repeat::daily(std::numeric_limits<std::int64_t>::max());
    giant.unit = unit;
    EXPECT_EQ(giant.next(repeatOn("2026-09-16"), repeatOn("2026-09-16")), std::nullopt);
  }
}

TEST(Repeat, DatesOfEachKindOfRule) {
  Repeat quarterly = Repeat::monthly();
  quarterly.every = 3;
  const struct {
    Repeat rule;
    const char* first;
    const char* through;
    const char* dates;
  } cases[] = {
      // Across the year's end.
      {Repeat::weekly(2, {Weekday::thursday, Weekday::monday}), "2026-12-14", "2027-01-28",
       "2026-12-14 2026-12-17 2026-12-28 2026-12-31 2027-01-11 2027-01-14 2027-01-25 2027-01-28"},
      // Without weekdays a week keeps the anchor's weekday.
      {Repeat::weekly(1), "2026-09-16", "2026-10-07",
       "2026-09-16 2026-09-23 2026-09-30 2026-10-07"},
      // A fifth Friday skips the months that have only four.
      {Repeat::monthly(1, {}, Repeat::OnThe{5, Kind::of(Weekday::friday)}), "2026-01-01",
       "2026-12-31", "2026-01-30 2026-05-29 2026-07-31 2026-10-30"},
      // A month day beyond the month's end means its last day; negative ones count from the end.
      {Repeat::monthly(1, {31}), "2026-01-01", "2026-04-30",
       "2026-01-31 2026-02-28 2026-03-31 2026-04-30"},
      {Repeat::monthly(1, {-2}), "2026-01-01", "2026-03-31", "2026-01-30 2026-02-27 2026-03-30"},
      // 30 and 31 fall on the same day in February and count once there.
      {Repeat::monthly(1, {30, 1, 31}), "2026-02-01", "2026-03-02",
       "2026-02-01 2026-02-28 2026-03-01"},
      // Month days and an ordinal together pick both.
      {Repeat::monthly(1, {1}, Repeat::OnThe{-1, Kind::of(Weekday::friday)}), "2026-09-01",
       "2026-10-31", "2026-09-01 2026-09-25 2026-10-01 2026-10-30"},
      // Without days a month keeps the anchor's day, clamped to short months.
      {Repeat::monthly(), "2026-01-31", "2026-05-31",
       "2026-01-31 2026-02-28 2026-03-31 2026-04-30 2026-05-31"},
      {quarterly, "2026-11-15", "2027-08-31", "2026-11-15 2027-02-15 2027-05-15 2027-08-15"},
      // 29 February falls on the 28th in common years.
      {Repeat::yearly(1), "2024-02-29", "2028-12-31",
       "2024-02-29 2025-02-28 2026-02-28 2027-02-28 2028-02-29"},
      {Repeat::yearly(2, {9, 3}, {15}), "2026-01-01", "2029-12-31",
       "2026-03-15 2026-09-15 2028-03-15 2028-09-15"},
      {Repeat::daily(1), "2026-02-01", "2026-01-01", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(repeatDates(c.rule.dates(repeatOn(c.first), repeatOn(c.through))), c.dates)
        << c.rule.phrase() << " from " << c.first;
  }
}

TEST(Repeat, OrdinalsCountTheirKindOfDayInEachMonthOf2026) {
  const struct {
    Repeat::OnThe onThe;
    std::vector<std::int64_t> days;  // the day of the month in January … December
  } cases[] = {
      {{2, Kind::of(Weekday::tuesday)}, {13, 10, 10, 14, 12, 9, 14, 11, 8, 13, 10, 8}},
      {{-1, Kind::workday()}, {30, 27, 31, 30, 29, 30, 31, 31, 30, 30, 30, 31}},
      {{1, Kind::weekend()}, {3, 1, 1, 4, 2, 6, 4, 1, 5, 3, 1, 5}},
      {{-1, Kind::anyDay()}, {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}},
      {{3, Kind::anyDay()}, {3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}},
  };
  for (const auto& c : cases) {
    std::vector<DayDate> expected;
    for (std::int64_t m = 1; m <= 12; ++m) {
      expected.push_back(DayDate{2026, m, c.days[static_cast<std::size_t>(m - 1)]});
    }
    const Repeat rule = Repeat::monthly(1, {}, c.onThe);
    EXPECT_EQ(rule.dates(repeatOn("2026-01-01"), repeatOn("2026-12-31")), expected)
        << rule.phrase();
  }
}

TEST(Repeat, RulesThatNeverMatchEndWithNothing) {
  const Repeat never[] = {
      Repeat::yearly(1, {2}, {}, Repeat::OnThe{30, Kind::anyDay()}),
      Repeat::yearly(1, {13}),
      Repeat::monthly(1, {0}),
      Repeat::monthly(1, {}, Repeat::OnThe{0, Kind::of(Weekday::monday)}),
      Repeat::monthly(1, {}, Repeat::OnThe{6, Kind::of(Weekday::monday)}),
      Repeat::monthly(1, {}, Repeat::OnThe{-24, Kind::workday()}),
  };
  const DayDate start = repeatOn("2026-01-01");
  for (const auto& rule : never) {
    EXPECT_EQ(rule.next(start, start), std::nullopt) << rule.phrase();
    EXPECT_TRUE(rule.dates(start, repeatOn("2100-01-01")).empty()) << rule.phrase();
    EXPECT_EQ(rule.firstDate(start), std::nullopt) << rule.phrase();
  }
}

TEST(Repeat, FollowingCountsFromTheDueDateTheCompletionDayOrCatchesUp) {
  using From = Repeat::From;
  const Repeat monThu = Repeat::weekly(1, {Weekday::thursday, Weekday::monday});
  const struct {
    Repeat rule;
    const char* due;
    const char* done;
    const char* next;
  } cases[] = {
      {monThu, "2026-09-10", "2026-09-16", "2026-09-14"},
      // Completed on Wednesday: the next of its days after that is the Thursday.
      {monThu.counted(From::done), "2026-09-10", "2026-09-16", "2026-09-17"},
      {Repeat::daily(3).counted(From::done), "2026-09-10", "2026-09-15", "2026-09-18"},
      // Completed early, the next date still counts from the completion day.
      {Repeat::daily(3).counted(From::done), "2026-09-10", "2026-09-08", "2026-09-11"},
      // Due Monday 7 September, ticked on Wednesday 23rd: the Mondays in between are skipped.
      {Repeat::weekly(1).counted(From::catchUp), "2026-09-07", "2026-09-23", "2026-09-28"},
      // Ticked on the due day itself or early, it still moves on by one step.
      {Repeat::weekly(1).counted(From::catchUp), "2026-09-07", "2026-09-07", "2026-09-14"},
      {Repeat::weekly(1).counted(From::catchUp), "2026-09-07", "2026-09-01", "2026-09-14"},
      {Repeat::monthly(), "2026-01-31", "2026-02-03", "2026-02-28"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.rule.following(repeatOn(c.due), repeatOn(c.done)), repeatOn(c.next))
        << c.rule.phrase() << ", due " << c.due << ", done " << c.done;
  }
}

TEST(Repeat, FirstDatesAndOccurrencesKeepTheAnchorsRhythm) {
  const Repeat monThu = Repeat::weekly(1, {Weekday::monday, Weekday::thursday});
  EXPECT_EQ(monThu.firstDate(repeatOn("2026-09-16")), repeatOn("2026-09-17"));
  EXPECT_EQ(monThu.firstDate(repeatOn("2026-09-14")), repeatOn("2026-09-14"));
  EXPECT_EQ(Repeat::monthly(1, {1}).firstDate(repeatOn("2026-09-02")), repeatOn("2026-10-01"));

  const Repeat daily = Repeat::daily(1);
  EXPECT_EQ(daily.dates(repeatOn("2026-01-01"), repeatOn("2026-12-31"), 3).size(), 3u);
  EXPECT_EQ(daily.dates(repeatOn("2026-01-01"), repeatOn("2026-12-31")).size(), 365u);
  const Repeat fortnightly = Repeat::weekly(2);
  EXPECT_EQ(repeatDates(fortnightly.occurrences(repeatOn("2026-09-02"), repeatOn("2026-09-20"),
                                                repeatOn("2026-10-20"))),
            "2026-09-30 2026-10-14");
  EXPECT_TRUE(
      fortnightly
          .occurrences(repeatOn("2026-09-02"), repeatOn("2026-08-01"), repeatOn("2026-09-01"))
          .empty());
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
  const DayDate thursday = repeatOn("2026-09-17");
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

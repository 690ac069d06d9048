// Calendar values against independent sources: std::chrono for day numbers, the C library's
// strftime for ISO weeks.
#include "core/calendar/calendar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

#include "testing/fake_clock.h"

namespace trivo {
namespace {

TEST(DayDate, ParsesOnlyExactFourTwoTwoPiecesOfRealDays) {
  struct Case {
    const char* text;
    std::optional<DayDate> expected;
  };
  const Case cases[] = {
      {"2026-09-06", DayDate{2026, 9, 6}},  {"2024-02-29", DayDate{2024, 2, 29}},
      {"2000-02-29", DayDate{2000, 2, 29}}, {"2026-02-29", std::nullopt},
      {"1900-02-29", std::nullopt},         {"2026-9-16", std::nullopt},
      {"2026-09-16-x", std::nullopt},       {"2026-09", std::nullopt},
      {"2026-13-01", std::nullopt},         {"2026-00-10", std::nullopt},
      {"2026-04-31", std::nullopt},         {"2026-04-00", std::nullopt},
      {"20260916", std::nullopt},           {"", std::nullopt},
      {"abcd-09-16", std::nullopt},         {"2026-0x-16", std::nullopt},
      {" 2026-09-16", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DayDate::parse(c.text), c.expected) << c.text;
    if (c.expected) {
      EXPECT_EQ(c.expected->isoString(), c.text);
    }
  }
  EXPECT_EQ((DayDate{33, 1, 2}).isoString(), "0033-01-02");
}

TEST(DayDate, DayNumberMatchesChronoOverWideRangeIncludingNegativeYears) {
  using namespace std::chrono;
  // 1970-01-01 is day 719468; chrono counts from 1970-01-01.
  for (int y = -2400; y <= 2800; y += 1) {
    for (unsigned m : {1u, 2u, 3u, 6u, 12u}) {
      for (unsigned d : {1u, 15u, 28u}) {
        year_month_day ymd{std::chrono::year{y}, std::chrono::month{m}, std::chrono::day{d}};
        const auto expected = sys_days(ymd).time_since_epoch().count() + 719468LL;
        const DayDate date{y, m, d};
        ASSERT_EQ(date.dayNumber(), expected) << date.isoString();
        ASSERT_EQ(DayDate::fromDayNumber(expected), date) << date.isoString();
      }
    }
  }
}

TEST(DayDate, EveryDayNumberRoundTripsAndAdvancesTheCalendarByOne) {
  DayDate previous = DayDate::fromDayNumber(-800000);
  for (std::int64_t n = -799999; n <= 1200000; ++n) {
    DayDate d = DayDate::fromDayNumber(n);
    ASSERT_EQ(d.dayNumber(), n);
    ASSERT_TRUE(DayDate::make(d.year, d.month, d.day)) << n;
    ASSERT_LT(previous, d);
    previous = d;
  }
}

TEST(DayDate, WeekdaysMatchTheCLibrary) {
  EXPECT_EQ((DayDate{-1, 12, 31}).adding(1), (DayDate{0, 1, 1}));
  for (int i = 0; i < 14; ++i) {
    DayDate d = DayDate{1969, 12, 25}.adding(i * 377);
    std::tm tm{};
    std::time_t t = static_cast<std::time_t>((d.dayNumber() - 719468) * 86400);
    gmtime_r(&t, &tm);
    EXPECT_EQ(weekdayIndex(d.weekday()), (tm.tm_wday + 6) % 7) << d.isoString();
  }
}

TEST(DayDate, ArithmeticAndMonthFacts) {
  EXPECT_EQ((DayDate{2026, 3, 1}).adding(-1), (DayDate{2026, 2, 28}));
  EXPECT_EQ((DayDate{2024, 3, 1}).adding(-1), (DayDate{2024, 2, 29}));
  EXPECT_EQ((DayDate{2027, 1, 1}).daysSince(DayDate{2026, 1, 1}), 365);
  EXPECT_EQ((DayDate{2026, 1, 1}).daysSince(DayDate{2027, 1, 1}), -365);
  EXPECT_EQ(DayDate::daysIn(13, 2024), 29);
  EXPECT_EQ(DayDate::daysIn(0, 2023), 28);
  EXPECT_EQ(DayDate::daysIn(2, 2000), 29);
  EXPECT_EQ(DayDate::daysIn(2, 2100), 28);
  EXPECT_TRUE((DayDate{2024, 2, 29}).isLastDayOfMonth());
  EXPECT_FALSE((DayDate{2024, 2, 28}).isLastDayOfMonth());
  EXPECT_EQ((DayDate{2026, 11, 3}).yearQuarter(), (YearQuarter{2026, 4}));
}

TEST(DayDateDeathTest, OverflowIsFatalNotAWrap) {
  const DayDate far{INT64_MAX - 10, 6, 1};
  EXPECT_DEATH((void)far.dayNumber(), "overflow");
}

TEST(ISOWeek, MatchesStrftimeForEveryDayFrom1900To2100) {
  const DayDate first{1900, 1, 1};
  const DayDate last{2100, 12, 31};
  for (DayDate d = first; d <= last; d = d.adding(1)) {
    std::tm tm{};
    std::time_t t = static_cast<std::time_t>((d.dayNumber() - 719468) * 86400);
    gmtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%G-W%V", &tm);
    ASSERT_EQ(d.isoWeek().id(), buf) << d.isoString();
  }
}

TEST(ISOWeek, YearBoundariesAndCounts) {
  EXPECT_EQ(ISOWeek::count(2026), 53);
  EXPECT_EQ(ISOWeek::count(2025), 52);
  EXPECT_EQ(ISOWeek::count(2020), 53);
  EXPECT_EQ((ISOWeek{2026, 53}).friday(), (DayDate{2027, 1, 1}));
  EXPECT_EQ((ISOWeek{2026, 53}).next(), (ISOWeek{2027, 1}));
  EXPECT_EQ((ISOWeek{2027, 1}).previous(), (ISOWeek{2026, 53}));
  EXPECT_EQ((ISOWeek{2025, 52}).next(), (ISOWeek{2026, 1}));
  EXPECT_EQ(ISOWeek::week1Monday(2026), (DayDate{2025, 12, 29}));
  EXPECT_EQ((ISOWeek{2026, 38}).day(Weekday::wednesday), (DayDate{2026, 9, 16}));
  EXPECT_EQ((ISOWeek{2026, 38}).sunday(), (DayDate{2026, 9, 20}));
}

TEST(ISOWeek, BelongsToTheMonthAndQuarterOfItsMonday) {
  // Monday 29 September 2025: the week is September's and Q3's though its Thursday is October.
  const ISOWeek w = (DayDate{2025, 9, 29}).isoWeek();
  EXPECT_EQ(w.owningMonth(), (YearMonth{2025, 9}));
  EXPECT_EQ(w.owningQuarter(), (YearQuarter{2025, 3}));
  // A week Monday-owned by December of the previous year.
  EXPECT_EQ((ISOWeek{2026, 1}).owningMonth(), (YearMonth{2025, 12}));
}

TEST(ISOWeek, WeeksOfAQuarterAreThoseWhoseMondayLiesInIt) {
  for (std::int64_t y = 2019; y <= 2030; ++y) {
    std::size_t total = 0;
    for (std::int64_t q = 1; q <= 4; ++q) {
      auto weeks = ISOWeek::weeks(YearQuarter{y, q});
      ASSERT_FALSE(weeks.empty());
      for (const auto& w : weeks) EXPECT_EQ(w.owningQuarter(), (YearQuarter{y, q})) << w.id();
      EXPECT_EQ(weeks.front().monday().adding(-7).yearQuarter(), (YearQuarter{y, q}).previous());
      total += weeks.size();
    }
    // Mondays in the year: 52 or 53.
    EXPECT_TRUE(total == 52 || total == 53) << y;
  }
}

TEST(ISOWeek, ParserIsLooseAboutWeek53) {
  EXPECT_EQ(ISOWeek::parse("2025-W53"), (ISOWeek{2025, 53}));
  EXPECT_EQ(ISOWeek::parse("2026-W38"), (ISOWeek{2026, 38}));
  for (const char* bad : {"2026-W54", "2026-W00", "2026-w38", "2026-W3", "2026-W038", "26-W38",
                          "2026W38", "2026-W38-1", "2026-Wxx", ""}) {
    EXPECT_EQ(ISOWeek::parse(bad), std::nullopt) << bad;
  }
}

TEST(YearMonthAndQuarter, ParseTextAndStep) {
  EXPECT_EQ(YearMonth::parse("2026-09"), (YearMonth{2026, 9}));
  for (const char* bad : {"2026-9", "2026-13", "2026-00", "2026-09-01", "26-09"}) {
    EXPECT_EQ(YearMonth::parse(bad), std::nullopt) << bad;
  }
  EXPECT_EQ((YearMonth{2026, 12}).next(), (YearMonth{2027, 1}));
  EXPECT_EQ((YearMonth{2026, 1}).previous(), (YearMonth{2025, 12}));
  EXPECT_EQ((YearMonth{2026, 9}).id(), "2026-09");

  EXPECT_EQ(YearQuarter::parse("2026-Q3"), (YearQuarter{2026, 3}));
  for (const char* bad : {"2026-Q5", "2026-Q0", "2026-Q03", "2026-q3", "2026-3", "2026-QQ"}) {
    EXPECT_EQ(YearQuarter::parse(bad), std::nullopt) << bad;
  }
  EXPECT_EQ((YearQuarter{2026, 3}).id(), "2026-Q3");
  EXPECT_EQ((YearQuarter{2026, 1}).previous(), (YearQuarter{2025, 4}));
  EXPECT_EQ((YearQuarter{2026, 4}).next(), (YearQuarter{2027, 1}));
  EXPECT_EQ((YearQuarter{2026, 1}).lastDay(), (DayDate{2026, 3, 31}));
}

TEST(ClockTime, ParsesWithoutLengthChecks) {
  EXPECT_EQ(ClockTime::parse("7:5"), (ClockTime{7, 5}));
  EXPECT_EQ(ClockTime::parse("23:59"), (ClockTime{23, 59}));
  EXPECT_EQ(ClockTime::parse("007:05"), (ClockTime{7, 5}));
  for (const char* bad : {"24:00", "12:60", "-1:00", "12", "12:00:00", ":30", "ab:cd", ""}) {
    EXPECT_EQ(ClockTime::parse(bad), std::nullopt) << bad;
  }
  EXPECT_EQ((ClockTime{7, 5}).description(), "07:05");
}

TEST(CalendarGrid, SundayFirstSeptember2026StartsWithTwoAbsentDays) {
  auto month = CalendarGrid::month(YearMonth{2026, 9}, WeekStart::sunday);
  EXPECT_EQ(month.weekdayColumns.front(), Weekday::sunday);
  EXPECT_EQ(month.weekdayColumns.back(), Weekday::saturday);
  ASSERT_EQ(month.rows.size(), 5u);
  EXPECT_FALSE(month.rows[0].days[0]);
  EXPECT_FALSE(month.rows[0].days[1]);
  EXPECT_EQ(month.rows[0].days[2], (DayDate{2026, 9, 1}));
  EXPECT_EQ(month.rows.back().days[3], (DayDate{2026, 9, 30}));
  EXPECT_FALSE(month.rows.back().days[4]);
}

TEST(CalendarGrid, EveryMonthHoldsEachOfItsDaysOnceInItsColumn) {
  for (WeekStart start : {WeekStart::monday, WeekStart::sunday}) {
    for (const auto& month : CalendarGrid::year(2026, start)) {
      ASSERT_GE(month.rows.size(), 4u);
      ASSERT_LE(month.rows.size(), 6u);
      std::int64_t expected = 1;
      for (const auto& row : month.rows) {
        for (std::size_t c = 0; c < 7; ++c) {
          if (!row.days[c]) continue;
          EXPECT_EQ(row.days[c]->day, expected++);
          EXPECT_EQ(row.days[c]->weekday(), month.weekdayColumns[c]);
        }
      }
      EXPECT_EQ(expected - 1, month.month.dayCount());
    }
  }
  // February 2021 begins on a Monday and fills exactly four rows.
  EXPECT_EQ(CalendarGrid::month(YearMonth{2021, 2}, WeekStart::monday).rows.size(), 4u);
}

TEST(CalendarGrid, WeekRowsAndStrips) {
  auto row = CalendarGrid::week(DayDate{2026, 9, 20}, WeekStart::sunday);
  EXPECT_EQ(row.days[0], (DayDate{2026, 9, 20}));
  EXPECT_EQ(row.week, (ISOWeek{2026, 39}));
  auto strip = CalendarGrid::strip(ISOWeek{2026, 38}, WeekStart::monday);
  EXPECT_EQ(strip.days[0], (DayDate{2026, 9, 14}));
  EXPECT_EQ(strip.days[6], (DayDate{2026, 9, 20}));
}

TEST(Today, FollowsTheClockLocally) {
  using namespace std::chrono;
  // 2026-09-16 23:30 UTC is already the 17th two hours east.
  const Instant instant = sys_days(year{2026} / 9 / 16) + 23h + 30min;
  testing::FakeClock east(instant, hours(2));
  EXPECT_EQ(DayDate::fromInstant(instant, east), (DayDate{2026, 9, 17}));
  EXPECT_EQ(ClockTime::fromInstant(instant, east), (ClockTime{1, 30}));
}

TEST(CalendarJson, RecordsUseTheirFieldNamesAndRejectWrongTypes) {
  Json j = DayDate{2026, 9, 16};
  EXPECT_EQ(j.dump(), R"({"year":2026,"month":9,"day":16})");
  EXPECT_EQ(Json(ISOWeek{2026, 38}).dump(), R"({"year":2026,"week":38})");
  EXPECT_EQ(Json(YearQuarter{2026, 3}).dump(), R"({"year":2026,"quarter":3})");
  EXPECT_EQ(Json(ClockTime{7, 5}).dump(), R"({"hour":7,"minute":5})");
  EXPECT_EQ(Json::parse(R"({"year":2026,"month":9,"day":16})").get<DayDate>(),
            (DayDate{2026, 9, 16}));
  EXPECT_EQ(Json::parse(R"({"year":2026})").get<YearMonth>(), (YearMonth{2026, 1}));
  EXPECT_THROW((void)Json::parse(R"({"year":"2026","month":9,"day":16})").get<DayDate>(),
               RecordError);
  EXPECT_THROW((void)Json::parse(R"({"year":2026,"month":2,"day":30})").get<DayDate>(),
               RecordError);
  EXPECT_THROW((void)Json::parse("[1,2]").get<ClockTime>(), RecordError);
}

}  // namespace
}  // namespace trivo

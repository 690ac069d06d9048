// Captured lines read on a fixed Wednesday: what each says, and the lines that must stay text.
#include "core/inbox/capture_phrase.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

const DayDate kPhraseToday{2026, 11, 25};  // a Wednesday

DayDate date(std::int64_t y, std::int64_t m, std::int64_t day) { return DayDate{y, m, day}; }
ClockTime t(std::int64_t h, std::int64_t m = 0) { return ClockTime{h, m}; }

using W = Weekday;
const std::vector<Weekday> kWorkdays = {W::monday, W::tuesday, W::wednesday, W::thursday,
                                        W::friday};
const Repeat kMonThu = Repeat::weekly(1, {W::monday, W::thursday});
const Repeat kOnTheLast = Repeat::monthly(1, {-1});
const Repeat kOnThe1st = Repeat::monthly(1, {1});

struct PhraseRow {
  std::string line;
  std::string text;
  std::optional<DayDate> due;
  std::optional<ClockTime> time = std::nullopt;
  std::optional<Repeat> repeats = std::nullopt;
};

Repeat onThe(std::int64_t ordinal, Weekday w) {
  return Repeat::monthly(1, {}, Repeat::OnThe{ordinal, Repeat::Kind::of(w)});
}
Repeat weeklyOn(std::vector<Weekday> days) { return Repeat::weekly(1, std::move(days)); }
Repeat monthlyOn(std::int64_t day) { return Repeat::monthly(1, {day}); }

TEST(CapturePhrase, ReadsDaysTimesAndRepeatsAndLeavesTheRestAsText) {
  const std::vector<PhraseRow> rows = {
      // Days.
      {"call mum friday", "call mum", date(2026, 11, 27)},
      {"call mum today", "call mum", kPhraseToday},
      {"tomorrow buy milk", "buy milk", date(2026, 11, 26)},
      {"pay rent wednesday", "pay rent", kPhraseToday},
      {"dentist tuesday", "dentist", date(2026, 12, 1)},
      {"next monday standup", "standup", date(2026, 11, 30)},
      {"review next friday", "review", date(2026, 12, 4)},
      {"plan next week", "plan", date(2026, 11, 30)},
      {"budget next month", "budget", date(2026, 12, 1)},
      {"fix bike in 3 days", "fix bike", date(2026, 11, 28)},
      {"call Ana in a week", "call Ana", date(2026, 12, 2)},
      {"dentist in 2 weeks", "dentist", date(2026, 12, 9)},
      {"renew pass in 1 month", "renew pass", date(2026, 12, 25)},
      {"check in 3 months", "check", date(2027, 2, 25)},
      {"renew insurance on 12 dec", "renew insurance", date(2026, 12, 12)},
      {"renew insurance 12 dec", "renew insurance", date(2026, 12, 12)},
      {"party Dec 12", "party", date(2026, 12, 12)},
      {"party december 12th", "party", date(2026, 12, 12)},
      {"trip 3rd of january", "trip", date(2027, 1, 3)},
      {"anniversary 1 nov", "anniversary", date(2027, 11, 1)},
      {"exam 12 dec 2027", "exam", date(2027, 12, 12)},
      {"launch 2026-12-01", "launch", date(2026, 12, 1)},
      {"old 2026-01-05", "old", date(2026, 1, 5)},
      {"report end of month", "report", date(2026, 11, 30)},
      {"report by end of the week", "report", date(2026, 11, 29)},
      {"taxes end of year", "taxes", date(2026, 12, 31)},
      {"move desk this weekend", "move desk", date(2026, 11, 28)},
      {"by friday send draft", "send draft", date(2026, 11, 27)},
      {"essay due friday", "essay", date(2026, 11, 27)},
      {"on sat groceries", "groceries", date(2026, 11, 28)},
      {"seeds on 3 march", "seeds", date(2027, 3, 3)},
      {"leap day 29 feb", "leap day", date(2028, 2, 29)},
      // Times.
      {"call at 6pm", "call", kPhraseToday, t(18)},
      {"call 6pm", "call", kPhraseToday, t(18)},
      {"meet at 18:30", "meet", kPhraseToday, t(18, 30)},
      {"meet 18:30", "meet", kPhraseToday, t(18, 30)},
      {"standup at 9", "standup", kPhraseToday, t(9)},
      {"gym at 7am tomorrow", "gym", date(2026, 11, 26), t(7)},
      {"dinner friday at 7:30 pm", "dinner", date(2026, 11, 27), t(19, 30)},
      {"lunch at noon", "lunch", kPhraseToday, t(12)},
      {"backup 12am", "backup", kPhraseToday, t(0)},
      {"call at 12pm", "call", kPhraseToday, t(12)},
      // Repeats: without a day they are due on their first date from today.
      {"water plants every day", "water plants", kPhraseToday, {}, Repeat::daily()},
      {"water plants daily", "water plants", kPhraseToday, {}, Repeat::daily()},
      {"water cactus every 3 days", "water cactus", kPhraseToday, {}, Repeat::daily(3)},
      {"standup every weekday", "standup", kPhraseToday, {}, Repeat::weekly(1, kWorkdays)},
      {"standup every weekday at 9", "standup", kPhraseToday, t(9), Repeat::weekly(1, kWorkdays)},
      {"review every 2 weeks", "review", kPhraseToday, {}, Repeat::weekly(2)},
      {"bins every other week", "bins", kPhraseToday, {}, Repeat::weekly(2)},
      {"pay rent every month on the 1st", "pay rent", date(2026, 12, 1), {}, kOnThe1st},
      {"pay rent every month on the 31st", "pay rent", date(2026, 11, 30), {}, monthlyOn(31)},
      {"team lunch every last friday", "team lunch", date(2026, 11, 27), {}, onThe(-1, W::friday)},
      {"board every first monday", "board", date(2026, 12, 7), {}, onThe(1, W::monday)},
      {"book club every 2nd tuesday", "book club", date(2026, 12, 8), {}, onThe(2, W::tuesday)},
      {"yoga every monday and thursday", "yoga", date(2026, 11, 26), {}, kMonThu},
      {"yoga every tue", "yoga", date(2026, 12, 1), {}, weeklyOn({W::tuesday})},
      {"invoice every 15th", "invoice", date(2026, 12, 15), {}, monthlyOn(15)},
      {"clean every weekend", "clean", date(2026, 11, 28), {}, weeklyOn({W::saturday, W::sunday})},
      {"close books every month on the last day",
       "close books",
       date(2026, 11, 30),
       {},
       kOnTheLast},
      {"renew every year in march on the 3rd",
       "renew",
       date(2027, 3, 3),
       {},
       Repeat::yearly(1, {3}, {3})},
      {"journal every day after completion",
       "journal",
       kPhraseToday,
       {},
       Repeat::daily().counted(Repeat::From::done)},
      {"pay rent monthly", "pay rent", kPhraseToday, {}, Repeat::monthly()},
      {"taxes yearly", "taxes", kPhraseToday, {}, Repeat::yearly()},
      {"call mum every friday at 6pm", "call mum", date(2026, 11, 27), t(18),
       weeklyOn({W::friday})},
      {"pay rent every month on the 1st from 2027-01-01",
       "pay rent from",
       date(2027, 1, 1),
       {},
       kOnThe1st},
      // Marks, letter case and punctuation.
      {"submit due:2026-12-03 form", "submit form", date(2026, 12, 3)},
      {"buy milk tomorrow.", "buy milk", date(2026, 11, 26)},
      {"Tomorrow, call Bob", "call Bob", date(2026, 11, 26)},
      {"CALL MUM FRIDAY", "CALL MUM", date(2026, 11, 27)},
      {"  call   mum  ", "call mum", std::nullopt},
      // Each kind once: the second day stays text, and "on," cannot join the word after it.
      {"move from monday to friday", "move from to friday", date(2026, 11, 30)},
      {"monday morning blues: on, monday", "morning blues: on, monday", date(2026, 11, 30)},
  };
  ASSERT_GE(rows.size(), 60u);
  for (const PhraseRow& row : rows) {
    const CapturePhrase p = CapturePhrase::read(row.line, kPhraseToday);
    EXPECT_EQ(p.text, row.text) << row.line;
    EXPECT_EQ(p.due, row.due) << row.line;
    EXPECT_EQ(p.time, row.time) << row.line;
    EXPECT_EQ(p.repeats, row.repeats) << row.line;
    EXPECT_FALSE(p.someday || p.waiting || p.priority || !p.alerts.empty()) << row.line;
  }
}

TEST(CapturePhrase, ReadsPriorityFlagsAndReminders) {
  auto p = CapturePhrase::read("call Ana tomorrow at 10 remind 30m before !1", kPhraseToday);
  EXPECT_EQ(p.text, "call Ana");
  EXPECT_EQ(p.due, date(2026, 11, 26));
  EXPECT_EQ(p.time, t(10));
  EXPECT_EQ(p.priority, Priority::a);
  EXPECT_EQ(p.alerts, std::vector<AlertOffset>{AlertOffset{-30}});

  p = CapturePhrase::read("flight friday 6am remind me 2 hours before remind me 1 day before",
                          kPhraseToday);
  EXPECT_EQ(p.text, "flight");
  EXPECT_EQ(p.alerts, (std::vector<AlertOffset>{AlertOffset{-120}, AlertOffset{-1440}}));

  p = CapturePhrase::read("pills at 8 remind me at due time", kPhraseToday);
  EXPECT_EQ(p.alerts, std::vector<AlertOffset>{AlertOffset{0}});
  p = CapturePhrase::read("stretch remind 10 minutes after", kPhraseToday);
  EXPECT_EQ(p.alerts, std::vector<AlertOffset>{AlertOffset{10}});

  p = CapturePhrase::read("[#B] fix sink", kPhraseToday);
  EXPECT_EQ(p.priority, Priority::b);
  EXPECT_EQ(p.text, "fix sink");

  p = CapturePhrase::read("read Dune someday", kPhraseToday);
  EXPECT_TRUE(p.someday);
  EXPECT_EQ(p.text, "read Dune");
  EXPECT_FALSE(p.due);

  p = CapturePhrase::read("waiting reply from Bob friday", kPhraseToday);
  EXPECT_TRUE(p.waiting);
  EXPECT_EQ(p.text, "reply from Bob");
  EXPECT_EQ(p.due, date(2026, 11, 27));
}

// A line of only scheduling words stays text too: it would leave nothing to do.
TEST(CapturePhrase, WordsThatOnlyLookLikeSchedulingStayText) {
  for (const std::string line : {"Friday's report",
                                 "march on",
                                 "may call back",
                                 "12 march plans",
                                 "review chapter 12",
                                 "read John 3:16",
                                 "sat down with Ana",
                                 "every so often",
                                 "the 31st",
                                 "31 feb plans",
                                 "nap in 3 hours",
                                 "work at home",
                                 "6pm-ish call",
                                 "nextfriday",
                                 "remind me later",
                                 "12st dec",
                                 "every",
                                 "in a while",
                                 "end of story",
                                 "13pm meeting",
                                 "at 24",
                                 "2026-02-30 notes",
                                 "friday-ish",
                                 "save every 99999 years",
                                 "every 0 days",
                                 "tomorrow at 9"}) {
    EXPECT_EQ(CapturePhrase::read(line, kPhraseToday),
              (CapturePhrase{line, {}, {}, {}, {}, false, false, {}}))
        << line;
  }
}

}  // namespace
}  // namespace trivo

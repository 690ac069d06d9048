// Period pages through the serializer: records survive a write and a read in both syntaxes, and
// hand-edited pages keep what their author wrote.
#include "core/format/page_serializer.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <sstream>

#include "core/format/serializer_error.h"
#include "core/format/text_util.h"

namespace trivo {
namespace {

// Records as JSON so that a failing comparison shows which field differs.
template <class T>
std::string js(const T& record) {
  return Json(record).dump(1);
}

// Records with every field the pages can hold. Each choice comes from `pick` (a number below n):
// a seeded engine, or rapidcheck, which can then shrink a failing record choice by choice.
class Gen {
 public:
  using Pick = std::function<std::size_t(std::size_t)>;
  Gen(Pick pick, TextSyntax syntax) : pick_(std::move(pick)), syntax_(syntax) {}

  std::size_t below(std::size_t n) { return pick_(n); }
  bool coin() { return below(2) == 0; }

  std::string words(std::size_t min, std::size_t max) {
    static const std::vector<std::string> pool = {
        "Ship",   "the",  "report",    "café",    "nai\u0308ve",
        "🚀",      "bank", "a→b",       "x",       "[link](https://e.org)",
        "*bold*", "50%",  "tab\there", "«quote»", "👩‍👩‍👧"};
    std::string out;
    const std::size_t n = min + below(max - min + 1);
    for (std::size_t i = 0; i < n; ++i) {
      if (i > 0) out += ' ';
      out += pool[below(pool.size())];
    }
    return out;
  }

  // Multi-line user text, with lines that would read as headings if they were not escaped.
  std::string prose() {
    static const std::vector<std::string> tricky = {
        "## looks like a section", "### a part",     "# a title", "* org heading", "** org sub",
        "\\## already escaped",    "\\* org escaped"};
    std::vector<std::string> lines;
    const std::size_t n = 1 + below(4);
    for (std::size_t i = 0; i < n; ++i) {
      if (below(4) == 0) {
        lines.push_back(tricky[below(tricky.size())]);
      } else if (i > 0 && i + 1 < n && below(5) == 0) {
        lines.emplace_back();
      } else {
        lines.push_back(words(1, 5));
      }
    }
    return text::join(lines, "\n");
  }

  OutcomeSet outcomes(Scope scope) {
    std::vector<Outcome> list;
    for (int i = 0; i < 3; ++i) {
      Outcome o = Outcome::make(below(5) == 0 ? std::string() : words(1, 4),
                                static_cast<OutcomeState>(below(3)));
      if (coin()) o.serves = static_cast<std::int64_t>(1 + below(3));
      for (std::size_t c = below(3); c > 0; --c) o.comments.push_back(words(1, 3));
      if (syntax_ == TextSyntax::org && below(3) == 0) {
        o.trailingLines = orgLayout(o.state == OutcomeState::done);
      }
      if (below(4) == 0) o.trailingLines.push_back("  kept " + words(1, 2));
      if (syntax_ == TextSyntax::org && o.state == OutcomeState::planned && below(3) == 0) {
        o.orgKeyword = OrgKeyword{coin() ? "NEXT" : "WAITING", OutcomeState::planned};
      }
      list.push_back(std::move(o));
    }
    return OutcomeSet(scope, std::move(list));
  }

  // What Emacs leaves under an Org outcome: a planning line of the person's (a CLOSED stamp only
  // on a done one, as Org takes it off when the item opens again), a property drawer and a
  // logbook with its own clocks and notes, each indented or not.
  std::vector<std::string> orgLayout(bool done) {
    static const std::vector<std::string> planning = {
        "SCHEDULED: <2026-09-16 Wed 09:00-10:30>",
        "DEADLINE: <2026-09-20 Sun -2d> SCHEDULED: <2026-09-16 Wed .+1w>",
        "SCHEDULED: <2026-09-14 Mon ++1w>", "DEADLINE: <2026-09-18 Fri>"};
    const std::string indent = coin() ? "" : "   ";
    std::vector<std::string> lines;
    if (coin()) {
      std::string line = planning[below(planning.size())];
      if (done && coin()) line = coin() ? "CLOSED: [2026-09-16 Wed 10:02] " + line
                                        : line + " CLOSED: [2026-09-16 Wed 10:02]";
      lines.push_back(indent + line);
    } else if (done && coin()) {
      lines.push_back(indent + "CLOSED: [2026-09-16 Wed 10:02]");
    }
    if (coin()) {
      lines.insert(lines.end(), {indent + ":PROPERTIES:", indent + ":EFFORT:   0:30",
                                 indent + ":END:"});
    }
    if (coin()) {
      lines.push_back(indent + ":LOGBOOK:");
      if (coin()) {
        lines.push_back(indent + "- State \"DONE\"       from \"TODO\"       [2026-09-16 Wed 10:02]");
      }
      lines.push_back(indent + "CLOCK: [2026-09-16 Wed 11:00]--[2026-09-16 Wed 11:40] =>  0:40");
      lines.push_back(indent + ":END:");
    }
    return lines;
  }

  std::vector<TaskStep> steps(int depth) {
    std::vector<TaskStep> out;
    if (depth > 2) return out;
    for (std::size_t n = below(3); n > 0; --n) {
      TaskStep s{words(1, 3), coin(), std::nullopt, {}, {}};
      if (s.done && coin()) s.closedAt = "2026-09-12 18:04";
      if (below(3) == 0) s.comments.push_back(words(1, 2));
      s.steps = steps(depth + 1);
      out.push_back(std::move(s));
    }
    return out;
  }

  std::vector<CarryItem> checklist() {
    std::vector<CarryItem> out;
    for (std::size_t n = below(4); n > 0; --n) {
      CarryItem item;
      item.text = words(1, 4);
      item.done = coin();
      if (below(3) == 0) item.fate = static_cast<CarryItem::Fate>(below(4));
      if (item.done && coin()) item.closedAt = "2026-09-12";
      if (below(3) == 0) item.comments.push_back(words(1, 3));
      item.steps = steps(1);
      out.push_back(std::move(item));
    }
    return out;
  }

  Reflection reflection(const std::vector<KnownSection>& parts) {
    Reflection r;
    for (const auto& part : parts) {
      if (coin()) r.answers[part.key] = prose();
      if (below(4) == 0) r.ratings[part.key] = static_cast<std::int64_t>(1 + below(5));
    }
    return r;
  }

  std::vector<std::string> hotspots() {
    std::vector<std::string> out;
    for (std::size_t n = below(3); n > 0; --n) out.push_back(words(1, 2));
    return out;
  }

  ClockTime time() {
    return *ClockTime::make(static_cast<std::int64_t>(below(24)),
                            static_cast<std::int64_t>(below(60)));
  }

  std::vector<InboxItem> pulled() {
    std::vector<InboxItem> out;
    for (std::size_t n = below(3); n > 0; --n) out.push_back(inboxItem());
    return out;
  }

  // The items of an inbox page. On Org pages some are headings, which hold the Org fields, and
  // come after the list items as a page holds them.
  std::vector<InboxItem> inboxItems() {
    std::vector<InboxItem> out = pulled();
    if (syntax_ != TextSyntax::org) return out;
    for (std::size_t n = below(3); n > 0; --n) {
      InboxItem item = inboxItem();
      item.orgHeading = true;
      if (coin()) item.text += " :home:work:";
      if (!item.done && !item.blocked && below(3) == 0) {
        item.orgKeyword = OrgKeyword{coin() ? "NEXT" : "WAITING", OutcomeState::planned};
      }
      // A warning period is more than the due day can hold; it stays on the planning line.
      if (below(3) == 0) {
        item.orgPlanningRest = std::string(coin() ? "  " : "") + "DEADLINE: <2026-09-30 Wed -2d>";
      }
      if (coin()) item.orgProperties = {":CATEGORY: home", ":EFFORT:   0:30"};
      if (coin()) {
        item.orgLogbook = {"- State \"DONE\"       from \"TODO\"       [2026-09-09 Wed 08:00]",
                           "CLOCK: [2026-09-11 Fri 09:00]--[2026-09-11 Fri 09:30] =>  0:30"};
      }
      if (below(3) == 0) item.orgStampExtra = {"<2026-09-21 Mon 15:00>"};
      if (!item.trailingLines.empty() && coin())
        item.trailingLines.insert(item.trailingLines.end(), {"", "- not a step"});
      out.push_back(std::move(item));
    }
    return out;
  }

  InboxItem inboxItem() {
    InboxItem item;
    item.id = "A1B2-" + std::to_string(below(1000));
    item.text = words(1, 4);
    item.captured = DayDate::make(2026, 9, static_cast<std::int64_t>(1 + below(28)));
    if (coin()) item.pulledInto = DayDate::make(2026, 9, 16);
    item.done = coin();
    item.blocked = below(4) == 0;
    if (coin()) item.priority = static_cast<Priority>(below(4));
    if (item.done && coin()) {
      item.closed = DayDate::make(2026, 9, 16);
      if (coin()) item.closedTime = time();
    }
    if (below(4) == 0) item.hiddenUntil = DayDate::make(2026, 10, 1);
    item.someday = below(5) == 0;
    item.waiting = below(5) == 0;
    if (coin()) item.serves = static_cast<std::int64_t>(1 + below(3));
    if (coin()) item.due = DayDate::make(2026, 9, 18);
    if (item.due && coin()) item.time = time();
    if (item.time && coin()) item.alerts = {AlertOffset{-15}};
    if (below(4) == 0) {
      item.repeats = Repeat::weekly(1);
      item.doneDates = {*DayDate::make(2026, 9, 9), *DayDate::make(2026, 9, 2)};
    }
    if (below(4) == 0) item.extraMeta.push_back("source: mail");
    if (coin()) item.comments.push_back(words(1, 3));
    item.subtasks = steps(1);
    if (below(4) == 0) item.trailingLines.push_back("raw " + words(1, 2));
    return item;
  }

  std::vector<JournalEntry> journal() {
    std::vector<JournalEntry> out;
    for (std::size_t n = below(3); n > 0; --n) {
      std::string text = below(5) == 0 ? std::string() : words(1, 4);
      for (std::size_t l = below(3); l > 0; --l)
        text += std::string("\n") + (coin() ? "- [ ] " : "") + words(1, 3);
      out.push_back(JournalEntry{time(), text});
    }
    return out;
  }

  std::vector<FocusSession> sessions() {
    std::vector<FocusSession> out;
    for (std::size_t n = below(3); n > 0; --n) {
      FocusSession s;
      s.start = time();
      if (coin()) s.end = time();
      s.minutes = static_cast<std::int64_t>(below(120));
      if (coin()) s.outcome = words(1, 3);
      if (coin()) s.quality = static_cast<FocusSession::Quality>(below(4));
      s.pomodoro = coin();
      if (coin()) s.comments.push_back(words(1, 2));
      s.steps = steps(1);
      out.push_back(std::move(s));
    }
    return out;
  }

  // What a page the user edited by hand leaves behind.
  Passthrough pass() {
    Passthrough p;
    if (coin()) p.frontmatterExtras.push_back({"mood", words(1, 2)});
    if (coin()) {
      p.unknownSections.push_back(
          {"outcomes", syntax_.headingMarker(2) + "Ideas\nnote " + words(1, 3)});
    }
    return p;
  }

 private:
  Pick pick_;
  TextSyntax syntax_;
};

Gen::Pick seeded(unsigned seed) {
  return [rng = std::make_shared<std::mt19937>(seed)](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(*rng);
  };
}

Gen::Pick byRapidcheck() {
  return [](std::size_t n) { return *rc::gen::inRange<std::size_t>(0, n); };
}

struct Syntaxes : ::testing::TestWithParam<VaultFormat> {
  TextSyntax syntax{GetParam()};
  MarkdownSerializer serializer{YearMode::quarter, syntax};
};

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, Syntaxes,
                         ::testing::Values(VaultFormat::markdown, VaultFormat::org),
                         [](const auto& param) { return std::string(rawValue(param.param)); });

// Every page kind made from generated records, written and read back: the records must come
// back equal, and writing what was read must give the same text. Returns what differed.
std::optional<std::string> roundTripAllKinds(Gen& gen, const MarkdownSerializer& serializer) {
  std::string failure;
  auto same = [&](const std::string& what, const std::string& back, const std::string& want,
                  const std::string& text) {
    if (back != want && failure.empty()) {
      failure = what + " differs after a write and a read.\nPAGE:\n" + text + "\nREAD:\n" + back +
                "\nWANTED:\n" + want;
    }
  };
  // Writes the record, reads the text back and writes what was read again.
  auto writeAndRead = [&](const std::string& what, const auto& record, auto render, auto parse) {
    const std::string text = render(record);
    const auto back = parse(text);
    same(what, js(back), js(record), text);
    same(what + " text", render(back), text, text);
  };
  DayEntry day;
  day.date = *DayDate::make(2026, 9, 16);
  day.outcomes = gen.outcomes(Scope::day);
  day.checklist = gen.checklist();
  day.pulledItems = gen.pulled();
  if (gen.coin()) day.notes = gen.prose();
  day.journal = gen.journal();
  day.forTomorrow = gen.checklist();
  day.activities = gen.hotspots();
  day.sessions = gen.sessions();
  // Sessions spent on an outcome show as clocks under it on Org pages.
  for (auto& session : day.sessions) {
    if (gen.coin()) session.outcome = day.outcomes.outcomes[gen.below(3)].text;
  }
  day.liked = gen.coin();
  day.passthrough = gen.pass();
  writeAndRead(
      "day", day, [&](const DayEntry& e) { return serializer.renderDay(e); },
      [&](const std::string& t) { return serializer.parseDay(t, day.date); });

  Inbox inbox;
  inbox.items = gen.inboxItems();
  inbox.passthrough = gen.pass();
  for (auto& section : inbox.passthrough.unknownSections) section.afterSection.clear();
  writeAndRead(
      "inbox", inbox, [&](const Inbox& e) { return serializer.renderInbox(e); },
      [&](const std::string& t) { return serializer.parseInbox(t); });

  WeekEntry week;
  week.week = ISOWeek{2026, 38};
  week.targetFriday = *DayDate::make(2026, 9, 18);
  week.outcomes = gen.outcomes(Scope::week);
  week.checklist = gen.checklist();
  week.reflection = gen.reflection(serializer.fridayKeys());
  week.hotspots = gen.hotspots();
  week.passthrough = gen.pass();
  writeAndRead(
      "week", week, [&](const WeekEntry& e) { return serializer.renderWeek(e); },
      [&](const std::string& t) { return serializer.parseWeek(t, week.week); });

  MonthEntry month;
  month.month = YearMonth{2026, 9};
  month.outcomes = gen.outcomes(Scope::month);
  if (gen.coin()) month.reflection.answers["reflection"] = gen.prose();
  month.hotspots = gen.hotspots();
  month.passthrough = gen.pass();
  writeAndRead(
      "month", month, [&](const MonthEntry& e) { return serializer.renderMonth(e); },
      [&](const std::string& t) { return serializer.parseMonth(t, month.month); });

  QuarterEntry quarter;
  quarter.quarter = YearQuarter{2026, 3};
  quarter.outcomes = gen.outcomes(Scope::quarter);
  quarter.reflection = gen.reflection(serializer.quarterGroupKeys());
  if (gen.coin()) quarter.mindSweep = gen.prose();
  quarter.passthrough = gen.pass();
  writeAndRead(
      "quarter", quarter, [&](const QuarterEntry& e) { return serializer.renderQuarter(e); },
      [&](const std::string& t) { return serializer.parseQuarter(t, quarter.quarter); });

  YearEntry year;
  year.year = 2026;
  year.outcomes = gen.outcomes(Scope::year);
  if (gen.coin()) year.reflection.answers["gratitude"] = gen.prose();
  year.passthrough = gen.pass();
  writeAndRead(
      "year", year, [&](const YearEntry& e) { return serializer.renderYear(e); },
      [&](const std::string& t) { return serializer.parseYear(t, 2026); });

  if (failure.empty()) return std::nullopt;
  return failure;
}

TEST_P(Syntaxes, PeriodRecordsSurviveWriteAndRead) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    Gen gen(seeded(seed), syntax);
    const auto failure = roundTripAllKinds(gen, serializer);
    ASSERT_FALSE(failure) << "seed " << seed << ": " << *failure;
  }
}

// The same with rapidcheck choosing every field, so that a failure shrinks to a small record.
void roundTripByRapidcheck(TextSyntax syntax) {
  const MarkdownSerializer serializer(YearMode::quarter, syntax);
  Gen gen(byRapidcheck(), syntax);
  const auto failure = roundTripAllKinds(gen, serializer);
  if (failure) RC_LOG() << *failure << "\n";
  RC_ASSERT(!failure);
}

RC_GTEST_PROP(PageSerializerProperty, MarkdownRecordsSurviveWriteAndRead, ()) {
  roundTripByRapidcheck(TextSyntax::markdown);
}

RC_GTEST_PROP(PageSerializerProperty, OrgRecordsSurviveWriteAndRead, ()) {
  roundTripByRapidcheck(TextSyntax::org);
}

TEST_P(Syntaxes, PageNamingAnotherPeriodIsRefusedWithBothKeys) {
  WeekEntry week;
  week.week = ISOWeek{2026, 38};
  const std::string text = serializer.renderWeek(week);
  try {
    (void)serializer.parseWeek(text, ISOWeek{2026, 39});
    FAIL() << "read a page of another week";
  } catch (const SerializerError& e) {
    EXPECT_EQ(e.kind(), SerializerError::Case::identityMismatch);
    EXPECT_EQ(e.expected(), "2026-W39");
    EXPECT_EQ(e.found(), "2026-W38");
  }
  // A page without its identity key is read as the period asked for.
  const auto bare = serializer.parseYear(
      syntax == TextSyntax::markdown ? "## Outcomes\n- [x] Run\n" : "* Outcomes\n** DONE Run\n",
      2030);
  EXPECT_EQ(bare.year, 2030);
  EXPECT_EQ(bare.outcomes.outcomes[0].text, "Run");
  EXPECT_EQ(bare.outcomes.outcomes[0].state, OutcomeState::done);
  // Any other text reads as some page, however broken.
  EXPECT_NO_THROW((void)serializer.parseMonth("\xFF\xFE garbage\n## ##\n- [", YearMonth{2026, 9}));
}

TEST(PageSerializer, UnsetOutcomesAndStatesReadAsWritten) {
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const auto week = md.parseWeek(
      "---\nweek: 2026-W38\n---\n# W\n\n## Outcomes\n- [ ]\n- [X] Call -> #2\n- [-] Fix\n- [ ] "
      "fourth\n",
      ISOWeek{2026, 38});
  const auto& o = week.outcomes.outcomes;
  EXPECT_TRUE(o[0].isBlank());
  EXPECT_EQ(o[1].state, OutcomeState::done);
  EXPECT_EQ(o[1].serves, 2);
  EXPECT_EQ(o[2].state, OutcomeState::blocked);
  EXPECT_EQ(o[2].trailingLines, std::vector<std::string>{"- [ ] fourth"});
  const std::string text = md.renderWeek(week);
  EXPECT_NE(text.find("## Outcomes\n- [ ]\n- [x] Call \u2192 #2\n- [-] Fix\n- [ ] fourth\n"),
            std::string::npos)
      << text;

  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const auto orgWeek = org.parseWeek(
      "#+TODO: WAIT(w) | FINISHED\n* Outcomes\n** WAIT Ask\nDEADLINE: <2026-09-20 Sun>\n"
      "** FINISHED Done it\n** CANCELED Dropped\n",
      ISOWeek{2026, 38});
  EXPECT_EQ(orgWeek.outcomes.outcomes[0].orgKeyword, (OrgKeyword{"WAIT", OutcomeState::planned}));
  EXPECT_EQ(orgWeek.outcomes.outcomes[1].state, OutcomeState::done);
  EXPECT_EQ(orgWeek.outcomes.outcomes[2].state, OutcomeState::blocked);
  const std::string orgText = org.renderWeek(orgWeek);
  EXPECT_NE(orgText.find("** WAIT Ask\nDEADLINE: <2026-09-20 Sun>\n** FINISHED Done it\n"),
            std::string::npos)
      << orgText;
  EXPECT_NE(orgText.find("#+TODO: WAIT(w) | FINISHED"), std::string::npos);
}

TEST(PageSerializer, CalendarYearModeListsQuarterOutcomesByMonth) {
  const MarkdownSerializer md(YearMode::calendar, TextSyntax::markdown);
  QuarterEntry q;
  q.quarter = YearQuarter{2026, 3};
  q.outcomes.outcomes[0].text = "Launch";
  const std::string text = md.renderQuarter(q);
  EXPECT_NE(text.find("## Outcomes by month\n- [ ] Launch"), std::string::npos) << text;
  EXPECT_EQ(md.parseQuarter(text, q.quarter), q);
  // A page written in quarter mode still reads its outcomes.
  const MarkdownSerializer byQuarter(YearMode::quarter, TextSyntax::markdown);
  EXPECT_EQ(md.parseQuarter(byQuarter.renderQuarter(q), q.quarter).outcomes, q.outcomes);
}

TEST(PageSerializer, DayPageLinesReadAsTheGuideShowsThem) {
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const auto day = md.parseDay(
      "---\ndate: 2026-09-16\ntype: day\nliked: true\n---\n# Wed\n\n"
      "## From the inbox\n"
      "- [ ] [#A] Pay rent due:2026-09-18 @14:30 alert:15m \u2192 #2 "
      "<!-- captured: 2026-09-06 \u00B7 closed: 2026-09-12 \u00B7 color: red -->\n"
      "## Journal\n- 09:14 \u2014 Coffee with Ana\n  she moved\n- 9:14 not an entry\n"
      "## Sessions\n- 09:30\u201309:55 \u00B7 25m \u00B7 Ship the report\n- 10:00 \u00B7 5m\n",
      *DayDate::make(2026, 9, 16));
  EXPECT_TRUE(day.liked);
  ASSERT_EQ(day.pulledItems.size(), 1U);
  const auto& item = day.pulledItems[0];
  EXPECT_EQ(item.text, "Pay rent");
  EXPECT_EQ(item.priority, Priority::a);
  EXPECT_EQ(item.due, DayDate::make(2026, 9, 18));
  EXPECT_EQ(item.time, ClockTime::make(14, 30));
  EXPECT_EQ(item.serves, 2);
  EXPECT_EQ(item.captured, DayDate::make(2026, 9, 6));
  EXPECT_EQ(item.closed, DayDate::make(2026, 9, 12));
  EXPECT_EQ(item.extraMeta, std::vector<std::string>{"color: red"});
  ASSERT_EQ(day.journal.size(), 1U);
  EXPECT_EQ(day.journal[0].time, *ClockTime::make(9, 14));
  EXPECT_EQ(day.journal[0].text, "Coffee with Ana\nshe moved");
  EXPECT_EQ(day.passthrough.sectionTails.at("journal"), "- 9:14 not an entry");
  ASSERT_EQ(day.sessions.size(), 2U);
  EXPECT_EQ(day.sessions[0].end, ClockTime::make(9, 55));
  EXPECT_EQ(day.sessions[0].minutes, 25);
  EXPECT_EQ(day.sessions[0].outcome, "Ship the report");
  EXPECT_FALSE(day.sessions[1].end);

  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const auto orgDay =
      org.parseDay("* Journal\n- [2026-09-11 Fri 09:14] words\n- [2026-09-11 9:15] no weekday\n",
                   *DayDate::make(2026, 9, 11));
  ASSERT_EQ(orgDay.journal.size(), 2U);
  EXPECT_EQ(orgDay.journal[1].time, *ClockTime::make(9, 15));
  EXPECT_NE(org.renderDay(orgDay).find("- [2026-09-11 Fri 09:15] no weekday"), std::string::npos);

  // The older bracketed annotation of Org inbox items is read and written in today's form.
  const auto inbox = org.parseInbox("- [ ] Old form [captured: 2026-09-01]\n");
  ASSERT_EQ(inbox.items.size(), 1U);
  EXPECT_EQ(inbox.items[0].text, "Old form");
  EXPECT_EQ(inbox.items[0].captured, DayDate::make(2026, 9, 1));
  EXPECT_NE(org.renderInbox(inbox).find("- [ ] Old form @@trivo:captured: 2026-09-01@@"),
            std::string::npos);
}

TEST(PageSerializer, OrgSessionsClockUnderTheOutcomeTheyServed) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  DayEntry day;
  day.date = *DayDate::make(2026, 9, 16);
  Outcome ship = Outcome::make("Ship the report");
  ship.comments = {"draft first"};
  day.outcomes = OutcomeSet(Scope::day, {ship});
  FocusSession late;
  late.start = *ClockTime::make(23, 40);
  late.end = ClockTime::make(0, 5);
  late.minutes = 25;
  late.outcome = "Ship the report";
  FocusSession running = late;
  running.end.reset();
  day.sessions = {late, running};
  const std::string text = org.renderDay(day);
  EXPECT_NE(text.find("** TODO Ship the report\nSCHEDULED: <2026-09-16 Wed>\n"
                      ":LOGBOOK:\nCLOCK: [2026-09-16 Wed 23:40]--[2026-09-17 Thu 00:05] =>  0:25\n"
                      ":END:\n> draft first\n** TODO\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("- 23:40\u201300:05 \u00B7 25m \u00B7 Ship the report"), std::string::npos);
  EXPECT_EQ(js(org.parseDay(text, day.date)), js(day));
}

// ---- hand-edited pages ----

std::string readDataFile(const std::string& name) {
  std::ifstream in(std::string(TRIVO_SOURCE_DIR) + "/tests/data/pages/" + name, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::vector<std::string> contentLines(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::vector<std::string> out;
  for (auto line : text::lines(text)) {
    line = text::trimEnd(text::withoutCR(line));
    if (!text::isBlank(line)) out.emplace_back(line);
  }
  return out;
}

// Every line a person wrote is still there after one write, and the next write changes nothing.
TEST(PageSerializer, HandEditedPagesKeepEveryLine) {
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const ISOWeek week{2026, 38};
  using Rewrite = std::function<std::string(const std::string&)>;
  const std::pair<const char*, Rewrite> pages[] = {
      {"week.md", [&](const std::string& t) { return md.renderWeek(md.parseWeek(t, week)); }},
      {"week_crlf_bom.md",
       [&](const std::string& t) { return md.renderWeek(md.parseWeek(t, week)); }},
      {"week.org", [&](const std::string& t) { return org.renderWeek(org.parseWeek(t, week)); }},
      {"quarter.md",
       [&](const std::string& t) {
         return md.renderQuarter(md.parseQuarter(t, YearQuarter{2026, 3}));
       }},
      {"inbox.md", [&](const std::string& t) { return md.renderInbox(md.parseInbox(t)); }},
      {"inbox.org", [&](const std::string& t) { return org.renderInbox(org.parseInbox(t)); }},
      {"day.md",
       [&](const std::string& t) {
         return md.renderDay(md.parseDay(t, *DayDate::make(2026, 9, 16)));
       }},
      {"month.org",
       [&](const std::string& t) {
         return org.renderMonth(org.parseMonth(t, YearMonth{2026, 9}));
       }},
  };
  for (const auto& [name, rewrite] : pages) {
    const std::string original = readDataFile(name);
    ASSERT_FALSE(original.empty()) << name;
    const std::string once = rewrite(original);
    const auto written = contentLines(once);
    for (const auto& line : contentLines(original)) {
      if (line.starts_with("# ") || line.starts_with("#+title:")) continue;
      EXPECT_NE(std::find(written.begin(), written.end(), line), written.end())
          << name << " lost the line: " << line << "\n"
          << once;
    }
    EXPECT_EQ(rewrite(once), once) << name;
  }
}

TEST(PageSerializer, DoneOrgOutcomesCarryTheStateChangeNoteOnce) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate day = *DayDate::make(2026, 9, 12);
  DayEntry entry;
  entry.date = day;
  entry.outcomes = OutcomeSet(Scope::day, {Outcome::make("Ship it", OutcomeState::done)});
  const std::string text = org.renderDay(entry);
  const std::string note = "- State \"DONE\"       from \"TODO\"       [2026-09-12 Sat]";
  EXPECT_NE(text.find("** DONE Ship it\nSCHEDULED: <2026-09-12 Sat>\n" + note + "\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(js(org.parseDay(text, day)), js(entry));

  // A note of another day, as Emacs writes it when the item was ticked later, is the person's:
  // kept as it stands and not doubled.
  std::string edited = text;
  edited.replace(edited.find(note), note.size(),
                 "- State \"DONE\"       from \"TODO\"       [2026-09-14 Mon 08:30]");
  const DayEntry read = org.parseDay(edited, day);
  EXPECT_EQ(org.renderDay(read), edited);
}

// Known front matter fields written twice, over several lines or with values that do not read
// are kept; what is written reads back the same.
TEST(PageSerializer, KnownFieldsThatDoNotReadAreKeptAsWritten) {
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const DayDate date = *DayDate::make(2026, 9, 16);
  const auto day = md.parseDay(
      "---\ndate: 2026-09-16\nliked: false\nactivity:\nliked: perhaps\nactivity: swim\n"
      "liked: true\nliked: true\n---\n",
      date);
  EXPECT_TRUE(day.liked);
  EXPECT_EQ(day.activities, std::vector<std::string>{"swim"});
  const std::string text = md.renderDay(day);
  EXPECT_NE(text.find("liked: true\nliked: perhaps\nliked: true\n---"), std::string::npos) << text;
  EXPECT_EQ(md.renderDay(md.parseDay(text, date)), text);

  const ISOWeek isoWeek{2026, 38};
  const auto week = md.parseWeek(
      "---\nweek: 2026-W38\ntarget_friday: soon\ntarget_friday: 2026-09-17\n"
      "hotspots: gym\n  - family\n- [ ] not a field\n---\n",
      isoWeek);
  EXPECT_EQ(week.targetFriday, DayDate::make(2026, 9, 17));
  EXPECT_EQ(week.hotspots, (std::vector<std::string>{"gym", "family", "[ ] not a field"}));
  const std::string weekText = md.renderWeek(week);
  EXPECT_NE(weekText.find("target_friday: soon\n"), std::string::npos) << weekText;
  EXPECT_EQ(md.renderWeek(md.parseWeek(weekText, isoWeek)), weekText);
}

// Line ends and byte-order marks go in one read, however many there are; a carriage return on
// its own ends a line.
TEST(PageSerializer, CarriageReturnsAndMarksAtLineEdgesGoInOneRead) {
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const YearMonth month{2026, 9};
  const auto entry = md.parseMonth(
      "\xEF\xBB\xBF\xEF\xBB\xBF## Outcomes\r\r\n- [ ] Move\r\r\r\nkeep\rthis\r\n", month);
  EXPECT_EQ(entry.outcomes.outcomes[0].text, "Move");
  const std::string text = md.renderMonth(entry);
  EXPECT_NE(text.find("- [ ] Move\nkeep\nthis\n"), std::string::npos) << text;
  EXPECT_EQ(md.renderMonth(md.parseMonth(text, month)), text);
}

// A line under a section heading and above its first item stays there: in Org it is the
// heading's planning, and written below the items it would become the last outcome's.
TEST(PageSerializer, TextAboveASectionsItemsStaysAboveThem) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate date = *DayDate::make(2026, 9, 16);
  const std::string page =
      "* Outcomes\nDEADLINE: <2026-09-20 Sun>\nA note of mine\n"
      "** TODO Ship\nSCHEDULED: <2026-09-16 Wed>\n** TODO Call\nSCHEDULED: <2026-09-16 Wed>\n";
  const DayEntry day = org.parseDay(page, date);
  EXPECT_EQ(day.outcomes.outcomes[1].text, "Call");
  for (const auto& outcome : day.outcomes.outcomes) {
    EXPECT_TRUE(std::ranges::none_of(outcome.trailingLines, [](const std::string& line) {
      return line.find("DEADLINE") != std::string::npos;
    })) << outcome.text;
  }
  const std::string once = org.renderDay(day);
  EXPECT_NE(once.find("* Outcomes\nDEADLINE: <2026-09-20 Sun>\nA note of mine\n** TODO Ship\n"),
            std::string::npos)
      << once;
  EXPECT_EQ(js(org.parseDay(once, date)), js(day));
  EXPECT_EQ(org.renderDay(org.parseDay(once, date)), once);

  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  const DayEntry mdDay =
      md.parseDay("## Journal\nWritten before any entry.\n\n- 09:14 \u2014 Coffee\n", date);
  ASSERT_EQ(mdDay.journal.size(), 1U);
  const std::string mdText = md.renderDay(mdDay);
  EXPECT_NE(mdText.find("## Journal\nWritten before any entry.\n\n- 09:14 \u2014 Coffee"),
            std::string::npos)
      << mdText;
}

// Org inbox items written as headings, in the shape Emacs gives them.
TEST(PageSerializer, OrgHeadingsWithAKeywordAreInboxItems) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const std::string text =
      "#+TODO: TODO WAIT | DONE\n"
      "- [ ] Listed first\n"
      "* Someday\n"
      "- an idea\n"
      "* WAIT [#A] Call Ana due:soon \u2192 #2 @@trivo:captured: 2026-09-06@@ :phone:\n"
      "CLOSED: [2026-09-12 Sat 10:15] DEADLINE: <2026-09-20 Sun 10:00 +1w> "
      "SCHEDULED: <2026-09-18 Fri> DEADLINE: <2026-09-30 Wed -2d>\n"
      ":PROPERTIES:\n:CATEGORY: home\n:END:\n"
      ":LOGBOOK:\nCLOCK: [2026-09-11 Fri 09:00]--[2026-09-11 Fri 09:30] =>  0:30\n:END:\n"
      "<2026-09-21 Mon 15:00>\n"
      "  > a comment\n"
      "  - [ ] a step\n"
      "Notes of my own\n"
      "* DONE Paid rent\n";
  const Inbox inbox = org.parseInbox(text);
  ASSERT_EQ(inbox.items.size(), 3U);
  EXPECT_FALSE(inbox.items[0].orgHeading);
  const InboxItem& ana = inbox.items[1];
  EXPECT_TRUE(ana.orgHeading);
  EXPECT_EQ(ana.orgKeyword, (OrgKeyword{"WAIT", OutcomeState::planned}));
  EXPECT_FALSE(ana.done);
  EXPECT_EQ(ana.text, "Call Ana due:soon :phone:");
  EXPECT_EQ(ana.priority, Priority::a);
  EXPECT_EQ(ana.serves, 2);
  EXPECT_EQ(ana.captured, DayDate::make(2026, 9, 6));
  EXPECT_EQ(ana.due, DayDate::make(2026, 9, 20));
  EXPECT_EQ(ana.time, ClockTime::make(10, 0));
  EXPECT_EQ(ana.repeats, Repeat::fromOrgRepeater("+1w"));
  EXPECT_EQ(ana.hiddenUntil, DayDate::make(2026, 9, 18));
  EXPECT_EQ(ana.closed, DayDate::make(2026, 9, 12));
  EXPECT_EQ(ana.closedTime, ClockTime::make(10, 15));
  EXPECT_EQ(ana.orgPlanningRest, "DEADLINE: <2026-09-30 Wed -2d>");
  EXPECT_EQ(ana.orgProperties, std::vector<std::string>{":CATEGORY: home"});
  EXPECT_EQ(ana.orgLogbook.size(), 1U);
  EXPECT_EQ(ana.orgStampExtra, std::vector<std::string>{"<2026-09-21 Mon 15:00>"});
  EXPECT_EQ(ana.comments, std::vector<std::string>{"a comment"});
  ASSERT_EQ(ana.subtasks.size(), 1U);
  EXPECT_EQ(ana.trailingLines, std::vector<std::string>{"Notes of my own"});
  EXPECT_TRUE(inbox.items[2].done);
  // A heading without a keyword is the person's own section, kept with its lines.
  ASSERT_EQ(inbox.passthrough.unknownSections.size(), 1U);
  EXPECT_EQ(inbox.passthrough.unknownSections[0].raw, "* Someday\n- an idea");

  // Written back: the items keep their headings and come before the person's sections.
  const std::string written = org.renderInbox(inbox);
  EXPECT_NE(written.find("- [ ] Listed first\n\n* WAIT [#A] Call Ana due:soon \u2192 #2 "
                         "@@trivo:captured: 2026-09-06@@ :phone:\n"
                         "CLOSED: [2026-09-12 Sat 10:15] DEADLINE: <2026-09-20 Sun 10:00 +1w> "
                         "SCHEDULED: <2026-09-18 Fri> DEADLINE: <2026-09-30 Wed -2d>\n"),
            std::string::npos)
      << written;
  EXPECT_LT(written.find("* DONE Paid rent"), written.find("* Someday"));
  EXPECT_EQ(org.renderInbox(org.parseInbox(written)), written);

  // Lines kept as they stand are written after the steps; a step-like line after them stays
  // with them, or it would join the steps on the next read.
  const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  for (const auto* page : {"- [ ] a\n  raw\n    - [ ] deep\n  - [ ] s\n",
                           "* TODO a\nraw\n    - [ ] deep\n  - [ ] s\n"}) {
    const MarkdownSerializer& s = page[0] == '*' ? org : md;
    const Inbox read = s.parseInbox(page);
    ASSERT_EQ(read.items.size(), 1U) << page;
    EXPECT_TRUE(read.items[0].subtasks.empty()) << page;
    EXPECT_EQ(read.items[0].trailingLines.size(), 3U) << page;
    const std::string once = s.renderInbox(read);
    EXPECT_EQ(s.renderInbox(s.parseInbox(once)), once);
  }
}

// Heading items keep the drawers Emacs writes under them in the order they stand; a property
// drawer after the logbook is not one Org reads, and stays a line of the item's own.
TEST(PageSerializer, OrgHeadingItemsKeepTheirDrawersWhereTheyStand) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const std::string properties = ":PROPERTIES:\n:CATEGORY: home\n:END:\n";
  const std::string logbook =
      ":LOGBOOK:\n- State \"DONE\"       from \"TODO\"       [2026-09-11 Fri 10:02]\n"
      "CLOCK: [2026-09-11 Fri 09:00]--[2026-09-11 Fri 09:30] =>  0:30\n:END:\n";
  const std::string indented =
      "  :PROPERTIES:\n  :CATEGORY: home\n  :END:\n  :LOGBOOK:\n"
      "  CLOCK: [2026-09-11 Fri 09:00]--[2026-09-11 Fri 09:30] =>  0:30\n  :END:\n";
  for (const std::string& under : {properties + logbook, logbook + properties, indented}) {
    const std::string text =
        "#+title: Inbox\n#+type: inbox\n#+TODO: TODO NEXT INPROCESS WAITING | DONE CANCELLED\n"
        "* DONE Call Ana\n  CLOSED: [2026-09-11 Fri 10:02] DEADLINE: <2026-09-20 Sun 10:00 +1w>\n" +
        under;
    const Inbox inbox = org.parseInbox(text);
    ASSERT_EQ(inbox.items.size(), 1U);
    EXPECT_EQ(inbox.items[0].due, DayDate::make(2026, 9, 20));
    EXPECT_EQ(inbox.items[0].orgLogbook.size(), under == indented ? 1U : 2U);
    EXPECT_EQ(org.renderInbox(inbox), text);
  }
}

}  // namespace
}  // namespace trivo

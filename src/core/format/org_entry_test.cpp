// What Org and Emacs write under an outcome heading reads and writes back unchanged, and Trivo's
// own planning line, note and clocks are never written twice beside it.
#include "core/format/org_entry.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/format/page_serializer.h"

namespace trivo {
namespace {

const std::string kSession = "CLOCK: [2026-09-11 Fri 09:30]--[2026-09-11 Fri 09:55] =>  0:25";
const std::string kEmacsClock = "CLOCK: [2026-09-11 Fri 11:00]--[2026-09-11 Fri 11:40] =>  0:40";
const std::string kOwnNote = "- State \"DONE\"       from \"TODO\"       [2026-09-11 Fri]";
const std::string kEmacsNote = "- State \"DONE\"       from \"TODO\"       [2026-09-11 Fri 10:02]";

// A day page whose first outcome has `under` below its heading; its one session is on it.
std::string dayPage(const std::string& keyword, const std::string& under) {
  return "#+title: Friday, 11 September 2026\n#+date: 2026-09-11\n#+type: day\n"
         "#+TODO: TODO NEXT INPROCESS WAITING | DONE CANCELLED\n* Outcomes\n\n** " +
         keyword + " Ship it\n" + under +
         "\n** TODO\nSCHEDULED: <2026-09-11 Fri>\n** TODO\nSCHEDULED: <2026-09-11 Fri>\n\n"
         "* Checklist\n\n* From the inbox\n\n* Notes\n\n* Journal\n\n* For tomorrow\n\n"
         "* Sessions\n- 09:30\u201309:55 \u00B7 25m \u00B7 Ship it\n";
}

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

struct Layout {
  const char* name;
  const char* keyword;
  std::string under;
  std::vector<std::string> comments;  // what the outcome's comments read as
};

class OrgLayouts : public ::testing::TestWithParam<Layout> {};

// Every layout reads and writes back byte for byte, keeps the session's clock once and the
// comments where Trivo can see them.
TEST_P(OrgLayouts, ReadAndWriteBackUnchanged) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate day = *DayDate::make(2026, 9, 11);
  const std::string page = dayPage(GetParam().keyword, GetParam().under);
  const DayEntry entry = org.parseDay(page, day);
  EXPECT_EQ(org.renderDay(entry), page);
  EXPECT_EQ(entry.outcomes.outcomes[0].comments, GetParam().comments);
  EXPECT_EQ(count(org.renderDay(entry), "CLOCK: [2026-09-11 Fri 09:30]"), 1U);
  // What was read is what is written, however often.
  EXPECT_EQ(org.parseDay(org.renderDay(entry), day), entry);
}

INSTANTIATE_TEST_SUITE_P(
    AsEmacsWritesThem, OrgLayouts,
    ::testing::Values(
        Layout{"ClosedBeforeScheduled", "DONE",
               "CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri>\n:LOGBOOK:\n" +
                   kSession + "\n:END:",
               {}},
        Layout{"ScheduledBeforeClosed", "DONE",
               "SCHEDULED: <2026-09-11 Fri> CLOSED: [2026-09-11 Fri 10:02]\n:LOGBOOK:\n" +
                   kSession + "\n:END:",
               {}},
        Layout{"IndentedPlanningAndDrawers", "DONE",
               "   CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri>\n   :PROPERTIES:\n"
               "   :EFFORT:   0:30\n   :END:\n   :LOGBOOK:\n   " +
                   kEmacsClock + "\n   " + kSession + "\n   :END:\n> draft first",
               {"draft first"}},
        Layout{"RepeaterAndWarningPeriod", "TODO",
               "DEADLINE: <2026-09-13 Sun -2d> SCHEDULED: <2026-09-11 Fri .+1w>\n:LOGBOOK:\n" +
                   kSession + "\n:END:",
               {}},
        Layout{"TimeRange", "NEXT",
               "SCHEDULED: <2026-09-11 Fri 09:00-10:30>\n:LOGBOOK:\n" + kSession + "\n:END:",
               {}},
        Layout{"PropertiesBeforeNoteAndLogbook", "DONE",
               "SCHEDULED: <2026-09-11 Fri>\n:PROPERTIES:\n:CATEGORY: work\n:END:\n" + kOwnNote +
                   "\n:LOGBOOK:\n" + kSession + "\n:END:\n> first\n> second",
               {"first", "second"}},
        Layout{"LogbookBeforeProperties", "TODO",
               "SCHEDULED: <2026-09-11 Fri>\n:LOGBOOK:\n" + kEmacsClock + "\n" + kSession +
                   "\n:END:\n:PROPERTIES:\n:CATEGORY: work\n:END:",
               {}},
        Layout{"SeveralClocksAndNotesInTheLogbook", "DONE",
               "CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri>\n:LOGBOOK:\n" +
                   kEmacsNote + "\n" + kEmacsClock +
                   "\n- State \"TODO\"       from \"DONE\"       [2026-09-11 Fri 09:58]\n" +
                   kSession + "\n:END:\n> after the log",
               {"after the log"}},
        Layout{"NotesWithoutADrawer", "DONE",
               "SCHEDULED: <2026-09-11 Fri>\n" + kEmacsNote + "\n" + kOwnNote +
                   "\n- Note taken on [2026-09-11 Fri 10:05] \\\\\n  call back tomorrow\n"
                   ":LOGBOOK:\n" +
                   kSession + "\n:END:\n> kept as a comment",
               {"kept as a comment"}},
        Layout{"ScheduledOnAnotherDay", "TODO",
               "SCHEDULED: <2026-09-14 Mon>\n:LOGBOOK:\n" + kSession + "\n:END:", {}},
        // Written before the session drawer moved up: comments, then a drawer Emacs clocked into.
        Layout{"CommentsBeforeADrawerEmacsClockedInto", "DONE",
               "CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri>\n> draft\n:LOGBOOK:\n" +
                   kEmacsClock + "\n" + kSession + "\n:END:",
               {}}),
    [](const auto& layout) { return std::string(layout.param.name); });

TEST(OrgEntry, TrivoWritesItsOwnLinesOnceBesideWhatEmacsWrote) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate day = *DayDate::make(2026, 9, 11);

  // Opened again in Trivo: the CLOSED stamp goes as Org takes it off, the planning line's
  // indentation and other stamps stay; a line that held only CLOSED gives way to Trivo's own.
  DayEntry opened = org.parseDay(
      dayPage("DONE", "  CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri +1w>"), day);
  opened.outcomes.outcomes[0].state = OutcomeState::planned;
  EXPECT_NE(org.renderDay(opened).find("** TODO Ship it\n  SCHEDULED: <2026-09-11 Fri +1w>\n:"),
            std::string::npos)
      << org.renderDay(opened);
  opened = org.parseDay(dayPage("DONE", "CLOSED: [2026-09-11 Fri 10:02]"), day);
  opened.outcomes.outcomes[0].state = OutcomeState::planned;
  EXPECT_NE(org.renderDay(opened).find("** TODO Ship it\nSCHEDULED: <2026-09-11 Fri>\n:LOGBOOK:"),
            std::string::npos)
      << org.renderDay(opened);

  // Ticked in Trivo under a planning line of the person's: Trivo's note after the property
  // drawer, where Org keeps notes, and read back as Trivo's.
  DayEntry ticked = org.parseDay(
      dayPage("TODO", "SCHEDULED: <2026-09-11 Fri 09:00>\n:PROPERTIES:\n:A: 1\n:END:"), day);
  ticked.outcomes.outcomes[0].state = OutcomeState::done;
  const std::string tickedText = org.renderDay(ticked);
  EXPECT_NE(tickedText.find("** DONE Ship it\nSCHEDULED: <2026-09-11 Fri 09:00>\n:PROPERTIES:\n"
                            ":A: 1\n:END:\n" +
                            kOwnNote + "\n:LOGBOOK:\n"),
            std::string::npos)
      << tickedText;
  EXPECT_EQ(org.parseDay(tickedText, day), ticked);

  // A new session joins the drawer Emacs made, at its end and with its indentation.
  DayEntry clocked =
      org.parseDay(dayPage("TODO", "SCHEDULED: <2026-09-11 Fri>\n  :LOGBOOK:\n  " + kEmacsClock +
                                       "\n  :END:\n> note"),
                   day);
  FocusSession later = clocked.sessions[0];
  later.start = *ClockTime::make(13, 0);
  later.end = ClockTime::make(13, 30);
  clocked.sessions.push_back(later);
  const std::string clockedText = org.renderDay(clocked);
  EXPECT_NE(clockedText.find("  :LOGBOOK:\n  " + kEmacsClock + "\n  " + kSession +
                             "\n  CLOCK: [2026-09-11 Fri 13:00]--[2026-09-11 Fri 13:30] =>  0:30\n"
                             "  :END:\n> note\n"),
            std::string::npos)
      << clockedText;
  EXPECT_EQ(count(clockedText, ":LOGBOOK:"), 1U);
  EXPECT_EQ(org.parseDay(clockedText, day), clocked);
}

TEST(OrgEntry, PagesOfTheEarlierLayoutMoveTheSessionDrawerOnceAndKeepEveryLine) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate day = *DayDate::make(2026, 9, 11);
  const std::string earlier =
      dayPage("DONE", "SCHEDULED: <2026-09-11 Fri>\n" + kOwnNote + "\n> draft\n:LOGBOOK:\n" +
                          kSession + "\n:END:");
  const DayEntry read = org.parseDay(earlier, day);
  EXPECT_EQ(read.outcomes.outcomes[0].comments, std::vector<std::string>{"draft"});
  EXPECT_TRUE(read.outcomes.outcomes[0].trailingLines.empty());
  const std::string once = org.renderDay(read);
  EXPECT_EQ(once, dayPage("DONE", "SCHEDULED: <2026-09-11 Fri>\n" + kOwnNote + "\n:LOGBOOK:\n" +
                                      kSession + "\n:END:\n> draft"));
  EXPECT_EQ(org.renderDay(org.parseDay(once, day)), once);
}

// Pages written by the version that did not know Emacs's planning line carry a second planning
// line, a second note and the session's clock in two drawers: one write leaves one of each.
TEST(OrgEntry, PagesDoubledByEarlierWritesComeBackWithEachLineOnce) {
  const MarkdownSerializer org(YearMode::quarter, TextSyntax::org);
  const DayDate day = *DayDate::make(2026, 9, 11);
  const std::string emacsPlanning = "CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri>";
  const std::string doubled =
      dayPage("DONE", "SCHEDULED: <2026-09-11 Fri>\n" + kOwnNote + "\n:LOGBOOK:\n" + kSession +
                          "\n:END:\n" + emacsPlanning + "\n:LOGBOOK:\n" + kEmacsClock + "\n" +
                          kSession + "\n:END:");
  const std::string once = org.renderDay(org.parseDay(doubled, day));
  EXPECT_EQ(once, dayPage("DONE", emacsPlanning + "\n:LOGBOOK:\n" + kEmacsClock + "\n" +
                                      kSession + "\n:END:"));
  EXPECT_EQ(org.renderDay(org.parseDay(once, day)), once);
}

TEST(OrgEntry, LogNotesAreOrgsNoteHeadings) {
  for (const char* note :
       {"- State \"DONE\"       from \"TODO\"       [2026-09-11 Fri 10:02]",
        "  - Note taken on [2026-09-11 Fri 10:05] \\\\", "- CLOSING NOTE [2026-09-11 Fri 10:05]",
        "- Rescheduled from \"[2026-09-10 Thu]\" on [2026-09-11 Fri 10:05]",
        "- New deadline from \"[2026-09-10 Thu]\" on [2026-09-11 Fri 10:05]"}) {
    EXPECT_TRUE(OrgEntry::isLogNote(note)) << note;
  }
  for (const char* line : {"- State of the art", "- [ ] a step", "> - State \"DONE\""}) {
    EXPECT_FALSE(OrgEntry::isLogNote(line)) << line;
  }
}

}  // namespace
}  // namespace trivo

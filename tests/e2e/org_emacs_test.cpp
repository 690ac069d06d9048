// Org pages passed between Trivo and Emacs itself (emacs-nox in batch mode, running
// tests/emacs/org_pages.el): what Emacs writes under an outcome survives Trivo's read and write
// with Org's own view of the page (keywords, planning, clock sums, agenda) unchanged, and what
// Trivo writes is what Org reads.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "core/format/page_serializer.h"
#include "core/format/text_util.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

FocusSession session(int h1, int m1, int h2, int m2, std::string outcome) {
  FocusSession s;
  s.start = *ClockTime::make(h1, m1);
  s.end = ClockTime::make(h2, m2);
  s.minutes = (h2 * 60 + m2) - (h1 * 60 + m1);
  s.outcome = std::move(outcome);
  return s;
}

class OrgInEmacs : public ::testing::Test {
 protected:
  void SetUp() override {
    emacs_ = testing::onPath("emacs");
    if (!emacs_) {
      GTEST_SKIP() << "emacs is not installed (scripts/install-deps installs emacs-nox), so the "
                      "Org pages are not checked against Emacs";
    }
  }

  // Runs one action of org_pages.el on a page; a run that fails or hangs fails the test.
  std::string emacs(const std::string& action, const fs::path& page) {
    const auto r = testing::runExecutable(
        "/usr/bin/timeout", {"60", emacs_->string(), "--batch", "-Q", "-l",
                             std::string(TRIVO_SOURCE_DIR) + "/tests/emacs/org_pages.el", action,
                             page.string()});
    EXPECT_EQ(r.exitCode, 0) << action << ": " << r.err;
    return r.out;
  }

  fs::path write(const std::string& name, const std::string& text) {
    return dir_.write(name, text);
  }
  std::string read(const std::string& name) { return dir_.read(name); }

  const MarkdownSerializer org_{YearMode::quarter, TextSyntax::org};
  const DayDate friday_ = *DayDate::make(2026, 9, 11);
  const ISOWeek week_{2026, 37};

  DayEntry day() const {
    DayEntry entry;
    entry.date = friday_;
    Outcome ship = Outcome::make("Ship the report", OutcomeState::planned, 2);
    ship.comments = {"draft first"};
    entry.outcomes = OutcomeSet(Scope::day, {ship, Outcome::make("Call the bank"),
                                             Outcome::make("Fix the bike", OutcomeState::done)});
    entry.sessions = {session(9, 30, 9, 55, "Ship the report")};
    return entry;
  }

  WeekEntry week() const {
    WeekEntry entry;
    entry.week = week_;
    entry.targetFriday = friday_;
    entry.outcomes = OutcomeSet(Scope::week, {Outcome::make("Launch the site"),
                                              Outcome::make("Hire a designer"),
                                              Outcome::make("Write the plan")});
    return entry;
  }

  testing::TempDir dir_;

 private:
  std::optional<fs::path> emacs_;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Emacs ticks and clocks a day and a week page that Trivo wrote; Trivo reads and writes them
// back byte for byte, and Org sees the same page before and after.
TEST_F(OrgInEmacs, PagesTickedAndClockedInEmacsWriteBackUnchanged) {
  const fs::path dayPage = write("days/2026-09-11.org", org_.renderDay(day()));
  emacs("tick-day", dayPage);
  const std::string ticked = read("days/2026-09-11.org");
  const std::string before = emacs("report", dayPage);
  // Emacs did what the test meant: a CLOSED stamp, its clocks beside Trivo's, a note, a drawer.
  ASSERT_TRUE(has(before, "** DONE Ship the report \u2192 #2 | closed [2026-09-11 Fri 10:02] | "
                          "scheduled <2026-09-11 Fri> | deadline - | clocked 65 |"))
      << before;
  ASSERT_TRUE(has(before, "** DONE Call the bank | closed [2026-09-11 Fri 10:02] | "
                          "scheduled <2026-09-11 Fri> | deadline - | clocked 10 |"))
      << before;
  ASSERT_TRUE(has(before, "(\"EFFORT\" . \"0:30\")")) << before;
  ASSERT_TRUE(has(before, "total 75")) << before;

  const DayEntry read = org_.parseDay(ticked, friday_);
  for (const auto& outcome : read.outcomes.outcomes) {
    EXPECT_EQ(outcome.state, OutcomeState::done) << outcome.text;
  }
  EXPECT_EQ(read.sessions, day().sessions);
  EXPECT_EQ(read.outcomes.outcomes[0].serves, 2);
  EXPECT_EQ(read.outcomes.outcomes[0].comments, std::vector<std::string>{"draft first"});
  EXPECT_EQ(org_.renderDay(read), ticked);
  write("days/2026-09-11.org", org_.renderDay(read));
  EXPECT_EQ(emacs("report", dayPage), before);

  const fs::path weekPage = write("weeks/2026-W37.org", org_.renderWeek(week()));
  emacs("tick-week", weekPage);
  const std::string weekTicked = this->read("weeks/2026-W37.org");
  const std::string weekBefore = emacs("report", weekPage);
  ASSERT_TRUE(has(weekBefore, "** DONE Launch the site | closed [2026-09-11 Fri 10:02] | "
                              "scheduled - | deadline <2026-09-13 Sun> | clocked 0"))
      << weekBefore;
  ASSERT_TRUE(has(weekBefore, "** TODO Hire a designer | closed - | scheduled "
                              "<2026-09-09 Wed 09:00-10:30> | deadline <2026-09-13 Sun -2d>"))
      << weekBefore;
  ASSERT_TRUE(has(weekBefore, "** TODO Write the plan | closed - | scheduled - | "
                              "deadline <2026-09-13 Sun> | clocked 75"))
      << weekBefore;
  const WeekEntry weekRead = org_.parseWeek(weekTicked, week_);
  EXPECT_EQ(weekRead.outcomes.outcomes[0].state, OutcomeState::done);
  EXPECT_EQ(org_.renderWeek(weekRead), weekTicked);
  write("weeks/2026-W37.org", org_.renderWeek(weekRead));
  EXPECT_EQ(emacs("report", weekPage), weekBefore);
}

// A planning line written by hand under the Outcomes heading stays the heading's: Org sees the
// same deadlines before and after Trivo writes the page, twice.
TEST_F(OrgInEmacs, PlanningUnderASectionHeadingStaysWithIt) {
  std::string text = org_.renderDay(day());
  const std::string heading = "* Outcomes\n";
  ASSERT_NE(text.find(heading), std::string::npos) << text;
  text.insert(text.find(heading) + heading.size(),
              "DEADLINE: <2026-09-13 Sun>\nWhat the day is for.\n");
  const fs::path page = write("days/2026-09-11.org", text);
  const std::string before = emacs("report", page);
  ASSERT_TRUE(has(before, "* - Outcomes | closed - | scheduled - | deadline <2026-09-13 Sun>"))
      << before;
  for (int round = 0; round < 2; ++round) {
    write("days/2026-09-11.org",
          org_.renderDay(org_.parseDay(read("days/2026-09-11.org"), friday_)));
    EXPECT_EQ(emacs("report", page), before) << read("days/2026-09-11.org");
  }
}

// Trivo writes a page; Org reads each outcome's keyword, its planning and the minutes of its
// sessions as Trivo meant them. Changes Trivo makes after Emacs ticked the page come through
// once: a new session adds its minutes, an outcome opened again loses its CLOSED stamp.
TEST_F(OrgInEmacs, PagesTrivoWritesReadInOrgAsTrivoMeantThem) {
  DayEntry entry = day();
  entry.outcomes.outcomes[1].orgKeyword = OrgKeyword{"NEXT", OutcomeState::planned};
  entry.outcomes.outcomes[2].state = OutcomeState::blocked;
  entry.outcomes.outcomes[0].state = OutcomeState::done;
  entry.sessions.push_back(session(10, 0, 10, 40, "Ship the report"));
  entry.sessions.push_back(session(11, 0, 11, 5, ""));
  const fs::path page = write("days/2026-09-11.org", org_.renderDay(entry));
  const std::string meant = emacs("report", page);
  EXPECT_TRUE(has(meant, "** DONE Ship the report \u2192 #2 | closed - | scheduled "
                         "<2026-09-11 Fri> | deadline - | clocked 65 |"))
      << meant;
  EXPECT_TRUE(has(meant, "** NEXT Call the bank | closed - | scheduled <2026-09-11 Fri> | "
                         "deadline - | clocked 0 |"))
      << meant;
  EXPECT_TRUE(has(meant, "** CANCELLED Fix the bike | closed - | scheduled <2026-09-11 Fri> |"))
      << meant;
  EXPECT_TRUE(has(meant, "total 65")) << meant;
  EXPECT_TRUE(has(meant, "Scheduled:  NEXT Call the bank")) << meant;
  EXPECT_TRUE(has(meant, "9:30-9:55  Clocked:   (0:25) DONE Ship the report")) << meant;

  // Emacs ticks the NEXT outcome and clocks into it; Trivo then opens the first outcome again
  // and logs another session on the second.
  const std::string planned = org_.renderDay(day());
  write("days/2026-09-11.org", planned);
  emacs("tick-day", page);
  DayEntry read = org_.parseDay(this->read("days/2026-09-11.org"), friday_);
  read.outcomes.outcomes[0].state = OutcomeState::planned;
  read.sessions.push_back(session(14, 0, 14, 30, "Call the bank"));
  write("days/2026-09-11.org", org_.renderDay(read));
  const std::string after = emacs("report", page);
  EXPECT_TRUE(has(after, "** TODO Ship the report \u2192 #2 | closed - | scheduled "
                         "<2026-09-11 Fri> | deadline - | clocked 65 |"))
      << after;
  EXPECT_TRUE(has(after, "** DONE Call the bank | closed [2026-09-11 Fri 10:02] | "
                         "scheduled <2026-09-11 Fri> | deadline - | clocked 40 |"))
      << after;
  EXPECT_TRUE(has(after, "total 105")) << after;
  // Read again, the page is what was written.
  const std::string text = this->read("days/2026-09-11.org");
  EXPECT_EQ(org_.renderDay(org_.parseDay(text, friday_)), text);
}

// An outcome of the week ticked in Trivo on Wednesday shows in Org's agenda log on Wednesday,
// not on the Sunday the week is due; opened again, it leaves no state change behind.
TEST_F(OrgInEmacs, AWeekOutcomeTickedInTrivoIsLoggedOnTheDayItWasTicked) {
  const fs::path vault = dir_.path() / "vault";
  const auto trivo = [&](const char* day, std::vector<std::string> args) {
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = day;
    args.insert(args.begin(), {"--vault", vault.string()});
    const auto r = testing::runTrivo(args, options);
    EXPECT_EQ(r.exitCode, 0) << r.err;
  };
  trivo("2026-09-07", {"init", "--org", vault.string()});
  trivo("2026-09-07", {"outcome", "wo", "1", "Launch the site"});
  trivo("2026-09-09", {"done", "wo:1"});
  const std::string agenda = emacs("report", vault / "weeks/2026-W37.org");
  EXPECT_TRUE(has(agenda,
                  "Wednesday   9 September 2026\n"
                  "  2026-W37:   State:     (DONE) DONE Launch the site\n"))
      << agenda;
  EXPECT_EQ(agenda.find("State:", agenda.find("Thursday")), std::string::npos) << agenda;

  trivo("2026-09-10", {"undone", "wo:1"});
  const std::string reopened = emacs("report", vault / "weeks/2026-W37.org");
  EXPECT_TRUE(has(reopened, "** TODO Launch the site | closed - |")) << reopened;
  EXPECT_EQ(reopened.find("State:"), std::string::npos) << reopened;
}

}  // namespace
}  // namespace trivo

// The agenda of a few days on a real vault: inbox items with their repeats, open outcomes of the
// period pages on their days, and Org planning lines written on the pages.
#include "core/agenda/agenda.h"

#include <gtest/gtest.h>

#include "core/calendar/periods.h"
#include "core/inbox/inbox_model.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

const DayDate kToday{2026, 11, 25};  // a Wednesday

class AgendaTest : public ::testing::TestWithParam<VaultFormat> {
 protected:
  AgendaTest() { reopen(); }
  void reopen() {
    if (store_) store_->flush();
    store_.reset();
    VaultStore::Options options;
    options.debounce = 1h;
    options.clock = &clock_;
    const Vault vault{dir_.path(), GetParam(), "en", {}};
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    store_ = std::make_unique<VaultStore>(vault, options);
  }

  // One line per entry: "2026-11-25 09:00 inbox #3 text", with "overdue" where it is.
  std::vector<std::string> agenda(std::int64_t days) {
    std::vector<std::string> out;
    for (const AgendaItem& item : Agenda::build(*store_, kToday, days)) {
      std::string line = item.day.isoString();
      if (item.time) line += " " + item.time->description();
      line += " " + std::string(kAgendaKindNames[static_cast<std::size_t>(item.kind)]);
      if (item.number) line += " #" + std::to_string(*item.number);
      line += " " + item.text;
      if (item.overdue) line += " (overdue)";
      out.push_back(line);
    }
    return out;
  }

  testing::TempDir dir_;
  testing::FakeClock clock_{Instant{} + 24h * 20782 + 14h};
  std::unique_ptr<VaultStore> store_;
};

TEST_P(AgendaTest, ListsInboxRepeatsAndOpenOutcomesDayByDay) {
  {
    InboxModel(*store_, clock_, DayDate{2026, 11, 20}).capture("late report 2026-11-23");
    InboxModel inbox(*store_, clock_, DayDate{2026, 11, 24});
    inbox.capture("yoga every monday and thursday at 7am");
    inbox.capture("call mum friday at 6pm");
    inbox.capture("dream someday friday");
    inbox.capture("hidden friday");
    inbox.hideUntil(5, DayDate{2026, 12, 1});
    inbox.capture("posted friday");
    inbox.setDone(6, true);
  }
  DayEntry day;
  day.date = kToday;
  day.outcomes.outcomes = OutcomeSet::normalize(
      {Outcome::make("Ship draft"), Outcome::make("Done already", OutcomeState::done)});
  store_->save(day);
  WeekEntry week;
  week.week = kToday.isoWeek();
  week.targetFriday = week.week.friday();
  week.outcomes.outcomes = OutcomeSet::normalize({Outcome::make("Close the quarter plan")});
  store_->save(week);
  MonthEntry month;
  month.month = YearMonth{2026, 12};
  month.outcomes.outcomes = OutcomeSet::normalize({Outcome::make("Not in range")});
  store_->save(month);
  reopen();

  EXPECT_EQ(agenda(4), (std::vector<std::string>{
                           "2026-11-25 inbox #1 late report (overdue)",
                           "2026-11-25 outcome Ship draft",
                           "2026-11-26 07:00 inbox #2 yoga",
                           "2026-11-27 18:00 inbox #3 call mum",
                           "2026-11-27 outcome Close the quarter plan",
                       }));
  // The weekly repeat shows on each of its days; Monday 30 is its next.
  EXPECT_EQ(agenda(6).back(), "2026-11-30 07:00 inbox #2 yoga");
}

// Planning lines are Org's.
class AgendaOrgTest : public AgendaTest {};
INSTANTIATE_TEST_SUITE_P(Org, AgendaOrgTest, ::testing::Values(VaultFormat::org),
                         testing::syntaxName);

TEST_P(AgendaOrgTest, ReadsPlanningLinesOutsideTheOutcomes) {
  DayEntry day;
  day.date = kToday;
  day.outcomes.outcomes = OutcomeSet::normalize({Outcome::make("Ship draft")});
  store_->save(day);
  reopen();
  const auto file = std::filesystem::path("days") / "2026-11-25.org";
  dir_.write(file, dir_.read(file) +
                       "\n* Errands\n"
                       "** TODO [#A] Dentist :health:\n"
                       "SCHEDULED: <2026-11-27 Fri 09:30>\n"
                       "** Bins\n"
                       "DEADLINE: <2026-11-19 Thu +1w>\n"
                       "** DONE Old thing\n"
                       "SCHEDULED: <2026-11-26 Thu>\n"
                       "** Not a planning line\n"
                       "\n"
                       "SCHEDULED: <2026-11-26 Thu>\n");
  reopen();
  EXPECT_EQ(agenda(3), (std::vector<std::string>{
                           "2026-11-25 outcome Ship draft",
                           "2026-11-26 planning Bins",
                           "2026-11-27 09:30 planning Dentist",
                       }));
  const auto items = Agenda::build(*store_, kToday, 3);
  EXPECT_EQ(items[1].planning, AgendaItem::Planning::deadline);
  EXPECT_EQ(items[1].page, EntryKey::day(kToday));
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, AgendaTest, testing::bothSyntaxes(), testing::syntaxName);

}  // namespace
}  // namespace trivo

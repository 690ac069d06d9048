// The today model over a real vault folder in both page syntaxes: every change, and every
// carry-over from an earlier day, is read back from the files by a store opened afresh.
#include "core/today/today_model.h"

#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

using namespace std::chrono;

DayDate d(std::int64_t y, std::int64_t m, std::int64_t day) { return *DayDate::make(y, m, day); }

CarryItem carryItemOf(std::string text, bool done = false,
                      std::optional<CarryItem::Fate> fate = std::nullopt) {
  return CarryItem{std::move(text), done, {}, fate, std::nullopt, {}};
}

class TodayModelTest : public ::testing::TestWithParam<VaultFormat> {
 protected:
  TodayModelTest() {
    setNow(d(2026, 9, 16), 9, 30);
    open();
  }

  void setNow(const DayDate& day, int hour, int minute) {
    clock.set(Instant(sys_days(std::chrono::year(static_cast<int>(day.year)) /
                               std::chrono::month(static_cast<unsigned>(day.month)) /
                               std::chrono::day(static_cast<unsigned>(day.day)))) +
              hours(hour) + minutes(minute));
  }

  // A fresh store on the same folder, so what follows reads the files.
  void open() {
    model.reset();
    store.reset();
    VaultStore::Options options;
    options.debounce = hours(1);
    options.clock = &clock;
    const Vault vault{dir.path(), GetParam(), "en", {}};
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    store = std::make_unique<VaultStore>(vault, options);
    model = std::make_unique<TodayModel>(*store, clock,
                                         std::make_shared<FolderDayPageIndex>(store->paths()));
  }
  void commitAndReopen() {
    model->commit();
    open();
  }
  void writeDay(const DayEntry& entry) {
    store->save(entry);
    store->flush();
  }
  std::string ext() const { return GetParam() == VaultFormat::org ? ".org" : ".md"; }

  testing::TempDir dir;
  testing::FakeClock clock;
  std::unique_ptr<VaultStore> store;
  std::unique_ptr<TodayModel> model;
};

TEST_P(TodayModelTest, OutcomesAreSetRewordedTickedMovedAndClearedOnAnyPeriodPage) {
  const EntryKey today = EntryKey::day(model->today());
  const EntryKey week = EntryKey::week({2026, 38});
  model->setOutcome(today, 1, "Write 2k");
  model->setOutcome(today, 2, "  Stretch\n");
  model->setOutcomeState(today, 1, OutcomeState::done);
  model->setOutcome(today, 1, "Write 2k words");  // rewording keeps the tick
  model->setServes(today, 1, 2);
  model->setOutcomeState(today, 2, OutcomeState::blocked);
  model->moveOutcome(today, 1, 3);
  model->setOutcome(week, 2, "Chapter 3");
  model->setServes(week, 2, 1);
  commitAndReopen();

  const OutcomeSet day = model->outcomes(today);
  EXPECT_EQ(day.outcomes[0], (Outcome{"Stretch", OutcomeState::blocked, {}, 1, {}, {}, {}}));
  EXPECT_TRUE(day.outcomes[1].isBlank());
  EXPECT_EQ(day.outcomes[2].text, "Write 2k words");
  EXPECT_EQ(day.outcomes[2].state, OutcomeState::done);
  EXPECT_EQ(day.outcomes[2].serves, 2);
  EXPECT_EQ(model->outcomes(week).outcomes[1].text, "Chapter 3");
  EXPECT_EQ(model->outcomes(week).outcomes[1].serves, 1);

  model->clearOutcome(today, 3);
  model->setOutcomeState(today, 1, OutcomeState::planned);
  commitAndReopen();
  EXPECT_TRUE(model->outcomes(today).outcomes[2].isBlank());
  EXPECT_EQ(model->outcomes(today).outcomes[2].serves, std::nullopt);
  EXPECT_EQ(model->outcomes(today).outcomes[0].state, OutcomeState::planned);
}

TEST_P(TodayModelTest, RefusedChangesWriteNothing) {
  const EntryKey today = EntryKey::day(model->today());
  const auto kindOf = [](const std::function<void()>& f) -> std::optional<TodayError::Kind> {
    try {
      f();
    } catch (const TodayError& e) {
      return e.kind();
    }
    return std::nullopt;
  };
  using K = TodayError::Kind;
  EXPECT_EQ(kindOf([&] { model->setOutcome(today, 4, "x"); }), K::slot);
  EXPECT_EQ(kindOf([&] { model->setOutcome(today, 0, "x"); }), K::slot);
  EXPECT_EQ(kindOf([&] { model->setOutcome(today, 1, " \n "); }), K::text);
  EXPECT_EQ(kindOf([&] { model->setServes(today, 1, 4); }), K::serves);
  EXPECT_EQ(kindOf([&] { model->setServes(EntryKey::year(2026), 1, 1); }), K::serves);
  EXPECT_EQ(kindOf([&] { model->setOutcome(EntryKey::inbox(), 1, "x"); }), K::page);
  EXPECT_EQ(kindOf([&] { model->setOutcomeState(today, 2, OutcomeState::done); }), K::slot);
  EXPECT_EQ(kindOf([&] { model->setChecklistDone(1, true); }), K::slot);
  EXPECT_EQ(kindOf([&] { model->pull("NO-SUCH-ID", 1); }), K::item);
  EXPECT_EQ(kindOf([&] { model->pull("NO-SUCH-ID", 4); }), K::serves);
  EXPECT_EQ(kindOf([&] { model->addJournal("   "); }), K::text);
  EXPECT_EQ(kindOf([&] { model->carry({1}); }), K::item);
  model->commit();
  EXPECT_EQ(store->writeCount(), 0);
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "days"));
}

TEST_P(TodayModelTest, ChecklistTickStampsTheItemAndUntickTakesTheStampAway) {
  model->addChecklistItem("Call the bank");
  model->addForTomorrow("Buy milk");
  setNow(d(2026, 9, 16), 18, 4);
  model->setChecklistDone(1, true);
  commitAndReopen();
  CarryItem ticked = model->page().checklist.at(0);
  EXPECT_TRUE(ticked.done);
  EXPECT_EQ(ticked.closedAt, "2026-09-16 18:04");
  EXPECT_EQ(model->page().forTomorrow, std::vector<CarryItem>{carryItemOf("Buy milk")});

  model->setChecklistDone(1, false);
  commitAndReopen();
  EXPECT_EQ(model->page().checklist, std::vector<CarryItem>{carryItemOf("Call the bank")});
}

TEST_P(TodayModelTest, AnOrgOutcomeLogsTheDayItWasTickedAndLosesTheNoteWhenOpenedAgain) {
  const bool org = GetParam() == VaultFormat::org;
  const EntryKey week = EntryKey::week({2026, 38});
  const EntryKey today = EntryKey::day(model->today());
  model->setOutcome(week, 1, "Chapter 3");
  model->setOutcome(today, 1, "Write 2k");
  commitAndReopen();
  const std::string weekFile = "weeks/2026-W38" + ext();
  const std::string open = dir.read(weekFile);

  // Ticked on Wednesday, not on the Sunday the week is due; a day's own outcome, ticked on its
  // day, has the one note its page writes anyway.
  model->setOutcomeState(week, 1, OutcomeState::done);
  model->setOutcomeState(today, 1, OutcomeState::done);
  commitAndReopen();
  const std::string note = "- State \"DONE\"       from \"TODO\"       [2026-09-16 Wed]";
  const auto count = [&](const std::string& text) {
    std::size_t n = 0;
    for (auto at = text.find(note); at != std::string::npos; at = text.find(note, at + 1)) ++n;
    return n;
  };
  const std::string ticked = dir.read(weekFile);
  EXPECT_EQ(count(ticked), org ? 1U : 0U) << ticked;
  EXPECT_EQ(ticked.find("[2026-09-20 Sun]"), std::string::npos) << ticked;
  const std::string day = dir.read("days/2026-09-16" + ext());
  EXPECT_EQ(count(day), org ? 1U : 0U) << day;
  EXPECT_EQ(model->outcomes(today).outcomes[0].trailingLines, std::vector<std::string>{});

  // Saved again unchanged, the note stays once; opened again, the page is as it was.
  model->setOutcome(week, 1, "Chapter 3, revised");
  commitAndReopen();
  EXPECT_EQ(count(dir.read(weekFile)), org ? 1U : 0U);
  model->setOutcome(week, 1, "Chapter 3");
  model->setOutcomeState(week, 1, OutcomeState::planned);
  commitAndReopen();
  EXPECT_EQ(dir.read(weekFile), open);
  // Nor does an outcome cleared after its tick leave the note under the empty place.
  model->setOutcomeState(week, 1, OutcomeState::done);
  model->clearOutcome(week, 1);
  commitAndReopen();
  EXPECT_EQ(count(dir.read(weekFile)), 0U);
}

TEST_P(TodayModelTest, PulledItemsLeaveTheInboxServeASlotAndGoBack) {
  Inbox inbox;
  inbox.items.push_back(InboxItem::make("Print notes", d(2026, 9, 10)));
  inbox.items.push_back(InboxItem::make("Call mum", d(2026, 9, 12)));
  const std::string id = inbox.items[0].id;
  store->save(inbox);
  store->flush();

  model->pull(id, 2);
  commitAndReopen();
  ASSERT_EQ(store->peekInbox().items.size(), 1u);
  EXPECT_EQ(store->peekInbox().items[0].text, "Call mum");
  ASSERT_EQ(model->page().pulledItems.size(), 1u);
  InboxItem pulled = model->page().pulledItems[0];
  EXPECT_EQ(pulled.id, id);
  EXPECT_EQ(pulled.serves, 2);
  EXPECT_EQ(pulled.pulledInto, model->today());

  setNow(d(2026, 9, 16), 10, 2);
  model->setPulledDone(id, true);
  model->setPulledDone(id, true);  // a second tick keeps one stamp
  commitAndReopen();
  pulled = model->page().pulledItems[0];
  EXPECT_TRUE(pulled.done);
  EXPECT_EQ(pulled.closedAt(), "2026-09-16 10:02");
  const std::string text = dir.read("days/2026-09-16" + ext());
  EXPECT_EQ(text.find("2026-09-16 10:02"), text.rfind("2026-09-16 10:02")) << text;

  model->setPulledDone(id, false);
  model->sendBack(id);
  commitAndReopen();
  EXPECT_TRUE(model->page().pulledItems.empty());
  const InboxItem back = store->peekInbox().items.back();
  EXPECT_EQ(back.id, id);
  EXPECT_FALSE(back.done);
  EXPECT_EQ(back.closedAt(), std::nullopt);
  EXPECT_EQ(back.serves, std::nullopt);
  EXPECT_EQ(back.pulledInto, std::nullopt);
}

TEST_P(TodayModelTest, APulledRoutineKeepsRecurringFromTheInbox) {
  Inbox inbox;
  inbox.items.push_back(InboxItem::make("Water the plants", d(2026, 9, 1)));
  inbox.items[0].due = d(2026, 9, 16);
  inbox.items[0].repeats = Repeat{};
  inbox.items[0].repeats->unit = Repeat::Unit::week;
  store->save(inbox);
  store->flush();
  const InboxItem routine = store->peekInbox().items.at(0);

  const InboxItem pulled = model->pull(routine.id, std::nullopt);
  commitAndReopen();
  EXPECT_EQ(store->peekInbox().items, std::vector<InboxItem>{routine});
  ASSERT_EQ(model->page().pulledItems.size(), 1u);
  EXPECT_EQ(model->page().pulledItems[0], pulled);
  EXPECT_NE(pulled.id, routine.id);
  EXPECT_EQ(pulled.repeats, std::nullopt);
  EXPECT_EQ(pulled.text, "Water the plants");
}

TEST_P(TodayModelTest, JournalEntriesStayInTimeOrderAndFocusMinutesAddUp) {
  model->addJournal("Lunch with Ana", ClockTime{13, 0});
  model->addJournal("Woke early");  // now: 09:30
  model->addJournal("Coffee", ClockTime{9, 30});
  DayEntry entry = model->page();
  entry.sessions.push_back(FocusSession{{9, 0}, ClockTime{9, 25}, 25, "", {}, {}, {}, false});
  entry.sessions.push_back(FocusSession{{10, 0}, ClockTime{10, 50}, 50, "", {}, {}, {}, false});
  store->save(entry);
  commitAndReopen();
  const auto journal = model->page().journal;
  ASSERT_EQ(journal.size(), 3u);
  EXPECT_EQ(journal[0], (JournalEntry{{9, 30}, "Woke early"}));
  EXPECT_EQ(journal[1], (JournalEntry{{9, 30}, "Coffee"}));
  EXPECT_EQ(journal[2], (JournalEntry{{13, 0}, "Lunch with Ana"}));
  EXPECT_EQ(model->focusMinutes(model->today()), 75);
}

TEST_P(TodayModelTest, APageChangedOnDiskIsRefusedAndKept) {
  const EntryKey today = EntryKey::day(model->today());
  model->setOutcome(today, 1, "First");
  commitAndReopen();
  model->setOutcome(today, 1, "Second");
  const std::string outside =
      dir.read("days/2026-09-16" + ext()) + "\nA line written in another editor.\n";
  dir.write("days/2026-09-16" + ext(), outside);
  try {
    model->commit();
    FAIL() << "the outside edit was written over";
  } catch (const VaultError& e) {
    EXPECT_EQ(e.kind(), VaultError::Kind::changedOnDisk);
    EXPECT_EQ(e.key(), today);
  }
  EXPECT_EQ(dir.read("days/2026-09-16" + ext()), outside);
}

TEST_P(TodayModelTest, AnUnreadablePageIsNamedAndNeverWritten) {
  const std::string wrong = GetParam() == VaultFormat::org
                                ? "#+title: Tuesday\n#+date: 2026-09-15\n#+type: day\n"
                                : "---\ndate: 2026-09-15\ntype: day\n---\n";
  dir.write("days/2026-09-16" + ext(), wrong);
  try {
    model->addJournal("Hello");
    FAIL() << "a page naming another day was read";
  } catch (const PageReadError& e) {
    EXPECT_EQ(e.key(), EntryKey::day(d(2026, 9, 16)));
    EXPECT_EQ(e.problem().kind, ReadProblem::Kind::identity);
  }
  model->commit();
  EXPECT_EQ(dir.read("days/2026-09-16" + ext()), wrong);
}

// Carry-over: what is offered, where carried things land, what the old day records, and that
// carrying again adds nothing.
class CarryOver : public TodayModelTest {
 protected:
  using Kind = TodayModel::CarryOffer::Kind;

  // A lived day: outcomes open, done and blocked, a checklist and a list for tomorrow.
  void writeLivedDay(const DayDate& date) {
    DayEntry entry;
    entry.date = date;
    entry.outcomes.outcomes = OutcomeSet::normalize({
        Outcome::make("Ship the report", OutcomeState::planned, 2),
        Outcome::make("Call the bank", OutcomeState::done),
        Outcome::make("Fix the bike", OutcomeState::blocked),
    });
    entry.checklist = {carryItemOf("Book dentist"), carryItemOf("Pay rent", true),
                       carryItemOf("Old idea", false, CarryItem::Fate::noted)};
    entry.forTomorrow = {carryItemOf("Buy milk")};
    writeDay(entry);
  }
  static std::vector<std::string> texts(const std::vector<TodayModel::CarryOffer>& offers) {
    std::vector<std::string> out;
    for (const auto& o : offers) out.push_back(o.text);
    return out;
  }
};

TEST_P(CarryOver, TheLatestLivedDayBeforeAGapOffersWhatItLeftOpen) {
  writeLivedDay(d(2026, 9, 8));
  writeLivedDay(d(2026, 9, 11));  // Friday; then four days without a page
  DayEntry future;
  future.date = d(2026, 9, 20);
  future.forTomorrow = {carryItemOf("Not yet lived")};
  writeDay(future);

  EXPECT_EQ(model->carrySource(), d(2026, 9, 11));
  const auto offers = model->offersForToday();
  EXPECT_EQ(texts(offers),
            (std::vector<std::string>{"Ship the report", "Book dentist", "Buy milk"}));
  EXPECT_EQ(offers[0],
            (TodayModel::CarryOffer{Kind::outcome, d(2026, 9, 11), 0, "Ship the report"}));
  EXPECT_EQ(offers[1].kind, Kind::checklist);
  EXPECT_EQ(offers[2], (TodayModel::CarryOffer{Kind::forTomorrow, d(2026, 9, 11), 0, "Buy milk"}));
}

TEST_P(CarryOver, CarryingWritesTodayAndRecordsTheFateOnTheOldDayOnce) {
  writeLivedDay(d(2026, 9, 11));
  EXPECT_EQ(model->carry({}).size(), 3u);
  commitAndReopen();

  const DayEntry today = model->page();
  EXPECT_EQ(today.outcomes.outcomes[0].text, "Ship the report");
  // Served the week of 11 September; today lies in the next week, so it serves nothing yet.
  EXPECT_EQ(today.outcomes.outcomes[0].serves, std::nullopt);
  EXPECT_EQ(today.checklist,
            (std::vector<CarryItem>{carryItemOf("Book dentist"), carryItemOf("Buy milk")}));

  const DayEntry old = store->peekDay(d(2026, 9, 11));
  EXPECT_EQ(old.checklist[0].fate, CarryItem::Fate::today);
  EXPECT_EQ(old.checklist[2].fate, CarryItem::Fate::noted);
  EXPECT_EQ(old.forTomorrow[0].fate, CarryItem::Fate::today);
  EXPECT_EQ(old.outcomes.outcomes[0].comments, std::vector<std::string>{"carried to 2026-09-16"});
  EXPECT_EQ(old.outcomes.outcomes[0].state, OutcomeState::planned);  // history unchanged

  const std::string todayText = dir.read("days/2026-09-16" + ext());
  EXPECT_TRUE(model->carryOffers().empty());
  EXPECT_TRUE(model->carry({}).empty());
  commitAndReopen();
  EXPECT_EQ(dir.read("days/2026-09-16" + ext()), todayText);
}

TEST_P(CarryOver, WhatTodayAlreadyHoldsIsNotOfferedEvenWithoutAFate) {
  writeLivedDay(d(2026, 9, 11));
  model->addChecklistItem("Book dentist");  // written in by hand before carrying
  commitAndReopen();
  EXPECT_EQ(texts(model->carryOffers()), (std::vector<std::string>{"Ship the report", "Buy milk"}));
  // Today has a plan now, so nothing is pressed on it; `carry` still lists what is left.
  EXPECT_TRUE(model->offersForToday().empty());
}

TEST_P(CarryOver, ChosenItemsOnlyAndOutcomesSpillToTheChecklistWhenTodayIsFull) {
  writeLivedDay(d(2026, 9, 14));  // Monday of the same week
  for (std::int64_t slot = 1; slot <= 3; ++slot) {
    model->setOutcome(EntryKey::day(model->today()), slot, "Today " + std::to_string(slot));
  }
  model->carry({1, 3, 1});
  commitAndReopen();
  const DayEntry today = model->page();
  EXPECT_EQ(today.outcomes.outcomes[0].text, "Today 1");
  EXPECT_EQ(today.checklist,
            (std::vector<CarryItem>{carryItemOf("Ship the report"), carryItemOf("Buy milk")}));
  EXPECT_EQ(texts(model->carryOffers()), std::vector<std::string>{"Book dentist"});
}

TEST_P(CarryOver, AnOutcomeCarriedWithinItsWeekKeepsWhatItServes) {
  writeLivedDay(d(2026, 9, 14));
  model->carry({1});
  commitAndReopen();
  EXPECT_EQ(model->page().outcomes.outcomes[0].serves, 2);
}

TEST_P(CarryOver, ANumberNotOfferedIsRefusedAndNothingIsWritten) {
  writeLivedDay(d(2026, 9, 11));
  const std::string before = dir.read("days/2026-09-11" + ext());
  EXPECT_THROW(model->carry({1, 4}), TodayError);
  commitAndReopen();
  EXPECT_FALSE(std::filesystem::exists(dir.path() / ("days/2026-09-16" + ext())));
  EXPECT_EQ(dir.read("days/2026-09-11" + ext()), before);
}

TEST_P(CarryOver, WithoutAnEarlierPageThereIsNothingToOffer) {
  dir.write("days/notes.md", "not a day page\n");
  EXPECT_EQ(model->carrySource(), std::nullopt);
  EXPECT_TRUE(model->carryOffers().empty());
  EXPECT_TRUE(model->carry({}).empty());
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, TodayModelTest, testing::bothSyntaxes(),
                         testing::syntaxName);
INSTANTIATE_TEST_SUITE_P(BothSyntaxes, CarryOver, testing::bothSyntaxes(), testing::syntaxName);

}  // namespace
}  // namespace trivo

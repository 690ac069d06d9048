// Carry-over over a real vault folder in both syntaxes: what is offered, where carried things
// land, what the old day records, and that carrying again adds nothing.
#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "core/today/today_model.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

using namespace std::chrono;
using Kind = TodayModel::CarryOffer::Kind;

DayDate carryDay(std::int64_t y, std::int64_t m, std::int64_t day) { return *DayDate::make(y, m, day); }

CarryItem carryItem(std::string text, bool done = false,
               std::optional<CarryItem::Fate> fate = std::nullopt) {
  return CarryItem{std::move(text), done, {}, fate, std::nullopt, {}};
}

class CarryOver : public ::testing::TestWithParam<VaultFormat> {
 protected:
  CarryOver() {
    // Wednesday of ISO week 38.
    clock.set(Instant(sys_days(year(2026) / 9 / 16)) + hours(8));
    open();
  }
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
  // A lived day: outcomes open, done and blocked, a checklist and a list for tomorrow.
  void writeLivedDay(const DayDate& date) {
    DayEntry entry;
    entry.date = date;
    entry.outcomes.outcomes = OutcomeSet::normalize({
        Outcome::make("Ship the report", OutcomeState::planned, 2),
        Outcome::make("Call the bank", OutcomeState::done),
        Outcome::make("Fix the bike", OutcomeState::blocked),
    });
    entry.checklist = {carryItem("Book dentist"), carryItem("Pay rent", true),
                       carryItem("Old idea", false, CarryItem::Fate::noted)};
    entry.forTomorrow = {carryItem("Buy milk")};
    store->save(entry);
    store->flush();
  }
  std::vector<std::string> texts(const std::vector<TodayModel::CarryOffer>& offers) {
    std::vector<std::string> out;
    for (const auto& o : offers) out.push_back(o.text);
    return out;
  }

  testing::TempDir dir;
  testing::FakeClock clock;
  std::unique_ptr<VaultStore> store;
  std::unique_ptr<TodayModel> model;
};

TEST_P(CarryOver, TheLatestLivedDayBeforeAGapOffersWhatItLeftOpen) {
  writeLivedDay(carryDay(2026, 9, 8));
  writeLivedDay(carryDay(2026, 9, 11));  // Friday; then four days without a page
  DayEntry future;
  future.date = carryDay(2026, 9, 20);
  future.forTomorrow = {carryItem("Not yet lived")};
  store->save(future);
  store->flush();

  EXPECT_EQ(model->carrySource(), carryDay(2026, 9, 11));
  const auto offers = model->offersForToday();
  EXPECT_EQ(texts(offers),
            (std::vector<std::string>{"Ship the report", "Book dentist", "Buy milk"}));
  EXPECT_EQ(offers[0],
            (TodayModel::CarryOffer{Kind::outcome, carryDay(2026, 9, 11), 0, "Ship the report"}));
  EXPECT_EQ(offers[1].kind, Kind::checklist);
  EXPECT_EQ(offers[2], (TodayModel::CarryOffer{Kind::forTomorrow, carryDay(2026, 9, 11), 0, "Buy milk"}));
}

TEST_P(CarryOver, CarryingWritesTodayAndRecordsTheFateOnTheOldDayOnce) {
  writeLivedDay(carryDay(2026, 9, 11));
  EXPECT_EQ(model->carry({}).size(), 3u);
  commitAndReopen();

  const DayEntry today = model->page();
  EXPECT_EQ(today.outcomes.outcomes[0].text, "Ship the report");
  // Served the week of 11 September; today lies in the next week, so it serves nothing yet.
  EXPECT_EQ(today.outcomes.outcomes[0].serves, std::nullopt);
  EXPECT_EQ(today.checklist, (std::vector<CarryItem>{carryItem("Book dentist"), carryItem("Buy milk")}));

  const DayEntry old = store->peekDay(carryDay(2026, 9, 11));
  EXPECT_EQ(old.checklist[0].fate, CarryItem::Fate::today);
  EXPECT_EQ(old.checklist[2].fate, CarryItem::Fate::noted);
  EXPECT_EQ(old.forTomorrow[0].fate, CarryItem::Fate::today);
  EXPECT_EQ(old.outcomes.outcomes[0].comments, std::vector<std::string>{"carried to 2026-09-16"});
  EXPECT_EQ(old.outcomes.outcomes[0].state, OutcomeState::planned);  // history unchanged

  const std::string todayText =
      dir.read(std::string("days/2026-09-16") + (GetParam() == VaultFormat::org ? ".org" : ".md"));
  EXPECT_TRUE(model->carryOffers().empty());
  EXPECT_TRUE(model->carry({}).empty());
  commitAndReopen();
  EXPECT_EQ(
      dir.read(std::string("days/2026-09-16") + (GetParam() == VaultFormat::org ? ".org" : ".md")),
      todayText);
}

TEST_P(CarryOver, WhatTodayAlreadyHoldsIsNotOfferedEvenWithoutAFate) {
  writeLivedDay(carryDay(2026, 9, 11));
  model->addChecklistItem("Book dentist");  // written in by hand before carrying
  commitAndReopen();
  EXPECT_EQ(texts(model->carryOffers()), (std::vector<std::string>{"Ship the report", "Buy milk"}));
  // Today has a plan now, so nothing is pressed on it; `carry` still lists what is left.
  EXPECT_TRUE(model->offersForToday().empty());
}

TEST_P(CarryOver, ChosenItemsOnlyAndOutcomesSpillToTheChecklistWhenTodayIsFull) {
  writeLivedDay(carryDay(2026, 9, 14));  // Monday of the same week
  for (std::int64_t slot = 1; slot <= 3; ++slot) {
    model->setOutcome(EntryKey::day(model->today()), slot, "Today " + std::to_string(slot));
  }
  model->carry({1, 3, 1});
  commitAndReopen();
  const DayEntry today = model->page();
  EXPECT_EQ(today.outcomes.outcomes[0].text, "Today 1");
  EXPECT_EQ(today.checklist, (std::vector<CarryItem>{carryItem("Ship the report"), carryItem("Buy milk")}));
  EXPECT_EQ(texts(model->carryOffers()), std::vector<std::string>{"Book dentist"});
}

TEST_P(CarryOver, AnOutcomeCarriedWithinItsWeekKeepsWhatItServes) {
  writeLivedDay(carryDay(2026, 9, 14));
  model->carry({1});
  commitAndReopen();
  EXPECT_EQ(model->page().outcomes.outcomes[0].serves, 2);
}

TEST_P(CarryOver, ANumberNotOfferedIsRefusedAndNothingIsWritten) {
  writeLivedDay(carryDay(2026, 9, 11));
  const std::string before =
      dir.read(std::string("days/2026-09-11") + (GetParam() == VaultFormat::org ? ".org" : ".md"));
  EXPECT_THROW(model->carry({1, 4}), TodayError);
  commitAndReopen();
  EXPECT_FALSE(std::filesystem::exists(
      dir.path() / "days" / (GetParam() == VaultFormat::org ? "2026-09-16.org" : "2026-09-16.md")));
  EXPECT_EQ(
      dir.read(std::string("days/2026-09-11") + (GetParam() == VaultFormat::org ? ".org" : ".md")),
      before);
}

TEST_P(CarryOver, WithoutAnEarlierPageThereIsNothingToOffer) {
  dir.write("days/notes.md", "not a day page\n");
  EXPECT_EQ(model->carrySource(), std::nullopt);
  EXPECT_TRUE(model->carryOffers().empty());
  EXPECT_TRUE(model->carry({}).empty());
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, CarryOver, testing::bothSyntaxes(),
                         testing::syntaxName);

}  // namespace
}  // namespace trivo

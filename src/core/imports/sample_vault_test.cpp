// The sample vault: written through the store, it must read back exactly as the page format
// writes it, carry a chain of outcomes, and leave the day before today something to carry.
#include "core/imports/sample_vault.h"

#include <gtest/gtest.h>

#include "core/store/page_check.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

struct SampleCase {
  VaultFormat format;
  const char* today;
  const char* lastPage;  // the latest day before today that has a page
};

class SampleVaultTest : public ::testing::TestWithParam<SampleCase> {
 protected:
  std::unique_ptr<VaultStore> open() const {
    const Vault vault{dir.path(), GetParam().format, "en", std::nullopt};
    VaultStore::Options options;
    options.debounce = std::chrono::milliseconds(0);
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    return std::make_unique<VaultStore>(vault, options);
  }
  DayDate today() const { return *DayDate::parse(GetParam().today); }
  testing::TempDir dir;
};

TEST_P(SampleVaultTest, EveryPageIsWrittenAsThePageFormatWritesIt) {
  SampleVault::write(*open(), today());
  std::filesystem::create_directories(dir.path() / ".trivo");
  const auto pages = findPageFiles({dir.path()});
  // 12 days (Sundays rest), 2–3 weeks, a month or two, the quarter and the inbox.
  EXPECT_GE(pages.size(), 17u);
  const auto codec = SerializerCodec::forVault(
      Vault{dir.path(), GetParam().format, "en", std::nullopt}, YearMode::quarter);
  for (const auto& page : pages) {
    EXPECT_EQ(page.format, GetParam().format) << page.relative;
    const auto checked = checkPage(page, *codec, /*roundtrip=*/true);
    EXPECT_FALSE(checked.problem) << page.relative;
    EXPECT_FALSE(checked.rewritten) << page.relative << "\n" << checked.text;
  }
}

TEST_P(SampleVaultTest, OutcomesServeTheLevelAboveAndTheLastDayLeavesWorkToCarry) {
  SampleVault::write(*open(), today());
  auto store = open();
  const DayEntry last = store->day(*DayDate::parse(GetParam().lastPage));
  EXPECT_EQ(last.outcomes.outcomes[1].state, OutcomeState::planned);
  ASSERT_EQ(last.checklist.size(), 1u);
  EXPECT_FALSE(last.checklist[0].done);
  ASSERT_EQ(last.forTomorrow.size(), 1u);
  EXPECT_FALSE(last.journal.empty());

  for (std::int64_t back = 1; back <= 13; ++back) {
    const DayEntry day = store->day(today().adding(-back));
    if (today().adding(-back).weekday() == Weekday::sunday) {
      EXPECT_TRUE(day.outcomes.isBlank());
      continue;
    }
    for (const auto& outcome : day.outcomes.outcomes) {
      EXPECT_FALSE(outcome.isBlank());
      EXPECT_TRUE(outcome.serves && *outcome.serves >= 1 && *outcome.serves <= 3)
          << day.date.isoString();
    }
  }
  const DayEntry now = store->day(today());
  EXPECT_EQ(now.outcomes.outcomes[0].state, OutcomeState::done);

  const WeekEntry thisWeek = store->week(today().isoWeek());
  EXPECT_FALSE(thisWeek.outcomes.isBlank());
  EXPECT_TRUE(thisWeek.reflection.isEmpty());
  EXPECT_FALSE(store->week(today().adding(-7).isoWeek()).reflection.isEmpty());
  EXPECT_TRUE(thisWeek.outcomes.outcomes[2].serves == 3);
  EXPECT_FALSE(store->month(today().isoWeek().owningMonth()).outcomes.isBlank());
  EXPECT_FALSE(store->quarter(today().yearQuarter()).outcomes.isBlank());
}

TEST_P(SampleVaultTest, TheInboxHasSomethingForEveryList) {
  SampleVault::write(*open(), today());
  const Inbox inbox = open()->inbox();
  const DayDate d = today();
  auto count = [&](auto predicate) {
    return std::count_if(inbox.items.begin(), inbox.items.end(), predicate);
  };
  EXPECT_EQ(count([&](const InboxItem& i) { return i.due && *i.due < d; }), 1);
  EXPECT_GE(count([&](const InboxItem& i) { return i.isDue(d) && i.time; }), 1);
  EXPECT_GE(count([&](const InboxItem& i) { return i.isAhead(d); }), 1);
  EXPECT_EQ(count([](const InboxItem& i) { return i.someday; }), 1);
  EXPECT_EQ(count([](const InboxItem& i) { return i.waiting; }), 1);
  EXPECT_EQ(count([](const InboxItem& i) { return !i.due && !i.someday && !i.waiting; }), 1);
  const auto repeating = std::find_if(inbox.items.begin(), inbox.items.end(),
                                      [](const InboxItem& i) { return i.repeats.has_value(); });
  ASSERT_NE(repeating, inbox.items.end());
  EXPECT_GE(*repeating->due, d);
  EXPECT_EQ(repeating->due->weekday(), Weekday::monday);
}

INSTANTIATE_TEST_SUITE_P(
    FormatsAndWeekdays, SampleVaultTest,
    ::testing::Values(SampleCase{VaultFormat::markdown, "2026-11-23", "2026-11-21"},  // a Monday
                      SampleCase{VaultFormat::org, "2026-11-23", "2026-11-21"},
                      SampleCase{VaultFormat::markdown, "2026-12-31", "2026-12-30"},  // a Thursday
                      SampleCase{VaultFormat::org, "2027-01-06", "2027-01-05"}));

}  // namespace
}  // namespace trivo

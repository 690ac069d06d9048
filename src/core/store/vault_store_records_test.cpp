// The store's record operations on a real folder: what is saved is what the serializer writes,
// what is read back equals what was saved, and refused records come back as records.
#include <gtest/gtest.h>

#include "core/format/serializer_error.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

const DayDate kDate{2026, 9, 16};

class RecordStoreTest : public ::testing::TestWithParam<VaultFormat> {
 protected:
  std::unique_ptr<VaultStore> open() {
    VaultStore::Options options;
    options.debounce = 1h;
    options.clock = &clock_;
    options.codec = SerializerCodec::forVault(vault(), YearMode::quarter);
    return std::make_unique<VaultStore>(vault(), options);
  }
  Vault vault() const { return Vault{dir_.path(), GetParam(), "en", {}}; }
  std::string relative(const EntryKey& key) const {
    return VaultPaths(dir_.path(), GetParam()).urlFor(key).lexically_relative(dir_.path());
  }

  testing::TempDir dir_;
  testing::FakeClock clock_{Instant{} + 1000h};
};

DayEntry filledDay() {
  DayEntry day;
  day.date = kDate;
  Outcome outcome;
  outcome.text = "Ship the draft";
  outcome.serves = 2;
  day.outcomes.outcomes = OutcomeSet::normalize({outcome});
  day.notes = "Called the printer.";
  return day;
}

TEST_P(RecordStoreTest, MissingPagesReadAsBlankRecordsOfTheirPeriod) {
  auto store = open();
  EXPECT_EQ(store->day(kDate).date, kDate);
  EXPECT_TRUE(store->day(kDate).outcomes.isBlank());
  const ISOWeek week{2026, 38};
  EXPECT_EQ(store->week(week).week, week);
  EXPECT_EQ(store->week(week).targetFriday, week.friday());
  EXPECT_EQ(store->year(2027).year, 2027);
  EXPECT_TRUE(store->inbox().items.empty());
}

TEST_P(RecordStoreTest, SavedRecordsAreWrittenAsTheSerializerRendersThemAndReadBackEqual) {
  auto store = open();
  const DayEntry day = filledDay();
  store->save(day);
  EXPECT_EQ(store->peekDay(kDate), day);  // the queued text wins before it is written
  store->flush();
  const auto codec = SerializerCodec::forVault(vault(), YearMode::quarter);
  EXPECT_EQ(dir_.read(relative(EntryKey::day(kDate))), codec->serializer()->renderDay(day));

  auto reopened = open();
  EXPECT_EQ(reopened->day(kDate), day);

  Inbox inbox;
  InboxItem item;
  item.id = "5B1D3C4E-0000-4000-8000-000000000001";
  item.text = "Call Ana";
  inbox.items.push_back(item);
  reopened->save(inbox);
  reopened->flush();
  EXPECT_EQ(open()->inbox().items.at(0).text, "Call Ana");
}

TEST_P(RecordStoreTest, ARefusedDayComesBackOnceAsARecord) {
  auto store = open();
  (void)store->day(kDate);
  DayEntry mine = filledDay();
  store->save(mine);
  dir_.write(relative(EntryKey::day(kDate)), "edited in another program\n");
  EXPECT_THROW(store->flush(), VaultError);
  EXPECT_EQ(dir_.read(relative(EntryKey::day(kDate))), "edited in another program\n");
  const auto refused = store->takeRefusedDays(kDate);
  ASSERT_EQ(refused.size(), 1u);
  EXPECT_EQ(refused[0], mine);
  EXPECT_TRUE(store->takeRefusedDays(kDate).empty());
}

TEST_P(RecordStoreTest, APageOfAnotherPeriodIsNotReadAsThisOneAndStaysOnDisk) {
  auto store = open();
  store->save(filledDay());
  store->flush();
  const DayDate other{2026, 9, 17};
  const std::string text = dir_.read(relative(EntryKey::day(kDate)));
  dir_.write(relative(EntryKey::day(other)), text);
  EXPECT_THROW((void)store->day(other), SerializerError);
  EXPECT_EQ(dir_.read(relative(EntryKey::day(other))), text);
  ASSERT_TRUE(store->readProblem(EntryKey::day(other)).has_value());
  EXPECT_EQ(store->readProblem(EntryKey::day(other))->kind, ReadProblem::Kind::identity);
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, RecordStoreTest,
                         ::testing::Values(VaultFormat::markdown, VaultFormat::org),
                         [](const auto& param) { return std::string(rawValue(param.param)); });

}  // namespace
}  // namespace trivo

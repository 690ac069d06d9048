// Page keys: their descriptions, hashing and JSON.
#include "core/vault/entry_key.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace trivo {
namespace {

const EntryKey kKeyDay = EntryKey::day(*DayDate::make(2026, 9, 16));
const EntryKey kKeyWeek = EntryKey::week({2026, 38});
const EntryKey kMonth = EntryKey::month({2026, 9});
const EntryKey kQuarter = EntryKey::quarter({2026, 3});
const EntryKey kYear = EntryKey::year(2026);
const EntryKey kInbox = EntryKey::inbox();

TEST(EntryKey, DescriptionIsCaseWordAndTextForm) {
  EXPECT_EQ(kKeyDay.description(), "day 2026-09-16");
  EXPECT_EQ(kKeyWeek.description(), "week 2026-W38");
  EXPECT_EQ(kMonth.description(), "month 2026-09");
  EXPECT_EQ(kQuarter.description(), "quarter 2026-Q3");
  EXPECT_EQ(kYear.description(), "year 2026");
  EXPECT_EQ(EntryKey::year(-44).description(), "year -44");
  EXPECT_EQ(EntryKey::year(12345).description(), "year 12345");
  EXPECT_EQ(kInbox.description(), "inbox");
}

TEST(EntryKey, EqualityAndHashTellCasesApartEvenWithLookalikePayloads) {
  // Year 2026 and a week in 2026 share numbers; they must still be different keys.
  std::unordered_set<EntryKey> set{kKeyDay,
                                   kKeyWeek,
                                   kMonth,
                                   kQuarter,
                                   kYear,
                                   kInbox,
                                   EntryKey::year(2027),
                                   EntryKey::week({2026, 39})};
  EXPECT_EQ(set.size(), 8u);
  EXPECT_TRUE(set.contains(EntryKey::day(*DayDate::parse("2026-09-16"))));
  EXPECT_TRUE(set.contains(EntryKey::inbox()));
  EXPECT_FALSE(set.contains(EntryKey::month({2026, 10})));
  EXPECT_NE(kYear, EntryKey::year(2027));
  EXPECT_EQ(EntryKey{}, kInbox);
}

TEST(EntryKey, JsonIsAnObjectNamedByItsCaseAndRoundTrips) {
  EXPECT_EQ(Json(kInbox).dump(), R"({"inbox":{}})");
  EXPECT_EQ(Json(kYear).dump(), R"({"year":2026})");
  EXPECT_EQ(Json(kKeyDay).dump(), R"({"day":{"year":2026,"month":9,"day":16}})");
  for (const auto& key : {kKeyDay, kKeyWeek, kMonth, kQuarter, kYear, kInbox}) {
    EXPECT_EQ(Json(key).get<EntryKey>(), key) << key.description();
  }
}

TEST(EntryKey, JsonWithoutExactlyOneKnownCaseIsRejected) {
  for (const char* text : {R"({})", R"({"decade":1})", R"({"year":1,"inbox":{}})", R"([])",
                           R"({"year":"2026"})", R"({"day":{"year":2026,"month":2,"day":30}})"}) {
    EXPECT_THROW(Json::parse(text).get<EntryKey>(), RecordError) << text;
  }
}

}  // namespace
}  // namespace trivo

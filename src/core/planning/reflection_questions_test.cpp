// Every reflection question must have a place on its page: an answer given under a question's
// key is written and read back in both page syntaxes.
#include "core/planning/reflection_questions.h"

#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

class ReflectionQuestionsTest : public ::testing::TestWithParam<VaultFormat> {};

TEST_P(ReflectionQuestionsTest, EveryAnswerIsKeptByItsPage) {
  testing::TempDir dir;
  const Vault vault{dir.path(), GetParam(), "en", std::nullopt};
  VaultStore::Options options;
  options.debounce = std::chrono::milliseconds(0);
  options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
  auto fill = [](Reflection& reflection, EntryKey::Kind kind) {
    for (const auto& q : reflectionQuestions(kind)) {
      reflection.set(std::string(q.key), "answer to " + std::string(q.key) + "\nsecond line");
    }
  };
  {
    VaultStore store(vault, options);
    WeekEntry week = store.week(*ISOWeek::parse("2026-W48"));
    fill(week.reflection, EntryKey::Kind::week);
    store.save(week);
    MonthEntry month = store.month(*YearMonth::parse("2026-11"));
    fill(month.reflection, EntryKey::Kind::month);
    store.save(month);
    QuarterEntry quarter = store.quarter(*YearQuarter::parse("2026-Q4"));
    fill(quarter.reflection, EntryKey::Kind::quarter);
    store.save(quarter);
    YearEntry year = store.year(2026);
    fill(year.reflection, EntryKey::Kind::year);
    store.save(year);
    store.flush();
  }
  VaultStore store(vault, options);
  const std::pair<EntryKey::Kind, Reflection> read[] = {
      {EntryKey::Kind::week, store.week(*ISOWeek::parse("2026-W48")).reflection},
      {EntryKey::Kind::month, store.month(*YearMonth::parse("2026-11")).reflection},
      {EntryKey::Kind::quarter, store.quarter(*YearQuarter::parse("2026-Q4")).reflection},
      {EntryKey::Kind::year, store.year(2026).reflection}};
  for (const auto& [kind, reflection] : read) {
    Reflection expected;
    fill(expected, kind);
    EXPECT_FALSE(reflectionQuestions(kind).empty());
    EXPECT_EQ(reflection, expected) << caseName(kind);
  }
  EXPECT_TRUE(reflectionQuestions(EntryKey::Kind::day).empty());
  EXPECT_TRUE(reflectionQuestions(EntryKey::Kind::inbox).empty());
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, ReflectionQuestionsTest,
                         ::testing::Values(VaultFormat::markdown, VaultFormat::org));

}  // namespace
}  // namespace trivo

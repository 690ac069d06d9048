// The cadence offers against a vault: what is already written is no longer offered.
#include "core/planning/cadence_offers.h"

#include <gtest/gtest.h>

#include "testing/chain_vault.h"

namespace trivo {
namespace {

using testing::outcome;
using ReflectionOffer = CadenceEngine::ReflectionOffer;
using SetNext = CadenceEngine::SetNext;

TEST(CadenceOffers, AWrittenReflectionAndSetOutcomesAreNoLongerOffered) {
  testing::ChainVault vault;
  // Friday 31 July 2026 ends its month: the week and the month reflect, August wants outcomes.
  const auto plan = CadenceEngine::plan(*DayDate::make(2026, 7, 31));
  ASSERT_EQ(plan.reflections.size(), 2u);
  ASSERT_EQ(plan.setNext.size(), 1u);
  EXPECT_EQ(openOffers(plan, vault.store()), plan);

  WeekEntry week;
  week.week = {2026, 31};
  week.targetFriday = week.week.friday();
  week.reflection.ratings["friday.well"] = 4;  // a rating alone is a reflection begun
  vault.store().save(week);
  vault.month({2026, 8}, {outcome("Launch")});
  MonthEntry july;
  july.month = {2026, 7};
  july.outcomes.outcomes = OutcomeSet::normalize({outcome("Set only, not reflected")});
  vault.store().save(july);
  vault.reopen();

  const auto open = openOffers(plan, vault.store());
  EXPECT_EQ(open.reflections, (std::vector<ReflectionOffer>{{ReflectionOffer::Kind::monthly, YearMonth{2026, 7}}}));
  EXPECT_TRUE(open.setNext.empty());
  EXPECT_EQ(open.promptKey, plan.promptKey);
}

TEST(CadenceOffers, TheWeekComesFirstOnMondayOnlyUntilItsOutcomesAreSet) {
  testing::ChainVault vault;
  const auto monday = CadenceEngine::plan(*DayDate::make(2026, 9, 14));
  vault.week({2026, 37}, {outcome("Last week's")});
  vault.reopen();
  EXPECT_TRUE(openOffers(monday, vault.store()).weeklyOutcomesFirst);
  vault.week({2026, 38}, {outcome("Chapter 3")});
  vault.reopen();
  EXPECT_FALSE(openOffers(monday, vault.store()).weeklyOutcomesFirst);
}

TEST(CadenceOffers, NewYearsEveOffersOnlyWhatIsStillOpen) {
  testing::ChainVault vault;
  const auto plan = CadenceEngine::plan(*DayDate::make(2026, 12, 31));
  YearEntry year;
  year.year = 2026;
  year.reflection.answers["gratitude"] = "Health";
  vault.store().save(year);
  vault.quarter({2027, 1}, {outcome("Q1 goal")});
  vault.reopen();
  const auto open = openOffers(plan, vault.store());
  EXPECT_EQ(open.reflections, (std::vector<ReflectionOffer>{{ReflectionOffer::Kind::monthly, YearMonth{2026, 12}},
                                                  {ReflectionOffer::Kind::quarterly, YearQuarter{2026, 4}}}));
  EXPECT_EQ(open.setNext, (std::vector<SetNext>{{SetNext::Kind::month, YearMonth{2027, 1}},
                                             {SetNext::Kind::year, std::int64_t{2027}}}));
}

}  // namespace
}  // namespace trivo

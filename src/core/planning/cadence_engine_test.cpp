// The day plan around week, month, quarter and year ends.
#include "core/planning/cadence_engine.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

using Offer = CadenceEngine::ReflectionOffer;
using Next = CadenceEngine::SetNext;

TEST(CadenceEngine, FridayThirtyFirstDecemberOffersAllFourReflectionsInOrder) {
  const auto p = CadenceEngine::plan(DayDate{2027, 12, 31});
  EXPECT_EQ(p.dayKind, CadenceEngine::DayKind::friday);
  EXPECT_EQ(p.promptKey, "prompt.day.friday");
  const std::vector<Offer> reflections = {{Offer::Kind::friday, ISOWeek{2027, 52}},
                                          {Offer::Kind::monthly, YearMonth{2027, 12}},
                                          {Offer::Kind::quarterly, YearQuarter{2027, 4}},
                                          {Offer::Kind::yearly, std::int64_t{2027}}};
  EXPECT_EQ(p.reflections, reflections);
  const std::vector<Next> next = {{Next::Kind::month, YearMonth{2028, 1}},
                                  {Next::Kind::quarter, YearQuarter{2028, 1}},
                                  {Next::Kind::year, std::int64_t{2028}}};
  EXPECT_EQ(p.setNext, next);
}

TEST(CadenceEngine, QuarterEndWithoutYearEnd) {
  const auto p = CadenceEngine::plan(DayDate{2026, 6, 30});  // a Tuesday
  EXPECT_EQ(p.dayKind, CadenceEngine::DayKind::weekday);
  ASSERT_EQ(p.reflections.size(), 2u);
  EXPECT_EQ(p.reflections[0].kind, Offer::Kind::monthly);
  EXPECT_EQ(p.reflections[1], (Offer{Offer::Kind::quarterly, YearQuarter{2026, 2}}));
  EXPECT_EQ(p.setNext.back(), (Next{Next::Kind::quarter, YearQuarter{2026, 3}}));
  // The last day of a month outside a quarter's end offers the month alone.
  const auto may = CadenceEngine::plan(DayDate{2026, 5, 31});
  EXPECT_EQ(may.reflections, (std::vector<Offer>{{Offer::Kind::monthly, YearMonth{2026, 5}}}));
  EXPECT_TRUE(CadenceEngine::plan(DayDate{2026, 5, 30}).reflections.empty());
}

TEST(CadenceEngine, FirstOfJanuary2027LiesInWeek53WithItselfAsTargetFriday) {
  const auto p = CadenceEngine::plan(DayDate{2027, 1, 1});
  EXPECT_EQ(p.week, (ISOWeek{2026, 53}));
  EXPECT_EQ(p.targetFriday, (DayDate{2027, 1, 1}));
  EXPECT_EQ(p.reflections, (std::vector<Offer>{{Offer::Kind::friday, ISOWeek{2026, 53}}}));
}

TEST(CadenceEngine, WeekdaysHaveTheirKindsPromptsAndMondayPutsTheWeekFirst) {
  struct Case {
    DayDate day;
    CadenceEngine::DayKind kind;
    const char* prompt;
  };
  const Case cases[] = {
      {{2026, 9, 14}, CadenceEngine::DayKind::monday, "prompt.day.monday"},
      {{2026, 9, 15}, CadenceEngine::DayKind::weekday, "prompt.day.default"},
      {{2026, 9, 17}, CadenceEngine::DayKind::weekday, "prompt.day.default"},
      {{2026, 9, 18}, CadenceEngine::DayKind::friday, "prompt.day.friday"},
      {{2026, 9, 19}, CadenceEngine::DayKind::saturday, "prompt.day.saturday"},
      {{2026, 9, 20}, CadenceEngine::DayKind::restDay, "restday.sub"},
  };
  for (const auto& c : cases) {
    const auto p = CadenceEngine::plan(c.day);
    EXPECT_EQ(p.dayKind, c.kind) << c.day.isoString();
    EXPECT_EQ(p.promptKey, c.prompt) << c.day.isoString();
    EXPECT_EQ(p.weeklyOutcomesFirst, c.kind == CadenceEngine::DayKind::monday);
    EXPECT_EQ(p.targetFriday, (DayDate{2026, 9, 18})) << c.day.isoString();
  }
}

TEST(CadenceEngine, JsonWritesOffersAsKindAndPeriodText) {
  Json j = CadenceEngine::plan(DayDate{2026, 12, 31});
  EXPECT_EQ(j["dayKind"], "weekday");
  EXPECT_EQ(j["reflections"].dump(),
            R"([{"kind":"monthly","period":"2026-12"},{"kind":"quarterly","period":"2026-Q4"},)"
            R"({"kind":"yearly","period":"2026"}])");
  EXPECT_EQ(j["setNext"][2].dump(), R"({"kind":"year","period":"2027"})");
  std::vector<std::string> keys;
  for (const auto& item : j.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"date", "dayKind", "promptKey", "week", "targetFriday",
                                            "weeklyOutcomesFirst", "reflections", "setNext"}));
}

}  // namespace
}  // namespace trivo

// The day plan of the cadence engine.
#include "core/planning/cadence_engine.h"

#include <array>

namespace trivo {
namespace {

using Offer = CadenceEngine::ReflectionOffer;
using Next = CadenceEngine::SetNext;

struct PeriodText {
  std::string operator()(const ISOWeek& w) const { return w.id(); }
  std::string operator()(const YearMonth& m) const { return m.id(); }
  std::string operator()(const YearQuarter& q) const { return q.id(); }
  std::string operator()(std::int64_t year) const { return std::to_string(year); }
};

}  // namespace

std::string Offer::periodText() const { return std::visit(PeriodText{}, period); }
std::string Next::periodText() const { return std::visit(PeriodText{}, period); }

CadenceEngine::DayPlan CadenceEngine::plan(const DayDate& d) {
  DayPlan p;
  p.date = d;
  p.week = d.isoWeek();
  p.targetFriday = ISOWeek::week1Monday(p.week.year).adding((p.week.week - 1) * 7 + 4);
  switch (d.weekday()) {
    case Weekday::monday:
      p.dayKind = DayKind::monday;
      p.promptKey = "prompt.day.monday";
      p.weeklyOutcomesFirst = true;
      break;
    case Weekday::tuesday:
    case Weekday::wednesday:
    case Weekday::thursday:
      p.dayKind = DayKind::weekday;
      p.promptKey = "prompt.day.default";
      break;
    case Weekday::friday:
      p.dayKind = DayKind::friday;
      p.promptKey = "prompt.day.friday";
      p.reflections.push_back({Offer::Kind::friday, p.week});
      break;
    case Weekday::saturday:
      p.dayKind = DayKind::saturday;
      p.promptKey = "prompt.day.saturday";
      break;
    case Weekday::sunday:
      // The rest day's prompt lives outside the "prompt.day." family on purpose.
      p.dayKind = DayKind::restDay;
      p.promptKey = "restday.sub";
      break;
  }
  if (d.isLastDayOfMonth()) {
    const DayDate next = d.adding(1);
    p.reflections.push_back({Offer::Kind::monthly, d.yearMonth()});
    p.setNext.push_back({Next::Kind::month, next.yearMonth()});
    if (d.month % 3 == 0) {
      p.reflections.push_back({Offer::Kind::quarterly, d.yearQuarter()});
      p.setNext.push_back({Next::Kind::quarter, next.yearQuarter()});
      if (d.month == 12) {
        p.reflections.push_back({Offer::Kind::yearly, d.year});
        p.setNext.push_back({Next::Kind::year, next.year});
      }
    }
  }
  return p;
}

std::string_view caseName(CadenceEngine::DayKind kind) {
  static constexpr std::array<std::string_view, 5> names = {"weekday", "monday", "friday",
                                                            "saturday", "restDay"};
  return names[static_cast<std::size_t>(kind)];
}

std::string_view caseName(Offer::Kind kind) {
  static constexpr std::array<std::string_view, 4> names = {"friday", "monthly", "quarterly",
                                                            "yearly"};
  return names[static_cast<std::size_t>(kind)];
}

std::string_view caseName(Next::Kind kind) {
  static constexpr std::array<std::string_view, 3> names = {"month", "quarter", "year"};
  return names[static_cast<std::size_t>(kind)];
}

void to_json(Json& j, const Offer& offer) {
  j = Json{{"kind", caseName(offer.kind)}, {"period", offer.periodText()}};
}

void to_json(Json& j, const Next& next) {
  j = Json{{"kind", caseName(next.kind)}, {"period", next.periodText()}};
}

void to_json(Json& j, const CadenceEngine::DayPlan& p) {
  j = Json::object();
  json::put(j, "date", p.date);
  j["dayKind"] = caseName(p.dayKind);
  json::put(j, "promptKey", p.promptKey);
  json::put(j, "week", p.week);
  json::put(j, "targetFriday", p.targetFriday);
  json::put(j, "weeklyOutcomesFirst", p.weeklyOutcomesFirst);
  json::put(j, "reflections", p.reflections);
  json::put(j, "setNext", p.setNext);
}

}  // namespace trivo

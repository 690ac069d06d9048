// JSON of the period records.
#include "core/records/period_entries.h"

namespace trivo {

void to_json(Json& j, const WeekEntry& e) {
  j = Json::object();
  json::put(j, "week", e.week);
  json::put(j, "targetFriday", e.targetFriday);
  json::put(j, "outcomes", e.outcomes);
  json::put(j, "checklist", e.checklist);
  json::put(j, "reflection", e.reflection);
  json::put(j, "hotspots", e.hotspots);
  json::put(j, "passthrough", e.passthrough);
}

void from_json(const Json& j, WeekEntry& e) {
  json::requireObject(j, "WeekEntry");
  WeekEntry r;
  json::take(j, "week", r.week);
  json::take(j, "targetFriday", r.targetFriday);
  json::take(j, "outcomes", r.outcomes);
  json::take(j, "checklist", r.checklist);
  json::take(j, "reflection", r.reflection);
  json::take(j, "hotspots", r.hotspots);
  json::take(j, "passthrough", r.passthrough);
  e = std::move(r);
}

void to_json(Json& j, const MonthEntry& e) {
  j = Json::object();
  json::put(j, "month", e.month);
  json::put(j, "outcomes", e.outcomes);
  json::put(j, "reflection", e.reflection);
  json::put(j, "hotspots", e.hotspots);
  json::put(j, "passthrough", e.passthrough);
}

void from_json(const Json& j, MonthEntry& e) {
  json::requireObject(j, "MonthEntry");
  MonthEntry r;
  json::take(j, "month", r.month);
  json::take(j, "outcomes", r.outcomes);
  json::take(j, "reflection", r.reflection);
  json::take(j, "hotspots", r.hotspots);
  json::take(j, "passthrough", r.passthrough);
  e = std::move(r);
}

void to_json(Json& j, const QuarterEntry& e) {
  j = Json::object();
  json::put(j, "quarter", e.quarter);
  json::put(j, "outcomes", e.outcomes);
  json::put(j, "reflection", e.reflection);
  json::put(j, "mindSweep", e.mindSweep);
  json::put(j, "passthrough", e.passthrough);
}

void from_json(const Json& j, QuarterEntry& e) {
  json::requireObject(j, "QuarterEntry");
  QuarterEntry r;
  json::take(j, "quarter", r.quarter);
  json::take(j, "outcomes", r.outcomes);
  json::take(j, "reflection", r.reflection);
  json::take(j, "mindSweep", r.mindSweep);
  json::take(j, "passthrough", r.passthrough);
  e = std::move(r);
}

void to_json(Json& j, const YearEntry& e) {
  j = Json::object();
  json::put(j, "year", e.year);
  json::put(j, "outcomes", e.outcomes);
  json::put(j, "reflection", e.reflection);
  json::put(j, "passthrough", e.passthrough);
}

void from_json(const Json& j, YearEntry& e) {
  json::requireObject(j, "YearEntry");
  YearEntry r;
  json::take(j, "year", r.year);
  json::take(j, "outcomes", r.outcomes);
  json::take(j, "reflection", r.reflection);
  json::take(j, "passthrough", r.passthrough);
  e = std::move(r);
}

}  // namespace trivo

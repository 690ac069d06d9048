// The records of the week, month, quarter and year pages. (The day page, which also holds inbox
// items, is in day_entry.h.)
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/records/carry_item.h"
#include "core/records/outcome.h"
#include "core/records/passthrough.h"
#include "core/records/reflection.h"
#include "core/util/json_fields.h"

namespace trivo {

struct WeekEntry {
  ISOWeek week;
  DayDate targetFriday;  // the Friday the week's plan aims at
  OutcomeSet outcomes{Scope::week};
  std::vector<CarryItem> checklist;
  Reflection reflection;
  std::vector<std::string> hotspots;
  Passthrough passthrough;
  bool operator==(const WeekEntry&) const = default;
};

struct MonthEntry {
  YearMonth month;
  OutcomeSet outcomes{Scope::month};
  Reflection reflection;
  std::vector<std::string> hotspots;
  Passthrough passthrough;
  bool operator==(const MonthEntry&) const = default;
};

struct QuarterEntry {
  YearQuarter quarter;
  OutcomeSet outcomes{Scope::quarter};
  Reflection reflection;
  std::string mindSweep;
  Passthrough passthrough;
  bool operator==(const QuarterEntry&) const = default;
};

struct YearEntry {
  std::int64_t year = 1970;
  OutcomeSet outcomes{Scope::year};
  Reflection reflection;
  Passthrough passthrough;
  bool operator==(const YearEntry&) const = default;
};

void to_json(Json& j, const WeekEntry& e);
void from_json(const Json& j, WeekEntry& e);
void to_json(Json& j, const MonthEntry& e);
void from_json(const Json& j, MonthEntry& e);
void to_json(Json& j, const QuarterEntry& e);
void from_json(const Json& j, QuarterEntry& e);
void to_json(Json& j, const YearEntry& e);
void from_json(const Json& j, YearEntry& e);

}  // namespace trivo

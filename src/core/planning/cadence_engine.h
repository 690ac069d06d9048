// What a given day offers: its kind and prompt, whether the week's outcomes come first, which
// reflections are due and which next periods want their outcomes set.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/util/json_fields.h"

namespace trivo {

struct CadenceEngine {
  enum class DayKind { weekday, monday, friday, saturday, restDay };

  // A reflection that is due: the week's (on its Friday), the month's, the quarter's, the year's.
  struct ReflectionOffer {
    enum class Kind { friday, monthly, quarterly, yearly };
    Kind kind = Kind::friday;
    std::variant<ISOWeek, YearMonth, YearQuarter, std::int64_t> period;
    // The period's text form: "2026-W53", "2026-12", "2026-Q4", "2026".
    [[nodiscard]] std::string periodText() const;
    bool operator==(const ReflectionOffer&) const = default;
  };

  // A next period whose outcomes should be set.
  struct SetNext {
    enum class Kind { month, quarter, year };
    Kind kind = Kind::month;
    std::variant<YearMonth, YearQuarter, std::int64_t> period;
    [[nodiscard]] std::string periodText() const;
    bool operator==(const SetNext&) const = default;
  };

  struct DayPlan {
    DayDate date;
    DayKind dayKind = DayKind::weekday;
    std::string promptKey;
    ISOWeek week;
    DayDate targetFriday;
    bool weeklyOutcomesFirst = false;
    std::vector<ReflectionOffer> reflections;
    std::vector<SetNext> setNext;
    bool operator==(const DayPlan&) const = default;
  };

  // The plan of a day. Pure: depends on the date alone.
  [[nodiscard]] static DayPlan plan(const DayDate& day);
};

std::string_view caseName(CadenceEngine::DayKind kind);
std::string_view caseName(CadenceEngine::ReflectionOffer::Kind kind);
std::string_view caseName(CadenceEngine::SetNext::Kind kind);

// Offers are written as {"kind": case name, "period": text form}.
void to_json(Json& j, const CadenceEngine::ReflectionOffer& offer);
void to_json(Json& j, const CadenceEngine::SetNext& next);
void to_json(Json& j, const CadenceEngine::DayPlan& plan);

}  // namespace trivo

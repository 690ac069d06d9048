// How a vault lays out its year: as four quarters, or as twelve calendar months.
#pragma once

#include <array>
#include <string_view>

#include "core/util/json_fields.h"

namespace trivo {

enum class YearMode { quarter, calendar };

inline constexpr std::array<std::string_view, 2> kYearModeNames = {"quarter", "calendar"};

inline void to_json(Json& j, const YearMode& m) { j = json::enumName(m, kYearModeNames); }
inline void from_json(const Json& j, YearMode& m) {
  m = json::enumFromName<YearMode>(j, kYearModeNames, "YearMode");
}

}  // namespace trivo

// The priority of a task, "a" (highest) to "d", as in Org's "[#A]" cookies.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "core/util/json_fields.h"

namespace trivo {

enum class Priority { a, b, c, d };

inline constexpr std::array<std::string_view, 4> kPriorityNames = {"a", "b", "c", "d"};

// "a" … "d".
inline std::string_view rawValue(Priority p) { return kPriorityNames[static_cast<std::size_t>(p)]; }
// Nothing unless the text is exactly one of the raw values.
inline std::optional<Priority> priorityFromRaw(std::string_view raw) {
  return json::enumFromString<Priority>(raw, kPriorityNames);
}

inline void to_json(Json& j, const Priority& p) { j = json::enumName(p, kPriorityNames); }
inline void from_json(const Json& j, Priority& p) {
  p = json::enumFromName<Priority>(j, kPriorityNames, "Priority");
}

}  // namespace trivo

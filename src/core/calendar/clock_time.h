// A wall-clock time of day with minute resolution.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/clock.h"
#include "core/util/json_fields.h"

namespace trivo {

struct ClockTime {
  std::int64_t hour = 0;    // 0–23
  std::int64_t minute = 0;  // 0–59

  static std::optional<ClockTime> make(std::int64_t hour, std::int64_t minute);
  // Parses "H:M" with any number of digits per piece ("7:5" is 07:05); hour 0–23, minute 0–59.
  static std::optional<ClockTime> parse(std::string_view text);
  // Hour and minute of an instant as the clock reads it locally.
  static ClockTime fromInstant(Instant instant, const Clock& clock);

  // Minutes since midnight.
  [[nodiscard]] std::int64_t minutesOfDay() const { return hour * 60 + minute; }
  // "%02d:%02d".
  [[nodiscard]] std::string description() const;

  bool operator==(const ClockTime&) const = default;
  auto operator<=>(const ClockTime&) const = default;
};

void to_json(Json& j, const ClockTime& t);
void from_json(const Json& j, ClockTime& t);

}  // namespace trivo

// A reminder relative to an item's due time, and the offsets the alert picker offers.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/util/json_fields.h"

namespace trivo {

struct AlertOffset {
  // Minutes from the due time to the alert: the alert fires at due time + minutes, so a
  // reminder ahead of time is negative (-15 is "15 minutes before"), 0 is "at the due time".
  std::int64_t minutes = 0;

  // At the due time, then 5, 10, 15 and 30 minutes, 1 and 2 hours, and 1 day before it.
  static const std::vector<AlertOffset>& offered();

  // The local day and time at which the alert fires for an item due on `day` at `time`.
  [[nodiscard]] std::pair<DayDate, ClockTime> firesAt(const DayDate& day,
                                                      const ClockTime& time) const;
  // For people: "at due time", "15 minutes before", "1 hour before", "2 days after".
  [[nodiscard]] std::string description() const;

  bool operator==(const AlertOffset&) const = default;
  auto operator<=>(const AlertOffset&) const = default;
};

void to_json(Json& j, const AlertOffset& a);
void from_json(const Json& j, AlertOffset& a);

}  // namespace trivo

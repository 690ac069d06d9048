// The text stamp written when something is ticked off: "YYYY-MM-DD HH:MM", appended to a line in
// square brackets ("Call Ana [2026-09-16 10:30]").
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/platform/clock.h"

namespace trivo::DoneStamp {

// The source of "now" for stamps; null means the system clock. Replace it in tests.
extern const Clock* clock;

// The current local date and time, "YYYY-MM-DD HH:MM" (a blank between date and time).
std::string now();
// The text with " [at]" appended.
std::string join(std::string_view text, std::string_view at);
// Takes a trailing bracketed stamp off: ("Call Ana", "2026-09-16 10:30"). A trailing bracket
// that does not hold a stamp (a date, optionally with a time) stays part of the text.
std::pair<std::string, std::optional<std::string>> split(std::string_view text);
// The day and the time of a stamp; nothing when that part is missing or malformed.
std::optional<DayDate> day(std::string_view stamp);
std::optional<ClockTime> time(std::string_view stamp);

}  // namespace trivo::DoneStamp

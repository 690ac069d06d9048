// "On this day": the earlier days worth looking back on from a day.
#pragma once

#include <cstdint>
#include <vector>

#include "core/calendar/day_date.h"

namespace trivo {

class OnThisDay {
 public:
  // The same date in each earlier year down to `earliest`'s year, newest first (29 February
  // only in leap years), then the same weekday in each of the `weeks` weeks before `day`,
  // newest first; a day in both lists is given once, with the years.
  static std::vector<DayDate> days(const DayDate& day, const DayDate& earliest, std::int64_t weeks);
};

}  // namespace trivo

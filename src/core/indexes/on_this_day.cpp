// The days that "on this day" looks back on.
#include "core/indexes/on_this_day.h"

#include <algorithm>

namespace trivo {

std::vector<DayDate> OnThisDay::days(const DayDate& day, const DayDate& earliest,
                                     std::int64_t weeks) {
  std::vector<DayDate> out;
  for (std::int64_t year = day.year - 1; year >= earliest.year; --year) {
    if (auto same = DayDate::make(year, day.month, day.day); same && !(*same < earliest)) {
      out.push_back(*same);
    }
  }
  for (std::int64_t w = 1; w <= weeks; ++w) {
    const DayDate before = day.adding(-7 * w);
    if (before < earliest) break;
    if (std::find(out.begin(), out.end(), before) == out.end()) out.push_back(before);
  }
  return out;
}

}  // namespace trivo

// Display texts for counts and clocks.
#include "core/widgets/words.h"

#include <algorithm>
#include <cmath>

#include "core/util/printf.h"

namespace trivo::widgets {

std::string Words::minutes(std::int64_t count) {
  if (count < 60)
    return stringPrintf("%lld min", static_cast<long long>(std::max<std::int64_t>(count, 0)));
  const auto hours = static_cast<long long>(count / 60);
  const auto rest = static_cast<long long>(count % 60);
  return rest == 0 ? stringPrintf("%lld h", hours) : stringPrintf("%lld h %lld min", hours, rest);
}

std::string Words::clock(double seconds) {
  if (!(seconds > 0)) return "0:00";  // also NaN
  // Anything beyond a week is not a countdown a widget can show; clamp before converting.
  const double clamped = std::clamp(std::ceil(seconds), 0.0, 86400.0 * 7);
  const auto whole = static_cast<long long>(clamped);
  return stringPrintf("%lld:%02lld", whole / 60, whole % 60);
}

}  // namespace trivo::widgets

// The system clock.
#include "core/platform/clock.h"

#include <ctime>

namespace trivo {
namespace {

LocalReading fromTm(const std::tm& tm) {
  return {tm.tm_year + 1900LL, tm.tm_mon + 1LL, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

std::time_t toTimeT(Instant instant) {
  return std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::seconds>(instant));
}

}  // namespace

Instant SystemClock::now() const { return std::chrono::system_clock::now(); }

LocalReading SystemClock::local(Instant instant) const {
  std::time_t t = toTimeT(instant);
  std::tm tm{};
  localtime_r(&t, &tm);
  return fromTm(tm);
}

const SystemClock& SystemClock::shared() {
  static const SystemClock clock;
  return clock;
}

LocalReading readWithOffset(Instant instant, std::chrono::seconds utcOffset) {
  std::time_t t = toTimeT(instant + utcOffset);
  std::tm tm{};
  gmtime_r(&t, &tm);
  return fromTm(tm);
}

}  // namespace trivo

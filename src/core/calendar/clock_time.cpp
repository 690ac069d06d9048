// Wall-clock times.
#include "core/calendar/clock_time.h"

#include "core/calendar/day_date.h"
#include "core/util/printf.h"

namespace trivo {

std::optional<ClockTime> ClockTime::make(std::int64_t hour, std::int64_t minute) {
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59) return std::nullopt;
  return ClockTime{hour, minute};
}

std::optional<ClockTime> ClockTime::parse(std::string_view text) {
  std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  if (text.find(':', colon + 1) != std::string_view::npos) return std::nullopt;
  auto h = detail::parseInteger(text.substr(0, colon));
  auto m = detail::parseInteger(text.substr(colon + 1));
  if (!h || !m) return std::nullopt;
  return make(*h, *m);
}

ClockTime ClockTime::fromInstant(Instant instant, const Clock& clock) {
  LocalReading r = clock.local(instant);
  return ClockTime{r.hour, r.minute};
}

std::string ClockTime::description() const {
  // Org pages hold a stamp with a time for every journal line and clock line, so the valid
  // times skip printf.
  if (hour >= 0 && hour <= 99 && minute >= 0 && minute <= 99) {
    return std::string{static_cast<char>('0' + hour / 10), static_cast<char>('0' + hour % 10), ':',
                       static_cast<char>('0' + minute / 10), static_cast<char>('0' + minute % 10)};
  }
  return stringPrintf("%02lld:%02lld", static_cast<long long>(hour),
                      static_cast<long long>(minute));
}

void to_json(Json& j, const ClockTime& t) {
  j = Json::object();
  json::put(j, "hour", t.hour);
  json::put(j, "minute", t.minute);
}

void from_json(const Json& j, ClockTime& t) {
  json::requireObject(j, "ClockTime");
  ClockTime r;
  json::take(j, "hour", r.hour);
  json::take(j, "minute", r.minute);
  auto valid = ClockTime::make(r.hour, r.minute);
  if (!valid) throw RecordError("ClockTime hour must be 0-23 and minute 0-59");
  t = *valid;
}

}  // namespace trivo

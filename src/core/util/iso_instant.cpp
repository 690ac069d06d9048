// ISO 8601 instant texts in UTC, built on the calendar's day numbers.
#include "core/util/iso_instant.h"

#include <cstdint>

#include "core/calendar/day_date.h"
#include "core/util/printf.h"

namespace trivo {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr std::int64_t kEpochDayNumber = 719468;  // 1970-01-01
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
// 1900-01-01T00:00:00Z and 2262-01-01T00:00:00Z in seconds since the epoch.
constexpr std::int64_t kDistantPastSeconds = -2'208'988'800;
constexpr std::int64_t kLatestSeconds = 9'214'646'400;

std::optional<std::int64_t> digits(std::string_view text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return std::nullopt;
  std::int64_t value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    char c = text[i];
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

}  // namespace

Instant distantPast() { return Instant(std::chrono::seconds(kDistantPastSeconds)); }

std::string isoInstantString(Instant instant) {
  if (instant <= distantPast()) return "0001-01-01T00:00:00.000Z";
  const std::int64_t millis = std::chrono::floor<milliseconds>(instant.time_since_epoch()).count();
  const std::int64_t seconds = detail::floorDiv(millis, 1000);
  const std::int64_t days = detail::floorDiv(seconds, kSecondsPerDay);
  const std::int64_t secondOfDay = detail::floorMod(seconds, kSecondsPerDay);
  DayDate date = DayDate::fromDayNumber(days + kEpochDayNumber);
  return stringPrintf("%04lld-%02lld-%02lldT%02lld:%02lld:%02lld.%03lldZ",
                      static_cast<long long>(date.year), static_cast<long long>(date.month),
                      static_cast<long long>(date.day), static_cast<long long>(secondOfDay / 3600),
                      static_cast<long long>(secondOfDay / 60 % 60),
                      static_cast<long long>(secondOfDay % 60),
                      static_cast<long long>(detail::floorMod(millis, 1000)));
}

std::optional<Instant> parseIsoInstant(std::string_view text) {
  // Fixed part: YYYY-MM-DDTHH:MM:SS
  if (text.size() < 20 || text[4] != '-' || text[7] != '-' ||
      (text[10] != 'T' && text[10] != 't') || text[13] != ':' || text[16] != ':') {
    return std::nullopt;
  }
  auto date = DayDate::parse(text.substr(0, 10));
  auto hour = digits(text, 11, 2);
  auto minute = digits(text, 14, 2);
  auto second = digits(text, 17, 2);
  if (!date || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 60) {
    return std::nullopt;
  }
  std::size_t at = 19;
  std::int64_t nanos = 0;
  if (text[at] == '.') {
    ++at;
    std::size_t count = 0;
    std::int64_t scale = kNanosPerSecond;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
      if (++count > 9) return std::nullopt;
      scale /= 10;
      nanos += (text[at] - '0') * scale;
      ++at;
    }
    if (count == 0) return std::nullopt;
  }
  std::int64_t offset = 0;
  std::string_view zone = text.substr(at);
  if (zone == "Z" || zone == "z") {
    offset = 0;
  } else if (zone.size() == 6 && (zone[0] == '+' || zone[0] == '-') && zone[3] == ':') {
    auto oh = digits(zone, 1, 2);
    auto om = digits(zone, 4, 2);
    if (!oh || !om || *oh > 23 || *om > 59) return std::nullopt;
    offset = (*oh * 60 + *om) * 60 * (zone[0] == '-' ? -1 : 1);
  } else {
    return std::nullopt;
  }
  // Years far outside the window are settled before any arithmetic can overflow.
  if (date->year < 1800) return distantPast();
  if (date->year > 2300) return std::nullopt;
  const std::int64_t seconds = (date->dayNumber() - kEpochDayNumber) * kSecondsPerDay +
                               *hour * 3600 + *minute * 60 + *second - offset;
  if (seconds <= kDistantPastSeconds) return distantPast();
  if (seconds >= kLatestSeconds) return std::nullopt;
  return Instant(std::chrono::seconds(seconds)) + nanoseconds(nanos);
}

}  // namespace trivo

void nlohmann::adl_serializer<trivo::Instant>::to_json(trivo::Json& j,
                                                       const trivo::Instant& instant) {
  j = trivo::isoInstantString(instant);
}

void nlohmann::adl_serializer<trivo::Instant>::from_json(const trivo::Json& j,
                                                         trivo::Instant& instant) {
  if (!j.is_string()) throw trivo::RecordError("a date must be a string");
  auto parsed = trivo::parseIsoInstant(j.get_ref<const std::string&>());
  if (!parsed) {
    throw trivo::RecordError("\"" + j.get_ref<const std::string&>() + "\" is not a date");
  }
  instant = *parsed;
}

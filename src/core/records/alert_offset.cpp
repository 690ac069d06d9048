// Alert offsets: when they fire and how they read.
#include "core/records/alert_offset.h"

namespace trivo {

const std::vector<AlertOffset>& AlertOffset::offered() {
  static const std::vector<AlertOffset> list = {{0},   {-5},  {-10},  {-15},
                                                {-30}, {-60}, {-120}, {-1440}};
  return list;
}

std::pair<DayDate, ClockTime> AlertOffset::firesAt(const DayDate& day,
                                                   const ClockTime& time) const {
  const std::int64_t total = detail::checkedAdd(time.minutesOfDay(), minutes);
  const std::int64_t dayShift = detail::floorDiv(total, 1440);
  const std::int64_t inDay = detail::floorMod(total, 1440);
  return {day.adding(dayShift), ClockTime{inDay / 60, inDay % 60}};
}

std::string AlertOffset::description() const {
  if (minutes == 0) return "at due time";
  const std::uint64_t size =
      minutes < 0 ? 0 - static_cast<std::uint64_t>(minutes) : static_cast<std::uint64_t>(minutes);
  std::uint64_t count = size;
  const char* unit = "minute";
  if (size % 1440 == 0) {
    count = size / 1440;
    unit = "day";
  } else if (size % 60 == 0) {
    count = size / 60;
    unit = "hour";
  }
  return std::to_string(count) + " " + unit + (count == 1 ? "" : "s") +
         (minutes < 0 ? " before" : " after");
}

void to_json(Json& j, const AlertOffset& a) {
  j = Json::object();
  json::put(j, "minutes", a.minutes);
}

void from_json(const Json& j, AlertOffset& a) {
  json::requireObject(j, "AlertOffset");
  AlertOffset r;
  json::take(j, "minutes", r.minutes);
  a = r;
}

}  // namespace trivo

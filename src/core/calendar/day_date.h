// Calendar values: a day of the proleptic Gregorian calendar and its weekday. All arithmetic
// goes through an integer day number, so results never depend on a time zone or locale.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/clock.h"
#include "core/util/json_fields.h"

namespace trivo {

struct ISOWeek;
struct YearMonth;
struct YearQuarter;

// A calendar day. Fields are public for aggregate use; `make` and `parse` validate, a plain
// aggregate `DayDate{y, m, d}` does not.
struct DayDate {
  // Raw values 1–7, Monday first.
  enum class Weekday : int { monday = 1, tuesday, wednesday, thursday, friday, saturday, sunday };
  static constexpr std::array<Weekday, 7> allWeekdays = {
      Weekday::monday, Weekday::tuesday,  Weekday::wednesday, Weekday::thursday,
      Weekday::friday, Weekday::saturday, Weekday::sunday};

  std::int64_t year = 1970;
  std::int64_t month = 1;
  std::int64_t day = 1;

  // Nothing unless month is 1–12 and day lies within that month; the year is not checked.
  static std::optional<DayDate> make(std::int64_t year, std::int64_t month, std::int64_t day);
  // Parses exactly "YYYY-MM-DD" (pieces of 4, 2 and 2 characters); anything else is nothing.
  static std::optional<DayDate> parse(std::string_view text);
  // The inverse of dayNumber.
  static DayDate fromDayNumber(std::int64_t dayNumber);
  // The local day of an instant as the clock reads it.
  static DayDate fromInstant(Instant instant, const Clock& clock);
  // "Today": the pinned day when TRIVO_TODAY is set, otherwise the clock's local day.
  static DayDate today(const Clock& clock = SystemClock::shared());
  // TRIVO_TODAY, read once per process; nothing when unset or not a "YYYY-MM-DD" day.
  static std::optional<DayDate> pinnedToday();

  static bool isLeap(std::int64_t year);
  // Days in a month; a month outside 1–12 is answered like February.
  static std::int64_t daysIn(std::int64_t month, std::int64_t year);

  // Days since 0000-03-01 (1970-01-01 is 719468). Overflow aborts.
  [[nodiscard]] std::int64_t dayNumber() const;
  [[nodiscard]] DayDate adding(std::int64_t days) const;
  // This day's number minus the other's: positive when this day is later.
  [[nodiscard]] std::int64_t daysSince(const DayDate& other) const;
  [[nodiscard]] Weekday weekday() const;
  [[nodiscard]] YearMonth yearMonth() const;
  [[nodiscard]] YearQuarter yearQuarter() const;
  [[nodiscard]] bool isLastDayOfMonth() const;
  [[nodiscard]] ISOWeek isoWeek() const;
  // "%04d-%02d-%02d".
  [[nodiscard]] std::string isoString() const;
  [[nodiscard]] std::string description() const { return isoString(); }

  bool operator==(const DayDate&) const = default;
  auto operator<=>(const DayDate&) const = default;
};

using Weekday = DayDate::Weekday;

// Monday 0 … Sunday 6.
inline int weekdayIndex(Weekday w) { return static_cast<int>(w) - 1; }
// The weekday of an index 0–6 (Monday 0); the index is taken modulo 7.
Weekday weekdayAt(std::int64_t index);
// The English weekday name, "Monday" … "Sunday".
std::string_view weekdayName(Weekday w);
// Lower-case case name, "monday" … "sunday".
std::string_view weekdayCaseName(Weekday w);
std::optional<Weekday> weekdayFromCaseName(std::string_view name);

void to_json(Json& j, const DayDate& d);
void from_json(const Json& j, DayDate& d);
void to_json(Json& j, const Weekday& w);
void from_json(const Json& j, Weekday& w);

// The English name of a month, 1 to 12 ("January"); empty for any other number.
std::string_view englishMonthName(std::int64_t month);

namespace detail {
// Checked integer arithmetic: overflow is a fatal error, never a wrap.
std::int64_t checkedAdd(std::int64_t a, std::int64_t b);
std::int64_t checkedMul(std::int64_t a, std::int64_t b);
// Parses an optionally signed base-10 integer that fills the whole text.
std::optional<std::int64_t> parseInteger(std::string_view text);
// Floor division and non-negative remainder.
std::int64_t floorDiv(std::int64_t a, std::int64_t b);
std::int64_t floorMod(std::int64_t a, std::int64_t b);
}  // namespace detail

}  // namespace trivo

template <>
struct std::hash<trivo::DayDate> {
  std::size_t operator()(const trivo::DayDate& d) const noexcept {
    return std::hash<std::int64_t>()(d.dayNumber());
  }
};

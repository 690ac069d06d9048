// Month and week grids for calendar views, laid out for a chosen first day of the week.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"

namespace trivo {

// The first column of calendar grids.
enum class WeekStart { monday, sunday };

namespace CalendarGrid {

struct Row {
  // The ISO week of the row's Monday (a Sunday-first row begins the day before it).
  ISOWeek week;
  // Seven entries in column order; absent where the column's day lies outside the month shown.
  std::array<std::optional<DayDate>, 7> days;
  bool operator==(const Row&) const = default;
};

struct Month {
  YearMonth month;
  std::array<Weekday, 7> weekdayColumns{};
  std::vector<Row> rows;
  bool operator==(const Month&) const = default;
};

// Monday…Sunday, or Sunday followed by Monday…Saturday.
std::array<Weekday, 7> columns(WeekStart weekStart);
// One month: four to six rows, ending with the row that holds the month's last day.
Month month(const YearMonth& month, WeekStart weekStart);
// The twelve months of a year, January first.
std::vector<Month> year(std::int64_t year, WeekStart weekStart);
// The seven days of an ISO week in column order (every entry present).
Row strip(const ISOWeek& week, WeekStart weekStart);
// The row of seven consecutive days, in column order, that contains the day.
Row week(const DayDate& showing, WeekStart weekStart);

}  // namespace CalendarGrid
}  // namespace trivo

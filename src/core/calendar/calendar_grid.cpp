// Month and week grids.
#include "core/calendar/calendar_grid.h"

#include <algorithm>

namespace trivo::CalendarGrid {
namespace {

std::int64_t columnOf(Weekday weekday, WeekStart weekStart) {
  auto cols = columns(weekStart);
  return std::find(cols.begin(), cols.end(), weekday) - cols.begin();
}

// Seven consecutive days from `start`; days outside `only` (when given) are absent.
Row rowFrom(const DayDate& start, const std::optional<YearMonth>& only) {
  Row row;
  for (std::size_t i = 0; i < 7; ++i) {
    DayDate d = start.adding(static_cast<std::int64_t>(i));
    if (!only || d.yearMonth() == *only) row.days[i] = d;
  }
  // The row's Monday is its first day, or the second when the row starts on a Sunday.
  DayDate monday = start.weekday() == Weekday::sunday ? start.adding(1) : start;
  row.week = monday.isoWeek();
  return row;
}

}  // namespace

std::array<Weekday, 7> columns(WeekStart weekStart) {
  if (weekStart == WeekStart::monday) return DayDate::allWeekdays;
  return {Weekday::sunday,   Weekday::monday, Weekday::tuesday, Weekday::wednesday,
          Weekday::thursday, Weekday::friday, Weekday::saturday};
}

Month month(const YearMonth& ym, WeekStart weekStart) {
  Month result;
  result.month = ym;
  result.weekdayColumns = columns(weekStart);
  const DayDate first = ym.firstDay();
  const DayDate last = ym.lastDay();
  DayDate start = first.adding(-columnOf(first.weekday(), weekStart));
  while (start <= last) {
    result.rows.push_back(rowFrom(start, ym));
    start = start.adding(7);
  }
  return result;
}

std::vector<Month> year(std::int64_t y, WeekStart weekStart) {
  std::vector<Month> months;
  for (std::int64_t m = 1; m <= 12; ++m) months.push_back(month(YearMonth{y, m}, weekStart));
  return months;
}

Row strip(const ISOWeek& w, WeekStart weekStart) {
  DayDate start = w.monday();
  if (weekStart == WeekStart::sunday) start = start.adding(-1);
  Row row = rowFrom(start, std::nullopt);
  row.week = w;
  return row;
}

Row week(const DayDate& showing, WeekStart weekStart) {
  return rowFrom(showing.adding(-columnOf(showing.weekday(), weekStart)), std::nullopt);
}

}  // namespace trivo::CalendarGrid

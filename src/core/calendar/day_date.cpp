// Day numbers, weekdays and the text form of a day.
#include <array>
#include "core/calendar/day_date.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "core/calendar/periods.h"
#include "core/util/printf.h"

namespace trivo {
namespace detail {

std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
  std::int64_t r = 0;
  if (__builtin_add_overflow(a, b, &r)) {
    std::fputs("trivo: calendar arithmetic overflowed\n", stderr);
    std::abort();
  }
  return r;
}

std::int64_t checkedMul(std::int64_t a, std::int64_t b) {
  std::int64_t r = 0;
  if (__builtin_mul_overflow(a, b, &r)) {
    std::fputs("trivo: calendar arithmetic overflowed\n", stderr);
    std::abort();
  }
  return r;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  if (text.empty()) return std::nullopt;
  // from_chars accepts "-" but not "+"; a leading "+" is allowed like the "-".
  if (text.front() == '+') {
    text.remove_prefix(1);
    if (text.empty() || text.front() == '-') return std::nullopt;
  }
  std::int64_t value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value, 10);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
  std::int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

std::int64_t floorMod(std::int64_t a, std::int64_t b) {
  std::int64_t r = a % b;
  if (r != 0 && ((r < 0) != (b < 0))) r += b;
  return r;
}

}  // namespace detail

using detail::checkedAdd;
using detail::checkedMul;

std::optional<DayDate> DayDate::make(std::int64_t year, std::int64_t month, std::int64_t day) {
  if (month < 1 || month > 12) return std::nullopt;
  if (day < 1 || day > daysIn(month, year)) return std::nullopt;
  return DayDate{year, month, day};
}

std::optional<DayDate> DayDate::parse(std::string_view text) {
  std::string_view pieces[3];
  std::size_t count = 0;
  std::size_t start = 0;
  while (true) {
    std::size_t dash = text.find('-', start);
    if (count == 3) return std::nullopt;
    pieces[count++] = text.substr(start, dash == std::string_view::npos ? dash : dash - start);
    if (dash == std::string_view::npos) break;
    start = dash + 1;
  }
  if (count != 3) return std::nullopt;
  if (pieces[0].size() != 4 || pieces[1].size() != 2 || pieces[2].size() != 2) return std::nullopt;
  auto y = detail::parseInteger(pieces[0]);
  auto m = detail::parseInteger(pieces[1]);
  auto d = detail::parseInteger(pieces[2]);
  if (!y || !m || !d) return std::nullopt;
  return make(*y, *m, *d);
}

bool DayDate::isLeap(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

std::int64_t DayDate::daysIn(std::int64_t month, std::int64_t year) {
  static constexpr std::int64_t table[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  // Anything outside 1–12 is answered like February; callers only pass valid months.
  if (month >= 1 && month <= 12 && month != 2) return table[month - 1];
  return isLeap(year) ? 29 : 28;
}

std::int64_t DayDate::dayNumber() const {
  const std::int64_t y = month <= 2 ? checkedAdd(year, -1) : year;
  const std::int64_t era = (y >= 0 ? y : checkedAdd(y, -399)) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * ((month + 9) % 12) + 2) / 5 + day - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return checkedAdd(checkedMul(era, 146097), doe);
}

DayDate DayDate::fromDayNumber(std::int64_t n) {
  const std::int64_t era = (n >= 0 ? n : checkedAdd(n, -146096)) / 146097;
  const std::int64_t doe = n - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const std::int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const std::int64_t m = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t y = checkedAdd(checkedMul(era, 400), yoe);
  return DayDate{m <= 2 ? checkedAdd(y, 1) : y, m, d};
}

DayDate DayDate::fromInstant(Instant instant, const Clock& clock) {
  LocalReading r = clock.local(instant);
  return DayDate{r.year, r.month, r.day};
}

std::optional<DayDate> DayDate::pinnedToday() {
  static const std::optional<DayDate> pinned = [] {
    const char* value = std::getenv("TRIVO_TODAY");
    return value ? parse(value) : std::nullopt;
  }();
  return pinned;
}

DayDate DayDate::today(const Clock& clock) {
  if (auto pinned = pinnedToday()) return *pinned;
  return fromInstant(clock.now(), clock);
}

DayDate DayDate::adding(std::int64_t days) const {
  return fromDayNumber(checkedAdd(dayNumber(), days));
}

std::int64_t DayDate::daysSince(const DayDate& other) const {
  std::int64_t r = 0;
  if (__builtin_sub_overflow(dayNumber(), other.dayNumber(), &r)) std::abort();
  return r;
}

DayDate::Weekday DayDate::weekday() const {
  return weekdayAt(detail::floorMod(checkedAdd(dayNumber(), -719465), 7));
}

YearMonth DayDate::yearMonth() const { return YearMonth{year, month}; }

YearQuarter DayDate::yearQuarter() const { return YearQuarter{year, (month - 1) / 3 + 1}; }

bool DayDate::isLastDayOfMonth() const { return day == daysIn(month, year); }

ISOWeek DayDate::isoWeek() const {
  const int k = weekdayIndex(weekday());
  const DayDate thursday = adding(3 - k);
  const std::int64_t y = thursday.year;
  const std::int64_t week = (thursday.dayNumber() - ISOWeek::week1Monday(y).dayNumber()) / 7 + 1;
  return ISOWeek{y, week};
}

std::string DayDate::isoString() const {
  // Pages hold thousands of these, so the common four-digit year skips printf.
  if (year >= 0 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31) {
    std::string out(10, '-');
    const auto put = [&out](std::size_t at, std::int64_t value, int width) {
      for (int i = width - 1; i >= 0; --i, value /= 10) {
        out[at + static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
      }
    };
    put(0, year, 4);
    put(5, month, 2);
    put(8, day, 2);
    return out;
  }
  return stringPrintf("%04lld-%02lld-%02lld", static_cast<long long>(year),
                      static_cast<long long>(month), static_cast<long long>(day));
}

Weekday weekdayAt(std::int64_t index) {
  return static_cast<Weekday>(detail::floorMod(index, 7) + 1);
}

std::string_view weekdayName(Weekday w) {
  static constexpr std::string_view names[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                               "Friday", "Saturday", "Sunday"};
  return names[weekdayIndex(w)];
}

std::string_view weekdayCaseName(Weekday w) {
  static constexpr std::string_view names[] = {"monday", "tuesday",  "wednesday", "thursday",
                                               "friday", "saturday", "sunday"};
  return names[weekdayIndex(w)];
}

std::optional<Weekday> weekdayFromCaseName(std::string_view name) {
  for (Weekday w : DayDate::allWeekdays) {
    if (weekdayCaseName(w) == name) return w;
  }
  return std::nullopt;
}

void to_json(Json& j, const DayDate& d) {
  j = Json::object();
  json::put(j, "year", d.year);
  json::put(j, "month", d.month);
  json::put(j, "day", d.day);
}

void from_json(const Json& j, DayDate& d) {
  json::requireObject(j, "DayDate");
  DayDate r;
  json::take(j, "year", r.year);
  json::take(j, "month", r.month);
  json::take(j, "day", r.day);
  auto valid = DayDate::make(r.year, r.month, r.day);
  if (!valid) throw RecordError("DayDate " + r.isoString() + " is not a calendar day");
  d = *valid;
}

// Weekdays are written as their raw values 1–7.
void to_json(Json& j, const Weekday& w) { j = static_cast<int>(w); }

void from_json(const Json& j, Weekday& w) {
  if (!j.is_number_integer()) throw RecordError("a weekday must be an integer 1-7");
  auto raw = j.get<std::int64_t>();
  if (raw < 1 || raw > 7) throw RecordError("a weekday must be an integer 1-7");
  w = static_cast<Weekday>(raw);
}

std::string_view englishMonthName(std::int64_t month) {
  static constexpr std::array<std::string_view, 12> kNames = {
      "January", "February", "March",     "April",   "May",      "June",
      "July",    "August",   "September", "October", "November", "December"};
  return month >= 1 && month <= 12 ? kNames[static_cast<std::size_t>(month - 1)]
                                   : std::string_view();
}

}  // namespace trivo

// ISO weeks, months and quarters.
#include "core/calendar/periods.h"

#include "core/util/printf.h"

namespace trivo {
namespace {

using detail::checkedAdd;
using detail::checkedMul;
using detail::parseInteger;

// Splits on '-' into exactly two pieces.
bool splitTwo(std::string_view text, std::string_view& first, std::string_view& second) {
  std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return false;
  if (text.find('-', dash + 1) != std::string_view::npos) return false;
  first = text.substr(0, dash);
  second = text.substr(dash + 1);
  return true;
}

long long ll(std::int64_t v) { return static_cast<long long>(v); }

}  // namespace

// --- YearQuarter

std::optional<YearQuarter> YearQuarter::parse(std::string_view id) {
  std::string_view y, q;
  if (!splitTwo(id, y, q)) return std::nullopt;
  if (y.size() != 4 || q.size() != 2 || q[0] != 'Q') return std::nullopt;
  auto year = parseInteger(y);
  auto quarter = parseInteger(q.substr(1));
  if (!year || !quarter || *quarter < 1 || *quarter > 4) return std::nullopt;
  return YearQuarter{*year, *quarter};
}

YearQuarter YearQuarter::next() const {
  return quarter == 4 ? YearQuarter{checkedAdd(year, 1), 1} : YearQuarter{year, quarter + 1};
}

YearQuarter YearQuarter::previous() const {
  return quarter == 1 ? YearQuarter{checkedAdd(year, -1), 4} : YearQuarter{year, quarter - 1};
}

DayDate YearQuarter::firstDay() const { return DayDate{year, (quarter - 1) * 3 + 1, 1}; }

DayDate YearQuarter::lastDay() const { return YearMonth{year, quarter * 3}.lastDay(); }

std::string YearQuarter::id() const { return stringPrintf("%04lld-Q%lld", ll(year), ll(quarter)); }

// --- YearMonth

std::optional<YearMonth> YearMonth::parse(std::string_view id) {
  std::string_view y, m;
  if (!splitTwo(id, y, m)) return std::nullopt;
  if (y.size() != 4 || m.size() != 2) return std::nullopt;
  auto year = parseInteger(y);
  auto month = parseInteger(m);
  if (!year || !month || *month < 1 || *month > 12) return std::nullopt;
  return YearMonth{*year, *month};
}

YearQuarter YearMonth::quarter() const { return YearQuarter{year, (month - 1) / 3 + 1}; }

YearMonth YearMonth::next() const {
  return month == 12 ? YearMonth{checkedAdd(year, 1), 1} : YearMonth{year, month + 1};
}

YearMonth YearMonth::previous() const {
  return month == 1 ? YearMonth{checkedAdd(year, -1), 12} : YearMonth{year, month - 1};
}

DayDate YearMonth::firstDay() const { return DayDate{year, month, 1}; }

DayDate YearMonth::lastDay() const { return DayDate{year, month, dayCount()}; }

std::int64_t YearMonth::dayCount() const { return DayDate::daysIn(month, year); }

std::string YearMonth::id() const { return stringPrintf("%04lld-%02lld", ll(year), ll(month)); }

// --- ISOWeek

std::optional<ISOWeek> ISOWeek::parse(std::string_view id) {
  std::string_view y, w;
  if (!splitTwo(id, y, w)) return std::nullopt;
  if (y.size() != 4 || w.size() != 3 || w[0] != 'W') return std::nullopt;
  auto year = parseInteger(y);
  auto week = parseInteger(w.substr(1));
  if (!year || !week || *week < 1 || *week > 53) return std::nullopt;
  return ISOWeek{*year, *week};
}

DayDate ISOWeek::week1Monday(std::int64_t year) {
  const DayDate jan4{year, 1, 4};
  return jan4.adding(-weekdayIndex(jan4.weekday()));
}

std::int64_t ISOWeek::count(std::int64_t year) { return DayDate{year, 12, 28}.isoWeek().week; }

std::vector<ISOWeek> ISOWeek::weeks(const YearQuarter& quarter) {
  std::vector<ISOWeek> result;
  ISOWeek w = quarter.firstDay().isoWeek();
  if (w.owningQuarter() != quarter) w = w.next();
  for (; w.owningQuarter() == quarter; w = w.next()) result.push_back(w);
  return result;
}

DayDate ISOWeek::monday() const {
  return week1Monday(year).adding(checkedMul(checkedAdd(week, -1), 7));
}

DayDate ISOWeek::thursday() const { return monday().adding(3); }
DayDate ISOWeek::friday() const { return monday().adding(4); }
DayDate ISOWeek::sunday() const { return monday().adding(6); }
DayDate ISOWeek::day(Weekday weekday) const { return monday().adding(weekdayIndex(weekday)); }
ISOWeek ISOWeek::next() const { return monday().adding(7).isoWeek(); }
ISOWeek ISOWeek::previous() const { return monday().adding(-7).isoWeek(); }
YearMonth ISOWeek::owningMonth() const { return monday().yearMonth(); }
YearQuarter ISOWeek::owningQuarter() const { return monday().yearQuarter(); }
std::string ISOWeek::id() const { return stringPrintf("%04lld-W%02lld", ll(year), ll(week)); }

// --- JSON

void to_json(Json& j, const ISOWeek& w) {
  j = Json::object();
  json::put(j, "year", w.year);
  json::put(j, "week", w.week);
}

void from_json(const Json& j, ISOWeek& w) {
  json::requireObject(j, "ISOWeek");
  ISOWeek r;
  json::take(j, "year", r.year);
  json::take(j, "week", r.week);
  if (r.week < 1 || r.week > 53) throw RecordError("ISOWeek week must be 1-53");
  w = r;
}

void to_json(Json& j, const YearMonth& m) {
  j = Json::object();
  json::put(j, "year", m.year);
  json::put(j, "month", m.month);
}

void from_json(const Json& j, YearMonth& m) {
  json::requireObject(j, "YearMonth");
  YearMonth r;
  json::take(j, "year", r.year);
  json::take(j, "month", r.month);
  if (r.month < 1 || r.month > 12) throw RecordError("YearMonth month must be 1-12");
  m = r;
}

void to_json(Json& j, const YearQuarter& q) {
  j = Json::object();
  json::put(j, "year", q.year);
  json::put(j, "quarter", q.quarter);
}

void from_json(const Json& j, YearQuarter& q) {
  json::requireObject(j, "YearQuarter");
  YearQuarter r;
  json::take(j, "year", r.year);
  json::take(j, "quarter", r.quarter);
  if (r.quarter < 1 || r.quarter > 4) throw RecordError("YearQuarter quarter must be 1-4");
  q = r;
}

}  // namespace trivo

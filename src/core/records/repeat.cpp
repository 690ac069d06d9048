// Stepping recurrence rules through the calendar, and their Org repeater text.
#include "core/records/repeat.h"

#include <algorithm>

namespace trivo {
namespace {

// Steps that would leave these years yield no dates: far beyond any plan, and well inside
// the range where day numbers cannot overflow.
constexpr std::int64_t kYearLimit = 1'000'000;

std::int64_t stepSize(const Repeat& r) { return r.every < 1 ? 1 : r.every; }

// base + k × size, or nothing on overflow.
std::optional<std::int64_t> offsetBy(std::int64_t base, std::int64_t k, std::int64_t size) {
  std::int64_t product = 0;
  std::int64_t sum = 0;
  if (__builtin_mul_overflow(k, size, &product)) return std::nullopt;
  if (__builtin_add_overflow(base, product, &sum)) return std::nullopt;
  return sum;
}

bool yearInRange(std::int64_t year) { return year >= -kYearLimit && year <= kYearLimit; }

std::int64_t mondayNumber(const DayDate& d) { return d.dayNumber() - weekdayIndex(d.weekday()); }

std::int64_t monthIndex(const DayDate& d) { return d.year * 12 + (d.month - 1); }

template <class T>
std::vector<T> sortedUnique(std::vector<T> values) {
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

// The day of the month that an ordinal rule picks, if the month has that many such days.
std::optional<std::int64_t> ordinalDay(const YearMonth& month, const Repeat::OnThe& rule) {
  const std::int64_t length = DayDate::daysIn(month.month, month.year);
  std::array<std::int64_t, 31> matching{};
  std::int64_t count = 0;
  for (std::int64_t day = 1; day <= length; ++day) {
    if (rule.kind.matches(DayDate{month.year, month.month, day})) {
      matching[static_cast<std::size_t>(count++)] = day;
    }
  }
  if (rule.ordinal > 0 && rule.ordinal <= count) {
    return matching[static_cast<std::size_t>(rule.ordinal - 1)];
  }
  if (rule.ordinal < 0 && rule.ordinal >= -count) {
    return matching[static_cast<std::size_t>(count + rule.ordinal)];
  }
  return std::nullopt;
}

}  // namespace

Repeat Repeat::daily(std::int64_t every) {
  Repeat r;
  r.every = every;
  return r;
}

Repeat Repeat::weekly(std::int64_t every, std::vector<Weekday> weekdays) {
  Repeat r = daily(every);
  r.unit = Unit::week;
  r.weekdays = std::move(weekdays);
  return r;
}

Repeat Repeat::monthly(std::int64_t every, std::vector<std::int64_t> monthDays,
                       std::optional<OnThe> onThe) {
  Repeat r = daily(every);
  r.unit = Unit::month;
  r.monthDays = std::move(monthDays);
  r.onThe = onThe;
  return r;
}

Repeat Repeat::yearly(std::int64_t every, std::vector<std::int64_t> months,
                      std::vector<std::int64_t> monthDays, std::optional<OnThe> onThe) {
  Repeat r = monthly(every, std::move(monthDays), onThe);
  r.unit = Unit::year;
  r.months = std::move(months);
  return r;
}

Repeat Repeat::counted(From mode) const {
  Repeat r = *this;
  r.from = mode;
  return r;
}

bool Repeat::Kind::matches(const DayDate& d) const {
  const Weekday w = d.weekday();
  const bool isWeekend = w == Weekday::saturday || w == Weekday::sunday;
  switch (which) {
    case Case::weekday:
      return w == weekday;
    case Case::day:
      return true;
    case Case::workday:
      return !isWeekend;
    case Case::weekend:
      return isWeekend;
  }
  return false;
}

std::vector<DayDate> Repeat::days(const YearMonth& month, const DayDate& anchor,
                                  const std::vector<std::int64_t>& numbers) const {
  const std::int64_t length = DayDate::daysIn(month.month, month.year);
  std::vector<std::int64_t> picked;
  for (std::int64_t n : numbers) {
    // Clamped rather than skipped: "the 31st" means the last day of a shorter month, which is
    // what someone paying rent "at the end of the month" wants; the same holds from the end.
    if (n > 0) {
      picked.push_back(std::min(n, length));
    } else if (n < 0) {
      picked.push_back(n < -length ? 1 : length + 1 + n);
    }
  }
  if (onThe) {
    if (auto day = ordinalDay(month, *onThe)) picked.push_back(*day);
  }
  if (numbers.empty() && !onThe) picked.push_back(std::min(anchor.day, length));
  std::vector<DayDate> result;
  for (std::int64_t day : sortedUnique(std::move(picked))) {
    result.push_back(DayDate{month.year, month.month, day});
  }
  return result;
}

std::vector<DayDate> Repeat::dates(std::int64_t step, const DayDate& anchor) const {
  const std::int64_t size = stepSize(*this);
  std::vector<DayDate> result;
  switch (unit) {
    case Unit::day: {
      auto n = offsetBy(anchor.dayNumber(), step, size);
      if (!n) return {};
      const DayDate d = DayDate::fromDayNumber(*n);
      if (yearInRange(d.year)) result.push_back(d);
      return result;
    }
    case Unit::week: {
      std::int64_t weekSize = 0;
      if (__builtin_mul_overflow(size, 7, &weekSize)) return {};
      auto start = offsetBy(mondayNumber(anchor), step, weekSize);
      if (!start || !yearInRange(DayDate::fromDayNumber(*start).year)) return {};
      std::vector<Weekday> chosen = weekdays.empty() ? std::vector{anchor.weekday()} : weekdays;
      for (Weekday w : sortedUnique(std::move(chosen))) {
        result.push_back(DayDate::fromDayNumber(*start + weekdayIndex(w)));
      }
      return result;
    }
    case Unit::month: {
      auto n = offsetBy(monthIndex(anchor), step, size);
      if (!n) return {};
      const YearMonth month{detail::floorDiv(*n, 12), detail::floorMod(*n, 12) + 1};
      if (!yearInRange(month.year)) return {};
      return days(month, anchor, monthDays);
    }
    case Unit::year: {
      auto year = offsetBy(anchor.year, step, size);
      if (!year || !yearInRange(*year)) return {};
      std::vector<std::int64_t> chosen = months.empty() ? std::vector{anchor.month} : months;
      for (std::int64_t month : sortedUnique(std::move(chosen))) {
        if (month < 1 || month > 12) continue;
        auto picked = days(YearMonth{*year, month}, anchor, monthDays);
        result.insert(result.end(), picked.begin(), picked.end());
      }
      return result;
    }
  }
  return result;
}

std::int64_t Repeat::jumpSteps(const DayDate& start, const DayDate& target) const {
  const std::int64_t size = stepSize(*this);
  switch (unit) {
    case Unit::day:
      return detail::floorDiv(target.daysSince(start), size);
    case Unit::week:
      return detail::floorDiv((mondayNumber(target) - mondayNumber(start)) / 7, size);
    case Unit::month:
      return detail::floorDiv(monthIndex(target) - monthIndex(start), size);
    case Unit::year:
      return detail::floorDiv(target.year - start.year, size);
  }
  return 0;
}

std::optional<DayDate> Repeat::next(const DayDate& after, const DayDate& anchor) const {
  const std::int64_t start =
      anchor >= after ? 0 : std::max<std::int64_t>(jumpSteps(anchor, after) - 1, 0);
  for (std::int64_t i = 0; i < kMaxSteps; ++i) {
    for (const DayDate& candidate : dates(start + i, anchor)) {
      if (candidate >= anchor && candidate > after) return candidate;
    }
  }
  return std::nullopt;
}

std::optional<DayDate> Repeat::following(const DayDate& due, const DayDate& doneOn) const {
  switch (from) {
    case From::due:
      return next(due, due);
    case From::done: {
      // Counting restarts on the completion day, so a weekly rule keeps only its days of the
      // week; everything else carries over as it is.
      Repeat rule = *this;
      if (unit == Unit::week) {
        rule = weekly(every, sortedUnique(weekdays)).counted(from);
      }
      return rule.next(doneOn, doneOn);
    }
    case From::catchUp:
      return next(std::max(due, doneOn), due);
  }
  return std::nullopt;
}

std::optional<DayDate> Repeat::firstDate(const DayDate& onOrAfter) const {
  return next(onOrAfter.adding(-1), onOrAfter);
}

std::vector<DayDate> Repeat::dates(const DayDate& first, const DayDate& through,
                                   std::size_t limit) const {
  return occurrences(first, first, through, limit);
}

std::vector<DayDate> Repeat::occurrences(const DayDate& anchor, const DayDate& first,
                                         const DayDate& through, std::size_t limit) const {
  std::vector<DayDate> result;
  const DayDate start = std::max(first, anchor);
  if (limit == 0 || through < start) return result;
  for (auto day = next(start.adding(-1), anchor); day && *day <= through;
       day = next(*day, anchor)) {
    result.push_back(*day);
    if (result.size() >= limit) break;
  }
  return result;
}

std::string Repeat::orgRepeater() const {
  static constexpr std::string_view prefixes[] = {"+", ".+", "++"};
  static constexpr char letters[] = {'d', 'w', 'm', 'y'};
  std::string text(prefixes[static_cast<std::size_t>(from)]);
  text += std::to_string(stepSize(*this));
  text += letters[static_cast<std::size_t>(unit)];
  return text;
}

std::optional<std::string> Repeat::orgRepeater(const DayDate& due) const {
  auto onlyOrNone = [](const auto& values, const auto& value) {
    return std::all_of(values.begin(), values.end(), [&](const auto& v) { return v == value; });
  };
  bool plain = true;
  switch (unit) {
    case Unit::day:
      break;
    case Unit::week:
      plain = onlyOrNone(weekdays, due.weekday());
      break;
    case Unit::month:
      plain = !onThe && onlyOrNone(monthDays, due.day);
      break;
    case Unit::year:
      plain = !onThe && onlyOrNone(monthDays, due.day) && onlyOrNone(months, due.month);
      break;
  }
  if (!plain) return std::nullopt;
  return orgRepeater();
}

std::optional<Repeat> Repeat::fromOrgRepeater(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  Repeat rule;
  if (text.starts_with("++")) {
    rule.from = From::catchUp;
    text.remove_prefix(2);
  } else if (text.starts_with(".+")) {
    rule.from = From::done;
    text.remove_prefix(2);
  } else if (text.starts_with("+")) {
    rule.from = From::due;
    text.remove_prefix(1);
  } else {
    return std::nullopt;
  }
  if (text.size() < 2) return std::nullopt;
  const std::string_view digits = text.substr(0, text.size() - 1);
  if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  auto every = detail::parseInteger(digits);
  if (!every || *every < 1) return std::nullopt;
  rule.every = *every;
  switch (text.back()) {
    case 'd':
      rule.unit = Unit::day;
      break;
    case 'w':
      rule.unit = Unit::week;
      break;
    case 'm':
      rule.unit = Unit::month;
      break;
    case 'y':
      rule.unit = Unit::year;
      break;
    default:
      return std::nullopt;
  }
  return rule;
}

void to_json(Json& j, const Repeat::Unit& u) { j = json::enumName(u, kRepeatUnitNames); }
void from_json(const Json& j, Repeat::Unit& u) {
  u = json::enumFromName<Repeat::Unit>(j, kRepeatUnitNames, "Repeat.Unit");
}
void to_json(Json& j, const Repeat::From& f) { j = json::enumName(f, kRepeatFromNames); }
void from_json(const Json& j, Repeat::From& f) {
  f = json::enumFromName<Repeat::From>(j, kRepeatFromNames, "Repeat.From");
}

namespace {
constexpr std::array<std::string_view, 4> kKindNames = {"weekday", "day", "workday", "weekend"};
}

void to_json(Json& j, const Repeat::Kind& k) {
  j = Json::object();
  if (k.which == Repeat::Kind::Case::weekday) {
    j["weekday"] = k.weekday;
  } else {
    j[std::string(kKindNames[static_cast<std::size_t>(k.which)])] = Json::object();
  }
}

void from_json(const Json& j, Repeat::Kind& k) {
  // A bare case name is read too, for the cases without a payload.
  if (j.is_string()) {
    auto which = json::enumFromName<Repeat::Kind::Case>(j, kKindNames, "Repeat.Kind");
    if (which == Repeat::Kind::Case::weekday) {
      throw RecordError("Repeat.Kind \"weekday\" needs its day of the week");
    }
    k = Repeat::Kind{which, Weekday::monday};
    return;
  }
  if (!j.is_object() || j.size() != 1) {
    throw RecordError("Repeat.Kind must be an object with one case name as its key");
  }
  // The iterator, not a structured binding over items(): the proxy that items() returns is a
  // temporary, and binding to its element would outlive it.
  const auto entry = j.begin();
  const std::string name = entry.key();
  const Json& payload = entry.value();
  auto which = json::enumFromName<Repeat::Kind::Case>(Json(name), kKindNames, "Repeat.Kind");
  Repeat::Kind result{which, Weekday::monday};
  if (which == Repeat::Kind::Case::weekday) result.weekday = json::as<Weekday>(payload, "weekday");
  k = result;
}

void to_json(Json& j, const Repeat::OnThe& o) {
  j = Json::object();
  json::put(j, "ordinal", o.ordinal);
  json::put(j, "kind", o.kind);
}

void from_json(const Json& j, Repeat::OnThe& o) {
  json::requireObject(j, "Repeat.OnThe");
  Repeat::OnThe r;
  json::take(j, "ordinal", r.ordinal);
  json::take(j, "kind", r.kind);
  o = r;
}

void to_json(Json& j, const Repeat& r) {
  j = Json::object();
  json::put(j, "every", r.every);
  json::put(j, "unit", r.unit);
  json::put(j, "weekdays", r.weekdays);
  json::put(j, "monthDays", r.monthDays);
  json::put(j, "months", r.months);
  json::put(j, "onThe", r.onThe);
  json::put(j, "from", r.from);
}

void from_json(const Json& j, Repeat& r) {
  json::requireObject(j, "Repeat");
  Repeat result;
  json::take(j, "every", result.every);
  json::take(j, "unit", result.unit);
  json::take(j, "weekdays", result.weekdays);
  json::take(j, "monthDays", result.monthDays);
  json::take(j, "months", result.months);
  json::take(j, "onThe", result.onThe);
  json::take(j, "from", result.from);
  r = result;
}

}  // namespace trivo

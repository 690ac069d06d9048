// Recurrence rules of repeating items: the next date after a given day, the dates in a range,
// and the rule written as an Org repeater ("+1w") and as an English phrase ("every 2 weeks on
// Monday and Thursday").
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/util/json_fields.h"

namespace trivo {

// The days of a month that an ordinal counts (`Repeat::Kind`). Defined outside `Repeat` so
// that it is complete wherever `Repeat` is, which type traits of some compilers need.
struct RepeatKind {
  enum class Case { weekday, day, workday, weekend };
  Case which = Case::day;
  Weekday weekday = Weekday::monday;  // meaningful only when `which` is Case::weekday

  static RepeatKind of(Weekday w) { return RepeatKind{Case::weekday, w}; }
  static RepeatKind anyDay() { return RepeatKind{Case::day, Weekday::monday}; }
  static RepeatKind workday() { return RepeatKind{Case::workday, Weekday::monday}; }
  static RepeatKind weekend() { return RepeatKind{Case::weekend, Weekday::monday}; }

  // Workdays are Monday to Friday, weekend days Saturday and Sunday.
  [[nodiscard]] bool matches(const DayDate& d) const;

  bool operator==(const RepeatKind& o) const {
    return which == o.which && (which != Case::weekday || weekday == o.weekday);
  }
};

// "The second Tuesday", "the last workday": the ordinal-th day of `kind` within a month
// (`Repeat::OnThe`).
struct RepeatOnThe {
  // 1 is the first, 2 the second …; -1 the last, -2 the second to last. 0, or a position
  // beyond the month's count of such days, selects nothing in that month.
  std::int64_t ordinal = 1;
  RepeatKind kind;

  bool operator==(const RepeatOnThe&) const = default;
};

// A rule is stepped period by period from its anchor (its first date): step k covers the k-th
// period of `every` units after the anchor's own period, and the rule's filters pick the days
// of that period. A rule that picks nothing in 400 consecutive steps has no further date, so a
// rule that can never match ends instead of looping.
struct Repeat {
  enum class Unit { day, week, month, year };
  // What the next date is counted from when an item is completed: its due date, the day it
  // was completed, or its due date's rhythm continued past the completion day.
  enum class From { due, done, catchUp };

  using Kind = RepeatKind;
  using OnThe = RepeatOnThe;

  // The step size in units; a value below 1 steps like 1.
  std::int64_t every = 1;
  Unit unit = Unit::day;
  // Weekly rules only: the days of the week; empty means the anchor's weekday.
  std::vector<Weekday> weekdays;
  // Monthly and yearly rules: days of the month, negative ones counted from the month's end
  // (-1 the last day). A day beyond the month's length means its last day, so "31" is the last
  // day of short months; 0 selects nothing.
  std::vector<std::int64_t> monthDays;
  // Yearly rules only: the months 1–12; empty means the anchor's month. Others are ignored.
  std::vector<std::int64_t> months;
  std::optional<OnThe> onThe;
  From from = From::due;

  static constexpr int kMaxSteps = 400;

  // Shorthands for building rules; the fields not named keep their defaults.
  static Repeat daily(std::int64_t every = 1);
  static Repeat weekly(std::int64_t every = 1, std::vector<Weekday> weekdays = {});
  static Repeat monthly(std::int64_t every = 1, std::vector<std::int64_t> monthDays = {},
                        std::optional<OnThe> onThe = std::nullopt);
  static Repeat yearly(std::int64_t every = 1, std::vector<std::int64_t> months = {},
                       std::vector<std::int64_t> monthDays = {},
                       std::optional<OnThe> onThe = std::nullopt);
  // This rule counted from `mode` instead.
  [[nodiscard]] Repeat counted(From mode) const;

  // The earliest date on or after `anchor` and strictly after `after`; nothing when no step
  // within 400 of the start step has one.
  [[nodiscard]] std::optional<DayDate> next(const DayDate& after, const DayDate& anchor) const;
  // The candidate dates of step `step` (≥ 0) counted from the anchor's period, ascending and
  // without repeats. Empty when the step lies outside the calendar's range.
  [[nodiscard]] std::vector<DayDate> dates(std::int64_t step, const DayDate& anchor) const;
  // The days of `month` picked by `numbers` (month days) together with `onThe`, ascending and
  // without repeats. With neither, the anchor's day of the month, clamped to the month's length.
  [[nodiscard]] std::vector<DayDate> days(const YearMonth& month, const DayDate& anchor,
                                          const std::vector<std::int64_t>& numbers) const;
  // The number of whole steps from the step containing `start` to the one containing `target`
  // (negative when `target` is earlier).
  [[nodiscard]] std::int64_t jumpSteps(const DayDate& start, const DayDate& target) const;

  // The next due date of an item due on `due` and completed on `doneOn`:
  // - due: the next date after the due date, in the rhythm of the due date;
  // - done: the next date after the completion day, counted from the completion day;
  // - catchUp: the first date after both the due date and the completion day, in the rhythm of
  //   the due date (Org's "++"). The completion day stands in for today: an item is completed on
  //   the day its owner ticks it, and so the date lands in the future as seen that day.
  [[nodiscard]] std::optional<DayDate> following(const DayDate& due, const DayDate& doneOn) const;
  // The first date of the rule started on `onOrAfter`: that day when it matches, else the next.
  [[nodiscard]] std::optional<DayDate> firstDate(const DayDate& onOrAfter) const;
  // The dates of the rule started on `first`, up to and including `through`, at most `limit`.
  [[nodiscard]] std::vector<DayDate> dates(const DayDate& first, const DayDate& through,
                                           std::size_t limit = 1000) const;
  // The dates between `first` and `through` (inclusive) of the rule started on `anchor`, at
  // most `limit`; none before the anchor.
  [[nodiscard]] std::vector<DayDate> occurrences(const DayDate& anchor, const DayDate& first,
                                                 const DayDate& through,
                                                 std::size_t limit = 1000) const;

  // The Org repeater: "+" (due), ".+" (done) or "++" (catchUp), the step and a unit letter
  // d, w, m or y, as in "+1w", ".+2d", "++1m". Filters are not part of it.
  [[nodiscard]] std::string orgRepeater() const;
  // The Org repeater when Org, shifting a time stamp on `due` by it, would give the same dates:
  // nothing when the rule picks days that Org cannot express from that date (several weekdays,
  // other month days, an ordinal, other months).
  [[nodiscard]] std::optional<std::string> orgRepeater(const DayDate& due) const;
  // Reads an Org repeater such as "+1w", ".+3d", "++1y". Hour repeaters ("+1h") and habit
  // ranges ("+1d/3d") have no equivalent here and yield nothing, so the caller keeps the time
  // stamp as written.
  static std::optional<Repeat> fromOrgRepeater(std::string_view text);

  // The rule for people, in English: "every day", "every 2 weeks on Monday and Thursday",
  // "every month on the last Friday", "every year in February on the 29th", with " after
  // completion" (done) or ", skipping missed ones" (catchUp) at the end.
  [[nodiscard]] std::string phrase() const;
  // Reads what `phrase` writes, in any letter case, plus "every other week" and "every weekday".
  // Rules that pick the same days may share a phrase ("the last day" reads as month day -1).
  static std::optional<Repeat> fromPhrase(std::string_view text);

  bool operator==(const Repeat&) const = default;
};

inline constexpr std::array<std::string_view, 4> kRepeatUnitNames = {"day", "week", "month",
                                                                     "year"};
inline constexpr std::array<std::string_view, 3> kRepeatFromNames = {"due", "done", "catchUp"};

void to_json(Json& j, const Repeat::Unit& u);
void from_json(const Json& j, Repeat::Unit& u);
void to_json(Json& j, const Repeat::From& f);
void from_json(const Json& j, Repeat::From& f);
// An object with the case name as its one key: {"weekday": 2}, {"day": {}}, {"workday": {}}.
void to_json(Json& j, const Repeat::Kind& k);
void from_json(const Json& j, Repeat::Kind& k);
void to_json(Json& j, const Repeat::OnThe& o);
void from_json(const Json& j, Repeat::OnThe& o);
void to_json(Json& j, const Repeat& r);
void from_json(const Json& j, Repeat& r);

}  // namespace trivo

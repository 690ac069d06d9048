// The periods above a day: ISO-8601 weeks, calendar months and quarters.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/day_date.h"

namespace trivo {

// A calendar quarter, "%04d-Q%d".
struct YearQuarter {
  std::int64_t year = 1970;
  std::int64_t quarter = 1;

  // Parses "YYYY-Qn" with n in 1–4.
  static std::optional<YearQuarter> parse(std::string_view id);
  [[nodiscard]] YearQuarter next() const;
  [[nodiscard]] YearQuarter previous() const;
  [[nodiscard]] DayDate firstDay() const;
  [[nodiscard]] DayDate lastDay() const;
  [[nodiscard]] std::string id() const;
  [[nodiscard]] std::string description() const { return id(); }

  bool operator==(const YearQuarter&) const = default;
  auto operator<=>(const YearQuarter&) const = default;
};

// A calendar month, "%04d-%02d".
struct YearMonth {
  std::int64_t year = 1970;
  std::int64_t month = 1;

  // Parses "YYYY-MM" with MM in 01–12.
  static std::optional<YearMonth> parse(std::string_view id);
  [[nodiscard]] YearQuarter quarter() const;
  [[nodiscard]] YearMonth next() const;
  [[nodiscard]] YearMonth previous() const;
  [[nodiscard]] DayDate firstDay() const;
  [[nodiscard]] DayDate lastDay() const;
  [[nodiscard]] std::int64_t dayCount() const;
  [[nodiscard]] std::string id() const;
  [[nodiscard]] std::string description() const { return id(); }

  bool operator==(const YearMonth&) const = default;
  auto operator<=>(const YearMonth&) const = default;
};

// An ISO-8601 week; `year` is the week-numbering year (the year of its Thursday).
struct ISOWeek {
  std::int64_t year = 1970;
  std::int64_t week = 1;

  // Parses "YYYY-Www" with ww in 01–53. Week 53 is accepted for every year on purpose: the
  // parser does not consult the calendar.
  static std::optional<ISOWeek> parse(std::string_view id);
  static DayDate week1Monday(std::int64_t year);
  // 52 or 53.
  static std::int64_t count(std::int64_t year);
  // The weeks whose Monday lies in the quarter, in order.
  static std::vector<ISOWeek> weeks(const YearQuarter& quarter);

  [[nodiscard]] DayDate monday() const;
  [[nodiscard]] DayDate thursday() const;
  [[nodiscard]] DayDate friday() const;
  [[nodiscard]] DayDate sunday() const;
  [[nodiscard]] DayDate day(Weekday weekday) const;
  [[nodiscard]] ISOWeek next() const;
  [[nodiscard]] ISOWeek previous() const;
  // The month and quarter of the week's Monday.
  [[nodiscard]] YearMonth owningMonth() const;
  [[nodiscard]] YearQuarter owningQuarter() const;
  [[nodiscard]] std::string id() const;
  [[nodiscard]] std::string description() const { return id(); }

  bool operator==(const ISOWeek&) const = default;
  auto operator<=>(const ISOWeek&) const = default;
};

void to_json(Json& j, const ISOWeek& w);
void from_json(const Json& j, ISOWeek& w);
void to_json(Json& j, const YearMonth& m);
void from_json(const Json& j, YearMonth& m);
void to_json(Json& j, const YearQuarter& q);
void from_json(const Json& j, YearQuarter& q);

}  // namespace trivo

template <>
struct std::hash<trivo::ISOWeek> {
  std::size_t operator()(const trivo::ISOWeek& w) const noexcept {
    return std::hash<std::uint64_t>()(static_cast<std::uint64_t>(w.year) * 64u +
                                      static_cast<std::uint64_t>(w.week));
  }
};
template <>
struct std::hash<trivo::YearMonth> {
  std::size_t operator()(const trivo::YearMonth& m) const noexcept {
    return std::hash<std::uint64_t>()(static_cast<std::uint64_t>(m.year) * 16u +
                                      static_cast<std::uint64_t>(m.month));
  }
};
template <>
struct std::hash<trivo::YearQuarter> {
  std::size_t operator()(const trivo::YearQuarter& q) const noexcept {
    return std::hash<std::uint64_t>()(static_cast<std::uint64_t>(q.year) * 8u +
                                      static_cast<std::uint64_t>(q.quarter));
  }
};

// The key of a period page: which day, week, month, quarter or year page is meant, or the inbox.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/util/json_fields.h"

namespace trivo {

struct EntryKey {
  enum class Kind { day, week, month, quarter, year, inbox };
  // One alternative per kind, in the order of `Kind`; the year is a plain signed number.
  using Payload =
      std::variant<DayDate, ISOWeek, YearMonth, YearQuarter, std::int64_t, std::monostate>;

  Payload payload = std::monostate{};

  static EntryKey day(const DayDate& d) { return {d}; }
  static EntryKey week(const ISOWeek& w) { return {w}; }
  static EntryKey month(const YearMonth& m) { return {m}; }
  static EntryKey quarter(const YearQuarter& q) { return {q}; }
  static EntryKey year(std::int64_t y) { return {y}; }
  static EntryKey inbox() { return {std::monostate{}}; }

  [[nodiscard]] Kind kind() const { return static_cast<Kind>(payload.index()); }
  // The payload when the key is of that kind, else null.
  [[nodiscard]] const DayDate* asDay() const { return std::get_if<DayDate>(&payload); }
  [[nodiscard]] const ISOWeek* asWeek() const { return std::get_if<ISOWeek>(&payload); }
  [[nodiscard]] const YearMonth* asMonth() const { return std::get_if<YearMonth>(&payload); }
  [[nodiscard]] const YearQuarter* asQuarter() const { return std::get_if<YearQuarter>(&payload); }
  [[nodiscard]] const std::int64_t* asYear() const { return std::get_if<std::int64_t>(&payload); }
  [[nodiscard]] bool isInbox() const { return kind() == Kind::inbox; }

  // The payload's text form alone: "2026-09-16", "2026-W38", "2026-09", "2026-Q3", "2026";
  // empty for the inbox.
  [[nodiscard]] std::string payloadText() const;
  // "day 2026-09-16", "year 2026", "inbox".
  [[nodiscard]] std::string description() const;

  bool operator==(const EntryKey&) const = default;
};

// A year as file names and page keys write it: an optional sign and decimal digits, nothing
// else (no blanks, no trailing letters).
std::optional<std::int64_t> parseYearText(std::string_view text);

inline constexpr std::array<std::string_view, 6> kEntryKeyKindNames = {"day",     "week", "month",
                                                                       "quarter", "year", "inbox"};

inline std::string_view caseName(EntryKey::Kind kind) {
  return kEntryKeyKindNames[static_cast<std::size_t>(kind)];
}

// An object with one member named after the case: {"day": {...}}, {"year": 2026}, {"inbox": {}}.
void to_json(Json& j, const EntryKey& key);
void from_json(const Json& j, EntryKey& key);

}  // namespace trivo

template <>
struct std::hash<trivo::EntryKey> {
  std::size_t operator()(const trivo::EntryKey& key) const noexcept {
    const std::size_t payload = std::visit(
        [](const auto& value) -> std::size_t {
          using T = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<T, std::monostate>) {
            return 0;
          } else {
            return std::hash<T>()(value);
          }
        },
        key.payload);
    return payload * 8u + key.payload.index();
  }
};

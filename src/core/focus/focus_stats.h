// Focus totals over a span of days: per day, per weekday, per hour of the day and per outcome,
// read from the logged sessions.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/focus/session_log.h"

namespace trivo {

class FocusStats {
 public:
  struct DayTotal {
    DayDate date;
    std::int64_t minutes = 0;
    std::int64_t sessions = 0;
    bool operator==(const DayTotal&) const = default;
  };

  struct OutcomeTotal {
    std::string outcome;
    std::int64_t minutes = 0;
    std::int64_t sessions = 0;
    bool operator==(const OutcomeTotal&) const = default;
  };

  struct Result {
    std::vector<DayTotal> perDay;  // every day of the span, earliest first
    std::map<Weekday, std::int64_t> byWeekday;
    std::array<std::int64_t, 24> byHour{};  // minutes by the hour the session started
    std::int64_t totalMinutes = 0;
    std::int64_t sessionCount = 0;
    std::int64_t longestSession = 0;
    // Most minutes first, then most sessions, then by text. Sessions that served nothing are
    // left out.
    std::vector<OutcomeTotal> topOutcomes;

    // Days with more than 0 minutes.
    [[nodiscard]] std::int64_t activeDays() const;
    // Whole minutes per active day; 0 when there is none.
    [[nodiscard]] std::int64_t averagePerActiveDay() const;
    // Both results added field by field; days and outcomes found in both are summed.
    [[nodiscard]] Result merged(const Result& other) const;

    bool operator==(const Result&) const = default;
  };

  // The log must outlive the stats.
  explicit FocusStats(const SessionLog& log) : log_(log) {}

  // The totals of the `days` days ending on `endingOn` (at most 100 years; none for 0 or
  // fewer). A session's minutes count within 0…1440, so a hand-edited page cannot make the
  // totals absurd.
  [[nodiscard]] Result compute(std::int64_t days, const DayDate& endingOn) const;

 private:
  const SessionLog& log_;
};

}  // namespace trivo

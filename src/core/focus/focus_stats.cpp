// Focus totals over a span of days.
#include "core/focus/focus_stats.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace trivo {
namespace {

constexpr std::int64_t kMaxDays = 36525;
constexpr std::int64_t kMinutesPerDay = 1440;

void sortOutcomes(std::vector<FocusStats::OutcomeTotal>& outcomes) {
  std::sort(outcomes.begin(), outcomes.end(), [](const auto& a, const auto& b) {
    return std::tie(b.minutes, b.sessions, a.outcome) < std::tie(a.minutes, a.sessions, b.outcome);
  });
}

}  // namespace

std::int64_t FocusStats::Result::activeDays() const {
  return std::count_if(perDay.begin(), perDay.end(),
                       [](const DayTotal& d) { return d.minutes > 0; });
}

std::int64_t FocusStats::Result::averagePerActiveDay() const {
  std::int64_t active = activeDays();
  return active == 0 ? 0 : totalMinutes / active;
}

FocusStats::Result FocusStats::Result::merged(const Result& other) const {
  Result r;
  std::map<DayDate, DayTotal> days;
  std::map<std::string, OutcomeTotal> outcomes;
  for (const Result* part : {this, &other}) {
    for (const auto& d : part->perDay) {
      auto& total = days.try_emplace(d.date, DayTotal{d.date, 0, 0}).first->second;
      total.minutes += d.minutes;
      total.sessions += d.sessions;
    }
    for (const auto& [weekday, minutes] : part->byWeekday) r.byWeekday[weekday] += minutes;
    for (std::size_t h = 0; h < r.byHour.size(); ++h) r.byHour[h] += part->byHour[h];
    for (const auto& o : part->topOutcomes) {
      auto& total = outcomes.try_emplace(o.outcome, OutcomeTotal{o.outcome, 0, 0}).first->second;
      total.minutes += o.minutes;
      total.sessions += o.sessions;
    }
    r.totalMinutes += part->totalMinutes;
    r.sessionCount += part->sessionCount;
    r.longestSession = std::max(r.longestSession, part->longestSession);
  }
  for (auto& [date, total] : days) r.perDay.push_back(total);
  for (auto& [text, total] : outcomes) r.topOutcomes.push_back(total);
  sortOutcomes(r.topOutcomes);
  return r;
}

FocusStats::Result FocusStats::compute(std::int64_t days, const DayDate& endingOn) const {
  Result r;
  std::map<std::string, OutcomeTotal> outcomes;
  std::int64_t span = std::min(days, kMaxDays);
  for (std::int64_t back = span - 1; back >= 0; --back) {
    DayDate date = endingOn.adding(-back);
    DayTotal day{date, 0, 0};
    for (const FocusSession& s : log_.sessions(date)) {
      std::int64_t minutes = std::clamp<std::int64_t>(s.minutes, 0, kMinutesPerDay);
      day.minutes += minutes;
      day.sessions += 1;
      r.byWeekday[date.weekday()] += minutes;
      r.byHour[static_cast<std::size_t>(std::clamp<std::int64_t>(s.start.hour, 0, 23))] += minutes;
      r.totalMinutes += minutes;
      r.sessionCount += 1;
      r.longestSession = std::max(r.longestSession, minutes);
      if (!s.outcome.empty()) {
        auto& total = outcomes.try_emplace(s.outcome, OutcomeTotal{s.outcome, 0, 0}).first->second;
        total.minutes += minutes;
        total.sessions += 1;
      }
    }
    r.perDay.push_back(day);
  }
  for (auto& [text, total] : outcomes) r.topOutcomes.push_back(total);
  sortOutcomes(r.topOutcomes);
  return r;
}

}  // namespace trivo

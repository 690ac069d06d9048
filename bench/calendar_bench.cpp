// Costs of the calendar arithmetic that every page key and every repeating item goes through:
// day numbers and back, the ISO week of a day, and a year of dates of a few recurrence rules.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "core/calendar/calendar.h"
#include "core/records/repeat.h"

namespace trivo {
namespace {

void BM_DayNumber(benchmark::State& state) {
  DayDate d{2026, 9, 16};
  std::int64_t sum = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(d);
    sum += d.dayNumber();
  }
  benchmark::DoNotOptimize(sum);
}
BENCHMARK(BM_DayNumber);

void BM_FromDayNumber(benchmark::State& state) {
  std::int64_t n = DayDate{2026, 9, 16}.dayNumber();
  for (auto _ : state) {
    benchmark::DoNotOptimize(n);
    benchmark::DoNotOptimize(DayDate::fromDayNumber(n));
  }
}
BENCHMARK(BM_FromDayNumber);

void BM_IsoWeekOfDay(benchmark::State& state) {
  DayDate d{2026, 12, 31};
  for (auto _ : state) {
    benchmark::DoNotOptimize(d);
    benchmark::DoNotOptimize(d.isoWeek());
  }
}
BENCHMARK(BM_IsoWeekOfDay);

// Every date of one rule over a year; the argument picks the rule.
void BM_RepeatDatesOverAYear(benchmark::State& state) {
  Repeat rule;
  switch (state.range(0)) {
    case 0:
      rule = Repeat::daily();
      state.SetLabel("every day");
      break;
    case 1:
      rule = Repeat::weekly(2, {Weekday::monday, Weekday::thursday});
      state.SetLabel("every 2 weeks on Monday and Thursday");
      break;
    case 2:
      rule = Repeat::monthly(1, {}, Repeat::OnThe{-1, Repeat::Kind::workday()});
      state.SetLabel("every month on the last workday");
      break;
    default:
      rule = Repeat::yearly(1, {2}, {29});
      state.SetLabel("every year in February on the 29th");
      break;
  }
  const DayDate from{2026, 1, 1};
  const DayDate through{2026, 12, 31};
  std::size_t count = 0;
  for (auto _ : state) {
    auto dates = rule.dates(from, through);
    count = dates.size();
    benchmark::DoNotOptimize(dates);
  }
  state.counters["dates"] = static_cast<double>(count);
}
BENCHMARK(BM_RepeatDatesOverAYear)->DenseRange(0, 3);

}  // namespace
}  // namespace trivo


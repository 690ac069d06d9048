// The cost of reading the outcome chain from disk: progress of a year (its four quarter pages)
// and the whole tree of a year (every page of the year), over a ten-year markdown vault.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/planning/outcome_tree.h"
#include "core/planning/serves_progress.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kFirstYear = 2017;
constexpr std::int64_t kLastYear = 2026;

// Outcomes that serve positions 1–3 in turn, every third one done.
OutcomeSet chainSet(Scope scope, std::int64_t seed) {
  std::vector<Outcome> outcomes;
  for (std::int64_t i = 0; i < 3; ++i) {
    const std::int64_t n = seed + i;
    outcomes.push_back(Outcome::make(
        "Outcome " + std::to_string(n), n % 3 == 0 ? OutcomeState::done : OutcomeState::planned,
        n % 7 == 6 ? std::nullopt : std::optional<std::int64_t>(n % 3 + 1)));
  }
  return OutcomeSet(scope, outcomes);
}

// Ten years of day, week, month, quarter and year pages, written once for all benchmarks.
class TenYearVault {
 public:
  TenYearVault() {
    std::string pattern = (fs::temp_directory_path() / "trivo-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    root_ = pattern;
    fs::create_directories(root_ / ".trivo");
    const Vault vault = this->vault();
    const auto codec = SerializerCodec::forVault(vault, YearMode::quarter);
    const VaultSerializer& s = *codec->serializer();
    const VaultPaths paths(root_, VaultFormat::markdown);
    const auto write = [&](const EntryKey& key, const std::string& text) {
      const fs::path file = paths.urlFor(key);
      fs::create_directories(file.parent_path());
      std::ofstream(file, std::ios::binary) << text;
    };
    std::int64_t seed = 0;
    for (std::int64_t y = kFirstYear; y <= kLastYear; ++y) {
      YearEntry year;
      year.year = y;
      year.outcomes = chainSet(Scope::year, seed++);
      write(EntryKey::year(y), s.renderYear(year));
      for (std::int64_t q = 1; q <= 4; ++q) {
        QuarterEntry quarter;
        quarter.quarter = {y, q};
        quarter.outcomes = chainSet(Scope::quarter, seed++);
        write(EntryKey::quarter(quarter.quarter), s.renderQuarter(quarter));
      }
      for (std::int64_t m = 1; m <= 12; ++m) {
        MonthEntry month;
        month.month = {y, m};
        month.outcomes = chainSet(Scope::month, seed++);
        write(EntryKey::month(month.month), s.renderMonth(month));
      }
      for (DayDate d = *DayDate::make(y, 1, 1); d.yearMonth().year == y; d = d.adding(1)) {
        DayEntry day;
        day.date = d;
        day.outcomes = chainSet(Scope::day, seed++);
        InboxItem item = InboxItem::make("Task of " + d.isoString(), d);
        item.serves = seed % 3 + 1;
        day.pulledItems.push_back(item);
        write(EntryKey::day(d), s.renderDay(day));
        if (d.weekday() == Weekday::monday) {
          WeekEntry week;
          week.week = d.isoWeek();
          week.targetFriday = week.week.friday();
          week.outcomes = chainSet(Scope::week, seed++);
          write(EntryKey::week(week.week), s.renderWeek(week));
        }
      }
    }
  }
  ~TenYearVault() { fs::remove_all(root_); }

  [[nodiscard]] Vault vault() const { return Vault{root_, VaultFormat::markdown, "en", {}}; }
  [[nodiscard]] std::unique_ptr<VaultStore> open() const {
    VaultStore::Options options;
    options.readOnly = true;
    options.codec = SerializerCodec::forVault(vault(), YearMode::quarter);
    return std::make_unique<VaultStore>(vault(), options);
  }

  static const TenYearVault& shared() {
    static const TenYearVault vault;
    return vault;
  }

 private:
  fs::path root_;
};

void BM_ServesProgressForYear(benchmark::State& state) {
  const auto store = TenYearVault::shared().open();
  const ServesProgress progress(*store);
  std::int64_t year = kFirstYear;
  for (auto _ : state) {
    benchmark::DoNotOptimize(progress.forYear(year));
    year = year == kLastYear ? kFirstYear : year + 1;
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("years");
}
BENCHMARK(BM_ServesProgressForYear)->Unit(benchmark::kMicrosecond);

// Every year of the vault in turn: forYear, and forQuarter, forMonth and forWeek for every
// period below it, as a view showing the whole chain's counts would ask.
void BM_ServesProgressWholeYearChain(benchmark::State& state) {
  const auto store = TenYearVault::shared().open();
  const ServesProgress progress(*store);
  std::int64_t year = kFirstYear;
  for (auto _ : state) {
    benchmark::DoNotOptimize(progress.forYear(year));
    for (std::int64_t q = 1; q <= 4; ++q) {
      benchmark::DoNotOptimize(progress.forQuarter({year, q}));
      for (const YearMonth& m : ServesProgress::monthsOf({year, q})) {
        benchmark::DoNotOptimize(progress.forMonth(m));
        for (const ISOWeek& w : ServesProgress::weeksOf(m)) {
          benchmark::DoNotOptimize(progress.forWeek(w));
        }
      }
    }
    year = year == kLastYear ? kFirstYear : year + 1;
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("years");
}
BENCHMARK(BM_ServesProgressWholeYearChain)->Unit(benchmark::kMillisecond);

void BM_OutcomeTreeOfAYear(benchmark::State& state) {
  const auto store = TenYearVault::shared().open();
  const OutcomeTree tree(*store);
  std::int64_t year = kFirstYear;
  for (auto _ : state) {
    benchmark::DoNotOptimize(tree.build(EntryKey::year(year)));
    year = year == kLastYear ? kFirstYear : year + 1;
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("years");
}
BENCHMARK(BM_OutcomeTreeOfAYear)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace trivo

// Focus totals over ten years of day pages read from a real folder: every page is read and
// parsed through the store, as the statistics view does.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "core/focus/day_page_session_log.h"
#include "core/focus/focus_stats.h"
#include "core/store/serializer_codec.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kTenYears = 3653;
const DayDate kLastDay{2026, 9, 16};

// A vault of ten years of day pages, each with three outcomes, a journal line and three
// focus sessions; written once and kept for every run of the benchmark.
struct SessionLogVault {
  SessionLogVault() {
    std::string pattern = (fs::temp_directory_path() / "trivo-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    root = pattern;
    const MarkdownSerializer serializer(YearMode::quarter, TextSyntax::markdown);
    for (std::int64_t back = 0; back < kTenYears; ++back) {
      DayEntry day;
      day.date = kLastDay.adding(-back);
      day.outcomes.outcomes = OutcomeSet::normalize(
          {Outcome::make("Write chapter " + std::to_string(back % 40)), Outcome::make("Run"),
           Outcome::make("Call home")});
      day.journal.push_back(JournalEntry{*ClockTime::make(8, 5), "Started early."});
      for (int s = 0; s < 3; ++s) {
        FocusSession session;
        session.start = *ClockTime::make(9 + 2 * s, 0);
        session.end = *ClockTime::make(9 + 2 * s, 50);
        session.minutes = 25 + 10 * s;
        session.outcome = s == 2 ? "" : "Write chapter " + std::to_string(back % 40);
        day.sessions.push_back(session);
      }
      const fs::path file = root / "days" / (day.date.description() + ".md");
      fs::create_directories(file.parent_path());
      std::ofstream(file, std::ios::binary) << serializer.renderDay(day);
    }
  }
  ~SessionLogVault() { fs::remove_all(root); }
  fs::path root;
};

void BM_FocusStatsTenYears(benchmark::State& state) {
  static const SessionLogVault vault;
  const Vault v{vault.root, VaultFormat::markdown, "en", {}};
  VaultStore::Options options;
  options.codec = SerializerCodec::forVault(v, YearMode::quarter);
  VaultStore store(v, options);
  const DayPageSessionLog log(store);
  const FocusStats stats(log);
  for (auto _ : state) {
    const auto result = stats.compute(kTenYears, kLastDay);
    if (result.sessionCount != 3 * kTenYears) state.SkipWithError("sessions went missing");
    benchmark::DoNotOptimize(result);
  }
  state.SetItemsProcessed(state.iterations() * kTenYears);
  state.SetLabel("day pages");
}
BENCHMARK(BM_FocusStatsTenYears)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace trivo

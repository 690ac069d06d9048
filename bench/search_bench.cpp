// Full-text search over a ten-year vault: building the index from nothing, a query after one page
// changed (the index brought up to date first, as every search does), a query when nothing
// changed, and whole processes of `trivo search` and ripgrep. The vault is $TRIVO_BENCH_VAULT,
// else one made by the shared generator (python3 genvault.py OUT --years 10 --format md
// --seed 42; $TRIVO_GENVAULT names the script).
// The after-an-edit case appends lines to one page of that vault.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "core/search/search_index.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

struct BenchVault {
  BenchVault() {
    std::string pattern = (fs::temp_directory_path() / "trivo-search-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    scratch = pattern;
    if (const char* given = std::getenv("TRIVO_BENCH_VAULT")) {
      vault = given;
      return;
    }
    const char* script = std::getenv("TRIVO_GENVAULT");
    const fs::path generator =
        script ? fs::path(script)
               : fs::path(TRIVO_SOURCE_DIR) / ".." / "shared" / "tools" / "genvault.py";
    if (!fs::exists(generator)) return;
    const fs::path out = scratch / "vault";
    const std::string command = "python3 '" + generator.string() + "' '" + out.string() +
                                "' --years 10 --format md --seed 42 > /dev/null";
    if (std::system(command.c_str()) == 0) vault = out;
  }
  ~BenchVault() { fs::remove_all(scratch); }

  [[nodiscard]] SearchIndex::Options options() const {
    SearchIndex::Options o;
    o.vault = *vault;
    o.cacheFolder = scratch / "cache";
    return o;
  }

  fs::path scratch;
  std::optional<fs::path> vault;
};

BenchVault& benchVault() {
  static BenchVault shared;
  return shared;
}

void BM_SearchFirstBuild(benchmark::State& state) {
  BenchVault& bench = benchVault();
  if (!bench.vault) {
    state.SkipWithError("no vault: set TRIVO_BENCH_VAULT or TRIVO_GENVAULT");
    return;
  }
  std::size_t files = 0;
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(bench.scratch / "cache");
    state.ResumeTiming();
    SearchIndex index(bench.options());
    files = index.refresh().read;
  }
  state.counters["files"] = static_cast<double>(files);
  state.counters["index MiB"] = static_cast<double>(fs::file_size(SearchIndex::databaseFile(
                                    bench.scratch / "cache", *bench.vault))) /
                                (1024.0 * 1024.0);
}
BENCHMARK(BM_SearchFirstBuild)->Unit(benchmark::kMillisecond)->Iterations(2);

// A query in a fresh process after an edit: open the index, re-read the changed page, search.
void BM_SearchAfterAnEdit(benchmark::State& state) {
  BenchVault& bench = benchVault();
  if (!bench.vault) {
    state.SkipWithError("no vault: set TRIVO_BENCH_VAULT or TRIVO_GENVAULT");
    return;
  }
  SearchIndex(bench.options()).refresh();
  const fs::path page = *bench.vault / "days" / "2020-06-15.md";
  std::size_t round = 0;
  std::size_t lines = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      std::ofstream out(page, std::ios::app);
      out << "- 23:59 — benchmark coffee note " << round++ << "\n";
    }
    state.ResumeTiming();
    SearchIndex index(bench.options());
    lines = 0;
    for (const SearchPage& p : index.search(SearchQuery::parse("coffee")))
      lines += p.matches.size();
  }
  state.counters["matching lines"] = static_cast<double>(lines);
}
BENCHMARK(BM_SearchAfterAnEdit)->Unit(benchmark::kMillisecond);

// The same query when nothing changed, with the index already open (a long-running process):
// with the second argument 1 the index watches the vault's folders, as the window's does, and
// looks at no file when nothing changed; with 0 it looks at every file's stamp first.
void BM_SearchWarm(benchmark::State& state) {
  BenchVault& bench = benchVault();
  if (!bench.vault) {
    state.SkipWithError("no vault: set TRIVO_BENCH_VAULT or TRIVO_GENVAULT");
    return;
  }
  auto options = bench.options();
  options.watchFolders = state.range(1) != 0;
  SearchIndex index(options);
  index.refresh();
  const std::string query = state.range(0) == 0 ? "coffee" : "\"parser rewrite\" -good";
  const SearchQuery parsed = SearchQuery::parse(query);
  std::size_t lines = 0;
  for (auto _ : state) {
    lines = 0;
    for (const SearchPage& p : index.search(parsed)) lines += p.matches.size();
  }
  state.SetLabel(query);
  state.counters["matching lines"] = static_cast<double>(lines);
}
BENCHMARK(BM_SearchWarm)->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond);

// One query in a process that searches once, with the index up to date, found the three ways: as
// the planner chooses (plan 0), through the index (1) and by reading the files (2). Words from
// rare to common: the planner should cost no more than the cheaper of the other two.
void BM_SearchPlans(benchmark::State& state) {
  BenchVault& bench = benchVault();
  if (!bench.vault) {
    state.SkipWithError("no vault: set TRIVO_BENCH_VAULT or TRIVO_GENVAULT");
    return;
  }
  static const std::vector<std::string> words = {"ngozi", "coffee", "budget", "ing", "the"};
  const std::string& word = words.at(static_cast<std::size_t>(state.range(0)));
  auto options = bench.options();
  options.plan = std::array{SearchIndex::Options::Plan::cheaper, SearchIndex::Options::Plan::index,
                            SearchIndex::Options::Plan::files}
                     .at(static_cast<std::size_t>(state.range(1)));
  SearchIndex(bench.options()).refresh();
  const SearchQuery query = SearchQuery::parse(word);
  std::size_t lines = 0;
  for (auto _ : state) {
    SearchIndex index(options);
    lines = 0;
    for (const SearchPage& p : index.search(query)) lines += p.matches.size();
  }
  state.SetLabel(word + std::array{" (planned)", " (index)", " (files)"}.at(
                            static_cast<std::size_t>(state.range(1))));
  state.counters["matching lines"] = static_cast<double>(lines);
}
BENCHMARK(BM_SearchPlans)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Runs a whole process with its output thrown away and waits for it; false unless it ran and
// exited 0.
bool runProcess(const std::vector<std::string>& argv, const fs::path& folder,
                const fs::path& cacheHome) {
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    if (::chdir(folder.c_str()) != 0) ::_exit(127);
    ::setenv("XDG_CACHE_HOME", cacheHome.c_str(), 1);
    ::setenv("NO_COLOR", "1", 1);
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDOUT_FILENO);
    std::vector<char*> args;
    for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    ::execvp(args[0], args.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Whole processes on the same vault and words, for the side by side: ripgrep over the page
// folders (argument 0), and `trivo search` started afresh with its index up to date (1). The
// warm case above is the same query in a process that is already up.
void BM_SearchProcess(benchmark::State& state) {
  BenchVault& bench = benchVault();
  if (!bench.vault) {
    state.SkipWithError("no vault: set TRIVO_BENCH_VAULT or TRIVO_GENVAULT");
    return;
  }
  const fs::path cacheHome = bench.scratch / "process-cache";
  const std::string trivo = (fs::path(TRIVO_BINARY_DIR) / "trivo").string();
  const std::vector<std::string> argv =
      state.range(0) == 0
          ? std::vector<std::string>{"rg", "-i", "-n", "coffee", "days", "weeks", "months",
                                     "quarters", "years", "inbox.md"}
          : std::vector<std::string>{trivo, "--vault", bench.vault->string(), "search",
                                     "coffee"};
  if (!runProcess(argv, *bench.vault, cacheHome)) {  // and the index is built before timing
    state.SkipWithError(state.range(0) == 0 ? "rg did not run or found nothing"
                                            : "trivo search did not run or found nothing");
    return;
  }
  for (auto _ : state) runProcess(argv, *bench.vault, cacheHome);
  state.SetLabel(state.range(0) == 0 ? "rg -i -n coffee" : "trivo search coffee");
}
BENCHMARK(BM_SearchProcess)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace trivo

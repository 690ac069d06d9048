// `trivo progress PAGE`: how each outcome of a week, month, quarter or year stands, counted from
// what serves it one level below.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/chain_page.h"
#include "cli/command.h"
#include "core/planning/serves_progress.h"

namespace trivo::cli {
namespace {

OutcomeSet outcomesOf(VaultStore& store, const EntryKey& key) {
  if (const auto* w = key.asWeek()) return store.peekWeek(*w).outcomes;
  if (const auto* m = key.asMonth()) return store.peekMonth(*m).outcomes;
  if (const auto* q = key.asQuarter()) return store.peekQuarter(*q).outcomes;
  return store.peekYear(*key.asYear()).outcomes;
}

ServesProgress::Set progressOf(const ServesProgress& progress, const EntryKey& key) {
  if (const auto* w = key.asWeek()) return progress.forWeek(*w);
  if (const auto* m = key.asMonth()) return progress.forMonth(*m);
  if (const auto* q = key.asQuarter()) return progress.forQuarter(*q);
  return progress.forYear(*key.asYear());
}

class ProgressCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "progress"; }
  [[nodiscard]] const char* summary() const override {
    return "Show how a period's outcomes stand by what serves them (2026-W38, mo, 2026 …)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_, "A week, month, quarter or year, such as 2026-W38 or wo")
        ->required();
  }

  int run(Context& context) override {
    const ChainPage page = chainPage(page_, context);
    const auto store = openChainStore(page.root, context);
    ServesProgress::Set set;
    OutcomeSet outcomes;
    readingPages(page.key, [&] {
      set = progressOf(ServesProgress(*store), page.key);
      outcomes = outcomesOf(*store, page.key);
    });
    if (context.json) {
      context.out << Json(set).dump(2) << "\n";
      return 0;
    }
    auto& out = context.out;
    out << page.key.description() << "\n";
    for (std::size_t i = 0; i < outcomes.outcomes.size(); ++i) {
      const Outcome& outcome = outcomes.outcomes[i];
      const auto slot = static_cast<std::int64_t>(i) + 1;
      const ServesProgress::Stat stat = set.slots[slot];
      out << slot << ". " << (outcome.isBlank() ? std::string("(not set)") : outcome.text) << "  "
          << stat.done << "/" << stat.total;
      if (stat.blocked > 0) out << " (" << stat.blocked << " blocked)";
      const std::string dots = stat.dots(outcome.state);
      if (!dots.empty()) out << "  " << dots;
      out << "\n";
    }
    out << "Serving nothing: " << set.unlinked << "\n";
    return 0;
  }

 private:
  std::string page_;
};

}  // namespace

std::unique_ptr<Command> makeProgressCommand() { return std::make_unique<ProgressCommand>(); }

}  // namespace trivo::cli

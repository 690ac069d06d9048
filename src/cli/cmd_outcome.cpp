// `trivo outcome [PAGE] N TEXT [--serves M]`: sets, rewords, clears and reorders the three
// outcomes of a day, week, month, quarter or year (today's when no page is named).
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"

namespace trivo::cli {
namespace {

class OutcomeCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "outcome"; }
  [[nodiscard]] const char* summary() const override {
    return "Set, reword, clear or move an outcome of today or of a named page (wo, 2026-09 …)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("ARGS", args_,
                   "[PAGE] N [TEXT…]: the page (today when left out), the outcome 1–3 and its "
                   "words; with only a page, its outcomes are listed");
    app.add_option("--serves", serves_,
                   "The outcome 1–3 of the period above that it serves, or none");
    app.add_flag("--clear", clear_, "Empty the outcome");
    app.add_option("--move-to", moveTo_, "Move the outcome to this place 1–3");
  }

  int run(Context& context) override {
    DailyVault vault(context);
    EntryKey page = EntryKey::day(vault.today());
    std::size_t next = 0;
    // A page is never a single digit (years have four), so one digit is the outcome's number.
    if (!args_.empty() && !(args_[0].size() == 1 && wholeNumber(args_[0])))
      page = vault.periodPage(args_[next++]);
    std::optional<std::int64_t> slot;
    if (next < args_.size()) {
      slot = wholeNumber(args_[next]);
      if (!slot) {
        throw UserError("\"" + args_[next] + "\" is not an outcome number; write 1, 2 or 3.");
      }
      ++next;
    }
    std::string text;
    for (; next < args_.size(); ++next) text += (text.empty() ? "" : " ") + args_[next];

    const bool changes = !text.empty() || serves_ || clear_ || moveTo_;
    if (changes && !slot) {
      throw UserError("Name the outcome to change by its number 1, 2 or 3.");
    }
    if (clear_ && !text.empty()) {
      throw UserError("Give either new words or --clear, not both.");
    }
    const std::optional<std::optional<std::int64_t>> served = servedOutcome();

    OutcomeSet outcomes;
    vault.run(
        [&] {
          TodayModel& model = vault.model();
          if (clear_) model.clearOutcome(page, *slot);
          if (!text.empty()) model.setOutcome(page, *slot, text);
          if (served) model.setServes(page, *slot, *served);
          if (moveTo_) model.moveOutcome(page, *slot, *moveTo_);
          outcomes = model.outcomes(page);
        },
        changes);
    if (context.json) {
      context.out << Json(outcomes).dump(2) << "\n";
      return 0;
    }
    context.out << page.description() << "\n";
    printOutcomes(context, outcomes);
    return 0;
  }

 private:
  // Nothing when --serves was not given; an empty inner value for "none".
  [[nodiscard]] std::optional<std::optional<std::int64_t>> servedOutcome() const {
    if (!serves_) return std::nullopt;
    if (*serves_ == "none" || *serves_ == "-") return std::optional<std::int64_t>{};
    if (const auto n = wholeNumber(*serves_)) return std::optional<std::int64_t>{*n};
    throw UserError("\"" + *serves_ + "\" is not an outcome to serve; write 1, 2, 3 or none.");
  }

  std::vector<std::string> args_;
  std::optional<std::string> serves_;
  bool clear_ = false;
  std::optional<std::int64_t> moveTo_;
};

}  // namespace

std::unique_ptr<Command> makeOutcomeCommand() { return std::make_unique<OutcomeCommand>(); }

}  // namespace trivo::cli

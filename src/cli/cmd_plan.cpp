// `trivo plan [DATE]`: what a day offers — its prompt, the reflections due and what to plan next.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/chain_page.h"
#include "cli/command.h"
#include "cli/day_argument.h"
#include "core/content/content_bundle.h"
#include "core/format/serializer_error.h"
#include "core/planning/cadence_engine.h"
#include "core/planning/cadence_offers.h"
#include "core/store/page_check.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

std::string_view reflectionWord(CadenceEngine::ReflectionOffer::Kind kind) {
  switch (kind) {
    case CadenceEngine::ReflectionOffer::Kind::friday:
      return "week";
    case CadenceEngine::ReflectionOffer::Kind::monthly:
      return "month";
    case CadenceEngine::ReflectionOffer::Kind::quarterly:
      return "quarter";
    case CadenceEngine::ReflectionOffer::Kind::yearly:
      return "year";
  }
  return "";
}

class PlanCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "plan"; }
  [[nodiscard]] const char* summary() const override {
    return "Show what a day offers: its prompt, the reflections due and what to plan next";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("DATE", date_,
                   "The day: YYYY-MM-DD, today, yesterday, tomorrow or a weekday name")
        ->default_str("today");
  }

  int run(Context& context) override {
    const DayDate day = parseDayArgument(date_, DayDate::today(context.clock));
    const auto plan = openInVault(CadenceEngine::plan(day), context);
    if (context.json) {
      context.out << Json(plan).dump(2) << "\n";
      return 0;
    }
    auto& out = context.out;
    out << weekdayName(day.weekday()) << " " << day.isoString() << ", week " << plan.week.id()
        << " (aiming at Friday " << plan.targetFriday.isoString() << ")\n";
    out << content::text(plan.promptKey) << "\n";
    if (plan.weeklyOutcomesFirst) out << "Set the week's three outcomes first.\n";
    if (!plan.reflections.empty()) {
      out << "Reflections due:";
      const char* separator = " ";
      for (const auto& r : plan.reflections) {
        out << separator << reflectionWord(r.kind) << " " << r.periodText();
        separator = ", ";
      }
      out << "\n";
    }
    if (!plan.setNext.empty()) {
      out << "Set the outcomes of:";
      const char* separator = " ";
      for (const auto& n : plan.setNext) {
        out << separator << caseName(n.kind) << " " << n.periodText();
        separator = ", ";
      }
      out << "\n";
    }
    return 0;
  }

 private:
  // What is still open of the plan in the vault: reflections written and outcomes set are no
  // longer offered. Without a vault, the whole plan of the day.
  static CadenceEngine::DayPlan openInVault(const CadenceEngine::DayPlan& plan,
                                            const Context& context) {
    std::filesystem::path root;
    try {
      root = locateVault(VaultSearch::fromProcess(context.vault));
    } catch (const VaultNotFound&) {
      return plan;
    }
    std::error_code ec;
    if (!std::filesystem::is_directory(root, ec)) return plan;
    const auto store = openChainStore(root, context);
    try {
      return openOffers(plan, *store);
    } catch (const PageReadError& e) {
      throw UserError(
          "The page " + store->paths().urlFor(e.key()).lexically_relative(root).generic_string() +
              " cannot be read (" + describe(e.problem()) + "); fix the page and try again.",
          3);
    } catch (const SerializerError& e) {
      throw UserError(std::string("A page of the plan cannot be read (") + e.what() +
                          "); fix the page and try again.",
                      3);
    }
  }

  std::string date_ = "today";
};

}  // namespace

std::unique_ptr<Command> makePlanCommand() { return std::make_unique<PlanCommand>(); }

}  // namespace trivo::cli

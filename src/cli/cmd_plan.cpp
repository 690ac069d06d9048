// `trivo plan [DATE]`: what a day offers — its prompt, the reflections due and what to plan next.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/command.h"
#include "cli/day_argument.h"
#include "core/content/content_bundle.h"
#include "core/planning/cadence_engine.h"

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
    const auto plan = CadenceEngine::plan(day);
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
  std::string date_ = "today";
};

}  // namespace

std::unique_ptr<Command> makePlanCommand() { return std::make_unique<PlanCommand>(); }

}  // namespace trivo::cli

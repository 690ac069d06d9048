// `trivo carry [--all | ITEM…]`: lists what the last lived day left unfinished, or carries it
// into today.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"

namespace trivo::cli {
namespace {

class CarryCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "carry"; }
  [[nodiscard]] const char* summary() const override {
    return "Carry the last day's unfinished outcomes and items into today (--all, or by number)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("ITEM", items_, "The numbers of the items to carry, as trivo carry lists them");
    app.add_flag("--all", all_, "Carry every item offered");
  }

  int run(Context& context) override {
    if (all_ && !items_.empty()) {
      throw UserError("Give either --all or item numbers, not both.");
    }
    std::vector<std::size_t> numbers;
    for (const std::string& item : items_) {
      const auto n = wholeNumber(item);
      if (!n || *n < 1) {
        throw UserError("\"" + item + "\" is not an item number; trivo carry lists the numbers.");
      }
      numbers.push_back(static_cast<std::size_t>(*n));
    }
    DailyVault vault(context);
    const bool carrying = all_ || !numbers.empty();
    std::vector<TodayModel::CarryOffer> shown;
    std::optional<DayDate> from;
    vault.run(
        [&] {
          from = vault.model().carrySource();
          shown = carrying ? vault.model().carry(numbers) : vault.model().carryOffers();
        },
        carrying);
    if (context.json) {
      Json j = Json::object();
      j["from"] = from ? Json(*from) : Json();
      j[carrying ? "carried" : "offers"] = shown;
      context.out << j.dump(2) << "\n";
      return 0;
    }
    auto& out = context.out;
    if (!from) {
      out << "No earlier day has a page, so there is nothing to carry over.\n";
      return 0;
    }
    if (shown.empty()) {
      out << "Nothing is left to carry over from " << from->isoString() << ".\n";
      return 0;
    }
    out << (carrying ? "Carried into " + vault.today().isoString() + " from " : "Left from ")
        << from->isoString() << ":\n";
    for (std::size_t i = 0; i < shown.size(); ++i) {
      out << "  ";
      if (!carrying) out << i + 1 << ". ";
      out << shown[i].text << "  " << paint(context, "2", "(" + carryKindWord(shown[i].kind) + ")")
          << "\n";
    }
    return 0;
  }

 private:
  std::vector<std::string> items_;
  bool all_ = false;
};

}  // namespace

std::unique_ptr<Command> makeCarryCommand() { return std::make_unique<CarryCommand>(); }

}  // namespace trivo::cli

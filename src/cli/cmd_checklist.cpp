// `trivo checklist [TEXT]` and `trivo tomorrow [TEXT]`: add a line to today's checklist or to
// its "for tomorrow" list, or print the list when no words are given. Both lists are what
// carry-over offers the next day, so they share one command shape.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"

namespace trivo::cli {
namespace {

class DayListCommand final : public Command {
 public:
  enum class List { checklist, forTomorrow };
  explicit DayListCommand(List list) : list_(list) {}

  [[nodiscard]] const char* name() const override {
    return list_ == List::checklist ? "checklist" : "tomorrow";
  }
  [[nodiscard]] const char* summary() const override {
    return list_ == List::checklist
               ? "Add an item to today's checklist (done with trivo done cN), or list it"
               : "Note an item for tomorrow on today's page (offered by carry-over), or list them";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("TEXT", words_, "The item's words; none lists the items");
  }

  int run(Context& context) override {
    std::string text;
    for (const auto& w : words_) text += (text.empty() ? "" : " ") + w;
    DailyVault vault(context);
    std::vector<CarryItem> items;
    vault.run(
        [&] {
          if (!text.empty()) {
            if (list_ == List::checklist) {
              vault.model().addChecklistItem(text);
            } else {
              vault.model().addForTomorrow(text);
            }
          }
          const DayEntry day = vault.model().page();
          items = list_ == List::checklist ? day.checklist : day.forTomorrow;
        },
        !text.empty());
    if (context.json) {
      context.out << Json(items).dump(2) << "\n";
      return 0;
    }
    const char* prefix = list_ == List::checklist ? "c" : "";
    if (!text.empty()) {
      context.out << (list_ == List::checklist ? "Checklist " : "For tomorrow ")
                  << vault.today().isoString() << ": " << prefix << items.size() << ". "
                  << items.back().text << "\n";
      return 0;
    }
    if (items.empty()) {
      context.out << (list_ == List::checklist ? "The checklist is empty.\n"
                                               : "Nothing is noted for tomorrow.\n");
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
      context.out << "  " << prefix << i + 1 << ". "
                  << stateMark(context, items[i].done ? OutcomeState::done : OutcomeState::planned)
                  << " " << items[i].text << "\n";
    }
    return 0;
  }

 private:
  List list_;
  std::vector<std::string> words_;
};

}  // namespace

std::unique_ptr<Command> makeChecklistCommand() {
  return std::make_unique<DayListCommand>(DayListCommand::List::checklist);
}
std::unique_ptr<Command> makeTomorrowCommand() {
  return std::make_unique<DayListCommand>(DayListCommand::List::forTomorrow);
}

}  // namespace trivo::cli

// `trivo inbox [LIST]`: the inbox's open items under their lists, each with the number that
// `trivo done` and `trivo pull` take.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/command.h"

namespace trivo::cli {
namespace {

// Without a list named, every open item once: the five lists under the link words.
constexpr std::array<InboxModel::List, 5> kEveryItemOnce = {
    InboxModel::List::captured, InboxModel::List::later, InboxModel::List::waiting,
    InboxModel::List::routine, InboxModel::List::someday};

class InboxCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "inbox"; }
  [[nodiscard]] const char* summary() const override {
    return "List the inbox: captured, later, someday, waiting, routine, overdue or today";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("LIST", list_,
                   "One list: captured, later, someday, waiting, routine, overdue or today");
  }

  int run(Context& context) override {
    std::vector<InboxModel::List> lists(kEveryItemOnce.begin(), kEveryItemOnce.end());
    if (list_) {
      const auto named = InboxModel::listNamed(*list_);
      if (!named) {
        throw UserError("There is no inbox list \"" + *list_ +
                        "\"; the lists are captured, later, someday, waiting, routine, "
                        "overdue and today.");
      }
      lists = {*named};
    }
    InboxVault vault = InboxVault::open(context, true);
    std::vector<std::pair<InboxModel::List, std::vector<InboxModel::Entry>>> shown;
    guarded(vault, [&] {
      InboxModel model(*vault.store, context.clock);
      const auto all = model.items();
      for (auto list : lists)
        shown.emplace_back(list, InboxModel::select(all, list, model.today()));
    });

    if (context.json) {
      Json out = Json::object();
      for (const auto& [list, entries] : shown) {
        out[std::string(InboxModel::kListNames[static_cast<std::size_t>(list)])] = entries;
      }
      context.out << out.dump(2) << "\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    bool any = false;
    for (const auto& [list, entries] : shown) {
      if (entries.empty() && !list_) continue;
      if (any) context.out << "\n";
      any = true;
      context.out << paint.bold(InboxModel::kListNames[static_cast<std::size_t>(list)]) << "\n";
      if (entries.empty()) context.out << "  (nothing)\n";
      for (const auto& e : entries) {
        // Printed as `trivo done` and `trivo pull` take it: a bare number in `done` is an
        // outcome of today, so the inbox's own numbers carry their letter.
        std::string number = "i" + std::to_string(e.number);
        number.insert(0, number.size() < 5 ? 5 - number.size() : 0, ' ');
        context.out << number << "  " << itemLine(e.item, paint) << "\n";
      }
    }
    if (!any) context.out << "The inbox is empty.\n";
    return 0;
  }

 private:
  std::optional<std::string> list_;
};

}  // namespace

std::unique_ptr<Command> makeInboxCommand() { return std::make_unique<InboxCommand>(); }

}  // namespace trivo::cli

// `trivo edit [PAGE]`: the page in the person's editor, made from its blank template when it does
// not exist yet, and checked when the editor exits.
#include <CLI/CLI.hpp>

#include "cli/cmd_edit_page.h"
#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/calendar/day_date.h"
#include "core/vault/page_address.h"

namespace trivo::cli {
namespace {

class EditCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "edit"; }
  [[nodiscard]] const char* summary() const override {
    return "Open a page in $VISUAL or $EDITOR (made from its template when new), then check it";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_,
                   "A page address such as today, 2026-09-16, 2026-W38, 2026-09 or inbox")
        ->default_str("today");
  }

  int run(Context& context) override {
    const auto root = commandVault(context);
    const auto target = parsePageAddress(page_, DayDate::today(context.clock), yearModeOf(root));
    if (!target) {
      throw UserError("\"" + page_ +
                      "\" is not a page address; try a date such as 2026-09-16, a period such "
                      "as 2026-W38, 2026-09, 2026-Q3 or 2026, inbox, today or yesterday.");
    }
    const EntryKey* key = target->asPage();
    if (!key) {
      throw UserError("\"" + page_ + "\" names the " + *target->asView() +
                      " view, which has no file to edit.");
    }
    return editPage(root, *key, context);
  }

 private:
  std::string page_ = "today";
};

}  // namespace

std::unique_ptr<Command> makeEditCommand() { return std::make_unique<EditCommand>(); }

}  // namespace trivo::cli

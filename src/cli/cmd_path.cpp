// `trivo path PAGE`: the file that holds a page of the vault.
#include <CLI/CLI.hpp>
#include <fstream>
#include <ostream>

#include "cli/command.h"
#include "core/calendar/day_date.h"
#include "core/vault/page_address.h"
#include "core/vault/page_link.h"
#include "cli/vault_settings.h"
#include "core/vault/vault_locator.h"
#include "core/vault/vault_paths.h"

namespace trivo::cli {
namespace {

class PathCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "path"; }
  [[nodiscard]] const char* summary() const override {
    return "Print the file that holds a page (2026-09-16, 2026-W38, inbox, today, yesterday …)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_, "A page address such as today, 2026-09-16 or week:2026-W38")
        ->required();
  }

  int run(Context& context) override {
    const std::filesystem::path root = commandVault(context);
    const auto target = parsePageAddress(page_, DayDate::today(context.clock), yearModeOf(root));
    if (!target) {
      throw UserError("\"" + page_ +
                      "\" is not a page address; try a date such as 2026-09-16, a period such "
                      "as 2026-W38, 2026-09, 2026-Q3 or 2026, inbox, today or yesterday.");
    }
    const EntryKey* key = target->asPage();
    if (!key) {
      throw UserError("\"" + page_ + "\" names the " + *target->asView() +
                      " view, which has no file of its own.");
    }
    const VaultPaths paths(root, detectVaultFormat(root));
    const std::string path = paths.urlFor(*key).string();
    if (context.json) {
      Json out = Json::object();
      out["key"] = *key;
      out["pageKey"] = pageKeyText(*key);
      out["path"] = path;
      context.out << out.dump(2) << "\n";
    } else {
      context.out << path << "\n";
    }
    return 0;
  }

 private:
  std::string page_;
};

}  // namespace

std::unique_ptr<Command> makePathCommand() { return std::make_unique<PathCommand>(); }

}  // namespace trivo::cli

// `trivo convert --to org|markdown [--dry-run]` converts every page of the vault to the other
// syntax, keeping the old pages; `trivo convert --undo` puts them back.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_convert_progress.h"
#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/config/config_store.h"
#include "core/convert/vault_converter.h"
#include "core/store/atomic_write.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// Pages whose every detail the new syntax cannot hold; their full text stays in the kept copies.
void warnIncomplete(Context& context, const VaultConverter::Plan& plan) {
  if (plan.incomplete.empty()) return;
  context.err << "trivo: " << counted(plan.incomplete.size(), "page holds", "pages hold")
              << " details that " << (plan.to == VaultFormat::org ? "Org" : "Markdown")
              << " has no place for (such as the drawers and notes of Org heading items); their "
                 "full text stays in the kept copies:\n";
  for (const auto& page : plan.incomplete) context.err << "  " << page.generic_string() << "\n";
}

class ConvertCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "convert"; }
  [[nodiscard]] const char* summary() const override {
    return "Convert every page of the vault to Org or Markdown (old pages are kept; --undo)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("--to", to_, "The syntax to convert to: org or markdown")
        ->check(CLI::IsMember({"org", "markdown", "md"}));
    app.add_flag("--dry-run", dryRun_, "List the pages that would change and write nothing");
    app.add_flag("--undo", undo_, "Put back the pages of the last conversion");
  }

  int run(Context& context) override {
    const fs::path root = commandVault(context);
    VaultConverter converter(root, yearModeOf(root), context.clock);
    ProgressBar bar(context.err, undo_ ? "Undoing" : "Converting", ProgressBar::forTerminal());
    const auto progress = [&bar](std::size_t done, std::size_t total) { bar.update(done, total); };
    try {
      if (undo_) {
        if (to_ || dryRun_) throw UserError("--undo takes neither --to nor --dry-run.");
        const std::size_t pages = converter.undo(progress);
        bar.finish();
        context.out << "Put back " << counted(pages, "page", "pages")
                    << " as they were before the conversion.\n";
        return 0;
      }
      if (!to_) throw UserError("Name the syntax to convert to with --to org or --to markdown.");
      const VaultFormat to = *to_ == "org" ? VaultFormat::org : VaultFormat::markdown;
      const char* name = to == VaultFormat::org ? "Org" : "Markdown";
      if (dryRun_) {
        const auto plan = converter.plan(to);
        if (plan.from == to) {
          context.out << "The vault is already written in " << name << "; nothing to convert.\n";
          return 0;
        }
        for (const auto& move : plan.pages) {
          context.out << move.from.generic_string() << " → " << move.to.generic_string() << "\n";
        }
        warnIncomplete(context, plan);
        context.out << counted(plan.pages.size(), "page", "pages") << " would be converted"
                    << (plan.resumes ? " (finishing an earlier conversion)" : "")
                    << "; nothing was written.\n";
        return 0;
      }
      const auto outcome = converter.convert(to, progress);
      bar.finish();
      if (outcome.plan.from == to) {
        context.out << "The vault is already written in " << name << "; nothing to convert.\n";
        return 0;
      }
      warnIncomplete(context, outcome.plan);
      context.out << "Converted " << counted(outcome.plan.pages.size(), "page", "pages") << " to "
                  << name << "; the old pages are kept in "
                  << outcome.kept.lexically_relative(root).generic_string()
                  << " (trivo convert --undo puts them back).\n";
      return 0;
    } catch (const ConversionError& e) {
      bar.finish();
      throw UserError(e.what(), 3);
    } catch (const FileError& e) {
      bar.finish();
      throw UserError(std::string(e.what()) + " Run trivo convert again to finish.");
    } catch (const ConfigError& e) {
      bar.finish();
      throw UserError(std::string(e.what()) + " Run trivo convert again to finish.");
    }
  }

 private:
  std::optional<std::string> to_;
  bool dryRun_ = false;
  bool undo_ = false;
};

}  // namespace

std::unique_ptr<Command> makeConvertCommand() { return std::make_unique<ConvertCommand>(); }

}  // namespace trivo::cli

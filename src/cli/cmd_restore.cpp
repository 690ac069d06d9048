// `trivo restore PAGE VERSION` writes a kept version of a page back through the store; the text
// it replaces is kept first, so the restore itself can be restored away.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_history_page.h"
#include "cli/cmd_today_support.h"
#include "cli/vault_settings.h"
#include "core/backup/sha256.h"
#include "core/store/serializer_codec.h"
#include "core/store/store_errors.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

class RestoreCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "restore"; }
  [[nodiscard]] const char* summary() const override {
    return "Bring back a kept version of a page (trivo history PAGE lists them)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_, "The page: a day, week, month, quarter, year or inbox")
        ->required();
    app.add_option("VERSION", version_, "The version: its number or its first digits")->required();
  }

  int run(Context& context) override {
    const fs::path root = commandVault(context);
    BackupStore backups = backupsOf(root, context);
    const HistoryPage page = historyPage(root, page_, context);
    const auto versions = backups.versions(page.relative);
    std::string blob = version_;
    if (auto number = wholeNumber(version_); number && *number >= 1 && version_.size() < 4) {
      if (static_cast<std::size_t>(*number) > versions.size()) {
        throw UserError("There is no version " + version_ + " of " +
                        page.relative.generic_string() + "; trivo history " + page_ +
                        " lists them.");
      }
      blob = versions[static_cast<std::size_t>(*number - 1)].blob;
    }
    const auto text = backups.text(blob);
    if (!text) {
      throw UserError("No kept version of " + page.relative.generic_string() + " is named \"" +
                      version_ + "\"; trivo history " + page_ + " lists them.");
    }

    const Vault vault{root, detectVaultFormat(root), "en", std::nullopt};
    VaultStore::Options options;
    options.debounce = std::chrono::hours(24);
    options.clock = &context.clock;
    options.codec = SerializerCodec::forVault(vault, yearModeOf(root));
    VaultStore store(vault, options);
    std::optional<std::string> replaced;
    try {
      const auto current = store.loadText(page.key);
      if (current == *text) {
        context.out << page.relative.generic_string() << " already holds that version.\n";
        return 0;
      }
      // Kept before it is replaced: restoring is undone by restoring this text.
      if (current) {
        backups.recordBefore(page.relative, *current);
        replaced = sha256Hex(*current).substr(0, 8);
      }
      store.saveText(page.key, *text, false, true);
      store.flush();
    } catch (const VaultError&) {
      store.discardPending(page.key);
      throw UserError("The page " + page.relative.generic_string() +
                          " changed on disk while restoring, so nothing was written; run the "
                          "command again.",
                      kChangedPage);
    } catch (const PageReadError&) {
      // An unreadable page is just what a restore is for: it is replaced whole.
      store.saveText(page.key, *text, true, true);
      store.flush();
    } catch (const FileError& e) {
      throw UserError(std::string(e.what()));
    }
    context.out << "Restored " << page.relative.generic_string() << " to version "
                << sha256Hex(*text).substr(0, 8) << ".";
    if (replaced) {
      context.out << " The text it replaced is kept as version " << *replaced << ": trivo restore "
                  << page_ << " " << *replaced << " brings it back.";
    }
    context.out << "\n";
    return 0;
  }

 private:
  std::string page_;
  std::string version_;
};

}  // namespace

std::unique_ptr<Command> makeRestoreCommand() { return std::make_unique<RestoreCommand>(); }

}  // namespace trivo::cli

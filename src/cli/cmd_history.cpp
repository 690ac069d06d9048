// `trivo history [PAGE] [--snapshot]`: the versions of a page kept by backups and file history,
// the list of snapshots, or a snapshot taken now.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_convert_progress.h"
#include "cli/cmd_history_page.h"
#include "cli/cmd_today_support.h"
#include "cli/vault_settings.h"
#include "core/store/atomic_write.h"
#include "core/util/iso_instant.h"
#include "core/vault/page_address.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {

namespace fs = std::filesystem;

BackupStore backupsOf(const fs::path& root, const Context& context) {
  auto folder = BackupStore::folderFor(root);
  if (!folder) {
    throw UserError("Backups live under $XDG_DATA_HOME or $HOME, and neither is set; set one.");
  }
  return BackupStore(*folder, context.clock);
}

HistoryPage historyPage(const fs::path& root, const std::string& text, const Context& context) {
  const auto target = parsePageAddress(text, DayDate::today(context.clock), yearModeOf(root));
  const EntryKey* key = target ? target->asPage() : nullptr;
  if (!key) {
    throw UserError("\"" + text +
                    "\" is not a page; name a day, week, month, quarter, year or the inbox, "
                    "such as 2026-09-16, 2026-W38 or inbox.");
  }
  VaultPaths paths(root, detectVaultFormat(root));
  const fs::path relative = paths.urlFor(*key).lexically_relative(root);
  return HistoryPage{root, std::move(paths), *key, relative};
}

std::string localTime(Instant instant, const Context& context) {
  const LocalReading t = context.clock.local(instant);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", t.year, t.month, t.day, t.hour, t.minute);
}

namespace {

class HistoryCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "history"; }
  [[nodiscard]] const char* summary() const override {
    return "List the kept versions of a page (or the snapshots; --snapshot takes one now)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_, "The page: a day, week, month, quarter, year or inbox");
    app.add_flag("--snapshot", snapshot_, "Back up every page now");
  }

  int run(Context& context) override {
    const fs::path root = commandVault(context);
    BackupStore backups = backupsOf(root, context);
    if (snapshot_) {
      if (page_) throw UserError("--snapshot backs up every page; leave out the page.");
      ProgressBar bar(context.err, "Backing up", ProgressBar::forTerminal());
      BackupStore::SnapshotResult done;
      try {
        done = backups.snapshot(root, BackupStore::settingsOf(root).keep,
                                [&bar](std::size_t n, std::size_t total) { bar.update(n, total); });
      } catch (const FileError& e) {
        throw UserError(std::string(e.what()));
      }
      bar.finish();
      context.out << "Backed up " << counted(done.pages, "page", "pages") << " ("
                  << counted(done.newBlobs, "text", "texts") << " not kept before) to "
                  << done.file.string();
      if (done.pruned > 0) {
        context.out << "; " << counted(done.pruned, "older snapshot", "older snapshots")
                    << " removed";
      }
      context.out << ".\n";
      return 0;
    }
    if (!page_) {
      const auto all = backups.snapshots();
      if (all.empty()) {
        context.out << "No snapshots yet in " << backups.folder().string()
                    << "; trivo history --snapshot takes one.\n";
      }
      for (const auto& file : all) context.out << file.filename().string() << "\n";
      return 0;
    }
    const HistoryPage page = historyPage(root, *page_, context);
    const auto versions = backups.versions(page.relative);
    if (context.json) {
      Json out = Json::array();
      for (const auto& v : versions) {
        out.push_back(
            {{"version", v.blob.substr(0, 8)},
             {"blob", v.blob},
             {"time", isoInstantString(v.time)},
             {"source",
              v.source == BackupStore::Version::Source::snapshot ? "snapshot" : "before a write"}});
      }
      context.out << out.dump(2) << "\n";
      return 0;
    }
    if (versions.empty()) {
      context.out << "No versions of " << page.relative.generic_string() << " are kept yet.\n";
      return 0;
    }
    std::size_t n = 0;
    for (const auto& v : versions) {
      context.out << fmt::format(
          "{:>3}  {}  {}  {}\n", ++n, v.blob.substr(0, 8), localTime(v.time, context),
          v.source == BackupStore::Version::Source::snapshot ? "snapshot" : "before a write");
    }
    return 0;
  }

 private:
  std::optional<std::string> page_;
  bool snapshot_ = false;
};

}  // namespace

std::unique_ptr<Command> makeHistoryCommand() { return std::make_unique<HistoryCommand>(); }

}  // namespace trivo::cli

// What `trivo history` and `trivo restore` share: the page a person names, the vault's backups.
#pragma once

#include <filesystem>
#include <string>

#include "cli/command.h"
#include "core/backup/backup_store.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_paths.h"

namespace trivo::cli {

struct HistoryPage {
  std::filesystem::path root;
  VaultPaths paths;
  EntryKey key;
  std::filesystem::path relative;  // the page's file relative to the vault: "days/2026-03-14.md"
};

// The backups' folder of a located vault.
BackupStore backupsOf(const std::filesystem::path& root, const Context& context);
// A page named on the command line (a period, "today", "inbox" …); refuses with one sentence.
HistoryPage historyPage(const std::filesystem::path& root, const std::string& text,
                        const Context& context);
// "2026-11-23 14:02" in the local time of the context's clock.
std::string localTime(Instant instant, const Context& context);

}  // namespace trivo::cli

// What `trivo capture`, `trivo inbox` and `trivo agenda` share: the located vault opened as a
// store of records, refusals worded for people with their exit codes, and terminal colour.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/command.h"
#include "core/inbox/inbox_model.h"
#include "core/store/vault_store.h"

namespace trivo::cli {

// The located vault and a store on it that reads pages as records. Writes wait for an explicit
// flush(), so a refused write is always reported to the command that made it.
struct InboxVault {
  std::filesystem::path root;
  std::unique_ptr<VaultStore> store;

  // Refuses with one sentence (exit 1) when no vault is found.
  static InboxVault open(const Context& context, bool readOnly);
  // The file of a page, for messages.
  [[nodiscard]] std::filesystem::path fileOf(const EntryKey& key) const;
  // Where captures keep the inbox's append point: the user's cache folder, one file per vault.
  [[nodiscard]] std::optional<std::filesystem::path> appendPointFile() const;
};

// A model on the vault's store that captures by adding a line when it can.
InboxModel captureModel(const InboxVault& vault, const Clock& clock, const DayDate& today);

// Runs `work` (which reads and may write through `vault.store`, then flushes) and turns what the
// store and the inbox model refuse into one sentence and an exit code: a page that cannot be
// read 3 (the file named), a page changed on disk while the command ran 4, a bad request of the
// person 2, a failed write 1. Nothing is written when `work` throws.
void guarded(const InboxVault& vault, const std::function<void()>& work);

// Colour on a terminal only, and never when NO_COLOR is set to anything.
struct Paint {
  bool on = false;
  static Paint forContext(const Context& context);
  [[nodiscard]] std::string bold(std::string_view text) const;
  [[nodiscard]] std::string dim(std::string_view text) const;
  [[nodiscard]] std::string red(std::string_view text) const;
};

// "Friday 2026-11-27".
std::string dayWords(const DayDate& day);
// An inbox item on one line for people: "[ ] call mum · due Friday 2026-11-27 18:00 · every week
// on Friday · someday".
std::string itemLine(const InboxItem& item, const Paint& paint);

}  // namespace trivo::cli

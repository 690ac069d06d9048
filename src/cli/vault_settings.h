// The few settings the commands read before anything else (read leniently, never refused), and
// the vault's store opened the way every command opens it.
#pragma once

#include <filesystem>
#include <memory>

#include "cli/command.h"
#include "core/config/year_mode.h"
#include "core/store/vault_store.h"

namespace trivo::cli {

// The vault's year mode from its settings file; anything unreadable means the default (quarter).
YearMode yearModeOf(const std::filesystem::path& root);

// The vault the command works on (--vault, TRIVO_VAULT, the folders upward, the default);
// refused with the locator's sentence when there is none.
std::filesystem::path commandVault(const Context& context);

// How a command writes: never; all at once when it has done everything it was asked (a refusal
// half-way leaves every page as it was); or each save at once.
enum class StoreWrites { never, whenDone, atOnce };

// The store over the vault at `root` in its own syntax and year mode, on the command's clock.
// A store that writes leaves the sync note other devices read (the page was written here).
std::unique_ptr<VaultStore> openCommandStore(const std::filesystem::path& root,
                                             const Context& context, StoreWrites writes);

}  // namespace trivo::cli

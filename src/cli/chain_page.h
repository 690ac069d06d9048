// What `trivo progress` and `trivo tree` share: the period page a person names, and a store
// that reads the located vault's pages as records without writing anything.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "cli/command.h"
#include "core/store/vault_store.h"
#include "core/vault/entry_key.h"

namespace trivo::cli {

struct ChainPage {
  std::filesystem::path root;
  EntryKey key;
};

// The located vault and the week, month, quarter or year page that `page` names; refuses
// anything else with one sentence (exit 1).
ChainPage chainPage(const std::string& page, const Context& context);

// A read-only store on the vault, reading pages through its format's serializer.
std::unique_ptr<VaultStore> openChainStore(const std::filesystem::path& root,
                                           const Context& context);

// Runs `read`, turning a page that cannot be read into a refusal (exit 3).
void readingPages(const EntryKey& key, const std::function<void()>& read);

}  // namespace trivo::cli

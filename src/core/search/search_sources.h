// The files of a vault that search and the indexes read: its pages in the vault's format, and
// the other Org files when asked for.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

struct SearchSource {
  std::filesystem::path file;    // absolute
  std::string relative;          // from the vault root, with "/"
  std::optional<EntryKey> page;  // nothing for an Org file of the person's own
  bool pinned = false;           // named in the Org pins

  bool operator==(const SearchSource&) const = default;
};

// Every page of the vault (period folders, then the inbox when it exists), then, when
// `orgFiles`, the other Org files less `orgSkip`, pinned ones first. Unreadable folders are
// passed over.
std::vector<SearchSource> searchSources(const std::filesystem::path& vault, VaultFormat format,
                                        bool orgFiles, const std::vector<std::string>& orgSkip,
                                        const std::vector<std::string>& orgPins);

}  // namespace trivo

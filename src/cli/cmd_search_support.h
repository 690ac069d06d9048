// What `trivo search` and the trivo://find link share: the vault's settings read leniently, the
// index opened in the user's cache folder with a progress bar on a terminal, and the results
// printed for people or as JSON.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "core/config/vault_config.h"
#include "core/search/search_index.h"
#include "core/search/search_query.h"

namespace trivo::cli {

struct SearchVault {
  std::filesystem::path root;
  VaultFormat format = VaultFormat::markdown;
  // The settings, or nothing when the file cannot be read (search then works with defaults).
  std::optional<VaultConfig> config;

  // Finds the vault; refuses with one sentence (exit 1) when there is none.
  static SearchVault open(const Context& context);
  // The settings, refusing with one sentence (exit 1) when the file cannot be read.
  [[nodiscard]] const VaultConfig& settings() const;
};

// Search exits as grep does, so that a script can tell the two apart: 1 when no line matched,
// 2 when the search could not run (a bad query, no vault, unreadable settings).
inline constexpr int kSearchFailed = 2;

// A query read from the person's words; a bad one is refused with its sentence (exit 2).
SearchQuery parseQuery(const std::string& text);

// Runs the query and prints the pages found as they come, for people (the match marked in colour
// on a terminal) or as JSON; returns the exit code: 0 when something matched, 1 when nothing
// did. The index is brought up to date first when it is used, with a progress bar on standard
// error while it is built from nothing, when that is a terminal. The other Org files are
// searched when `orgFiles` says so, else as the settings say. `asked` is the query as the person
// gave it. Refuses with one sentence when the cache folder cannot hold the index.
int searchAndPrint(const Context& context, const SearchVault& vault, const std::string& asked,
                   const SearchQuery& query, std::size_t contextLines,
                   std::optional<bool> orgFiles = std::nullopt);

}  // namespace trivo::cli

// Finding the vault a command works on, and the page format of a vault folder.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "core/vault/vault_format.h"

namespace trivo {

// No vault could be found; the message is one sentence saying how to make or name one.
class VaultNotFound : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Everything the search looks at, so that tests need not touch the process's environment.
struct VaultSearch {
  std::optional<std::string> option;       // --vault DIR
  std::optional<std::string> environment;  // TRIVO_VAULT
  std::filesystem::path currentDirectory;
  // The folder holding "vaults.json": $XDG_CONFIG_HOME/trivo, else ~/.config/trivo.
  std::optional<std::filesystem::path> configDirectory;

  // The search as the running process sees it.
  static VaultSearch fromProcess(std::optional<std::string> option);
};

// The vault folder, made absolute: --vault, else TRIVO_VAULT (both taken as given, even when
// the folder does not exist yet), else the nearest folder upward from the current one that
// holds ".trivo", else the existing "default" folder of the known-vaults list "vaults.json"
// ({"default": "/path", "vaults": ["/path", …]}, read leniently: a missing, unreadable or
// malformed list counts as empty). Throws VaultNotFound otherwise.
std::filesystem::path locateVault(const VaultSearch& search);

// The vault's page format: the "fileFormat" setting of root/.trivo/config.json when it is
// readable and names a format; else the format of the inbox page when exactly one of "inbox.md"
// and "inbox.org" exists (one file looked at, whatever the vault's size); else org when the period
// folders hold ".org" pages and no ".md" pages; else markdown.
VaultFormat detectVaultFormat(const std::filesystem::path& root);

// The part of detectVaultFormat that lists no folder: the setting, else the inbox's format; nothing
// when neither settles it (then the period pages do: org when they are all ".org" files).
std::optional<VaultFormat> declaredVaultFormat(const std::filesystem::path& root);

}  // namespace trivo

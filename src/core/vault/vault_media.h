// The vault's "media" folder: its size, which of its files the pages refer to, and removing
// the ones nothing refers to. Rewriting references into the "media/…" form is the page
// syntax's business, not this file's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "core/vault/vault.h"
#include "core/vault/vault_paths.h"

namespace trivo {

struct VaultMedia {
  // Total bytes of the regular files under `folder`, recursively; symbolic links are not
  // followed and unreadable parts count as nothing. 0 when the folder does not exist.
  static std::int64_t folderSize(const std::filesystem::path& folder);

  // The media names that page texts refer to, percent-decoded, as paths relative to the media
  // folder ("shot.png", "2026/shot.png"). A reference is "media/NAME" (or "../media/NAME")
  // as the target of a Markdown link or image "](media/NAME)" or "](<media/NAME>)", an angle
  // link "<media/NAME>", or an Org link "[[file:media/NAME]]" / "[[media/NAME]]" (with or
  // without a description).
  static std::set<std::string> referenced(std::span<const std::string> pageTexts);

  // Files of the media folder that no page refers to, as sorted names relative to it. Every
  // ".md" and ".org" file under base counts as a page, whatever the vault's format, so that
  // nothing still shown anywhere is called a leftover. Hidden files (a sync tool's state or
  // temporaries) are never leftovers.
  static std::vector<std::string> leftovers(const VaultPaths& paths);
  static std::vector<std::string> leftovers(const Vault& vault);

  // Removes exactly the current leftovers; returns the names it removed (a file that could
  // not be removed is left out).
  static std::vector<std::string> deleteOrphans(const VaultPaths& paths);
  static std::vector<std::string> deleteOrphans(const Vault& vault);
};

}  // namespace trivo

// The vault's other Org files: Org files the person keeps in the vault beside its pages (project
// notes, an Emacs agenda file), found by walking the vault folder.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/vault/vault_paths.h"

namespace trivo {

struct OrgFile {
  std::filesystem::path file;  // absolute
  std::string relative;        // from the vault root, with "/": "projects/garden.org"
  bool pinned = false;

  bool operator==(const OrgFile&) const = default;
};

class OrgFiles {
 public:
  // Every regular file ending in ".org" under the vault root that is no page: outside the period
  // folders, the media folder and hidden folders, not the inbox page, not an editor's lock or
  // auto-save file, and matched by no entry of `skip`. Files named in `pins` come first, in the
  // order of `pins`; the others follow sorted by their relative path. Symbolic links to folders
  // are not followed; unreadable folders are passed over.
  static std::vector<OrgFile> list(const VaultPaths& paths, const std::vector<std::string>& skip,
                                   const std::vector<std::string>& pins);

  // Whether a skip entry leaves out a file: the entry is a shell pattern ("*.archive.org") or a
  // path, matched against the whole relative path, against any folder on it, and against the
  // file name; "archive" and "archive/" both leave out everything in a folder "archive".
  static bool skips(std::string_view entry, std::string_view relative);
};

}  // namespace trivo

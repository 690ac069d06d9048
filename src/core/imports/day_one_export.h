// Day One's JSON export, as a .json file, a .zip holding it, or the unpacked folder: its entries
// at their local time, with their tags, and their photos to copy into the vault.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/imports/journal_file.h"
#include "core/imports/zone_offsets.h"
#include "core/vault/vault_format.h"

namespace trivo {

class DayOneExport {
 public:
  struct Read {
    std::vector<ImportedEntry> entries;
    std::size_t missingPhotos = 0;          // named by an entry but not in the export
    std::vector<std::string> unknownZones;  // read as UTC instead
  };

  // Reads the export at `source`. The entries of every journal in it (each top-level ".json")
  // come in file order; the photos of a zip are unpacked into `scratch`, a folder the caller
  // owns and removes afterwards. Throws ImportError naming the file: not a zip that reads, no
  // journal inside, JSON that is not a Day One export, an entry without a creation date.
  static Read read(const std::filesystem::path& source, VaultFormat to, ZoneOffsets& zones,
                   const std::filesystem::path& scratch);

  // The entries of one journal's JSON text. Each entry's creation date is read in its own time
  // zone; its text (Markdown, with Day One's backslash escapes taken off and a leading "# " of
  // the title line dropped) gets its tags as "#tag" words on the first line and is converted to
  // `to`; each photo found under `photos` as "<md5>.<type>" becomes media whose placeholder is
  // Day One's "![](dayone-moment://<identifier>)". `name` is used in messages.
  static Read parse(std::string_view json, const std::filesystem::path& photos, VaultFormat to,
                    ZoneOffsets& zones, const std::string& name);
};

}  // namespace trivo

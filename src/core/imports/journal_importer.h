// Puts imported entries into the journals of their days, through the store: each entry once,
// however often the same journal is imported.
#pragma once

#include <cstddef>
#include <vector>

#include "core/convert/vault_converter.h"
#include "core/imports/journal_file.h"

namespace trivo {

class VaultStore;

class JournalImporter {
 public:
  struct Result {
    std::size_t added = 0;
    std::size_t skipped = 0;  // already in the journal of their day
    std::size_t media = 0;    // pictures copied into the media folder
    std::size_t days = 0;     // day pages written
    bool operator==(const Result&) const = default;
  };

  // Adds each entry to its day's journal (its blank lines left out: on the page a blank line
  // ends an entry), in time order among the entries there, unless the day
  // already holds an entry at the same time whose first line is the same (pictures aside). Every
  // day page is read before anything is written: one that does not read stops the import
  // (ImportError naming the file) with nothing written. Pictures are copied for the entries
  // added, then the pages are written and flushed. The store's errors (VaultError, FileError)
  // pass through.
  static Result add(VaultStore& store, const std::vector<ImportedEntry>& entries,
                    const ProgressReport& progress = {});
};

}  // namespace trivo

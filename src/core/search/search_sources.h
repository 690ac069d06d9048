// The files of a vault that search and the indexes read: its pages in the vault's format, and
// the other Org files when asked for.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

// A file's size and modification time, which say whether it changed since it was read.
struct SearchStamp {
  std::int64_t size = 0;
  std::int64_t mtime = 0;  // nanoseconds

  bool operator==(const SearchStamp&) const = default;
};

struct SearchSource {
  std::string relative;          // from the vault root, with "/" (a text: thousands are made for
                                 // every search, and a path object apiece cost more)
  std::optional<EntryKey> page;  // nothing for an Org file of the person's own
  bool pinned = false;           // named in the Org pins
  // With `stamped`: the file's stamp as it was listed, or nothing when it is no regular file
  // (any more).
  std::optional<SearchStamp> stamp;

  bool operator==(const SearchSource&) const = default;
};

// Which of those files a listing takes: the day pages are most of a vault, and a search lists
// them on a thread of their own while it reads the rest.
enum class SourceShare { all, days, rest };

// Every page of the vault (period folders, then the inbox when it exists), then, when
// `orgFiles`, the other Org files less `orgSkip`, pinned ones first. Unreadable folders are
// passed over. With `stamped`, each file's stamp is taken as it is listed, from its folder
// (cheaper than a look-up of its whole path afterwards). `share` takes the day pages alone, or
// everything but them.
std::vector<SearchSource> searchSources(const std::filesystem::path& vault, VaultFormat format,
                                        bool orgFiles, const std::vector<std::string>& orgSkip,
                                        const std::vector<std::string>& orgPins,
                                        bool stamped = false, SourceShare share = SourceShare::all);

// The stamp in a file's status.
SearchStamp stampFrom(const struct stat& info);

// The stamp of a regular file (links followed), or nothing.
std::optional<SearchStamp> stampOf(const std::filesystem::path& file);

// The folders whose entries hold those files: the vault root, the period folders, and with
// `orgFiles` every folder the Org files are looked for in. A file created in any of them
// changes what searchSources lists.
std::vector<std::filesystem::path> searchFolders(const std::filesystem::path& vault,
                                                 VaultFormat format, bool orgFiles);

}  // namespace trivo

// Finding the page files under the folders and files a person names, and checking that each one
// reads, and would be written back unchanged.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/store/serializer_codec.h"
#include "core/store/store_errors.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

// The paths are texts rather than std::filesystem::path, which takes its text apart into
// components when made: a vault has thousands of pages, and discovery makes three paths of each.
struct PageFile {
  std::string path;       // absolute
  std::string vaultRoot;  // the nearest folder upward holding ".trivo", else the base
  std::string relative;   // path relative to vaultRoot
  EntryKey key;
  VaultFormat format;
};

// The page files among `paths`. A file counts when its name and folder make it a page of its
// vault (see VaultPaths::keyFor) in the vault's own format; a folder is searched throughout,
// except for hidden folders and "media". Sorted by path, each once. Throws
// std::filesystem::filesystem_error for a path that does not exist.
std::vector<PageFile> findPageFiles(const std::vector<std::filesystem::path>& paths);

struct PageCheck {
  std::optional<ReadProblem> problem;
  std::string text;  // the bytes read (empty when unreadable)
  // The text after one read and write, when it differs from `text` (only when asked for).
  std::optional<std::string> rewritten;
};

PageCheck checkPage(const PageFile& page, const SerializerCodec& codec, bool roundtrip);

// checkPage for every page, `codecs[i]` reading `pages[i]`, on as many threads as the machine
// has cores (the codecs are only read). The results come back in the order of `pages`; a page
// that reads, and with `roundtrip` would be written back unchanged, comes back without its text,
// so that memory holds the texts of the pages with something to report only.
std::vector<PageCheck> checkPages(const std::vector<PageFile>& pages,
                                  const std::vector<const SerializerCodec*>& codecs,
                                  bool roundtrip);

// "identity: expected 2026-09-16, found 2026-09-17", "encoding: not valid UTF-8", …
std::string describe(const ReadProblem& problem);

}  // namespace trivo

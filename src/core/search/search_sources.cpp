// Listing the files that search reads.
#include "core/search/search_sources.h"

#include <dirent.h>

#include "core/agenda/org_files.h"
#include "core/vault/vault_paths.h"

namespace trivo {

std::vector<SearchSource> searchSources(const std::filesystem::path& vault, VaultFormat format,
                                        bool orgFiles, const std::vector<std::string>& orgSkip,
                                        const std::vector<std::string>& orgPins) {
  namespace fs = std::filesystem;
  const VaultPaths paths(vault, format);
  // Names are joined as strings: every search lists every page, and building and relating
  // a path object per entry cost more than listing the folders.
  std::string prefix = paths.base().lexically_relative(vault).generic_string();
  prefix = prefix.empty() || prefix == "." ? std::string() : prefix + "/";
  std::vector<SearchSource> sources;
  for (std::string_view folder : VaultPaths::folders) {
    const fs::path dir = paths.base() / folder;
    DIR* listing = ::opendir(dir.c_str());
    if (!listing) continue;
    const std::string relativeFolder = prefix + std::string(folder) + "/";
    while (const dirent* entry = ::readdir(listing)) {
      const std::string_view name = entry->d_name;
      const auto key = paths.key(folder, name);
      if (!key) continue;
      sources.push_back({dir / name, relativeFolder + std::string(name), key, false});
    }
    ::closedir(listing);
  }
  std::error_code ec;
  if (fs::is_regular_file(paths.inbox(), ec)) {
    sources.push_back({paths.inbox(), paths.inbox().lexically_relative(vault).generic_string(),
                       EntryKey::inbox(), false});
  }
  if (orgFiles) {
    for (const OrgFile& org : OrgFiles::list(paths, orgSkip, orgPins)) {
      sources.push_back({org.file, org.relative, std::nullopt, org.pinned});
    }
  }
  return sources;
}

}  // namespace trivo

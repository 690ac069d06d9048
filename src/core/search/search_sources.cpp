// Listing the files that search reads.
#include "core/search/search_sources.h"

#include "core/agenda/org_files.h"
#include "core/vault/vault_paths.h"

namespace trivo {

std::vector<SearchSource> searchSources(const std::filesystem::path& vault, VaultFormat format,
                                        bool orgFiles, const std::vector<std::string>& orgSkip,
                                        const std::vector<std::string>& orgPins) {
  namespace fs = std::filesystem;
  const VaultPaths paths(vault, format);
  std::vector<SearchSource> sources;
  for (std::string_view folder : VaultPaths::folders) {
    std::error_code ec;
    for (fs::directory_iterator it(paths.base() / folder, ec), end; !ec && it != end;
         it.increment(ec)) {
      const auto key = paths.key(folder, it->path().filename().string());
      if (!key) continue;
      sources.push_back(
          {it->path(), it->path().lexically_relative(vault).generic_string(), key, false});
    }
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

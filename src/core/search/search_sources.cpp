// Listing the files that search reads.
#include "core/search/search_sources.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "core/agenda/org_files.h"
#include "core/vault/vault_paths.h"

namespace trivo {

SearchStamp stampFrom(const struct stat& info) {
  return {static_cast<std::int64_t>(info.st_size),
          static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 +
              static_cast<std::int64_t>(info.st_mtim.tv_nsec)};
}

namespace {

std::optional<SearchStamp> regularStamp(int status, const struct stat& info) {
  if (status != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  return stampFrom(info);
}

}  // namespace

std::optional<SearchStamp> stampOf(const std::filesystem::path& file) {
  struct stat info {};
  return regularStamp(::stat(file.c_str(), &info), info);
}

std::vector<SearchSource> searchSources(const std::filesystem::path& vault, VaultFormat format,
                                        bool orgFiles, const std::vector<std::string>& orgSkip,
                                        const std::vector<std::string>& orgPins, bool stamped,
                                        SourceShare share) {
  namespace fs = std::filesystem;
  const VaultPaths paths(vault, format);
  // Names are joined as strings: every search lists every page, and building and relating
  // a path object per entry cost more than listing the folders.
  std::string prefix = paths.base().lexically_relative(vault).generic_string();
  prefix = prefix.empty() || prefix == "." ? std::string() : prefix + "/";
  std::vector<SearchSource> sources;
  for (std::string_view folder : VaultPaths::folders) {
    const bool days = folder == VaultPaths::folders.front();
    if ((share == SourceShare::days && !days) || (share == SourceShare::rest && days)) continue;
    const fs::path dir = paths.base() / folder;
    DIR* listing = ::opendir(dir.c_str());
    if (!listing) continue;
    const std::string relativeFolder = prefix + std::string(folder) + "/";
    while (const dirent* entry = ::readdir(listing)) {
      const std::string_view name = entry->d_name;
      const auto key = paths.key(folder, name);
      if (!key) continue;
      sources.push_back({relativeFolder + std::string(name), key, false, {}});
      if (stamped) {
        struct stat info {};
        sources.back().stamp =
            regularStamp(::fstatat(::dirfd(listing), entry->d_name, &info, 0), info);
      }
    }
    ::closedir(listing);
  }
  if (share == SourceShare::days) return sources;
  std::error_code ec;
  if (fs::is_regular_file(paths.inbox(), ec)) {
    sources.push_back(
        {paths.inbox().lexically_relative(vault).generic_string(), EntryKey::inbox(), false, {}});
    if (stamped) sources.back().stamp = stampOf(paths.inbox());
  }
  if (orgFiles) {
    for (const OrgFile& org : OrgFiles::list(paths, orgSkip, orgPins)) {
      sources.push_back({org.relative, std::nullopt, org.pinned, {}});
      if (stamped) sources.back().stamp = stampOf(org.file);
    }
  }
  return sources;
}

std::vector<std::filesystem::path> searchFolders(const std::filesystem::path& vault,
                                                 VaultFormat format, bool orgFiles) {
  namespace fs = std::filesystem;
  const VaultPaths paths(vault, format);
  std::vector<fs::path> folders{vault};
  if (paths.base() != vault) folders.push_back(paths.base());
  for (std::string_view folder : VaultPaths::folders) folders.push_back(paths.base() / folder);
  if (!orgFiles) return folders;
  // Every folder the Org files are looked for in (and some they are not: watching one too many
  // costs a refresh, one too few a missed file).
  std::error_code ec;
  fs::recursive_directory_iterator it(vault, fs::directory_options::skip_permission_denied, ec);
  for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    std::error_code typeEc;
    if (!it->is_directory(typeEc) || it->is_symlink(typeEc)) continue;
    const std::string name = it->path().filename().string();
    if (name.starts_with('.') || name == "media") {
      it.disable_recursion_pending();
      continue;
    }
    folders.push_back(it->path());
  }
  return folders;
}

}  // namespace trivo

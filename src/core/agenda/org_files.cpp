// Walking the vault for the Org files that are not pages.
#include "core/agenda/org_files.h"

#include <fnmatch.h>

#include <algorithm>

#include "core/format/text_util.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

bool matches(const std::string& pattern, const std::string& text) {
  return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

}  // namespace

bool OrgFiles::skips(std::string_view entry, std::string_view relative) {
  std::string pattern(text::trim(entry));
  while (pattern.starts_with("./")) pattern.erase(0, 2);
  while (!pattern.empty() && pattern.back() == '/') pattern.pop_back();
  if (pattern.empty()) return false;
  const std::string path(relative);
  if (matches(pattern, path)) return true;
  // Every leading run of folders ("a", "a/b") and every single component.
  std::size_t at = 0;
  while (at < path.size()) {
    const std::size_t slash = std::min(path.find('/', at), path.size());
    if (matches(pattern, path.substr(0, slash)) || matches(pattern, path.substr(at, slash - at))) {
      return true;
    }
    at = slash + 1;
  }
  return false;
}

std::vector<OrgFile> OrgFiles::list(const VaultPaths& paths, const std::vector<std::string>& skip,
                                    const std::vector<std::string>& pins) {
  std::vector<OrgFile> files;
  const fs::path& root = paths.root();
  std::error_code ec;
  fs::recursive_directory_iterator it(root, fs::directory_options::skip_permission_denied, ec);
  if (ec) return files;
  const fs::path base = paths.base();
  for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (ec) break;
    const fs::path& path = it->path();
    const std::string name = path.filename().string();
    std::error_code typeError;
    if (it->is_directory(typeError)) {
      bool leave = name.starts_with('.') || it->is_symlink(typeError);
      if (path.parent_path() == base) {
        leave = leave || name == "media" ||
                std::find(VaultPaths::folders.begin(), VaultPaths::folders.end(), name) !=
                    VaultPaths::folders.end();
      }
      if (leave) it.disable_recursion_pending();
      continue;
    }
    if (!name.ends_with(".org") || name.size() == 4 || name.starts_with('.') ||
        name.starts_with('#') || !it->is_regular_file(typeError)) {
      continue;
    }
    if (paths.fileExtension() == "org" && path == paths.inbox()) continue;
    const std::string relative = path.lexically_relative(root).generic_string();
    if (std::any_of(skip.begin(), skip.end(),
                    [&](const std::string& entry) { return skips(entry, relative); })) {
      continue;
    }
    files.push_back(OrgFile{path, relative, false});
  }
  auto pinIndex = [&](const OrgFile& f) -> std::size_t {
    for (std::size_t i = 0; i < pins.size(); ++i) {
      std::string pin(text::trim(pins[i]));
      while (pin.starts_with("./")) pin.erase(0, 2);
      if (pin == f.relative || pin == f.file.filename().string() || pin == f.file.string()) {
        return i;
      }
    }
    return pins.size();
  };
  for (OrgFile& f : files) f.pinned = pinIndex(f) < pins.size();
  std::sort(files.begin(), files.end(), [&](const OrgFile& a, const OrgFile& b) {
    const std::size_t pa = pinIndex(a);
    const std::size_t pb = pinIndex(b);
    if (pa != pb) return pa < pb;
    return a.relative < b.relative;
  });
  return files;
}

}  // namespace trivo

// Page discovery for whole folders or single files, and the read-and-write-back check.
#include "core/store/page_check.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "core/format/serializer_error.h"
#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "core/vault/vault_locator.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace fs = std::filesystem;

namespace {

fs::path vaultRootAbove(const fs::path& base) {
  for (fs::path at = base; !at.empty(); at = at.parent_path()) {
    std::error_code ec;
    if (fs::is_directory(at / ".trivo", ec)) return at;
    if (at == at.parent_path()) break;
  }
  return base;
}

// The page a file holds: it is either the inbox at its base or sits in a period folder of it.
std::optional<PageFile> pageAt(const fs::path& file) {
  const std::string ext = file.extension().string();
  if (ext != ".md" && ext != ".org") return std::nullopt;
  const auto format = ext == ".md" ? VaultFormat::markdown : VaultFormat::org;
  for (const fs::path& base : {file.parent_path(), file.parent_path().parent_path()}) {
    if (base.empty()) continue;
    auto key = VaultPaths(base, format).keyFor(file);
    if (!key) continue;
    const fs::path root = vaultRootAbove(base);
    // A file of the other format is the person's own, not a page.
    if (detectVaultFormat(root) != format) return std::nullopt;
    return PageFile{file, root, file.lexically_relative(root), *key, format};
  }
  return std::nullopt;
}

void collect(const fs::path& path, std::vector<PageFile>& found) {
  if (!fs::is_directory(path)) {
    if (auto page = pageAt(path)) found.push_back(std::move(*page));
    return;
  }
  fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied);
  for (; it != fs::recursive_directory_iterator(); ++it) {
    const std::string name = it->path().filename().string();
    if (it->is_directory()) {
      if (name.starts_with('.') || name == "media") it.disable_recursion_pending();
      continue;
    }
    if (it->is_regular_file() || it->is_symlink()) {
      if (auto page = pageAt(it->path())) found.push_back(std::move(*page));
    }
  }
}

}  // namespace

std::vector<PageFile> findPageFiles(const std::vector<fs::path>& paths) {
  std::vector<PageFile> found;
  for (const auto& path : paths) {
    const fs::path full = fs::absolute(path).lexically_normal();
    if (!fs::exists(full)) {
      throw fs::filesystem_error("no such file or folder", path,
                                 std::make_error_code(std::errc::no_such_file_or_directory));
    }
    collect(full, found);
  }
  std::sort(found.begin(), found.end(),
            [](const PageFile& a, const PageFile& b) { return a.path < b.path; });
  found.erase(std::unique(found.begin(), found.end(),
                          [](const PageFile& a, const PageFile& b) { return a.path == b.path; }),
              found.end());
  return found;
}

PageCheck checkPage(const PageFile& page, const SerializerCodec& codec, bool roundtrip) {
  PageCheck result;
  try {
    result.text = Coordinated::read(page.path);
  } catch (const FileError& e) {
    result.problem = ReadProblem::of(ReadProblem::Kind::unreadable, std::strerror(e.code()));
    return result;
  }
  if (!isValidUtf8(result.text)) {
    result.problem = ReadProblem::of(ReadProblem::Kind::encoding, "not valid UTF-8");
    return result;
  }
  if (!roundtrip) {
    result.problem = codec.check(page.key, result.text);
    return result;
  }
  try {
    std::string rewritten = codec.rewrite(page.key, result.text);
    if (rewritten != result.text) result.rewritten = std::move(rewritten);
  } catch (const SerializerError&) {
    result.problem = codec.check(page.key, result.text);
  }
  return result;
}

std::string describe(const ReadProblem& problem) {
  std::string out(kReadProblemNames[static_cast<std::size_t>(problem.kind)]);
  if (problem.kind == ReadProblem::Kind::identity) {
    return out + ": expected " + problem.expected + ", found " + problem.found;
  }
  if (!problem.detail.empty()) out += ": " + problem.detail;
  return out;
}

}  // namespace trivo

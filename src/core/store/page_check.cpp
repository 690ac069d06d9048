// Page discovery for whole folders or single files, and the read-and-write-back check.
#include "core/store/page_check.h"

#include <algorithm>
#include <map>
#include <set>

#include "core/format/serializer_error.h"
#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "core/vault/vault_locator.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace fs = std::filesystem;

namespace {

// What discovery learns once per folder rather than once per page: the vault above a base
// folder and the format the vault's pages are in. Each folder is listed once: when neither the
// settings nor the inbox name a vault's format, its pages decide, and the walk that finds them
// has already seen them all.
struct Discovery {
  std::map<fs::path, fs::path> rootOf;
  std::map<fs::path, VaultFormat> formatOf;
  std::set<fs::path> undeclared;  // roots whose format the period pages decide
  std::vector<fs::path> walked;   // folders listed throughout
  struct Seen {
    bool markdown = false;
    bool org = false;
  };
  std::map<fs::path, Seen> periodPagesSeen;
  std::vector<PageFile> pending;  // pages of undeclared vaults, of either format

  fs::path vaultRootAbove(const fs::path& base) {
    auto known = rootOf.find(base);
    if (known != rootOf.end()) return known->second;
    fs::path root = base;
    for (fs::path at = base; !at.empty(); at = at.parent_path()) {
      std::error_code ec;
      if (fs::is_directory(at / ".trivo", ec)) {
        root = at;
        break;
      }
      if (at == at.parent_path()) break;
    }
    rootOf.emplace(base, root);
    return root;
  }

  // The format when it is settled without the period pages (or was settled before).
  std::optional<VaultFormat> knownFormat(const fs::path& root) {
    auto known = formatOf.find(root);
    if (known != formatOf.end()) return known->second;
    if (undeclared.contains(root)) return std::nullopt;
    if (auto declared = declaredVaultFormat(root)) {
      formatOf.emplace(root, *declared);
      return declared;
    }
    undeclared.insert(root);
    return std::nullopt;
  }

  VaultFormat formatOfVault(const fs::path& root) {
    if (auto known = knownFormat(root)) return *known;
    const VaultFormat format = detectVaultFormat(root);
    formatOf.emplace(root, format);
    return format;
  }

  // The page a file would be in its own format: the inbox at its base or in a period folder of
  // it. Whether it is in the vault's format is decided by the caller.
  std::optional<PageFile> candidateAt(const fs::path& file) {
    const std::string ext = file.extension().string();
    if (ext != ".md" && ext != ".org") return std::nullopt;
    const auto format = ext == ".md" ? VaultFormat::markdown : VaultFormat::org;
    for (const fs::path& base : {file.parent_path(), file.parent_path().parent_path()}) {
      if (base.empty()) continue;
      auto key = VaultPaths(base, format).keyFor(file);
      if (!key) continue;
      const fs::path root = vaultRootAbove(base);
      if (base == root && base != file.parent_path()) {
        auto& seen = periodPagesSeen[root];
        (format == VaultFormat::markdown ? seen.markdown : seen.org) = true;
      }
      return PageFile{file, root, file.lexically_relative(root), *key, format};
    }
    return std::nullopt;
  }

  // A file of the other format is the person's own, not a page.
  std::optional<PageFile> pageAt(const fs::path& file) {
    auto page = candidateAt(file);
    if (page && formatOfVault(page->vaultRoot) != page->format) return std::nullopt;
    return page;
  }

  void consider(PageFile page, std::vector<PageFile>& found) {
    const auto format = knownFormat(page.vaultRoot);
    if (!format) {
      pending.push_back(std::move(page));
    } else if (*format == page.format) {
      found.push_back(std::move(page));
    }
  }

  // True when `root` lies in a folder that was walked throughout and none of its period folders
  // is a link (which the walk does not follow and detection would), so that the walk saw every
  // page the format detection would look at.
  bool sawWholeVault(const fs::path& root) const {
    const bool walkedOver = std::any_of(walked.begin(), walked.end(), [&](const fs::path& folder) {
      const auto [at, _] = std::mismatch(folder.begin(), folder.end(), root.begin(), root.end());
      return at == folder.end();
    });
    if (!walkedOver) return false;
    return std::none_of(VaultPaths::folders.begin(), VaultPaths::folders.end(), [&](auto folder) {
      std::error_code ec;
      return fs::is_symlink(root / folder, ec);
    });
  }

  // Sorts the pending pages of vaults without a declared format into pages and the person's
  // own files, once every folder has been walked.
  void settle(std::vector<PageFile>& found) {
    for (auto& page : pending) {
      const fs::path& root = page.vaultRoot;
      if (!formatOf.contains(root)) {
        VaultFormat format = VaultFormat::markdown;
        if (!sawWholeVault(root)) {
          format = detectVaultFormat(root);
        } else if (const Seen seen = periodPagesSeen[root]; seen.org && !seen.markdown) {
          format = VaultFormat::org;
        }
        formatOf.emplace(root, format);
      }
      if (formatOf.at(root) == page.format) found.push_back(std::move(page));
    }
    pending.clear();
  }

  // Every entry named like a page is a page, whatever it is (a folder, a FIFO, a link that
  // loops): reading it then reports what is wrong, instead of the page going unmentioned.
  void collect(const fs::path& path, std::vector<PageFile>& found) {
    std::error_code ec;
    if (!fs::is_directory(fs::status(path, ec)) || ec || pageAt(path)) {
      if (auto page = pageAt(path)) found.push_back(std::move(*page));
      return;
    }
    walked.push_back(path);
    fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
      const std::string name = it->path().filename().string();
      std::error_code typeEc;
      if (it->is_directory(typeEc) && !it->is_symlink(typeEc)) {
        if (auto page = pageAt(it->path())) {
          found.push_back(std::move(*page));
          it.disable_recursion_pending();
          continue;
        }
        if (name.starts_with('.') || name == "media") it.disable_recursion_pending();
        continue;
      }
      if (auto page = candidateAt(it->path())) consider(std::move(*page), found);
    }
  }
};

}  // namespace

std::vector<PageFile> findPageFiles(const std::vector<fs::path>& paths) {
  std::vector<PageFile> found;
  Discovery discovery;
  for (const auto& path : paths) {
    const fs::path full = fs::absolute(path).lexically_normal();
    std::error_code ec;
    if (!fs::exists(fs::symlink_status(full, ec))) {
      throw fs::filesystem_error("no such file or folder", path,
                                 std::make_error_code(std::errc::no_such_file_or_directory));
    }
    discovery.collect(full, found);
  }
  discovery.settle(found);
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
    result.problem = ReadProblem::of(ReadProblem::Kind::unreadable, e.reason());
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

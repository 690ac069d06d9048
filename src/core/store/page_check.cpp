// Page discovery for whole folders or single files, and the read-and-write-back check.
#include "core/store/page_check.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string_view>
#include <thread>
#include <unordered_map>

#include "core/format/serializer_error.h"
#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "core/vault/vault_locator.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace fs = std::filesystem;

namespace {

// Paths as discovery meets them (absolute and normal, built by appending names): their text is
// compared and cut directly, which costs a fraction of taking them apart into components for
// each of the thousands of files of a vault.
std::string_view parentOf(std::string_view path) {
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

std::string_view nameOf(std::string_view path) {
  const auto slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// `path` below `folder` (one of the folders above it), relative to it.
std::string pathBelow(std::string_view path, std::string_view folder) {
  const std::size_t cut = folder.ends_with('/') ? folder.size() : folder.size() + 1;
  if (path.size() > cut && path.starts_with(folder) && path[cut - 1] == '/') {
    return std::string(path.substr(cut));
  }
  return fs::path(path).lexically_relative(folder).native();
}

// Whether `folder` is `path` or one of the folders above it.
bool isSameOrBelow(std::string_view path, std::string_view folder) {
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/';
}

// The order of std::filesystem::path over normal paths (component by component), compared as
// texts: the separator counts as the least character.
bool pathLess(std::string_view a, std::string_view b) {
  const std::size_t n = std::min(a.size(), b.size());
  const auto [at, _] = std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(n), b.begin());
  if (at == a.begin() + static_cast<std::ptrdiff_t>(n)) return a.size() < b.size();
  const auto rank = [](char c) {
    return c == '/' ? 0 : static_cast<int>(static_cast<unsigned char>(c)) + 1;
  };
  return rank(*at) < rank(b[static_cast<std::size_t>(at - a.begin())]);
}

std::string childPath(std::string_view folder, std::string_view name) {
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  path += folder;
  if (!folder.ends_with('/')) path += '/';
  path += name;
  return path;
}

// Looks up texts by views, without making a string of each key looked for.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>{}(text);
  }
};
template <class T>
using TextMap = std::unordered_map<std::string, T, TextHash, std::equal_to<>>;

// Closes a folder listed with opendir on the way out.
struct FolderListing {
  DIR* dir;
  explicit FolderListing(const std::string& path) : dir(::opendir(path.c_str())) {}
  ~FolderListing() {
    if (dir) ::closedir(dir);
  }
  FolderListing(const FolderListing&) = delete;
  FolderListing& operator=(const FolderListing&) = delete;
};

// What discovery learns once per folder rather than once per page: the vault above a base
// folder and the format the vault's pages are in. Each folder is listed once: when neither the
// settings nor the inbox name a vault's format, its pages decide, and the walk that finds them
// has already seen them all.
struct Discovery {
  TextMap<std::string> rootOf;                     // by base folder
  TextMap<VaultFormat> formatOf;                   // by vault root
  std::set<std::string, std::less<>> undeclared;  // roots whose format the period pages decide
  std::vector<std::string> walked;                 // folders listed throughout
  struct Seen {
    bool markdown = false;
    bool org = false;
  };
  TextMap<Seen> periodPagesSeen;  // by vault root
  std::vector<PageFile> pending;  // pages of undeclared vaults, of either format
  // Page names only: the folder given here is never used.
  const VaultPaths markdownNames{fs::path(), VaultFormat::markdown};
  const VaultPaths orgNames{fs::path(), VaultFormat::org};

  const std::string& vaultRootAbove(std::string_view base) {
    auto known = rootOf.find(base);
    if (known != rootOf.end()) return known->second;
    fs::path root = fs::path(base);
    for (fs::path at = root; !at.empty(); at = at.parent_path()) {
      std::error_code ec;
      if (fs::is_directory(at / ".trivo", ec)) {
        root = at;
        break;
      }
      if (at == at.parent_path()) break;
    }
    return rootOf.emplace(std::string(base), root.native()).first->second;
  }

  // The format when it is settled without the period pages (or was settled before).
  std::optional<VaultFormat> knownFormat(std::string_view root) {
    auto known = formatOf.find(root);
    if (known != formatOf.end()) return known->second;
    if (undeclared.contains(root)) return std::nullopt;
    if (auto declared = declaredVaultFormat(fs::path(root))) {
      formatOf.emplace(std::string(root), *declared);
      return declared;
    }
    undeclared.emplace(root);
    return std::nullopt;
  }

  VaultFormat formatOfVault(std::string_view root) {
    if (auto known = knownFormat(root)) return *known;
    const VaultFormat format = detectVaultFormat(fs::path(root));
    formatOf.emplace(std::string(root), format);
    return format;
  }

  // The page a file would be in its own format: the inbox at its base or in a period folder of
  // it. Whether it is in the vault's format is decided by the caller.
  std::optional<PageFile> candidateAt(std::string_view file) {
    const std::string_view name = nameOf(file);
    VaultFormat format;
    if (name.ends_with(".md")) {
      format = VaultFormat::markdown;
    } else if (name.ends_with(".org")) {
      format = VaultFormat::org;
    } else {
      return std::nullopt;
    }
    const VaultPaths& names = format == VaultFormat::markdown ? markdownNames : orgNames;
    const std::string_view folder = parentOf(file);
    if (folder.empty()) return std::nullopt;
    std::string_view base;
    std::optional<EntryKey> key;
    if (name.size() == 6 + names.fileExtension().size() && name.starts_with("inbox.")) {
      base = folder;
      key = EntryKey::inbox();
    } else {
      base = parentOf(folder);
      if (base.empty() || folder == base) return std::nullopt;
      key = names.key(nameOf(folder), name);
    }
    if (!key) return std::nullopt;
    const std::string& root = vaultRootAbove(base);
    if (base != folder && base == root) {
      auto& seen = periodPagesSeen[root];
      (format == VaultFormat::markdown ? seen.markdown : seen.org) = true;
    }
    return PageFile{std::string(file), root, pathBelow(file, root), *key, format};
  }

  // A file of the other format is the person's own, not a page.
  std::optional<PageFile> pageAt(std::string_view file) {
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
  bool sawWholeVault(const std::string& root) const {
    const bool walkedOver = std::any_of(walked.begin(), walked.end(), [&](const std::string& folder) {
      return isSameOrBelow(root, folder);
    });
    if (!walkedOver) return false;
    return std::none_of(VaultPaths::folders.begin(), VaultPaths::folders.end(), [&](auto folder) {
      std::error_code ec;
      return fs::is_symlink(fs::path(root) / folder, ec);
    });
  }

  // Sorts the pending pages of vaults without a declared format into pages and the person's
  // own files, once every folder has been walked.
  void settle(std::vector<PageFile>& found) {
    for (auto& page : pending) {
      const std::string& root = page.vaultRoot;
      if (!formatOf.contains(root)) {
        VaultFormat format = VaultFormat::markdown;
        if (!sawWholeVault(root)) {
          format = detectVaultFormat(fs::path(root));
        } else if (const Seen seen = periodPagesSeen[root]; seen.org && !seen.markdown) {
          format = VaultFormat::org;
        }
        formatOf.emplace(root, format);
      }
      if (formatOf.find(root)->second == page.format) found.push_back(std::move(page));
    }
    pending.clear();
  }

  // Lists `folder` and the folders in it, except hidden ones and "media". Links are not
  // followed. A folder that cannot be listed (taken away meanwhile, or not ours to read) is
  // passed over. Every entry named like a page is a page, whatever it is (a folder, a FIFO, a
  // link that loops): reading it then reports what is wrong, instead of the page going
  // unmentioned.
  void walk(const std::string& folder, std::vector<PageFile>& found) {
    // Each folder's entries are taken in the order of their names, and a folder's pages where
    // its name falls: the pages come out in path order, and need no sorting afterwards.
    struct Entry {
      std::string name;
      bool isFolder;
    };
    std::vector<Entry> entries;
    {
      FolderListing listing(folder);
      if (!listing.dir) return;
      while (const dirent* entry = ::readdir(listing.dir)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
          struct stat st {};
          isFolder = ::fstatat(::dirfd(listing.dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                     S_ISDIR(st.st_mode);
        }
        entries.push_back(Entry{std::string(name), isFolder});
      }
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    // Listed after this folder is closed, so that a deep tree holds one listing open at a time.
    for (const Entry& entry : entries) {
      const std::string path = childPath(folder, entry.name);
      if (!entry.isFolder) {
        if (auto page = candidateAt(path)) consider(std::move(*page), found);
        continue;
      }
      if (auto page = pageAt(path)) {
        found.push_back(std::move(*page));
        continue;
      }
      if (entry.name.starts_with('.') || entry.name == "media") continue;
      walk(path, found);
    }
  }

  void collect(const fs::path& path, std::vector<PageFile>& found) {
    std::error_code ec;
    if (!fs::is_directory(fs::status(path, ec)) || ec || pageAt(path.native())) {
      if (auto page = pageAt(path.native())) found.push_back(std::move(*page));
      return;
    }
    walked.push_back(path.native());
    walk(path.native(), found);
  }
};

}  // namespace

std::vector<PageFile> findPageFiles(const std::vector<fs::path>& paths) {
  std::vector<fs::path> full;
  full.reserve(paths.size());
  for (const auto& path : paths) {
    full.push_back(fs::absolute(path).lexically_normal());
    std::error_code ec;
    if (!fs::exists(fs::symlink_status(full.back(), ec))) {
      throw fs::filesystem_error("no such file or folder", path,
                                 std::make_error_code(std::errc::no_such_file_or_directory));
    }
  }
  std::vector<PageFile> found;
  Discovery discovery;
  for (const auto& path : full) discovery.collect(path, found);
  discovery.settle(found);
  // One walk finds its pages in path order; several paths, or pages whose vault's format was
  // settled last, need sorting. Sorted by their positions: a page's record holds three texts,
  // which cost more to move around than to compare.
  const auto less = [](const PageFile& a, const PageFile& b) { return pathLess(a.path, b.path); };
  if (std::is_sorted(found.begin(), found.end(), less)) {
    const auto twice = std::adjacent_find(found.begin(), found.end(),
                                          [](const PageFile& a, const PageFile& b) {
                                            return a.path == b.path;
                                          });
    if (twice == found.end()) return found;
  }
  std::vector<std::size_t> order(found.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return less(found[a], found[b]); });
  std::vector<PageFile> sorted;
  sorted.reserve(found.size());
  for (const std::size_t i : order) {
    if (sorted.empty() || sorted.back().path != found[i].path) {
      sorted.push_back(std::move(found[i]));
    }
  }
  return sorted;
}

namespace {

// Reads pages through their folder, held open while the pages of one folder follow each other
// (as they do in order): each file is then found by its name alone, instead of walking down its
// whole path again.
class FolderReader {
 public:
  FolderReader() = default;
  ~FolderReader() { close(); }
  FolderReader(const FolderReader&) = delete;
  FolderReader& operator=(const FolderReader&) = delete;

  std::string read(const std::string& path) {
    const std::string_view folder = parentOf(path);
    if (folder != folder_) {
      close();
      folder_ = folder;
      fd_ = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    // A folder that does not open is left to the page's own read, whose error names the page.
    if (fd_ < 0 || folder.empty()) return Coordinated::read(path);
    return Coordinated::readIn(fd_, nameOf(path).data(), path);
  }

 private:
  void close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }
  std::string folder_;
  int fd_ = -1;
};

PageCheck checkRead(const PageFile& page, const SerializerCodec& codec, bool roundtrip,
                    FolderReader* folder) {
  PageCheck result;
  try {
    result.text = folder ? folder->read(page.path) : Coordinated::read(page.path);
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

}  // namespace

PageCheck checkPage(const PageFile& page, const SerializerCodec& codec, bool roundtrip) {
  return checkRead(page, codec, roundtrip, nullptr);
}

std::vector<PageCheck> checkPages(const std::vector<PageFile>& pages,
                                  const std::vector<const SerializerCodec*>& codecs,
                                  bool roundtrip) {
  std::vector<PageCheck> results(pages.size());
  // Pages are handed out a few dozen at a time: one at a time, the threads would wait on each
  // other for the counter; in halves, one thread could be left with all the large pages.
  constexpr std::size_t kBatch = 32;
  // An inbox holds every captured item and is often many times a day's size: it is handed out
  // first, so that no thread is left reading it alone at the end.
  std::vector<std::size_t> order;
  order.reserve(pages.size());
  for (std::size_t i = 0; i < pages.size(); ++i) {
    if (pages[i].key == EntryKey::inbox()) order.push_back(i);
  }
  for (std::size_t i = 0; i < pages.size(); ++i) {
    if (pages[i].key != EntryKey::inbox()) order.push_back(i);
  }
  std::atomic<std::size_t> next{0};
  auto work = [&] {
    FolderReader folder;
    for (;;) {
      const std::size_t first = next.fetch_add(kBatch);
      if (first >= order.size()) return;
      const std::size_t last = std::min(order.size(), first + kBatch);
      for (std::size_t at = first; at < last; ++at) {
        const std::size_t i = order[at];
        PageCheck checked = checkRead(pages[i], *codecs[i], roundtrip, &folder);
        // Swapped with an empty string, not assigned one: assignment keeps the page's buffer.
        if (!checked.problem && !checked.rewritten) std::string().swap(checked.text);
        results[i] = std::move(checked);
      }
    }
  };
  const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
  const std::size_t helpers = std::min(cores, pages.size() / kBatch + 1) - 1;
  std::vector<std::jthread> threads;
  threads.reserve(helpers);
  for (std::size_t i = 0; i < helpers; ++i) threads.emplace_back(work);
  work();
  threads.clear();  // joins them
  return results;
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

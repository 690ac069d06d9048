// Resolving refused texts and conflict copies.
#include "core/store/refused_resolver.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>

#include "core/store/atomic_write.h"
#include "core/store/store_errors.h"
#include "core/vault/page_link.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// The page a conflict copy stands beside: Syncthing's "NAME.sync-conflict-DATE-TIME-ID.EXT",
// Nextcloud's "NAME (conflicted copy DATE TIME).EXT", Dropbox's "NAME (WHO's conflicted copy
// DATE).EXT".
std::optional<fs::path> pageOfCopy(const fs::path& copy) {
  const std::string name = copy.filename().string();
  const std::string ext = copy.extension().string();
  std::string stem;
  if (auto at = name.find(".sync-conflict-"); at != std::string::npos) {
    stem = name.substr(0, at);
  } else if (auto open = name.rfind(" ("); open != std::string::npos &&
                                            name.find("conflicted copy", open) != std::string::npos) {
    stem = name.substr(0, open);
  } else {
    return std::nullopt;
  }
  return copy.parent_path() / (stem + ext);
}

// Runs diff3 -m on three files and returns its output and whether it found conflicts.
std::pair<std::string, bool> diff3(const fs::path& mine, const fs::path& base,
                                   const fs::path& theirs) {
  int pipes[2];
  if (::pipe(pipes) != 0) throw std::runtime_error("Could not start diff3.");
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("Could not start diff3.");
  if (child == 0) {
    ::dup2(pipes[1], STDOUT_FILENO);
    ::close(pipes[0]);
    ::close(pipes[1]);
    ::execlp("diff3", "diff3", "-m", "-L", "kept text", "-L", "common base", "-L", "page now",
             mine.c_str(), base.c_str(), theirs.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(pipes[1]);
  std::string out;
  std::array<char, 8192> buffer{};
  for (;;) {
    const ssize_t n = ::read(pipes[0], buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    out.append(buffer.data(), static_cast<std::size_t>(n));
  }
  ::close(pipes[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) {
    throw std::runtime_error("diff3 could not merge the texts (is diffutils installed?).");
  }
  return {out, WEXITSTATUS(status) == 1};
}

}  // namespace

bool hasConflictMarkers(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view line = text.substr(at, end - at);
    if (line.starts_with("<<<<<<< ") || line.starts_with(">>>>>>> ") || line == "=======") {
      return true;
    }
    at = end + 1;
  }
  return false;
}

RefusedResolver::RefusedResolver(Vault vault, std::shared_ptr<RefusedTexts> keep)
    : vault_(std::move(vault)), keep_(std::move(keep)) {
  if (!keep_) {
    if (auto folder = RefusedTexts::folderFor(vault_.rootURL)) {
      keep_ = std::make_shared<RefusedTexts>(*folder);
    }
  }
}

std::vector<RefusedResolver::Entry> RefusedResolver::list() const {
  std::vector<Entry> entries;
  const VaultPaths paths(vault_.rootURL, vault_.format, vault_.perspective);
  if (keep_) {
    for (auto& kept : keep_->list()) {
      auto page = PageKey::parse(kept.page);
      if (!page || !page->period) continue;
      Entry e{0, *page->period, kept.file, kept.text, kept.base, kept.reason, kept.keptAt,
              std::nullopt, kept.id};
      // Only this vault's texts (a folder could in principle be shared by moved vaults).
      if (paths.urlFor(e.key) != kept.file) continue;
      entries.push_back(std::move(e));
    }
  }
  for (const auto& copy : conflictCopies(paths.base())) {
    auto page = pageOfCopy(copy);
    if (!page) continue;
    auto key = paths.keyFor(*page);
    if (!key) continue;
    std::string text;
    try {
      text = Coordinated::read(copy);
    } catch (const FileError&) {
      continue;
    }
    entries.push_back(Entry{0, *key, *page, std::move(text), std::nullopt, "conflict copy",
                            std::nullopt, copy, std::nullopt});
  }
  for (std::size_t i = 0; i < entries.size(); ++i) entries[i].number = static_cast<int>(i + 1);
  return entries;
}

std::optional<RefusedResolver::Entry> RefusedResolver::entry(int number) const {
  auto entries = list();
  if (number < 1 || static_cast<std::size_t>(number) > entries.size()) return std::nullopt;
  return entries[static_cast<std::size_t>(number - 1)];
}

void RefusedResolver::replacePage(const Entry& entry, const std::optional<std::string>& expected,
                                  const std::string& text, bool keepFormer) {
  Coordinated::Lock lock(vault_.rootURL);
  if (keepFormer && expected && keep_) {
    keep_->keep(entry.key, entry.page, *expected, std::nullopt, "replaced by a kept text");
  }
  if (!AtomicWrite::replaceIf(text, entry.page, expected)) {
    throw VaultError::changedOnDisk(entry.key);
  }
}

void RefusedResolver::keep(const Entry& entry) {
  const auto now = Coordinated::readIfExists(entry.page);
  replacePage(entry, now, entry.text, /*keepFormer=*/true);
  drop(entry);
}

void RefusedResolver::drop(const Entry& entry) {
  if (entry.copy) {
    std::error_code ec;
    fs::remove(*entry.copy, ec);
  } else if (entry.keptId && keep_) {
    keep_->drop(*entry.keptId);
  }
}

RefusedResolver::Merge RefusedResolver::merge(const Entry& entry) const {
  Merge result;
  result.page = Coordinated::readIfExists(entry.page);
  char pattern[] = "/tmp/trivo-merge-XXXXXX";
  if (!::mkdtemp(pattern)) throw std::runtime_error("Could not make a folder for the merge.");
  const fs::path folder(pattern);
  struct Cleanup {
    fs::path folder;
    ~Cleanup() {
      std::error_code ec;
      fs::remove_all(folder, ec);
    }
  } cleanup{folder};
  const AtomicWrite::Options quick{.mode = 0600, .durable = false, .fileSystem = nullptr};
  AtomicWrite::write(entry.text, folder / "kept", quick);
  AtomicWrite::write(entry.base.value_or(""), folder / "base", quick);
  AtomicWrite::write(result.page.value_or(""), folder / "page", quick);
  auto [text, conflicts] = diff3(folder / "kept", folder / "base", folder / "page");
  result.text = std::move(text);
  result.conflicts = conflicts;
  return result;
}

void RefusedResolver::saveMerged(const Entry& entry, const Merge& merge, const std::string& text) {
  // The page's text is part of the merge: nothing of it needs keeping apart.
  replacePage(entry, merge.page, text, /*keepFormer=*/false);
  drop(entry);
}

}  // namespace trivo

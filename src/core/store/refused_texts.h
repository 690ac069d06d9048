// Texts the store could not write, kept outside the vault so that they outlive the process and
// sync tools never copy them, until the person keeps, merges or drops each one.
#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/platform/clock.h"
#include "core/vault/entry_key.h"

namespace trivo {

struct RefusedText {
  std::string id;              // the file's stem: sorts by the time it was kept
  std::string page;            // the page's key ("day:2026-11-23", "inbox")
  std::filesystem::path file;  // the page file the text was meant for
  Instant keptAt;
  std::string reason;                // why it was not written ("changed on disk" …)
  std::string text;                  // the text that was not written
  std::optional<std::string> base;  // the page as it was read before the edit: a merge's base
  bool operator==(const RefusedText&) const = default;
};

// One folder of kept texts, one JSON file each (mode 0600, folder 0700). Thread-safe; several
// processes may keep texts in one folder at once (each file has a name of its own).
class RefusedTexts {
 public:
  explicit RefusedTexts(std::filesystem::path folder, const Clock* clock = nullptr);

  // "$XDG_DATA_HOME/trivo/<vault id>/refused" (default ~/.local/share): the vault id is the
  // vault folder's name and a hash of its full path, so two vaults never share one. Nothing
  // when neither XDG_DATA_HOME nor HOME is set.
  static std::optional<std::filesystem::path> folderFor(const std::filesystem::path& vaultRoot);

  // Keeps a text and returns its id. Throws FileError when it cannot be written.
  std::string keep(const EntryKey& key, const std::filesystem::path& file, std::string_view text,
                   const std::optional<std::string>& base, const std::string& reason);
  // Every kept text, oldest first. Files that do not read are skipped.
  [[nodiscard]] std::vector<RefusedText> list() const;
  // Forgets a kept text; false when there was none with that id.
  bool drop(const std::string& id);
  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
  const Clock* clock_;
  mutable std::mutex mu_;
};

// Copies of a page that sync tools made when two devices changed it at once (Syncthing's
// ".sync-conflict-", Nextcloud's and Dropbox's "conflicted copy"), found beside the pages under
// `folder` and its period folders. They are never read as pages.
bool isConflictCopyName(std::string_view fileName);
std::vector<std::filesystem::path> conflictCopies(const std::filesystem::path& pageRoot);

}  // namespace trivo

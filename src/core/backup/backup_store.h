// Backups and file history of a vault, content-addressed: each distinct page text is stored once
// under its SHA-256, so a page that did not change between two snapshots costs nothing. A
// snapshot lists every page with the digest of its text; the file history adds the text a page
// held before each write by Trivo.
//
// Layout of the folder: "blobs/<2 hex>/<64 hex>" (the texts), "snapshots/<UTC time>.json"
// ({"time", "pages": {path: digest}}), "history.jsonl" (one {"page", "time", "blob"} a line).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/platform/clock.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_paths.h"

namespace trivo {

class BackupStore {
 public:
  struct SnapshotResult {
    std::filesystem::path file;
    std::size_t pages = 0;
    std::size_t newBlobs = 0;  // texts not stored before
    std::size_t pruned = 0;    // older snapshots removed
  };

  struct Version {
    std::string blob;  // the digest of the text
    Instant time;
    enum class Source { snapshot, beforeWrite } source = Source::snapshot;
    bool operator==(const Version&) const = default;
  };

  // `folder` holds the backups; the clock stamps snapshots and history.
  BackupStore(std::filesystem::path folder, const Clock& clock);

  // "$XDG_DATA_HOME/trivo/<vault id>/backups" (default ~/.local/share): outside the vault, so
  // sync tools do not copy every backup to every device and removing the vault folder does not
  // remove its backups. Nothing when neither XDG_DATA_HOME nor HOME is set.
  static std::optional<std::filesystem::path> folderFor(const std::filesystem::path& vaultRoot);

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

  // Stores every page of the vault (both syntaxes, every period folder, the inbox) and a
  // snapshot listing them, then removes the oldest snapshots beyond `keep` and the texts nothing
  // refers to any more. `progress` counts pages. Throws FileError.
  SnapshotResult snapshot(const std::filesystem::path& vaultRoot, std::int64_t keep,
                          const std::function<void(std::size_t, std::size_t)>& progress = {});
  // The snapshot files, oldest first.
  [[nodiscard]] std::vector<std::filesystem::path> snapshots() const;
  // When the newest snapshot was taken, if there is one.
  [[nodiscard]] std::optional<Instant> lastSnapshot() const;

  // Keeps the text a page (`page`, relative to the vault root) held before a write. Throws
  // FileError. Thread-safe.
  void recordBefore(const std::filesystem::path& page, std::string_view text);

  // The versions of a page, newest first: each snapshot holding it and each text kept before a
  // write, a text repeated by the next older version listed once.
  [[nodiscard]] std::vector<Version> versions(const std::filesystem::path& page) const;
  // The stored text of a digest, or of the single digest that begins with `prefix` (at least
  // four hex digits). Nothing when there is none or the prefix is ambiguous.
  [[nodiscard]] std::optional<std::string> text(std::string_view prefix) const;

  // The vault's backup settings ("backup" in its settings file), read leniently: anything
  // missing or unreadable is the default (enabled, every 1440 minutes, 3 kept).
  struct Settings {
    bool enabled = true;
    std::int64_t intervalMinutes = 1440;
    std::int64_t keep = 3;
  };
  static Settings settingsOf(const std::filesystem::path& vaultRoot);

  // The file-history hook for a store on the vault, or an empty function when backups are off
  // or have no folder.
  static std::function<void(const EntryKey&, const std::optional<std::string>&)> historyFor(
      const VaultPaths& paths, const Clock& clock);

  // The hook for VaultStore::Options::wrote: keeps each page's text from before a write.
  // Failures to keep one are swallowed (a backup must never stop a page from being written).
  static std::function<void(const EntryKey&, const std::optional<std::string>&)> historyHook(
      std::shared_ptr<BackupStore> backups, VaultPaths paths);

 private:
  bool storeBlob(const std::string& digest, std::string_view text);
  void collectGarbage();

  std::filesystem::path folder_;
  const Clock& clock_;
  mutable std::mutex mu_;
};

}  // namespace trivo

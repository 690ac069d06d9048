// Small JSON files that processes and devices exchange: private folders, whole-file replacement
// and one-shot claims. Readers never lock; a rename makes every replacement whole.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace trivo::shared {

// How strictly a folder and its files are guarded.
enum class Access {
  // Folder 0700, files 0600, both owned by this user; anything else is not used.
  privateToUser,
  // Ordinary files under the user's umask (a vault folder that sync tools also touch).
  ordinary,
};

// Makes sure the folder exists (creating parents as needed) and may be used. False when it
// cannot be created, is not a folder, or (for private access) belongs to someone else or is
// open to group or others.
bool prepareFolder(const std::filesystem::path& folder, Access access);

// Replaces the target with the bytes: a scratch file "." + name + "." + UUID + ".tmp" beside it,
// written in full and renamed over the target. False on any failure; the scratch file is then
// removed and the target is untouched.
bool replaceFile(const std::filesystem::path& target, std::string_view bytes, Access access);

// The whole content of a regular file, not following a symlink; for private access the file must
// belong to this user and be closed to group and others' writing. Nothing when missing or refused.
std::optional<std::string> readFile(const std::filesystem::path& path, Access access);

// Takes a one-shot file: renames it to a fresh claim name beside it, so that a file written
// meanwhile under the original name stays for the next taker, then reads and removes the claim.
// Nothing when there was no file. `afterClaim` runs between the rename and the read (tests use it
// to write a new file at that moment).
std::optional<std::string> claimFile(const std::filesystem::path& path, Access access,
                                     const std::function<void()>& afterClaim = {});

// Removes a file; a missing file is not an error.
void removeFile(const std::filesystem::path& path);

}  // namespace trivo::shared

// Safe replacement of one file (scratch file, fdatasync, rename, folder fsync) and the lock that
// lets cooperating trivo processes check a file and replace it without another writer between.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace trivo {

// A file operation failed. Carries the errno and the path it concerned; what() is one sentence
// naming both. EEXIST means a new file was created by someone else while we wrote ours.
class FileError : public std::runtime_error {
 public:
  FileError(int code, std::filesystem::path path, std::string_view action);
  [[nodiscard]] int code() const { return code_; }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  int code_;
  std::filesystem::path path_;
};

namespace AtomicWrite {

struct Options {
  // Permission bits of the written file. Absent: an existing file keeps its own bits, a new file
  // gets 0644 less the umask.
  std::optional<mode_t> mode;
  // Flush the data and the folder entry to the disk. Records that are rewritten every few
  // seconds and only need to be whole for readers may skip it.
  bool durable = true;
};

// Replaces `target` with `bytes` so that a reader sees the old file or the new one, never a mix.
// A symlinked target is resolved to its real file, which is replaced in its own folder; a
// dangling link is refused (ENOENT). Missing parent folders are created. The bytes go to a
// scratch file "." + name + "." + UUID + ".tmp" beside the real file and are renamed over it;
// when the target did not exist, a file created there meanwhile is never clobbered (EEXIST).
// Throws FileError; on failure the scratch file is gone and the target is as it was (except when
// only the final folder sync fails, after the rename).
void write(std::string_view bytes, const std::filesystem::path& target,
           const Options& options = {});

// True for a file name of our scratch pattern: "." + name + "." + UUID + ".tmp".
bool isScratchName(std::string_view fileName);

// Removes scratch files of our own pattern left in `folder` (not its subfolders) by a write that
// never finished; a process that crashed mid-write leaves them. Returns how many were removed.
// Call it only while no write into that folder can be running (when a vault opens).
std::size_t removeStaleScratchFiles(const std::filesystem::path& folder);

}  // namespace AtomicWrite

namespace Coordinated {

// Holds the vault's write lock for its lifetime: an open-file-description lock on
// "<vault>/.trivo/write.lock" (created, with the folder, when missing). Trivo processes, and
// threads that each hold their own Lock, take it around check-then-write-then-rename so that no
// other trivo writer slips in between. Readers never need it: every replacement is whole. The
// lock file itself is never written, so sync tools see no churn. Throws FileError when the lock
// file cannot be opened or locked. Blocks until the lock is free; a thread that already holds a
// Lock on the same vault must not take another one (it would wait for itself).
class Lock {
 public:
  explicit Lock(const std::filesystem::path& vaultRoot);
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  int fd_ = -1;
};

// The whole content of a file. Throws FileError (ENOENT when it is missing).
std::string read(const std::filesystem::path& path);

// The content, or nothing when the file does not exist. Throws FileError on other failures.
std::optional<std::string> readIfExists(const std::filesystem::path& path);

}  // namespace Coordinated

}  // namespace trivo

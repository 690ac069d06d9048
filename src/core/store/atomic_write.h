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

#include "core/store/file_system.h"
#include "core/util/json_fields.h"

namespace trivo {

// A file operation failed. Carries the errno and the path it concerned; what() is one sentence
// naming both. EEXIST means a new file was created by someone else while we wrote ours.
class FileError : public std::runtime_error {
 public:
  FileError(int code, std::filesystem::path path, std::string_view action);
  // With the reason in words instead of the errno's text.
  FileError(int code, std::filesystem::path path, std::string_view action,
            std::string_view reason);
  [[nodiscard]] int code() const { return code_; }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  // What went wrong, in words and without the path ("No space left on device").
  [[nodiscard]] const std::string& reason() const { return reason_; }

 private:
  int code_;
  std::filesystem::path path_;
  std::string reason_;
};

namespace AtomicWrite {

struct Options {
  // Permission bits of the written file. Absent: an existing file keeps its own bits, a new file
  // gets 0644 less the umask.
  std::optional<mode_t> mode;
  // Flush the data and the folder entry to the disk. Records that are rewritten every few
  // seconds and only need to be whole for readers may skip it.
  bool durable = true;
  // The system calls to use; null: the real ones.
  FileSystem* fileSystem = nullptr;
};

// A text written (and synced) to a scratch file "." + name + "." + UUID + ".tmp" beside its
// target, not yet in place. Making it is the slow part (the sync), so it happens before any lock
// is taken; moving it into place is a rename. A symlinked target is resolved to its real file,
// which is replaced in its own folder; a dangling link is refused (ENOENT). Missing parent folders
// are created. While the scratch file exists its writer holds a lock on it, which tells a sweep of
// stale scratch files that it is alive. Not thread-safe; one thread uses one Scratch.
class Scratch {
 public:
  // Throws FileError; nothing is left behind then.
  Scratch(std::string_view bytes, const std::filesystem::path& target,
          const Options& options = {});
  // Removes the scratch file unless it was moved into place.
  ~Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  // Moves the text into place, whatever the target holds now; when the target did not exist
  // as the scratch was made, a file created there meanwhile is never clobbered (EEXIST). Throws
  // FileError: the target is as it was, except when only the folder sync after the rename fails.
  void commit();
  // Moves the text into place only while the target still holds `expected` (nothing: the target
  // must not exist) and says whether it did. The target is compared right before an atomic swap,
  // and the text swapped out is compared once more: a change another program made at any moment
  // before the swap is put back in place, never lost, and false comes back. Throws FileError.
  bool commitIf(const std::optional<std::string>& expected);

  // Whether the text went into place (true also when only the folder sync after it failed).
  [[nodiscard]] bool placed() const { return placed_; }
  // The file that is replaced (the real file behind a symlink).
  [[nodiscard]] const std::filesystem::path& target() const { return target_; }

 private:
  void finish();
  void release();
  // Appends bytes another program wrote into the replaced file to the one now in place.
  bool appendTail(std::string_view tail);

  FileSystem& fs_;
  Options options_;
  std::filesystem::path target_;
  std::filesystem::path folder_;
  std::filesystem::path scratch_;
  bool targetExisted_ = false;
  int fd_ = -1;
  bool placed_ = false;
};

// Replaces `target` with `bytes` so that a reader sees the old file or the new one, never a mix
// (a Scratch, committed). Throws FileError; on failure the scratch file is gone and the target is
// as it was (except when only the final folder sync fails, after the rename).
void write(std::string_view bytes, const std::filesystem::path& target,
           const Options& options = {});

// Replaces `target` with `bytes` only while it holds `expected` (Scratch::commitIf).
bool replaceIf(std::string_view bytes, const std::filesystem::path& target,
               const std::optional<std::string>& expected, const Options& options = {});

// True for a file name of our scratch pattern: "." + name + "." + UUID + ".tmp".
bool isScratchName(std::string_view fileName);

// Removes scratch files of our own pattern in `folder` (not its subfolders) that a write left
// behind when it never finished: only those no live writer holds and that are a few seconds old.
// Call it with the vault's write lock held. Returns how many were removed.
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

// The most a page or settings file may hold; a larger file is refused rather than read.
inline constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

// The whole content of a file. Only regular files are read, and they are opened without
// blocking, so that a FIFO or a device named like a page cannot hang or exhaust the reader.
// Throws FileError (ENOENT when it is missing; a folder, FIFO or device, or a file over
// kMaxFileBytes, with a sentence that says so).
std::string read(const std::filesystem::path& path, FileSystem* fileSystem = nullptr);

// The content, or nothing when the file does not exist. Throws FileError on other failures.
std::optional<std::string> readIfExists(const std::filesystem::path& path,
                                        FileSystem* fileSystem = nullptr);

// read for the file `name` in the open folder `folder` (a descriptor), which spares the walk down
// the whole path for each of many files of one folder. `path` names the file in errors.
std::string readIn(int folder, const char* name, std::string_view path,
                   FileSystem* fileSystem = nullptr);

// Whether the file exists and holds exactly `expected`, compared without reading it whole.
// Throws FileError as readIfExists does.
bool holds(const std::filesystem::path& path, std::string_view expected,
           FileSystem* fileSystem = nullptr);

// The JSON value of a settings or record file, or nothing when it is missing, cannot be read (as
// `readIfExists` refuses it), is not JSON, or nests deeper than any record of ours. Never throws.
std::optional<Json> readJson(const std::filesystem::path& path);

}  // namespace Coordinated

}  // namespace trivo

// Linux implementation of atomic replacement (renameat2, fdatasync) and the vault's write lock
// (open-file-description locks).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/store/atomic_write.h"
#include "core/util/json_bounded.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string reasonOf(int code) {
  if (code == EEXIST) return "another program created it meanwhile";
  std::array<char, 256> buffer{};
  // GNU strerror_r returns the message, possibly not in the buffer.
  return ::strerror_r(code, buffer.data(), buffer.size());
}

std::string describe(const fs::path& path, std::string_view action, std::string_view reason) {
  return "Could not " + std::string(action) + " " + path.string() + ": " + std::string(reason) +
         ".";
}

std::string freshUuid() {
  uuid_t id;
  uuid_generate_random(id);
  std::array<char, 37> text{};
  uuid_unparse_lower(id, text.data());
  return text.data();
}

// Writes everything, resuming after short writes and interrupted calls. errno, or 0.
int writeAll(FileSystem& fs, int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = fs.write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) return EIO;  // a device that takes nothing would loop forever
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return 0;
}

int retryingSync(FileSystem& fs, int fd, bool folder) {
  // EINTR means the call did not run; any other failure must not be retried and trusted.
  for (;;) {
    const int result = folder ? fs.syncFolder(fd) : fs.fdatasync(fd);
    if (result == 0) return 0;
    if (errno != EINTR) return errno;
  }
}

// Renames without replacing an existing target. Falls back to link+unlink where the file system
// lacks RENAME_NOREPLACE, and to a plain rename where it has no hard links either.
int renameNoReplace(FileSystem& fs, const fs::path& from, const fs::path& to) {
  if (fs.rename(from.c_str(), to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (::link(from.c_str(), to.c_str()) == 0) {
    fs.unlink(from.c_str());
    return 0;
  }
  if (errno != EPERM && errno != ENOTSUP) return errno;
  return fs.rename(from.c_str(), to.c_str(), 0) == 0 ? 0 : errno;
}

// The file to replace: the target itself, or the real file a symlink leads to.
struct RealTarget {
  fs::path path;
  bool exists = false;
  mode_t mode = 0;
};

RealTarget resolve(FileSystem& fs, const fs::path& target) {
  struct stat st {};
  if (fs.lstat(target.c_str(), &st) != 0) {
    if (errno == ENOENT) return {target, false, 0};
    throw FileError(errno, target, "write");
  }
  if (!S_ISLNK(st.st_mode)) return {target, true, st.st_mode};
  std::error_code ec;
  fs::path real = fs::canonical(target, ec);
  if (ec) throw FileError(ENOENT, target, "write through the link");
  if (fs.lstat(real.c_str(), &st) != 0) throw FileError(errno, real, "write");
  return {real, true, st.st_mode};
}

void syncFolder(FileSystem& fs, const fs::path& folder) {
  const int fd = fs.open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
  if (fd < 0) throw FileError(errno, folder, "sync");
  const int code = retryingSync(fs, fd, true);
  fs.close(fd);
  if (code != 0) throw FileError(code, folder, "sync");
}

}  // namespace

FileError::FileError(int code, std::filesystem::path path, std::string_view action)
    : FileError(code, std::move(path), action, reasonOf(code)) {}

FileError::FileError(int code, std::filesystem::path path, std::string_view action,
                     std::string_view reason)
    : std::runtime_error(describe(path, action, reason)),
      code_(code),
      path_(std::move(path)),
      reason_(reason) {}

namespace AtomicWrite {

Scratch::Scratch(std::string_view bytes, const fs::path& target, const Options& options)
    : fs_(options.fileSystem ? *options.fileSystem : FileSystem::real()), options_(options) {
  const RealTarget real = resolve(fs_, target);
  target_ = real.path;
  targetExisted_ = real.exists;
  folder_ = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  if (!real.exists) {
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (ec) throw FileError(ec.value(), folder_, "create the folder");
  }
  scratch_ = folder_ / ("." + target_.filename().string() + "." + freshUuid() + ".tmp");
  fd_ = fs_.open(scratch_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (fd_ < 0) throw FileError(errno, target_, "write");

  auto fail = [&](int code) {
    release();
    throw FileError(code, target_, "write");
  };
  // The writer's mark of life for the stale-file sweep: an open-file-description lock, gone
  // with the descriptor when this process ends in any way.
  struct flock mark {};
  mark.l_type = F_WRLCK;
  mark.l_whence = SEEK_SET;
  if (::fcntl(fd_, F_OFD_SETLK, &mark) != 0) fail(errno);
  // fchmod ignores the umask, so it gives exactly the bits we want; a new file without an
  // explicit mode already has 0644 less the umask from open.
  if (options_.mode || real.exists) {
    const mode_t bits = options_.mode ? *options_.mode : (real.mode & 07777);
    if (fs_.fchmod(fd_, bits) != 0) fail(errno);
  }
  if (int code = writeAll(fs_, fd_, bytes); code != 0) fail(code);
  // A failed fdatasync leaves the page cache in an unknown state; never retry and trust it.
  if (options_.durable) {
    if (int code = retryingSync(fs_, fd_, false); code != 0) fail(code);
  }
}

Scratch::~Scratch() { release(); }

void Scratch::release() {
  if (fd_ >= 0) {
    // The data is synced already (or need not be); a failing close changes nothing then.
    fs_.close(fd_);
    fd_ = -1;
  }
  if (!placed_ && !scratch_.empty()) {
    fs_.unlink(scratch_.c_str());
    scratch_.clear();
  }
}

void Scratch::finish() {
  placed_ = true;
  release();
  if (options_.durable) syncFolder(fs_, folder_);
}

void Scratch::commit() {
  if (placed_ || scratch_.empty()) throw std::logic_error("Scratch committed twice");
  const int code = targetExisted_
                       ? (fs_.rename(scratch_.c_str(), target_.c_str(), 0) == 0 ? 0 : errno)
                       : renameNoReplace(fs_, scratch_, target_);
  if (code != 0) {
    release();
    throw FileError(code, target_, "write");
  }
  finish();
}

bool Scratch::commitIf(const std::optional<std::string>& expected) {
  if (placed_ || scratch_.empty()) throw std::logic_error("Scratch committed twice");
  if (!expected) {
    const int code = renameNoReplace(fs_, scratch_, target_);
    if (code == EEXIST) return false;
    if (code != 0) {
      release();
      throw FileError(code, target_, "write");
    }
    finish();
    return true;
  }
  if (!Coordinated::holds(target_, *expected, &fs_)) return false;
  if (fs_.rename(scratch_.c_str(), target_.c_str(), RENAME_EXCHANGE) != 0) {
    const int code = errno;
    if (code == ENOENT) return false;  // deleted since the check: a change like any other
    if (code != EINVAL && code != ENOSYS && code != ENOTSUP) {
      release();
      throw FileError(code, target_, "write");
    }
    // No atomic swap on this file system: the check above, just before, is all there is.
    commit();
    return true;
  }
  // The scratch name now holds what was in place a moment ago. If another program changed it
  // after our check, its text goes back and ours is not written.
  bool swappedOut = false;
  try {
    swappedOut = Coordinated::holds(scratch_, *expected, &fs_);
  } catch (const FileError&) {
    swappedOut = false;
  }
  if (swappedOut) {
    // A program that opened the old file before the swap (a shell's `>>`) may still write into
    // it. Look at it once more after the folder sync, which takes a while, before letting it go.
    if (options_.durable) syncFolder(fs_, folder_);
    std::optional<std::string> late;
    try {
      if (!Coordinated::holds(scratch_, *expected, &fs_)) {
        late = Coordinated::readIfExists(scratch_, &fs_);
      }
    } catch (const FileError&) {
      late.reset();
    }
    // Written to after the swap, and only appended to: the tail goes after our text, as it would
    // have had it come a moment later. Anything else: their text goes back in place and ours is
    // not written.
    const bool untouched = !late || late == expected;
    if (untouched || (late->starts_with(*expected) &&
                      appendTail(std::string_view(*late).substr(expected->size())))) {
      fs_.unlink(scratch_.c_str());  // the old text, now replaced
      placed_ = true;
      release();
      return true;
    }
  }
  if (fs_.rename(scratch_.c_str(), target_.c_str(), RENAME_EXCHANGE) != 0) {
    // Cannot swap back: their text must win, ours is kept by the caller.
    placed_ = true;  // the scratch name holds their text now: never remove it here
    const int code = errno;
    if (fs_.rename(scratch_.c_str(), target_.c_str(), 0) != 0) {
      throw FileError(errno, target_, "put back", "another program's text is in " +
                                                      scratch_.string());
    }
    release();
    throw FileError(code, target_, "write");
  }
  return false;
}

bool Scratch::appendTail(std::string_view tail) {
  const int fd = fs_.open(target_.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0);
  if (fd < 0) return false;
  int code = writeAll(fs_, fd, tail);
  if (code == 0 && options_.durable) code = retryingSync(fs_, fd, false);
  fs_.close(fd);
  return code == 0;
}

void write(std::string_view bytes, const fs::path& target, const Options& options) {
  Scratch scratch(bytes, target, options);
  scratch.commit();
}

bool replaceIf(std::string_view bytes, const fs::path& target,
               const std::optional<std::string>& expected, const Options& options) {
  Scratch scratch(bytes, target, options);
  return scratch.commitIf(expected);
}

bool isScratchName(std::string_view name) {
  // "." + at least one character + "." + 36 UUID characters + ".tmp"
  constexpr std::size_t kUuid = 36;
  constexpr std::string_view kTail = ".tmp";
  if (name.size() < 1 + 1 + 1 + kUuid + kTail.size()) return false;
  if (name.front() != '.' || name.substr(name.size() - kTail.size()) != kTail) return false;
  const std::string_view uuid = name.substr(name.size() - kTail.size() - kUuid, kUuid);
  if (name[name.size() - kTail.size() - kUuid - 1] != '.') return false;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    const char c = uuid[i];
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

std::size_t removeStaleScratchFiles(const fs::path& folder) {
  // Younger files may belong to a writer between creating its scratch file and locking it.
  constexpr auto kMinimumAge = std::chrono::seconds(10);
  std::size_t removed = 0;
  std::error_code ec;
  const auto now = fs::file_time_type::clock::now();
  for (auto it = fs::directory_iterator(folder, ec); !ec && it != fs::directory_iterator();
       it.increment(ec)) {
    if (!isScratchName(it->path().filename().string())) continue;
    const int fd = ::open(it->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) continue;
    struct stat st {};
    struct flock probe {};
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    const bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    const bool unheld = ::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type == F_UNLCK;
    ::close(fd);
    std::error_code timeEc;
    const auto written = fs::last_write_time(it->path(), timeEc);
    if (!regular || !unheld || timeEc || now - written < kMinimumAge) continue;
    if (::unlink(it->path().c_str()) == 0) ++removed;
  }
  return removed;
}

}  // namespace AtomicWrite

namespace Coordinated {

Lock::Lock(const fs::path& vaultRoot) {
  const fs::path folder = vaultRoot / ".trivo";
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) throw FileError(ec.value(), folder, "create the folder");
  const fs::path file = folder / "write.lock";
  fd_ = ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (fd_ < 0) throw FileError(errno, file, "open the lock");
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  // Open-file-description locks belong to this descriptor, not the process, so two Locks in one
  // process exclude each other too, and closing some other descriptor of the file keeps it.
  for (;;) {
    if (::fcntl(fd_, F_OFD_SETLKW, &lock) == 0) return;
    if (errno == EINTR) continue;
    const int code = errno;
    ::close(fd_);
    fd_ = -1;
    throw FileError(code, file, "lock");
  }
}

Lock::~Lock() {
  if (fd_ >= 0) ::close(fd_);  // closing the description releases the lock
}

namespace {

// An open regular file, closed on the way out; fd is -1 when the file does not exist. It is
// opened by `name` in the open folder `folder`, or by its path with AT_FDCWD; `path` names it in
// errors.
struct RegularFile {
  FileSystem& fs;
  std::string_view path;
  int fd = -1;
  struct stat st {};

  RegularFile(int folder, const char* name, std::string_view pathIn, FileSystem& fileSystem)
      : fs(fileSystem), path(pathIn) {
    // O_NONBLOCK: opening a FIFO must not wait for a writer. It changes nothing for files.
    constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    fd = folder == AT_FDCWD ? fs.open(name, kFlags, 0) : fs.openat(folder, name, kFlags, 0);
    if (fd < 0) {
      if (errno == ENOENT) return;
      throw error(errno);
    }
    if (fs.fstat(fd, &st) != 0) {
      const int code = errno;
      fs.close(fd);
      throw error(code);
    }
    if (!S_ISREG(st.st_mode)) {
      fs.close(fd);
      if (S_ISDIR(st.st_mode)) throw error(EISDIR, "it is a folder, not a file");
      throw error(EINVAL, "it is not a regular file (a FIFO, socket or device)");
    }
  }
  RegularFile(const fs::path& pathIn, FileSystem& fileSystem)
      : RegularFile(AT_FDCWD, pathIn.c_str(), pathIn.native(), fileSystem) {}
  ~RegularFile() {
    if (fd >= 0) fs.close(fd);
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  [[nodiscard]] FileError error(int code, const std::string& detail = {}) const {
    return detail.empty() ? FileError(code, fs::path(path), "read")
                          : FileError(code, fs::path(path), "read", detail);
  }

  // The whole content. Read straight into the text, one byte more than the size so that the end
  // is seen in the same call; a file that grows meanwhile makes room for more, bounded all the
  // same. The room reserved past the end lets a caller add a line without copying the page.
  std::string readAll() {
    const auto tooLarge = [&] {
      return error(EFBIG, "it holds more than " + std::to_string(kMaxFileBytes >> 20) +
                              " MiB, more than any page or settings file");
    };
    if (static_cast<std::uint64_t>(st.st_size) > kMaxFileBytes) throw tooLarge();
    std::string text;
    text.reserve(static_cast<std::size_t>(st.st_size) + 4096);
    text.resize(static_cast<std::size_t>(st.st_size) + 1);
    std::size_t used = 0;
    for (;;) {
      if (used == text.size()) {
        if (used > kMaxFileBytes) throw tooLarge();
        text.resize(std::min<std::size_t>(used * 2 + 4096, kMaxFileBytes + 1));
      }
      const ssize_t n = fs.read(fd, text.data() + used, text.size() - used);
      if (n < 0) {
        if (errno == EINTR) continue;
        throw error(errno);
      }
      if (n == 0) break;
      used += static_cast<std::size_t>(n);
    }
    if (used > kMaxFileBytes) throw tooLarge();
    text.resize(used);
    return text;
  }
};

}  // namespace

bool holds(const fs::path& path, std::string_view expected, FileSystem* fileSystem) {
  RegularFile file(path, fileSystem ? *fileSystem : FileSystem::real());
  if (file.fd < 0 || static_cast<std::uint64_t>(file.st.st_size) != expected.size()) return false;
  // Compared a piece at a time: a page is checked several times per write, and reading it whole
  // each time would allocate and fault in a copy of it.
  std::array<char, 16384> buffer;
  std::size_t at = 0;
  for (;;) {
    const ssize_t n = file.fs.read(file.fd, buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      throw FileError(errno, path, "read");
    }
    if (n == 0) return at == expected.size();
    const auto got = static_cast<std::size_t>(n);
    if (got > expected.size() - at ||
        std::memcmp(buffer.data(), expected.data() + at, got) != 0) {
      return false;
    }
    at += got;
  }
}

std::optional<std::string> readIfExists(const fs::path& path, FileSystem* fileSystem) {
  RegularFile file(path, fileSystem ? *fileSystem : FileSystem::real());
  if (file.fd < 0) return std::nullopt;
  return file.readAll();
}

std::string readIn(int folder, const char* name, std::string_view path, FileSystem* fileSystem) {
  RegularFile file(folder, name, path, fileSystem ? *fileSystem : FileSystem::real());
  if (file.fd < 0) throw file.error(ENOENT);
  return file.readAll();
}

std::string read(const fs::path& path, FileSystem* fileSystem) {
  auto text = readIfExists(path, fileSystem);
  if (!text) throw FileError(ENOENT, path, "read");
  return *std::move(text);
}

std::optional<Json> readJson(const fs::path& path) {
  std::optional<std::string> text;
  try {
    text = readIfExists(path);
  } catch (const FileError&) {
    return std::nullopt;
  }
  if (!text) return std::nullopt;
  Json j = parseJsonFile(*text);
  if (j.is_discarded()) return std::nullopt;
  return j;
}

}  // namespace Coordinated

}  // namespace trivo

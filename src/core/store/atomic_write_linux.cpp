// Linux implementation of atomic replacement (renameat2, fdatasync) and the vault's write lock
// (open-file-description locks).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/store/atomic_write.h"
#include "core/store/atomic_write_detail.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string describe(int code, const fs::path& path, std::string_view action) {
  std::string text = "Could not ";
  text += action;
  text += ' ';
  text += path.string();
  text += ": ";
  if (code == EEXIST) {
    text += "another program created it meanwhile";
  } else {
    std::array<char, 256> buffer{};
    // GNU strerror_r returns the message, possibly not in the buffer.
    text += ::strerror_r(code, buffer.data(), buffer.size());
  }
  text += '.';
  return text;
}

std::string freshUuid() {
  uuid_t id;
  uuid_generate_random(id);
  std::array<char, 37> text{};
  uuid_unparse_lower(id, text.data());
  return text.data();
}

class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() { reset(); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  [[nodiscard]] int get() const { return fd_; }
  // Closes now and reports close's errno (0 when fine): a delayed write error can surface here.
  int reset() {
    int code = 0;
    if (fd_ >= 0 && ::close(fd_) != 0) code = errno;
    fd_ = -1;
    return code;
  }

 private:
  int fd_;
};

// Writes everything, resuming after short writes and interrupted calls. errno, or 0.
int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return 0;
}

// Renames without replacing an existing target. Falls back to link+unlink where the file system
// lacks RENAME_NOREPLACE, and to a plain rename where it has no hard links either.
int renameNoReplace(const fs::path& from, const fs::path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return 0;
  }
  if (errno != EPERM && errno != ENOTSUP) return errno;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// The file to replace: the target itself, or the real file a symlink leads to.
struct RealTarget {
  fs::path path;
  bool exists = false;
  mode_t mode = 0;
};

RealTarget resolve(const fs::path& target) {
  struct stat st {};
  if (::lstat(target.c_str(), &st) != 0) {
    if (errno == ENOENT) return {target, false, 0};
    throw FileError(errno, target, "write");
  }
  if (!S_ISLNK(st.st_mode)) return {target, true, st.st_mode};
  std::error_code ec;
  fs::path real = fs::canonical(target, ec);
  if (ec) throw FileError(ENOENT, target, "write through the link");
  if (::stat(real.c_str(), &st) != 0) throw FileError(errno, real, "write");
  return {real, true, st.st_mode};
}

void syncFolder(const fs::path& folder) {
  Fd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.get() < 0) throw FileError(errno, folder, "sync");
  if (::fsync(fd.get()) != 0) throw FileError(errno, folder, "sync");
}

}  // namespace

FileError::FileError(int code, std::filesystem::path path, std::string_view action)
    : std::runtime_error(describe(code, path, action)), code_(code), path_(std::move(path)) {}

namespace AtomicWrite {

void write(std::string_view bytes, const fs::path& target, const Options& options) {
  const RealTarget real = resolve(target);
  const fs::path folder = real.path.has_parent_path() ? real.path.parent_path() : fs::path(".");
  if (!real.exists) {
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) throw FileError(ec.value(), folder, "create the folder");
  }

  const fs::path scratch =
      folder / ("." + real.path.filename().string() + "." + freshUuid() + ".tmp");
  Fd fd(::open(scratch.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (fd.get() < 0) throw FileError(errno, real.path, "write");

  auto fail = [&](int code) {
    fd.reset();
    ::unlink(scratch.c_str());
    throw FileError(code, real.path, "write");
  };
  // fchmod ignores the umask, so it gives exactly the bits we want; a new file without an
  // explicit mode already has 0644 less the umask from open.
  if (options.mode || real.exists) {
    const mode_t bits = options.mode ? *options.mode : (real.mode & 07777);
    if (::fchmod(fd.get(), bits) != 0) fail(errno);
  }
  if (int code = writeAll(fd.get(), bytes); code != 0) fail(code);
  // A failed fdatasync leaves the page cache in an unknown state; never retry and trust it.
  if (options.durable && ::fdatasync(fd.get()) != 0) fail(errno);
  if (int code = fd.reset(); code != 0) fail(code);

  const int code = detail::renameOnto(scratch, real.path, !real.exists);
  if (code != 0) {
    ::unlink(scratch.c_str());
    throw FileError(code, real.path, "write");
  }
  if (options.durable) syncFolder(folder);
}

namespace detail {

int renameOnto(const fs::path& from, const fs::path& to, bool noReplace) {
  if (noReplace) return renameNoReplace(from, to);
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace detail

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
  std::size_t removed = 0;
  std::error_code ec;
  for (auto it = fs::directory_iterator(folder, ec); !ec && it != fs::directory_iterator();
       it.increment(ec)) {
    std::error_code typeEc;
    if (!it->is_regular_file(typeEc) || it->is_symlink(typeEc)) continue;
    if (!isScratchName(it->path().filename().string())) continue;
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

std::optional<std::string> readIfExists(const fs::path& path) {
  Fd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    if (errno == ENOENT) return std::nullopt;
    throw FileError(errno, path, "read");
  }
  std::string text;
  std::array<char, 16384> buffer{};
  for (;;) {
    const ssize_t n = ::read(fd.get(), buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      throw FileError(errno, path, "read");
    }
    if (n == 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(n));
  }
  return text;
}

std::string read(const fs::path& path) {
  auto text = readIfExists(path);
  if (!text) throw FileError(ENOENT, path, "read");
  return *std::move(text);
}

}  // namespace Coordinated

}  // namespace trivo

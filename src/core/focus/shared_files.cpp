// POSIX implementation of the exchanged files.
#include "core/focus/shared_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <array>
#include <cstdint>
#include <cerrno>
#include <cstdio>

#include "core/store/atomic_write.h"

namespace trivo::shared {
namespace {

namespace fs = std::filesystem;

std::string freshId() {
  uuid_t id;
  uuid_generate_random(id);
  std::array<char, 37> text{};
  uuid_unparse_lower(id, text.data());
  return text.data();
}

// Closes a descriptor when the scope ends.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  [[nodiscard]] int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

bool prepareFolder(const fs::path& folder, Access access) {
  if (folder.empty()) return false;
  std::error_code ec;
  if (folder.has_parent_path()) fs::create_directories(folder.parent_path(), ec);
  const mode_t mode = access == Access::privateToUser ? 0700 : 0777;
  if (::mkdir(folder.c_str(), mode) != 0 && errno != EEXIST) return false;
  struct stat st {};
  if (::stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return false;
  if (access == Access::privateToUser) {
    // Another user could plant records in a folder they own or can write to.
    if (st.st_uid != ::geteuid() || (st.st_mode & 0077) != 0) return false;
  }
  return true;
}

bool replaceFile(const fs::path& target, std::string_view bytes, Access access) {
  // No fsync: these records are rewritten within seconds, and only wholeness matters to
  // readers, which the rename gives.
  AtomicWrite::Options options;
  options.durable = false;
  if (access == Access::privateToUser) options.mode = 0600;
  try {
    AtomicWrite::write(bytes, target, options);
  } catch (const FileError&) {
    return false;
  }
  return true;
}

std::optional<std::string> readFile(const fs::path& path, Access access) {
  // O_NONBLOCK: a FIFO named like a record must not hang the reader until someone writes to it.
  Fd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (fd.get() < 0) return std::nullopt;
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
  // These records are a few kilobytes; anything far larger is not one of them.
  constexpr std::size_t kMaxRecordBytes = std::size_t{1} << 20;
  if (static_cast<std::uint64_t>(st.st_size) > kMaxRecordBytes) return std::nullopt;
  if (access == Access::privateToUser && (st.st_uid != ::geteuid() || (st.st_mode & 0022) != 0)) {
    return std::nullopt;
  }
  std::string text;
  std::array<char, 8192> buffer{};
  for (;;) {
    ssize_t n = ::read(fd.get(), buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (n == 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(n));
    if (text.size() > kMaxRecordBytes) return std::nullopt;
  }
  return text;
}

std::optional<std::string> claimFile(const fs::path& path, Access access,
                                     const std::function<void()>& afterClaim) {
  const fs::path claim =
      path.parent_path() / ("." + path.filename().string() + "." + freshId() + ".claim");
  if (::rename(path.c_str(), claim.c_str()) != 0) return std::nullopt;
  if (afterClaim) afterClaim();
  auto text = readFile(claim, access);
  ::unlink(claim.c_str());
  // A claimed file that could not be read is gone all the same: it will never be obeyed.
  return text ? text : std::optional<std::string>(std::string());
}

void removeFile(const fs::path& path) { ::unlink(path.c_str()); }

}  // namespace trivo::shared

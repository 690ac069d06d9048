// The vault's service lock: an open-file-description lock, released by the kernel when the
// holder dies, so a killed service never leaves the vault locked.
#include "core/service/service_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <string>

#include "core/platform/device_identity.h"

namespace trivo {

namespace fs = std::filesystem;

std::string ServiceLock::vaultTag(const fs::path& vault) {
  std::error_code ec;
  fs::path real = fs::weakly_canonical(fs::absolute(vault, ec), ec);
  if (ec) real = vault;
  const auto digest = sha256(real.string());
  static constexpr char hex[] = "0123456789abcdef";
  std::string tag;
  for (std::size_t i = 0; i < 8; ++i) {
    tag += hex[digest[i] >> 4];
    tag += hex[digest[i] & 15];
  }
  return tag;
}

fs::path ServiceLock::fileFor(const fs::path& groupFolder, const fs::path& vault) {
  return groupFolder / ("service-" + vaultTag(vault) + ".lock");
}

namespace {

struct flock wholeFile(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return lock;
}

}  // namespace

std::optional<ServiceLock> ServiceLock::acquire(const fs::path& file) {
  const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return std::nullopt;
  struct flock lock = wholeFile(F_WRLCK);
  if (::fcntl(fd, F_OFD_SETLK, &lock) != 0) {
    ::close(fd);
    return std::nullopt;
  }
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd, 0) != 0 ||
      ::pwrite(fd, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
    // The lock still holds; only the answer to "who holds it" is lost.
  }
  return ServiceLock(fd);
}

std::optional<pid_t> ServiceLock::holder(const fs::path& file) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return std::nullopt;
  struct flock lock = wholeFile(F_RDLCK);
  std::optional<pid_t> result;
  if (::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK) {
    // Open-file-description locks report no pid (-1), so the holder's id comes from the file.
    char buffer[32] = {};
    const ssize_t n = ::pread(fd, buffer, sizeof buffer - 1, 0);
    pid_t pid = 0;
    if (n > 0) std::from_chars(buffer, buffer + n, pid);
    result = pid > 0 ? pid : -1;
  }
  ::close(fd);
  return result;
}

ServiceLock::~ServiceLock() {
  if (fd_ >= 0) ::close(fd_);
}

}  // namespace trivo

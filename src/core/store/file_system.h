// The system calls through which pages and settings reach the disk. Tests put a fault-injecting or
// power-loss-simulating version in their place; everything else uses `FileSystem::real()`.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace trivo {

// Each call has the POSIX contract of its namesake: -1 (or a negative count) with errno set on
// failure. The real version is thread-safe; so must be every replacement.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int openat(int folder, const char* path, int flags, mode_t mode);
  virtual ssize_t read(int fd, void* buffer, std::size_t size);
  virtual ssize_t write(int fd, const void* buffer, std::size_t size);
  virtual int fdatasync(int fd);
  // fsync of a folder, so that the names in it (a rename, a new file) survive a power loss.
  virtual int syncFolder(int fd);
  virtual int close(int fd);
  virtual int fstat(int fd, struct stat* st);
  virtual int lstat(const char* path, struct stat* st);
  virtual int fchmod(int fd, mode_t mode);
  // renameat2 with its flags (0, RENAME_NOREPLACE or RENAME_EXCHANGE).
  virtual int rename(const char* from, const char* to, unsigned flags);
  virtual int unlink(const char* path);

  // The process's own system calls.
  static FileSystem& real();
};

}  // namespace trivo

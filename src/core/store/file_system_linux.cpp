// The real system calls behind FileSystem.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "core/store/file_system.h"

namespace trivo {

int FileSystem::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int FileSystem::openat(int folder, const char* path, int flags, mode_t mode) {
  return ::openat(folder, path, flags, mode);
}
ssize_t FileSystem::read(int fd, void* buffer, std::size_t size) {
  return ::read(fd, buffer, size);
}
ssize_t FileSystem::write(int fd, const void* buffer, std::size_t size) {
  return ::write(fd, buffer, size);
}
int FileSystem::fdatasync(int fd) { return ::fdatasync(fd); }
int FileSystem::syncFolder(int fd) { return ::fsync(fd); }
int FileSystem::close(int fd) { return ::close(fd); }
int FileSystem::fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
int FileSystem::lstat(const char* path, struct stat* st) { return ::lstat(path, st); }
int FileSystem::fchmod(int fd, mode_t mode) { return ::fchmod(fd, mode); }
int FileSystem::rename(const char* from, const char* to, unsigned flags) {
  return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, flags);
}
int FileSystem::unlink(const char* path) { return ::unlink(path); }

FileSystem& FileSystem::real() {
  static FileSystem system;
  return system;
}

}  // namespace trivo

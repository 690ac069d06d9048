// Fault-injecting and power-loss-simulating file systems for the store's tests.
#include "testing/fault_file_systems.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>

namespace trivo::testing {

namespace fs = std::filesystem;

const char* callName(Call call) {
  switch (call) {
    case Call::open: return "open";
    case Call::read: return "read";
    case Call::write: return "write";
    case Call::fdatasync: return "fdatasync";
    case Call::syncFolder: return "folder fsync";
    case Call::close: return "close";
    case Call::stat: return "stat";
    case Call::rename: return "rename";
    case Call::unlink: return "unlink";
    case Call::fchmod: return "fchmod";
  }
  return "?";
}

// --- FaultyFileSystem

int FaultyFileSystem::calls(Call call) const {
  std::lock_guard lock(mu_);
  auto it = counts_.find(call);
  return it == counts_.end() ? 0 : it->second;
}

bool FaultyFileSystem::fails(Call call) {
  std::lock_guard lock(mu_);
  const int n = ++counts_[call];
  if (!fault_ || fault_->call != call || fault_->nth != n || fault_->shortWrite) return false;
  fired_ = true;
  errno = fault_->error;
  return true;
}

int FaultyFileSystem::open(const char* path, int flags, mode_t mode) {
  return fails(Call::open) ? -1 : FileSystem::open(path, flags, mode);
}
ssize_t FaultyFileSystem::read(int fd, void* buffer, std::size_t size) {
  return fails(Call::read) ? -1 : FileSystem::read(fd, buffer, size);
}
ssize_t FaultyFileSystem::write(int fd, const void* buffer, std::size_t size) {
  if (fails(Call::write)) return -1;
  bool shorten = false;
  {
    std::lock_guard lock(mu_);
    shorten = fault_ && fault_->shortWrite && fault_->call == Call::write &&
              fault_->nth == counts_[Call::write] && size > 1;
    if (shorten) fired_ = true;
  }
  return FileSystem::write(fd, buffer, shorten ? size / 2 : size);
}
int FaultyFileSystem::fdatasync(int fd) {
  return fails(Call::fdatasync) ? -1 : FileSystem::fdatasync(fd);
}
int FaultyFileSystem::syncFolder(int fd) {
  return fails(Call::syncFolder) ? -1 : FileSystem::syncFolder(fd);
}
int FaultyFileSystem::close(int fd) {
  // A failing close still releases the descriptor, as Linux's does.
  const bool fail = fails(Call::close);
  const int result = FileSystem::close(fd);
  if (fail) return -1;
  return result;
}
int FaultyFileSystem::fstat(int fd, struct stat* st) {
  return fails(Call::stat) ? -1 : FileSystem::fstat(fd, st);
}
int FaultyFileSystem::lstat(const char* path, struct stat* st) {
  return fails(Call::stat) ? -1 : FileSystem::lstat(path, st);
}
int FaultyFileSystem::fchmod(int fd, mode_t mode) {
  return fails(Call::fchmod) ? -1 : FileSystem::fchmod(fd, mode);
}
int FaultyFileSystem::rename(const char* from, const char* to, unsigned flags) {
  return fails(Call::rename) ? -1 : FileSystem::rename(from, to, flags);
}
int FaultyFileSystem::unlink(const char* path) {
  return fails(Call::unlink) ? -1 : FileSystem::unlink(path);
}

// --- PowerLossFileSystem

PowerLossFileSystem::PowerLossFileSystem(const fs::path& root) : root_(root) {
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const int id = nextInode_++;
    inodes_[id] = Inode{text, text};
    names_[entry.path().string()] = id;
  }
  durableNames_ = names_;
}

std::string PowerLossFileSystem::folderOf(const std::string& path) const {
  return fs::path(path).parent_path().string();
}

void PowerLossFileSystem::apply(std::map<std::string, int>& names, const NameChange& change) {
  for (const auto& [path, inode] : change.edits) {
    if (inode) {
      names[path] = *inode;
    } else {
      names.erase(path);
    }
  }
}

void PowerLossFileSystem::mutated() {
  {
    std::lock_guard lock(mu_);
    ++mutations_;
  }
  if (onMutation) onMutation();
}

std::vector<std::map<std::string, std::string>> PowerLossFileSystem::crashStates() const {
  std::lock_guard lock(mu_);
  std::vector<std::map<std::string, std::string>> states;
  std::map<std::string, int> names = durableNames_;
  for (std::size_t committed = 0;; ++committed) {
    std::map<std::string, std::string> state;
    for (const auto& [path, inode] : names) state[path] = inodes_.at(inode).durable;
    states.push_back(std::move(state));
    if (committed == pending_.size()) break;
    apply(names, pending_[committed]);
  }
  return states;
}

int PowerLossFileSystem::open(const char* path, int flags, mode_t mode) {
  const bool creates = (flags & O_CREAT) != 0;
  if (creates) mutated();
  const int fd = real_.open(path, flags, mode);
  if (fd < 0) return fd;
  std::lock_guard lock(mu_);
  if ((flags & O_DIRECTORY) != 0) {
    fdFolder_[fd] = path;
    return fd;
  }
  auto it = names_.find(path);
  if (it == names_.end()) {
    if (!creates) return fd;  // a file outside what the model follows
    const int id = nextInode_++;
    inodes_[id] = Inode{};
    names_[path] = id;
    pending_.push_back(NameChange{folderOf(path), {{path, id}}});
    fdInode_[fd] = id;
  } else {
    fdInode_[fd] = it->second;
  }
  return fd;
}

ssize_t PowerLossFileSystem::write(int fd, const void* buffer, std::size_t size) {
  mutated();
  const ssize_t n = real_.write(fd, buffer, size);
  if (n <= 0) return n;
  std::lock_guard lock(mu_);
  auto it = fdInode_.find(fd);
  if (it != fdInode_.end()) {
    inodes_[it->second].data.append(static_cast<const char*>(buffer), static_cast<std::size_t>(n));
  }
  return n;
}

int PowerLossFileSystem::fdatasync(int fd) {
  mutated();
  std::lock_guard lock(mu_);
  auto it = fdInode_.find(fd);
  if (it != fdInode_.end()) inodes_[it->second].durable = inodes_[it->second].data;
  return 0;
}

int PowerLossFileSystem::syncFolder(int fd) {
  mutated();
  std::lock_guard lock(mu_);
  auto it = fdFolder_.find(fd);
  if (it == fdFolder_.end()) return 0;
  const std::string folder = fs::path(it->second).lexically_normal().string();
  std::vector<NameChange> rest;
  for (auto& change : pending_) {
    if (fs::path(change.folder).lexically_normal().string() == folder) {
      apply(durableNames_, change);
    } else {
      rest.push_back(std::move(change));
    }
  }
  pending_ = std::move(rest);
  return 0;
}

int PowerLossFileSystem::close(int fd) {
  {
    std::lock_guard lock(mu_);
    fdInode_.erase(fd);
    fdFolder_.erase(fd);
  }
  return real_.close(fd);
}

int PowerLossFileSystem::rename(const char* from, const char* to, unsigned flags) {
  mutated();
  const int result = real_.rename(from, to, flags);
  if (result != 0) return result;
  std::lock_guard lock(mu_);
  auto source = names_.find(from);
  if (source == names_.end()) return result;
  const int moving = source->second;
  NameChange change{folderOf(to), {}};
  if ((flags & RENAME_EXCHANGE) != 0) {
    auto target = names_.find(to);
    const std::optional<int> other =
        target == names_.end() ? std::nullopt : std::optional(target->second);
    change.edits = {{to, moving}, {from, other}};
  } else {
    change.edits = {{to, moving}, {from, std::nullopt}};
  }
  apply(names_, change);
  pending_.push_back(std::move(change));
  return result;
}

int PowerLossFileSystem::unlink(const char* path) {
  mutated();
  const int result = real_.unlink(path);
  if (result != 0) return result;
  std::lock_guard lock(mu_);
  if (names_.erase(path) > 0) pending_.push_back(NameChange{folderOf(path), {{path, std::nullopt}}});
  return result;
}

}  // namespace trivo::testing

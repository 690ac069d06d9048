// File systems for tests of the store: one that fails a chosen system call, one that remembers
// what a power loss at any moment would leave on the disk.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/store/file_system.h"

namespace trivo::testing {

enum class Call { open, read, write, fdatasync, syncFolder, close, stat, rename, unlink, fchmod };
inline constexpr Call kAllCalls[] = {Call::open,  Call::read,       Call::write, Call::fdatasync,
                                     Call::syncFolder, Call::close, Call::stat,  Call::rename,
                                     Call::unlink, Call::fchmod};
const char* callName(Call call);

// Fails the n-th call (1-based) of one kind with an errno, or makes the n-th write short (it
// writes half and says so). Every other call goes to the real system.
class FaultyFileSystem final : public FileSystem {
 public:
  struct Fault {
    Call call = Call::write;
    int nth = 1;
    int error = 0;            // errno to fail with; 0 with shortWrite
    bool shortWrite = false;  // write half of what was asked
  };
  explicit FaultyFileSystem(std::optional<Fault> fault) : fault_(fault) {}

  // How many calls of a kind were made (counting the failed one).
  int calls(Call call) const;
  bool fired() const { return fired_; }

  int open(const char* path, int flags, mode_t mode) override;
  ssize_t read(int fd, void* buffer, std::size_t size) override;
  ssize_t write(int fd, const void* buffer, std::size_t size) override;
  int fdatasync(int fd) override;
  int syncFolder(int fd) override;
  int close(int fd) override;
  int fstat(int fd, struct stat* st) override;
  int lstat(const char* path, struct stat* st) override;
  int fchmod(int fd, mode_t mode) override;
  int rename(const char* from, const char* to, unsigned flags) override;
  int unlink(const char* path) override;

 private:
  // True when this call is to fail (errno set).
  bool fails(Call call);

  std::optional<Fault> fault_;
  mutable std::mutex mu_;
  std::map<Call, int> counts_;
  bool fired_ = false;
};

// Passes every call to the real system and keeps a model of what is durable: a file's data once
// it was fdatasync'ed, a folder's names once the folder was synced. A journaling file system
// may also have committed any prefix of the name changes made since the last folder sync, so a
// crash at a given moment can leave one of several disk states; `onMutation` is called before
// every call that changes something, so a test can examine each of them. Syncs are not passed
// on (nothing here is meant to survive a real power loss), which keeps thousands of crash
// points fast.
class PowerLossFileSystem final : public FileSystem {
 public:
  // Starts from the files under `root` as they are (all durable).
  explicit PowerLossFileSystem(const std::filesystem::path& root);

  // Every disk state (path → content, for the files under root) that a crash now could leave.
  std::vector<std::map<std::string, std::string>> crashStates() const;
  // Called before each changing call, with nothing locked.
  std::function<void()> onMutation;
  int mutations() const { return mutations_; }

  int open(const char* path, int flags, mode_t mode) override;
  ssize_t write(int fd, const void* buffer, std::size_t size) override;
  int fdatasync(int fd) override;
  int syncFolder(int fd) override;
  int close(int fd) override;
  int rename(const char* from, const char* to, unsigned flags) override;
  int unlink(const char* path) override;

 private:
  struct Inode {
    std::string data;     // as the page cache holds it
    std::string durable;  // as the disk holds it
  };
  // One change of names that the journal commits whole (a rename moves one name, an exchange
  // swaps two): each path with its new inode, or none when the name goes.
  struct NameChange {
    std::string folder;
    std::vector<std::pair<std::string, std::optional<int>>> edits;
  };
  static void apply(std::map<std::string, int>& names, const NameChange& change);
  void mutated();
  std::string folderOf(const std::string& path) const;

  std::filesystem::path root_;
  mutable std::mutex mu_;
  int nextInode_ = 1;
  std::map<int, Inode> inodes_;
  std::map<std::string, int> names_;          // path → inode, as the page cache sees it
  std::map<std::string, int> durableNames_;   // path → inode, as the disk holds it
  std::vector<NameChange> pending_;           // name changes since each folder's last sync
  std::map<int, int> fdInode_;                // open descriptors of files
  std::map<int, std::string> fdFolder_;       // open descriptors of folders
  int mutations_ = 0;
  FileSystem& real_ = FileSystem::real();
};

}  // namespace trivo::testing

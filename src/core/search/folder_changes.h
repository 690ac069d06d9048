// Whether anything changed in a set of folders since it was last asked, without a look at any
// file: a long-running process (the service, the window) uses it to skip the stat of every page
// before a search when nothing was written since the index was brought up to date.
#pragma once

#include <filesystem>
#include <vector>

namespace trivo {

class FolderChanges {
 public:
  // Watches nothing yet. Without the system's watches (none left, none at all) the object is
  // not `usable()` and reports a change on every ask, so that its callers always look.
  FolderChanges();
  ~FolderChanges();
  FolderChanges(const FolderChanges&) = delete;
  FolderChanges& operator=(const FolderChanges&) = delete;

  // Adds the folders to those watched (a folder watched already stays as it is): their entries
  // being written, created, deleted, renamed or changed in their attributes. A folder that
  // cannot be watched makes the object unusable from then on.
  void watch(const std::vector<std::filesystem::path>& folders);

  // True when anything happened in a watched folder since the last call (or since the folders
  // were first watched), when events were lost, or when the object is not usable. Takes the
  // events it reports, so a second call at once is false. Never blocks.
  bool changed();

  [[nodiscard]] bool usable() const { return fd_ >= 0; }

 private:
  void disable();

  int fd_ = -1;
};

}  // namespace trivo

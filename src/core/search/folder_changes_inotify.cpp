// FolderChanges over inotify: events are queued by the kernel as the writes happen, so a change
// made before `changed()` is asked is always seen by it.
#include "core/search/folder_changes.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace trivo {

FolderChanges::FolderChanges() : fd_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

FolderChanges::~FolderChanges() { disable(); }

void FolderChanges::disable() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

void FolderChanges::watch(const std::vector<std::filesystem::path>& folders) {
  constexpr std::uint32_t kEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE |
                                    IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF |
                                    IN_MOVE_SELF;
  for (const auto& folder : folders) {
    if (fd_ < 0) return;
    // A folder that is gone is no blind spot: its parent's entry changing was reported.
    if (::inotify_add_watch(fd_, folder.c_str(), kEvents | IN_ONLYDIR) < 0 && errno != ENOENT &&
        errno != ENOTDIR) {
      disable();
    }
  }
}

bool FolderChanges::changed() {
  if (fd_ < 0) return true;
  alignas(inotify_event) std::array<char, 16384> buffer{};
  bool any = false;
  for (;;) {
    const ssize_t got = ::read(fd_, buffer.data(), buffer.size());
    if (got > 0) {
      any = true;
      continue;
    }
    if (got < 0 && errno == EINTR) continue;
    // EAGAIN: the queue is empty. Anything else leaves the watch in doubt.
    if (got < 0 && errno != EAGAIN) {
      disable();
      return true;
    }
    return any;
  }
}

}  // namespace trivo

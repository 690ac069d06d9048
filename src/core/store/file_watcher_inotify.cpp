// The file watcher on Linux: inotify on every folder of the vault, polling when the system runs
// out of watches.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>

#include "core/store/atomic_write.h"
#include "core/store/cloud_signal.h"
#include "core/store/file_watcher.h"

namespace trivo {

namespace fs = std::filesystem;
using SteadyTime = std::chrono::steady_clock::time_point;

struct FileWatcher::State {
  int inotify = -1;
  int wake = -1;
  bool polling = false;
  std::unordered_map<int, fs::path> folders;      // watch descriptor → folder
  std::map<fs::path, SteadyTime> dirty;           // path → when it may be reported
  std::map<fs::path, fs::file_time_type> polled;  // the polling fallback's last look
};

namespace {

constexpr std::uint32_t kFolderMask = IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE |
                                      IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF |
                                      IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK;

bool watchEndsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}  // namespace

bool FileWatcher::isIgnoredName(std::string_view name) {
  if (AtomicWrite::isScratchName(name)) return true;
  if (name.starts_with(".syncthing.") && watchEndsWith(name, ".tmp")) return true;
  if (name.starts_with(".~lock.")) return true;
  if (watchEndsWith(name, ".part") || watchEndsWith(name, ".swp") || watchEndsWith(name, "~")) return true;
  return name == "4913";  // the probe file Vim writes to test a folder
}

FileWatcher::FileWatcher(VaultPaths paths, Callbacks callbacks, std::chrono::milliseconds quiet)
    : paths_(std::move(paths)),
      callbacks_(std::move(callbacks)),
      quiet_(quiet),
      state_(std::make_unique<State>()) {}

FileWatcher::~FileWatcher() { stop(); }

void FileWatcher::start() {
  if (thread_.joinable()) return;
  state_->inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  state_->wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (state_->inotify < 0) state_->polling = true;
  auto watchTree = [this](const fs::path& top) {
    std::error_code ec;
    std::vector<fs::path> folders{top};
    for (fs::recursive_directory_iterator it(top, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->is_directory(ec) && !it->is_symlink(ec)) folders.push_back(it->path());
    }
    for (const auto& folder : folders) {
      if (state_->polling) return;
      const int wd = inotify_add_watch(state_->inotify, folder.c_str(), kFolderMask);
      if (wd >= 0) {
        state_->folders[wd] = folder;
      } else if (errno == ENOSPC) {
        std::fprintf(stderr,
                     "trivo: the system allows no more file watches, so changes to the vault "
                     "are found by polling every 2 seconds; raise fs.inotify.max_user_watches "
                     "to watch instead.\n");
        state_->polling = true;
      }
    }
  };
  if (!state_->polling) watchTree(paths_.root());
  thread_ = std::thread([this] { run(); });
}

void FileWatcher::stop() {
  if (thread_.joinable()) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(state_->wake, &one, sizeof one);
    thread_.join();
  }
  if (state_->inotify >= 0) close(state_->inotify);
  if (state_->wake >= 0) close(state_->wake);
  state_->inotify = state_->wake = -1;
}

void FileWatcher::dispatch(const fs::path& reported) {
  fs::path path = reported;
  if (auto real = fileForPlaceholder(path)) path = *real;
  const fs::path appPrivate = paths_.appPrivate();
  if (path.parent_path() == appPrivate) {
    if (path.filename() == "config.json") {
      if (callbacks_.onConfig) callbacks_.onConfig();
      return;
    }
    if (path.filename() == "write.lock") return;
  }
  // The devices' signal records are bookkeeping between trivo processes, not the user's files.
  const auto rel = path.lexically_relative(appPrivate / "signal");
  if (!rel.empty() && *rel.begin() != "..") return;
  if (auto key = paths_.keyFor(path)) {
    if (callbacks_.onChange) callbacks_.onChange(*key);
  } else if (callbacks_.onOther) {
    callbacks_.onOther(path);
  }
}

void FileWatcher::run() {
  State& s = *state_;
  auto markTree = [&](const fs::path& folder, SteadyTime at) {
    // Watch first, then look: a file that lands after the watch exists gives an event, and one
    // that landed before it is found by the look.
    std::error_code ec;
    std::vector<fs::path> subfolders{folder};
    for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->is_directory(ec) && !it->is_symlink(ec)) subfolders.push_back(it->path());
    }
    for (const auto& sub : subfolders) {
      const int wd = inotify_add_watch(s.inotify, sub.c_str(), kFolderMask);
      if (wd >= 0) s.folders[wd] = sub;
    }
    for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->is_regular_file(ec) && !isIgnoredName(it->path().filename().string())) {
        s.dirty[it->path()] = at;
      }
    }
  };
  auto pollTree = [&](SteadyTime at) {
    std::map<fs::path, fs::file_time_type> seen;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(paths_.root(), ec), end; !ec && it != end;
         it.increment(ec)) {
      if (it->is_regular_file(ec)) seen[it->path()] = it->last_write_time(ec);
    }
    for (const auto& [path, time] : seen) {
      auto old = s.polled.find(path);
      if (old == s.polled.end() || old->second != time) s.dirty[path] = at;
    }
    for (const auto& [path, time] : s.polled) {
      if (!seen.contains(path)) s.dirty[path] = at;
    }
    s.polled = std::move(seen);
  };
  if (s.polling) pollTree(SteadyTime{});  // the first look only records what is there
  s.dirty.clear();

  alignas(inotify_event) std::array<char, 64 * 1024> buffer{};
  for (;;) {
    const auto now = std::chrono::steady_clock::now();
    int timeout = s.polling ? 2000 : -1;
    if (!s.dirty.empty()) {
      SteadyTime first = s.dirty.begin()->second;
      for (const auto& [path, at] : s.dirty) first = std::min(first, at);
      const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(first - now);
      timeout = static_cast<int>(std::max<std::int64_t>(0, wait.count()));
      if (s.polling) timeout = std::min(timeout, 2000);
    }
    std::array<pollfd, 2> fds{{{s.wake, POLLIN, 0}, {s.inotify, POLLIN, 0}}};
    const int ready = poll(fds.data(), s.polling ? 1 : 2, timeout);
    if (ready < 0 && errno != EINTR) return;
    if (fds[0].revents & POLLIN) return;
    const auto at = std::chrono::steady_clock::now() + quiet_;
    bool mustScan = false;
    if (s.polling) {
      pollTree(at);
    } else if (fds[1].revents & POLLIN) {
      for (;;) {
        const ssize_t n = read(s.inotify, buffer.data(), buffer.size());
        if (n <= 0) break;
        for (std::size_t offset = 0; offset < static_cast<std::size_t>(n);) {
          inotify_event event{};
          std::memcpy(&event, buffer.data() + offset, sizeof event);
          const std::string name =
              event.len > 0 ? std::string(buffer.data() + offset + sizeof event) : std::string();
          offset += sizeof event + event.len;
          if (event.mask & IN_Q_OVERFLOW) {
            mustScan = true;
            continue;
          }
          auto folder = s.folders.find(event.wd);
          if (event.mask & IN_IGNORED) {
            if (folder != s.folders.end()) s.folders.erase(folder);
            continue;
          }
          if (folder == s.folders.end()) {
            mustScan = true;
            continue;
          }
          if (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) {
            if (folder->second == paths_.root()) mustScan = true;
            continue;
          }
          if (name.empty() || isIgnoredName(name)) continue;
          const fs::path path = folder->second / name;
          if ((event.mask & IN_ISDIR) && (event.mask & (IN_CREATE | IN_MOVED_TO))) {
            markTree(path, at);
            continue;
          }
          if (event.mask & IN_ISDIR) continue;
          // A rename reports both names; each is re-read on its own once quiet.
          s.dirty[path] = at;
        }
      }
    }
    if (mustScan && callbacks_.mustScan) callbacks_.mustScan();
    const auto after = std::chrono::steady_clock::now();
    std::vector<fs::path> due;
    for (auto it = s.dirty.begin(); it != s.dirty.end();) {
      if (it->second <= after) {
        due.push_back(it->first);
        it = s.dirty.erase(it);
      } else {
        ++it;
      }
    }
    for (const auto& path : due) dispatch(path);
  }
}

}  // namespace trivo

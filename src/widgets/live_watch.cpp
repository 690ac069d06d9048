// The inotify watch on the live-state folders.
#include "widgets/live_watch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace trivo::widgets {

LiveWatch::LiveWatch(const Clock& clock)
    : clock_(clock),
      watch_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (watch_ < 0) return;
  for (const auto& folder : LiveState::places()) {
    inotify_add_watch(watch_, folder.c_str(),
                      IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_ONLYDIR);
  }
}

LiveWatch::~LiveWatch() {
  if (watch_ >= 0) close(watch_);
  if (wake_ >= 0) close(wake_);
}

void LiveWatch::wake() {
  const std::uint64_t one = 1;
  if (wake_ >= 0) {
    [[maybe_unused]] auto written = write(wake_, &one, sizeof one);
  }
}

bool LiveWatch::waitUntil(Instant deadline) {
  const auto left = deadline - clock_.now();
  if (left <= Instant::duration::zero()) return false;
  // Round up, so that the caller never wakes before its deadline and spins.
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  const int timeout = static_cast<int>(std::min<std::int64_t>(ms, INT_MAX));
  std::array<pollfd, 2> fds{pollfd{watch_, POLLIN, 0}, pollfd{wake_, POLLIN, 0}};
  if (poll(fds.data(), fds.size(), timeout) <= 0) return false;
  if (fds[1].revents & POLLIN) {
    std::uint64_t count = 0;
    [[maybe_unused]] auto got = read(wake_, &count, sizeof count);
    return false;
  }
  bool changed = false;
  alignas(inotify_event) std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t n = read(watch_, buffer.data(), buffer.size());
    if (n <= 0) break;
    for (std::size_t at = 0; at < static_cast<std::size_t>(n);) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = buffer.data() + at + sizeof event;
      if (event.len > 0 && std::string_view(name) == "live.json") changed = true;
      // An overflow may have hidden the change.
      if (event.mask & IN_Q_OVERFLOW) changed = true;
      at += sizeof event + event.len;
    }
  }
  return changed;
}

}  // namespace trivo::widgets

// Watches the live-state folders for a new "live.json" (inotify), for the bar and the board.
#pragma once

#include "core/platform/clock.h"
#include "core/widgets/bar_feed.h"

namespace trivo::widgets {

class LiveWatch final : public LiveSignal {
 public:
  // Watches every folder of LiveState::places() that exists now. Without inotify it only waits
  // for deadlines.
  explicit LiveWatch(const Clock& clock);
  ~LiveWatch() override;
  LiveWatch(const LiveWatch&) = delete;
  LiveWatch& operator=(const LiveWatch&) = delete;

  // True when "live.json" changed (or the kernel's queue overflowed and it may have); false at
  // the deadline or after wake().
  bool waitUntil(Instant deadline) override;
  // Makes a waiting (or the next) waitUntil return at once. Thread-safe.
  void wake();

 private:
  const Clock& clock_;
  int watch_ = -1;
  int wake_ = -1;  // an eventfd
};

}  // namespace trivo::widgets

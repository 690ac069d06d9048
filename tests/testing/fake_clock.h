// A clock that moves only when a test moves it, reading instants at a fixed UTC offset.
#pragma once

#include <atomic>
#include <chrono>

#include "core/platform/clock.h"

namespace trivo::testing {

class FakeClock final : public Clock {
 public:
  explicit FakeClock(Instant start = Instant{}, std::chrono::seconds utcOffset = {})
      : now_(start.time_since_epoch().count()), offset_(utcOffset) {}
  [[nodiscard]] Instant now() const override { return Instant(Instant::duration(now_.load())); }
  [[nodiscard]] LocalReading local(Instant instant) const override {
    return readWithOffset(instant, offset_);
  }
  void advance(std::chrono::system_clock::duration by) { now_ += by.count(); }
  void set(Instant instant) { now_ = instant.time_since_epoch().count(); }

 private:
  std::atomic<Instant::duration::rep> now_;
  std::chrono::seconds offset_;
};

}  // namespace trivo::testing

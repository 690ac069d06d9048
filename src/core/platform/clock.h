// The source of the current instant and its local calendar reading. The core asks these
// interfaces instead of the system so that tests can pin time.
#pragma once

#include <chrono>
#include <cstdint>

namespace trivo {

using Instant = std::chrono::system_clock::time_point;

// A reading of an instant on the local wall clock.
struct LocalReading {
  std::int64_t year = 1970;
  std::int64_t month = 1;
  std::int64_t day = 1;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
};

// Where "now" comes from. Implementations must be thread-safe.
class Clock {
 public:
  virtual ~Clock() = default;
  [[nodiscard]] virtual Instant now() const = 0;
  // The local reading of an instant in this clock's time zone.
  [[nodiscard]] virtual LocalReading local(Instant instant) const = 0;
};

// The system clock read through localtime_r (the process's TZ).
class SystemClock final : public Clock {
 public:
  [[nodiscard]] Instant now() const override;
  [[nodiscard]] LocalReading local(Instant instant) const override;
  // A process-wide instance.
  static const SystemClock& shared();
};

// Reads an instant in a fixed offset from UTC, independent of the process's TZ.
[[nodiscard]] LocalReading readWithOffset(Instant instant, std::chrono::seconds utcOffset);

}  // namespace trivo

// The service's clock: the system clock, or for tests a clock that starts at a chosen instant
// and runs faster than real time, so that a one-minute session passes in seconds.
#pragma once

#include <optional>
#include <string_view>

#include "core/platform/clock.h"

namespace trivo {

// now = start + (real now − anchor) × scale. With the same anchor, every process reads the same
// service time, so a service restarted mid-session picks up where its predecessor stood.
class ScaledClock final : public Clock {
 public:
  struct Setting {
    std::optional<Instant> start;   // none: the anchor itself
    double scale = 1.0;             // service seconds per real second, above 0
    std::optional<Instant> anchor;  // none: when the clock was made
    bool operator==(const Setting&) const = default;
  };

  ScaledClock(Setting setting, const Clock& real);
  [[nodiscard]] Instant now() const override;
  [[nodiscard]] LocalReading local(Instant instant) const override { return real_.local(instant); }
  [[nodiscard]] double scale() const { return scale_; }

  // Reads the test setting "START,SCALE,ANCHOR" of TRIVO_SERVICE_CLOCK: START and ANCHOR are ISO
  // instants ("2026-09-16T17:29:50Z") or empty, SCALE a number above 0 (empty: 1). Nothing for
  // any other text.
  static std::optional<Setting> parse(std::string_view text);

 private:
  const Clock& real_;
  Instant start_;
  Instant anchor_;
  double scale_;
};

// The instant at which the clock reads the local day and time (the earlier of two readings in a
// repeated hour; a time skipped by a clock change reads as the instant after the gap).
Instant instantOfLocal(const Clock& clock, std::int64_t year, std::int64_t month, std::int64_t day,
                       std::int64_t hour, std::int64_t minute);

}  // namespace trivo

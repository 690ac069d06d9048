// The service's clock and the local-time arithmetic it needs.
#include "core/service/service_clock.h"

#include <charconv>
#include <cmath>
#include <string>

#include "core/calendar/day_date.h"
#include "core/util/iso_instant.h"

namespace trivo {

ScaledClock::ScaledClock(Setting setting, const Clock& real)
    : real_(real),
      anchor_(setting.anchor.value_or(real.now())),
      scale_(setting.scale > 0 && std::isfinite(setting.scale) ? setting.scale : 1.0) {
  start_ = setting.start.value_or(anchor_);
}

Instant ScaledClock::now() const {
  const auto real = std::chrono::duration<double>(real_.now() - anchor_);
  return start_ + std::chrono::duration_cast<Instant::duration>(real * scale_);
}

std::optional<ScaledClock::Setting> ScaledClock::parse(std::string_view text) {
  std::string_view parts[3];
  std::size_t count = 0;
  while (true) {
    const auto comma = text.find(',');
    if (count == 3) return std::nullopt;
    parts[count++] = text.substr(0, comma);
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  Setting setting;
  if (!parts[0].empty()) {
    setting.start = parseIsoInstant(parts[0]);
    if (!setting.start) return std::nullopt;
  }
  if (!parts[1].empty()) {
    // from_chars for doubles is in GCC 12's library; strtod would accept trailing junk.
    const char* end = parts[1].data() + parts[1].size();
    auto [ptr, ec] = std::from_chars(parts[1].data(), end, setting.scale);
    if (ec != std::errc() || ptr != end || !(setting.scale > 0) || !std::isfinite(setting.scale)) {
      return std::nullopt;
    }
  }
  if (!parts[2].empty()) {
    setting.anchor = parseIsoInstant(parts[2]);
    if (!setting.anchor) return std::nullopt;
  }
  return setting;
}

Instant instantOfLocal(const Clock& clock, std::int64_t year, std::int64_t month, std::int64_t day,
                       std::int64_t hour, std::int64_t minute) {
  const std::int64_t wantedDay = DayDate{year, month, day}.dayNumber();
  const std::int64_t wanted = wantedDay * 1440 + hour * 60 + minute;
  auto readMinutes = [&](Instant at) {
    const LocalReading r = clock.local(at);
    return DayDate{r.year, r.month, r.day}.dayNumber() * 1440 + r.hour * 60 + r.minute;
  };
  // Start from the reading taken as UTC and correct by the zone's offset there; a second pass
  // settles a guess that landed on the other side of a clock change.
  const std::int64_t epoch = DayDate{1970, 1, 1}.dayNumber() * 1440;
  Instant guess = Instant{} + std::chrono::minutes(wanted - epoch);
  for (int pass = 0; pass < 3; ++pass) {
    const std::int64_t off = readMinutes(guess) - wanted;
    if (off == 0) break;
    guess -= std::chrono::minutes(off);
  }
  return guess;
}

}  // namespace trivo

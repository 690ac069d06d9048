// The offset from UTC of a named time zone ("Europe/Lisbon") at an instant, read from the
// system's time-zone database (the compiled files under /usr/share/zoneinfo).
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/platform/clock.h"

namespace trivo {

class ZoneOffsets {
 public:
  virtual ~ZoneOffsets() = default;
  // The offset east of UTC in the zone at `at`; nothing for a zone that is unknown.
  [[nodiscard]] virtual std::optional<std::chrono::seconds> offset(std::string_view zone,
                                                                   Instant at) = 0;
};

// Reads TZif files (version 2 and later with 64-bit times; version 1 otherwise). After the last
// transition in the file the last offset holds, which the "fat" files Debian ships keep correct
// until 2037. Each zone's file is read once. Not thread-safe.
class ZoneInfoFiles final : public ZoneOffsets {
 public:
  explicit ZoneInfoFiles(std::filesystem::path folder = "/usr/share/zoneinfo");
  [[nodiscard]] std::optional<std::chrono::seconds> offset(std::string_view zone,
                                                           Instant at) override;

  struct Zone {
    std::vector<std::int64_t> transitions;  // seconds since 1970, ascending
    std::vector<std::uint8_t> types;        // the type in force from each transition on
    std::vector<std::int32_t> offsets;      // the offset of each type, in seconds
    std::int32_t initial = 0;               // before the first transition
  };
  // The zone of a TZif file's bytes, or nothing when they are not one.
  static std::optional<Zone> parse(std::string_view bytes);

 private:
  std::filesystem::path folder_;
  std::map<std::string, std::optional<Zone>, std::less<>> zones_;
};

}  // namespace trivo

#include "core/imports/zone_offsets.h"

#include <algorithm>

#include "core/store/atomic_write.h"

namespace trivo {
namespace {

std::uint32_t bigEndian32(std::string_view b, std::size_t at) {
  return (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at])) << 24) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 1])) << 16) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 2])) << 8) |
         static_cast<std::uint32_t>(static_cast<unsigned char>(b[at + 3]));
}

std::uint64_t bigEndian64(std::string_view b, std::size_t at) {
  return (static_cast<std::uint64_t>(bigEndian32(b, at)) << 32) | bigEndian32(b, at + 4);
}

// A zone name as the database writes them: no absolute path, no way up, nothing odd.
bool plausibleName(std::string_view zone) {
  if (zone.empty() || zone.size() > 64 || zone.front() == '/' ||
      zone.find("..") != std::string_view::npos) {
    return false;
  }
  return std::all_of(zone.begin(), zone.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
           c == '_' || c == '-' || c == '+';
  });
}

constexpr std::size_t kHeader = 44;

}  // namespace

ZoneInfoFiles::ZoneInfoFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::optional<ZoneInfoFiles::Zone> ZoneInfoFiles::parse(std::string_view bytes) {
  if (bytes.size() < kHeader || bytes.substr(0, 4) != "TZif") return std::nullopt;
  struct Counts {
    std::uint64_t isut, isstd, leap, time, type, chars;
  };
  const auto counts = [&](std::size_t at) {
    return Counts{bigEndian32(bytes, at + 20), bigEndian32(bytes, at + 24),
                  bigEndian32(bytes, at + 28), bigEndian32(bytes, at + 32),
                  bigEndian32(bytes, at + 36), bigEndian32(bytes, at + 40)};
  };
  const auto bodySize = [](const Counts& c, std::uint64_t timeSize) {
    return c.time * timeSize + c.time + c.type * 6 + c.chars + c.leap * (timeSize + 4) + c.isstd +
           c.isut;
  };
  std::size_t at = 0;
  Counts c = counts(0);
  std::uint64_t timeSize = 4;
  if (bytes[4] >= '2') {
    const std::uint64_t skip = kHeader + bodySize(c, 4);
    if (skip + kHeader > bytes.size() || bytes.substr(skip, 4) != "TZif") return std::nullopt;
    at = static_cast<std::size_t>(skip);
    c = counts(at);
    timeSize = 8;
  }
  if (c.type == 0 || c.type > 256 || c.time > 100000 ||
      at + kHeader + bodySize(c, timeSize) > bytes.size()) {
    return std::nullopt;
  }
  std::size_t p = at + kHeader;
  Zone zone;
  for (std::uint64_t i = 0; i < c.time; ++i, p += timeSize) {
    zone.transitions.push_back(timeSize == 8 ? static_cast<std::int64_t>(bigEndian64(bytes, p))
                                             : static_cast<std::int64_t>(static_cast<std::int32_t>(
                                                   bigEndian32(bytes, p))));
  }
  for (std::uint64_t i = 0; i < c.time; ++i, ++p) {
    const auto type = static_cast<std::uint8_t>(bytes[p]);
    if (type >= c.type) return std::nullopt;
    zone.types.push_back(type);
  }
  bool initialSet = false;
  for (std::uint64_t i = 0; i < c.type; ++i, p += 6) {
    const auto offset = static_cast<std::int32_t>(bigEndian32(bytes, p));
    zone.offsets.push_back(offset);
    // Before the first transition the first standard-time type holds.
    if (!initialSet && bytes[p + 4] == 0) {
      zone.initial = offset;
      initialSet = true;
    }
  }
  if (!initialSet) zone.initial = zone.offsets.front();
  if (!std::is_sorted(zone.transitions.begin(), zone.transitions.end())) return std::nullopt;
  return zone;
}

std::optional<std::chrono::seconds> ZoneInfoFiles::offset(std::string_view name, Instant at) {
  if (name == "UTC" || name == "GMT" || name == "Z") return std::chrono::seconds(0);
  if (!plausibleName(name)) return std::nullopt;
  auto it = zones_.find(name);
  if (it == zones_.end()) {
    std::optional<Zone> zone;
    try {
      zone = parse(Coordinated::read(folder_ / std::string(name)));
    } catch (const FileError&) {
    }
    it = zones_.emplace(std::string(name), std::move(zone)).first;
  }
  if (!it->second) return std::nullopt;
  const Zone& zone = *it->second;
  const std::int64_t seconds =
      std::chrono::duration_cast<std::chrono::seconds>(at.time_since_epoch()).count();
  const auto after = std::upper_bound(zone.transitions.begin(), zone.transitions.end(), seconds);
  if (after == zone.transitions.begin()) return std::chrono::seconds(zone.initial);
  const auto index = static_cast<std::size_t>(after - zone.transitions.begin() - 1);
  return std::chrono::seconds(zone.offsets[zone.types[index]]);
}

}  // namespace trivo

// Recognition of file-sync conflict copies.
#include "core/store/cloud_signal.h"

#include <algorithm>
#include <fstream>
#include <string>

#include "core/store/atomic_write.h"
#include "core/util/iso_instant.h"

namespace trivo {

bool isConflictCopy(std::string_view fileName) {
  std::string lower(fileName);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (lower.find(".sync-conflict-") != std::string::npos) return true;
  for (std::size_t open = lower.find('('); open != std::string::npos;
       open = lower.find('(', open + 1)) {
    const std::size_t close = lower.find(')', open);
    if (close == std::string::npos) break;
    if (lower.substr(open, close - open).find("conflict") != std::string::npos) return true;
  }
  return false;
}

}  // namespace trivo

namespace trivo {

namespace fs = std::filesystem;

fs::path placeholderFor(const fs::path& file) {
  return file.parent_path() / ("." + file.filename().string() + ".icloud");
}

std::optional<fs::path> fileForPlaceholder(const fs::path& placeholder) {
  const std::string name = placeholder.filename().string();
  constexpr std::string_view suffix = ".icloud";
  if (name.size() <= 1 + suffix.size() || name.front() != '.' ||
      name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
    return std::nullopt;
  }
  return placeholder.parent_path() / name.substr(1, name.size() - 1 - suffix.size());
}

bool CloudSignal::isEvicted(const fs::path& file) const {
  std::error_code ec;
  return !fs::exists(file, ec) && fs::exists(placeholderFor(file), ec);
}

void to_json(Json& j, const Touched& t) {
  j = Json::object();
  json::put(j, "device", t.device);
  json::put(j, "stamp", t.stamp);
  json::put(j, "paths", t.paths);
}

void from_json(const Json& j, Touched& t) {
  json::requireObject(j, "Touched");
  Touched r;
  json::take(j, "device", r.device);
  json::take(j, "stamp", r.stamp);
  json::take(j, "paths", r.paths);
  t = std::move(r);
}

FileCloudSignal::FileCloudSignal(fs::path vaultRoot, DeviceIdentity device, const Clock& clock)
    : root_(std::move(vaultRoot)), device_(std::move(device)), clock_(clock) {}

fs::path FileCloudSignal::folder() const { return root_ / ".trivo" / "signal" / "touched"; }

namespace {

std::optional<std::string> relativeTo(const fs::path& root, const fs::path& file) {
  const fs::path rel = file.lexically_normal().lexically_relative(root.lexically_normal());
  if (rel.empty() || *rel.begin() == "..") return std::nullopt;
  return rel.generic_string();
}

}  // namespace

bool FileCloudSignal::newerElsewhere(const fs::path& file) const {
  const auto rel = relativeTo(root_, file);
  if (!rel) return false;
  std::error_code ec;
  Instant modified = distantPast();
  const auto mtime = fs::last_write_time(file, ec);
  if (!ec) modified = std::chrono::file_clock::to_sys(mtime);
  const Instant threshold = modified + std::chrono::seconds(10);
  for (const auto& entry : fs::directory_iterator(folder(), ec)) {
    const Json j = Coordinated::readJson(entry.path()).value_or(Json());
    if (!j.is_object()) continue;
    Touched record;
    try {
      record = j.get<Touched>();
    } catch (const RecordError&) {
      continue;  // another version's record, or a torn copy from the sync tool: not evidence
    }
    if (record.device == device_.id || record.stamp <= threshold) continue;
    if (std::find(record.paths.begin(), record.paths.end(), *rel) != record.paths.end()) {
      return true;
    }
  }
  return false;
}

void FileCloudSignal::touched(const fs::path& file) {
  const auto rel = relativeTo(root_, file);
  if (!rel) return;
  const Touched record{device_.id, clock_.now(), {*rel}};
  // One record per device and page: a short digest of the path keeps the name portable.
  const auto digest = sha256(*rel);
  std::string name = device_.id + ".";
  static constexpr char hex[] = "0123456789abcdef";
  for (std::size_t i = 0; i < 8; ++i) {
    name += hex[digest[i] >> 4];
    name += hex[digest[i] & 0xF];
  }
  try {
    AtomicWrite::write(Json(record).dump(), folder() / (name + ".json"), {std::nullopt, false});
  } catch (const FileError&) {
    // The signal is advice to other devices; a page write that succeeded stays a success.
  }
}

}  // namespace trivo

// Loading, merging and saving the vault's settings.
#include "core/config/config_store.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

#include "core/store/atomic_write.h"
#include "core/util/json_bounded.h"
#include "core/util/json_integers.h"
#include "core/vault/vault_locator.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string describeConfigError(ConfigError::Case which, const fs::path& path) {
  switch (which) {
    case ConfigError::Case::corruptFile:
      return "The settings file " + path.string() +
             " is not a readable settings object; fix or remove it by hand.";
    case ConfigError::Case::newerVersion:
      return "The settings file " + path.string() +
             " was written by a newer version of Trivo, so this version leaves it unchanged.";
  }
  return {};
}

// What each settings file was last read (or saved) as, process-wide: the common ancestor of the
// next save's merge.
std::mutex readLock;
std::map<fs::path, Json>& lastRead() {
  static std::map<fs::path, Json> files;
  return files;
}

Json rememberedRead(const fs::path& url) {
  std::lock_guard guard(readLock);
  auto it = lastRead().find(url);
  return it == lastRead().end() ? Json::object() : it->second;
}

void remember(const fs::path& url, Json value) {
  std::lock_guard guard(readLock);
  lastRead()[url] = std::move(value);
}

// Equal as JSON values, whatever order their objects' keys were written in.
bool sameValue(const Json& a, const Json& b) {
  if (a.is_object() && b.is_object()) {
    if (a.size() != b.size()) return false;
    for (const auto& [key, value] : a.items()) {
      auto it = b.find(key);
      if (it == b.end() || !sameValue(value, *it)) return false;
    }
    return true;
  }
  if (a.is_array() && b.is_array()) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (!sameValue(a[i], b[i])) return false;
    }
    return true;
  }
  return a == b;
}

const Json* child(const Json& object, const std::string& key) {
  if (!object.is_object()) return nullptr;
  auto it = object.find(key);
  return it == object.end() ? nullptr : &*it;
}

// The settings object of a file's text; nothing for a file that is not a JSON object.
std::optional<Json> parseObject(const std::string& text) {
  // A tree nested deeper than any settings object could only crash the merge, which recurses.
  Json j = parseJsonFile(text);
  if (j.is_discarded() || !j.is_object()) return std::nullopt;
  return j;
}

// A damaged device file is read as empty: it holds only this device's preferences, and the
// next save rewrites it whole.
Json readDeviceFile(const std::optional<fs::path>& url) {
  if (!url) return Json::object();
  std::optional<std::string> text;
  try {
    text = Coordinated::readIfExists(*url);
  } catch (const FileError&) {
    return Json::object();
  }
  if (!text) return Json::object();
  return parseObject(*text).value_or(Json::object());
}

void overlayDevice(Json& settings, const Json& device) {
  for (auto path : ConfigStore::deviceKeyPaths) {
    if (auto v = ConfigStore::value(device, path)) ConfigStore::set(settings, path, *v);
  }
  // Values an older version kept on this device still count until the shared file has its own.
  for (auto path : ConfigStore::formerDeviceKeyPaths) {
    if (ConfigStore::value(settings, path)) continue;
    if (auto v = ConfigStore::value(device, path)) ConfigStore::set(settings, path, *v);
  }
}

std::string configFileText(const Json& j) { return j.dump(2) + "\n"; }

}  // namespace

ConfigError::ConfigError(Case which, const fs::path& path)
    : std::runtime_error(describeConfigError(which, path)), which_(which) {}

const std::array<std::string_view, 38> ConfigStore::deviceKeyPaths = {
    "locale",
    "theme",
    "font",
    "wideMode",
    "sidebarTint",
    "sidebarShade",
    "textScale",
    "sidebarScale",
    "quickCaptureShortcut",
    "focusToggleShortcut",
    "journalNoteShortcut",
    "askAIShortcut",
    "captureJournalShortcut",
    "captureDraftShortcut",
    "backup",
    "urlActions",
    "timeline.enabled",
    "timeline.startHour",
    "timeline.endHour",
    "timeline.calendars",
    "timeline.notifyMinutesBefore",
    "timeline.autoJoin",
    "timeline.menuBarEvents",
    "timeline.logToCalendar",
    "timeline.tasksToCalendar",
    "focus.blackoutAllScreens",
    "focus.blackoutScreens",
    "focus.blackoutOpacity",
    "focus.hideOnStart",
    "focus.shortcutOnStart",
    "focus.shortcutOnEnd",
    "focus.blockedApps",
    "focus.blockSchedules",
    "focus.sound",
    "focus.volume",
    "focus.tickBpm",
    "focus.muted",
    "focus.minuteTick",
};

const std::array<std::string_view, 8> ConfigStore::formerDeviceKeyPaths = {
    "focus.cues",
    "focus.cueSet",
    "focus.blocking",
    "focus.blockOnBreak",
    "focus.blockedSites",
    "timeline.logCalendarName",
    "timeline.showCalendar",
    "accentShade",
};

ConfigStore::ConfigStore(const fs::path& root, std::optional<fs::path> device)
    : root_(root), url_(root / ".trivo" / "config.json"), deviceURL_(std::move(device)) {}

std::optional<fs::path> ConfigStore::defaultDeviceURL() {
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && fs::path(xdg).is_absolute()) {
    return fs::path(xdg) / "trivo" / "device.json";
  }
  if (const char* home = std::getenv("HOME"); home && fs::path(home).is_absolute()) {
    return fs::path(home) / ".config" / "trivo" / "device.json";
  }
  return std::nullopt;
}

VaultConfig ConfigStore::load() const {
  Json settings;
  if (auto text = Coordinated::readIfExists(url_)) {
    auto parsed = parseObject(*text);
    if (!parsed) throw ConfigError(ConfigError::Case::corruptFile, url_);
    settings = std::move(*parsed);
  } else {
    settings = Json::object();
    settings["fileFormat"] = detectVaultFormat(root_);
  }
  overlayDevice(settings, readDeviceFile(deviceURL_));
  VaultConfig config = settings.get<VaultConfig>();
  remember(url_, Json(config));
  return config;
}

void ConfigStore::save(const VaultConfig& config) const {
  Coordinated::Lock lock(root_);
  // Editors and sync tools do not take our lock: the file is replaced only while it still holds
  // the text the merge started from, and merged again from the new text when it changed.
  constexpr int kAttempts = 50;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (saveOnce(config)) return;
  }
  throw FileError(EAGAIN, url_, "save the settings to", "another program kept changing it");
}

bool ConfigStore::saveOnce(const VaultConfig& config) const {
  const std::optional<std::string> oldText = Coordinated::readIfExists(url_);
  Json disk = Json::object();
  if (oldText) {
    auto parsed = parseObject(*oldText);
    if (!parsed) throw ConfigError(ConfigError::Case::corruptFile, url_);
    disk = std::move(*parsed);
    std::int64_t version = VaultConfig::currentVaultVersion;
    try {
      json::takeInteger(disk, "vaultVersion", version);
      (void)disk.get<VaultConfig>();
    } catch (const RecordError&) {
      throw ConfigError(ConfigError::Case::corruptFile, url_);
    }
    if (version > VaultConfig::currentVaultVersion) {
      throw ConfigError(ConfigError::Case::newerVersion, url_);
    }
  }

  const Json mine = config;
  Json device = readDeviceFile(deviceURL_);
  Json diskView = disk;
  if (deviceURL_) overlayDevice(diskView, device);
  Json result = merged(mine, rememberedRead(url_), diskView, known(mine));

  if (deviceURL_) {
    const Json oldDevice = device;
    for (auto path : deviceKeyPaths) {
      if (auto v = value(result, path)) {
        set(device, path, std::move(*v));
        remove(result, path);
      }
    }
    for (auto path : formerDeviceKeyPaths) remove(device, path);
    std::error_code ec;
    if (!sameValue(device, oldDevice) || !fs::exists(*deviceURL_, ec)) {
      AtomicWrite::write(configFileText(device), *deviceURL_);
    }
  }
  const std::string text = configFileText(result);
  if (!(oldText && *oldText == text) && !AtomicWrite::replaceIf(text, url_, oldText)) {
    return false;
  }
  // The record as saved is what this process now believes the file says.
  remember(url_, mine);
  return true;
}

Json ConfigStore::merged(const Json& mine, const Json& read, const Json& disk, const Json& known) {
  if (!mine.is_object() || !disk.is_object()) return mine;
  Json result = disk;
  for (const auto& [key, mineValue] : mine.items()) {
    const Json* diskValue = child(disk, key);
    const Json* readValue = child(read, key);
    if (diskValue && diskValue->is_object() && mineValue.is_object()) {
      const Json* knownValue = child(known, key);
      result[key] = merged(mineValue, readValue ? *readValue : Json::object(), *diskValue,
                           knownValue ? *knownValue : Json::object());
    } else if (diskValue && readValue && sameValue(*readValue, mineValue)) {
      // Unchanged here: another writer's change wins.
    } else {
      result[key] = mineValue;
    }
  }
  for (const auto& [key, diskValue] : disk.items()) {
    if (mine.contains(key)) continue;
    const Json* readValue = child(read, key);
    const bool knownKey = child(known, key) != nullptr;
    const bool droppedHere = readValue && sameValue(*readValue, diskValue);
    if (knownKey || droppedHere) result.erase(key);
  }
  return result;
}

Json ConfigStore::known(const Json& value) {
  if (!value.is_object()) return nullptr;
  Json tree = Json::object();
  for (const auto& [key, v] : value.items()) tree[key] = known(v);
  return tree;
}

std::optional<Json> ConfigStore::value(const Json& object, std::string_view keyPath) {
  const Json* at = &object;
  std::size_t start = 0;
  for (;;) {
    const std::size_t dot = keyPath.find('.', start);
    const std::string key(keyPath.substr(start, dot == std::string_view::npos ? dot : dot - start));
    at = child(*at, key);
    if (!at) return std::nullopt;
    if (dot == std::string_view::npos) return *at;
    start = dot + 1;
  }
}

void ConfigStore::set(Json& object, std::string_view keyPath, Json newValue) {
  Json* at = &object;
  std::size_t start = 0;
  for (;;) {
    if (!at->is_object()) *at = Json::object();
    const std::size_t dot = keyPath.find('.', start);
    const std::string key(keyPath.substr(start, dot == std::string_view::npos ? dot : dot - start));
    if (dot == std::string_view::npos) {
      (*at)[key] = std::move(newValue);
      return;
    }
    at = &(*at)[key];
    start = dot + 1;
  }
}

void ConfigStore::remove(Json& object, std::string_view keyPath) {
  Json* at = &object;
  std::size_t start = 0;
  for (;;) {
    if (!at->is_object()) return;
    const std::size_t dot = keyPath.find('.', start);
    const std::string key(keyPath.substr(start, dot == std::string_view::npos ? dot : dot - start));
    if (dot == std::string_view::npos) {
      at->erase(key);
      return;
    }
    auto it = at->find(key);
    if (it == at->end()) return;
    at = &*it;
    start = dot + 1;
  }
}

}  // namespace trivo

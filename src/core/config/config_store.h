// Reads and writes the vault's settings file ".trivo/config.json", merging this process's
// changes key by key into whatever other processes and devices wrote meanwhile, and keeping the
// settings that belong to one device in that device's own file.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "core/config/vault_config.h"
#include "core/util/json_fields.h"

namespace trivo {

// The settings file cannot be used. Nothing was written when it is thrown.
class ConfigError : public std::runtime_error {
 public:
  enum class Case {
    corruptFile,   // not a JSON object, or a known key holds a value of the wrong type
    newerVersion,  // written by a newer application: never rewritten, so it is never downgraded
  };
  ConfigError(Case which, const std::filesystem::path& path);
  [[nodiscard]] Case which() const { return which_; }

 private:
  Case which_;
};

class ConfigStore {
 public:
  // Settings that differ between devices (fonts, screens, shortcuts, sounds, calendars), as
  // dotted paths into the settings object.
  static const std::array<std::string_view, 38> deviceKeyPaths;
  // Paths that earlier versions kept per device and that are now shared again.
  static const std::array<std::string_view, 8> formerDeviceKeyPaths;

  // `root` is the vault folder; `device` this device's own settings file, if it has one.
  ConfigStore(const std::filesystem::path& root, std::optional<std::filesystem::path> device);

  // "$XDG_CONFIG_HOME/trivo/device.json", else "~/.config/trivo/device.json"; nothing when
  // neither variable gives an absolute folder.
  static std::optional<std::filesystem::path> defaultDeviceURL();

  [[nodiscard]] const std::filesystem::path& url() const { return url_; }
  [[nodiscard]] const std::optional<std::filesystem::path>& deviceURL() const { return deviceURL_; }

  // The settings with every default filled in. A vault without a settings file gets the format
  // its pages are written in. Remembers what it read as the base of the next save.
  // Throws ConfigError (corruptFile), RecordError (a known key of the wrong type) or FileError.
  [[nodiscard]] VaultConfig load() const;

  // Merges `config` into the file on disk and writes it (and the device file) under the vault's
  // write lock. Throws ConfigError, leaving every file untouched, when the file on disk is
  // damaged or newer than this application; FileError when writing fails.
  void save(const VaultConfig& config) const;

  // The three-way merge of one settings object. Starts from `disk`; for each key of `mine`,
  // objects on both sides merge recursively, a value this process did not change (equal in
  // `read` and `mine`) keeps the disk's value, and otherwise `mine` wins, also when both sides
  // changed it. A disk key missing from `mine` is dropped when this version knows it (`known`),
  // or when this process had read it unchanged and has since removed it; keys added or changed
  // by others are kept.
  static Json merged(const Json& mine, const Json& read, const Json& disk, const Json& known);
  // The key tree of an encoded record: objects keep their keys, every other value is null.
  static Json known(const Json& value);

  // The value at a dotted key path, or nothing.
  static std::optional<Json> value(const Json& object, std::string_view keyPath);
  // Writes at a dotted key path, creating (or replacing non-object) intermediate objects.
  static void set(Json& object, std::string_view keyPath, Json value);
  // Deletes at a dotted key path; a missing path is fine.
  static void remove(Json& object, std::string_view keyPath);

 private:
  // One read-merge-write; false when the file changed between the read and the write.
  bool saveOnce(const VaultConfig& config) const;
  std::filesystem::path root_;
  std::filesystem::path url_;
  std::optional<std::filesystem::path> deviceURL_;
};

}  // namespace trivo

// What the vault needs to know about file-sync tools: which files are their conflict copies.
#pragma once

#include <optional>
#include <string_view>

namespace trivo {

// True for a conflict copy left by a file-sync tool. Recognised, ignoring case:
// Syncthing's "NAME.sync-conflict-DATE-TIME-DEVICE.EXT", and any parenthesised remark that
// mentions a conflict, as Dropbox, Nextcloud, ownCloud, Seafile and others write them:
// "NAME (conflicted copy 2026-09-16).EXT", "NAME (Conflict).EXT", "NAME (SFConflict x).EXT".
// Such a file is the user's data, never a page of its own.
bool isConflictCopy(std::string_view fileName);

}  // namespace trivo

#include <filesystem>
#include <string>
#include <vector>

#include "core/platform/clock.h"
#include "core/platform/device_identity.h"
#include "core/util/json_fields.h"

namespace trivo {

// The placeholder a cloud drive leaves for a file it has not downloaded: "." + name + ".icloud"
// beside it.
std::filesystem::path placeholderFor(const std::filesystem::path& file);
// The real file a placeholder stands for; nothing when the name is no placeholder.
std::optional<std::filesystem::path> fileForPlaceholder(const std::filesystem::path& placeholder);

// What the store asks of the cloud: whether a page was written more recently on another device,
// whether a file is still only a placeholder, and what to tell other devices after a write. The
// default does nothing and knows nothing.
class CloudSignal {
 public:
  virtual ~CloudSignal() = default;
  // True when another device wrote the file after this device last saw it change.
  [[nodiscard]] virtual bool newerElsewhere(const std::filesystem::path& /*file*/) const {
    return false;
  }
  // True when the file is missing but its placeholder is there.
  [[nodiscard]] virtual bool isEvicted(const std::filesystem::path& file) const;
  virtual void requestDownload(const std::filesystem::path& /*file*/) {}
  // Called after every page write.
  virtual void touched(const std::filesystem::path& /*file*/) {}
};

// One device's note that it wrote some pages, as other devices read it.
struct Touched {
  std::string device;
  Instant stamp;
  std::vector<std::string> paths;  // relative to the vault root, "/"-separated
  bool operator==(const Touched&) const = default;
};

void to_json(Json& j, const Touched& t);
void from_json(const Json& j, Touched& t);

// The cloud signal for vaults synced by a file-sync tool: after each write this device leaves a
// `Touched` record under ".trivo/signal/touched/" (one file per device and page, so that every
// page keeps its own stamp); a save is held back when another device's record names the page
// with a stamp more than 10 seconds after the file's own modification time here, which means
// the other device's newer text has not arrived yet.
class FileCloudSignal final : public CloudSignal {
 public:
  FileCloudSignal(std::filesystem::path vaultRoot, DeviceIdentity device, const Clock& clock);
  [[nodiscard]] bool newerElsewhere(const std::filesystem::path& file) const override;
  void touched(const std::filesystem::path& file) override;
  [[nodiscard]] std::filesystem::path folder() const;

 private:
  std::filesystem::path root_;
  DeviceIdentity device_;
  const Clock& clock_;
};

}  // namespace trivo

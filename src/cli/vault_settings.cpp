// Lenient reading of the settings the commands need up front.
#include "cli/vault_settings.h"


#include "core/backup/backup_store.h"
#include "core/platform/device_identity.h"
#include "core/store/atomic_write.h"
#include "core/store/cloud_signal.h"
#include "core/store/serializer_codec.h"
#include "core/vault/vault_locator.h"
#include "core/util/json_fields.h"

namespace trivo::cli {

YearMode yearModeOf(const std::filesystem::path& root) {
  const auto read = Coordinated::readJson(root / ".trivo" / "config.json");
  if (!read || !read->is_object()) return YearMode::quarter;
  const Json& config = *read;
  auto it = config.find("yearMode");
  if (it == config.end() || !it->is_string()) return YearMode::quarter;
  return json::enumFromString<YearMode>(it->get<std::string>(), kYearModeNames)
      .value_or(YearMode::quarter);
}

std::filesystem::path commandVault(const Context& context) {
  std::filesystem::path root;
  try {
    root = locateVault(VaultSearch::fromProcess(context.vault));
  } catch (const VaultNotFound& e) {
    throw UserError(e.what());
  }
  // A mistyped --vault or TRIVO_VAULT must not quietly start a second vault with the capture
  // that was meant for the first, nor show an empty one as if it were the person's.
  std::error_code ec;
  if (!std::filesystem::is_directory(root, ec)) {
    throw UserError("There is no vault folder at " + root.string() +
                    "; create it with trivo init or name another with --vault.");
  }
  return root;
}

std::unique_ptr<VaultStore> openCommandStore(const std::filesystem::path& root,
                                             const Context& context, StoreWrites writes) {
  const Vault vault{root, detectVaultFormat(root), "en", std::nullopt};
  VaultStore::Options options;
  options.clock = &context.clock;
  options.codec = SerializerCodec::forVault(vault, yearModeOf(root));
  switch (writes) {
    case StoreWrites::never:
      options.readOnly = true;
      break;
    case StoreWrites::whenDone:
      options.debounced = false;
      options.undoable = false;
      break;
    case StoreWrites::atOnce:
      options.debounce = std::chrono::milliseconds(0);
      break;
  }
  if (writes != StoreWrites::never) {
    // Other devices syncing the vault leave a note when they write a page; a page written more
    // recently elsewhere is not overwritten before that text has arrived here.
    options.cloud =
        std::make_shared<FileCloudSignal>(root, DeviceIdentity::current(), context.clock);
    // Every page's text before a write by Trivo is kept in its file history.
    options.wrote = BackupStore::historyFor(VaultPaths(root, vault.format), context.clock);
  }
  return std::make_unique<VaultStore>(vault, options);
}

}  // namespace trivo::cli

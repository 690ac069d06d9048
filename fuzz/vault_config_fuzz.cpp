// Reads arbitrary bytes as a settings file. Whatever reads must survive writing and reading back,
// and merging the written record into the file it came from must not change what it says.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/config/config_store.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const trivo::Json disk = trivo::Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (disk.is_discarded() || !disk.is_object()) return 0;
  trivo::VaultConfig config;
  try {
    config = disk.get<trivo::VaultConfig>();
  } catch (const trivo::RecordError&) {
    return 0;
  }
  const trivo::Json mine = config;
  const std::string written = mine.dump();
  const auto again = trivo::Json::parse(written).get<trivo::VaultConfig>();
  if (!(again == config) || trivo::Json(again).dump() != written) std::abort();
  const trivo::Json merged =
      trivo::ConfigStore::merged(mine, mine, disk, trivo::ConfigStore::known(mine));
  if (!(merged.get<trivo::VaultConfig>() == config)) std::abort();
  return 0;
}

// Writing the known-vaults list; reading it is the vault locator's job.
#include "core/vault/known_vaults.h"

#include <algorithm>
#include <fstream>

#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"

namespace trivo {

void rememberDefaultVault(const std::filesystem::path& configDirectory,
                          const std::filesystem::path& root) {
  const auto file = configDirectory / "vaults.json";
  Json list = Json::object();
  if (std::ifstream in(file, std::ios::binary); in) {
    Json read = Json::parse(in, nullptr, /*allow_exceptions=*/false);
    if (read.is_object()) list = std::move(read);
  }
  const std::string path = root.string();
  list["default"] = path;
  Json& vaults = list["vaults"];
  if (!vaults.is_array()) vaults = Json::array();
  if (std::find(vaults.begin(), vaults.end(), Json(path)) == vaults.end()) vaults.push_back(path);
  AtomicWrite::write(list.dump(2) + "\n", file);
}

}  // namespace trivo

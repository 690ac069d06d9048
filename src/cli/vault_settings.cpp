// Lenient reading of the settings the commands need up front.
#include "cli/vault_settings.h"

#include <fstream>

#include "core/util/json_fields.h"

namespace trivo::cli {

YearMode yearModeOf(const std::filesystem::path& root) {
  std::ifstream in(root / ".trivo" / "config.json", std::ios::binary);
  if (!in) return YearMode::quarter;
  const Json config = Json::parse(in, nullptr, /*allow_exceptions=*/false);
  if (!config.is_object()) return YearMode::quarter;
  auto it = config.find("yearMode");
  if (it == config.end() || !it->is_string()) return YearMode::quarter;
  return json::enumFromString<YearMode>(it->get<std::string>(), kYearModeNames)
      .value_or(YearMode::quarter);
}

}  // namespace trivo::cli

// Lenient reading of the settings the commands need up front.
#include "cli/vault_settings.h"


#include "core/store/atomic_write.h"
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

}  // namespace trivo::cli

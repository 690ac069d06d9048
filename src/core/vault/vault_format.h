// The syntax of every page in a vault: Markdown (".md") or Org (".org").
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "core/util/json_fields.h"

namespace trivo {

enum class VaultFormat { markdown, org };

inline constexpr std::array<std::string_view, 2> kVaultFormatNames = {"markdown", "org"};

// "markdown" or "org".
inline std::string_view rawValue(VaultFormat f) {
  return kVaultFormatNames[static_cast<std::size_t>(f)];
}
// "md" or "org", without the dot.
inline std::string_view fileExtension(VaultFormat f) {
  return f == VaultFormat::markdown ? "md" : "org";
}
inline std::optional<VaultFormat> vaultFormatFromRaw(std::string_view raw) {
  return json::enumFromString<VaultFormat>(raw, kVaultFormatNames);
}

inline void to_json(Json& j, const VaultFormat& f) { j = json::enumName(f, kVaultFormatNames); }
inline void from_json(const Json& j, VaultFormat& f) {
  f = json::enumFromName<VaultFormat>(j, kVaultFormatNames, "VaultFormat");
}

}  // namespace trivo

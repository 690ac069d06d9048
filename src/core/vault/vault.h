// One vault as the app knows it: its folder, page format, language and active perspective.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/util/json_fields.h"
#include "core/vault/vault_format.h"

namespace trivo {

struct Vault {
  std::filesystem::path rootURL;
  VaultFormat format = VaultFormat::markdown;
  // Locale identifier of the vault's language, such as "en" or "de_CH".
  std::string locale = "en";
  // Name of the active perspective, as the user typed it.
  std::optional<std::string> perspective;

  static constexpr std::string_view perspectivesFolder = "_perspectives";
  // Where perspectives lived in an older layout.
  static constexpr std::string_view legacyPerspectivesFolder = "perspectives";

  // The folder name of a perspective: lower-cased letters and numbers, every run of other
  // characters one "-", none at either end; "perspective" when nothing is left. Letters and
  // numbers of every script count (the text is NFC-normalised first, and accents stay with
  // their letter), so "Café Ünter" becomes "café-ünter".
  static std::string slug(std::string_view name);
  // The folder that holds the pages: the root itself, or root/_perspectives/slug(perspective).
  static std::filesystem::path base(const std::filesystem::path& root,
                                    const std::optional<std::string>& perspective);
  [[nodiscard]] std::filesystem::path baseURL() const { return base(rootURL, perspective); }

  // Moves root/perspectives to root/_perspectives. When both exist the old folder's contents
  // are folded into the new one; a file that exists on both sides is never overwritten: the
  // incoming one is kept beside it as "NAME (2).EXT" (or the next free number). The old
  // folder is removed once empty. Returns the new paths of the files renamed that way.
  // Throws std::filesystem::filesystem_error when the file system refuses a move.
  static std::vector<std::filesystem::path> movePerspectivesFolder(
      const std::filesystem::path& root);

  bool operator==(const Vault&) const = default;
};

// "rootURL" is written as a plain path; a "file://" URL is also accepted when reading.
void to_json(Json& j, const Vault& v);
void from_json(const Json& j, Vault& v);

}  // namespace trivo

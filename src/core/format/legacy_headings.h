// Older section headings that pages written by earlier versions (or by hand) still use, plus the
// English headings, so a page keeps its sections when the vault's language changes. They are
// read as the section they name and written back under the current heading.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace trivo {

struct LegacyHeadings {
  // The older headings accepted for a section key; empty for a key without any.
  static std::span<const std::string_view> aliases(std::string_view key);
  // True when `heading` (ignoring ASCII case and surrounding white space) is one of them.
  static bool names(std::string_view key, std::string_view heading);
};

}  // namespace trivo

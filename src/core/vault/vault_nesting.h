// Whether a folder about to be opened as a vault lies inside a known vault or holds one.
#pragma once

#include <filesystem>
#include <optional>
#include <span>

namespace trivo {

struct VaultNesting {
  enum class Kind { inside, holds };

  Kind kind = Kind::inside;
  // The known vault concerned, as it was given to `check`.
  std::filesystem::path vault;

  // Compares real locations: both sides are made absolute and canonical (symbolic links and
  // "..", as far as the folders exist), and only whole path components count, so "/v" is not
  // inside "/vault". `inside(k)` when the candidate lies strictly within known vault k,
  // `holds(k)` when k lies strictly within the candidate; the first such k in `known` wins.
  // The same folder as a known vault is neither, and yields nothing.
  static std::optional<VaultNesting> check(const std::filesystem::path& candidate,
                                           std::span<const std::filesystem::path> known);

  bool operator==(const VaultNesting&) const = default;
};

}  // namespace trivo

// The nesting check between a candidate vault folder and the known ones.
#include "core/vault/vault_nesting.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace trivo {
namespace {

fs::path real(const fs::path& p) {
  std::error_code ec;
  fs::path r = fs::weakly_canonical(fs::absolute(p, ec), ec);
  if (ec) r = fs::absolute(p, ec).lexically_normal();
  if (!r.has_filename() && r.has_relative_path()) r = r.parent_path();
  return r;
}

// True when `inner` has every component of `outer` and at least one more.
bool strictlyWithin(const fs::path& inner, const fs::path& outer) {
  auto i = inner.begin();
  for (auto o = outer.begin(); o != outer.end(); ++o, ++i) {
    if (i == inner.end() || *i != *o) return false;
  }
  return i != inner.end();
}

}  // namespace

std::optional<VaultNesting> VaultNesting::check(const fs::path& candidate,
                                                std::span<const fs::path> known) {
  const fs::path c = real(candidate);
  for (const auto& k : known) {
    const fs::path kr = real(k);
    if (strictlyWithin(c, kr)) return VaultNesting{Kind::inside, k};
    if (strictlyWithin(kr, c)) return VaultNesting{Kind::holds, k};
  }
  return std::nullopt;
}

}  // namespace trivo

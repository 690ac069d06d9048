// FNV-1a over bytes: stable across runs, builds and machines, unlike std::hash, so it can name
// files and be kept in caches. Not for anything an adversary chooses to collide.
#pragma once

#include <cstdint>
#include <string_view>

namespace trivo {

inline std::uint64_t fnv1aHash(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  return hash;
}

}  // namespace trivo

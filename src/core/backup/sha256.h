// SHA-256 digests of page texts, the names of the backup's stored contents.
#pragma once

#include <string>
#include <string_view>

namespace trivo {

// The digest as 64 lower-case hex digits.
std::string sha256Hex(std::string_view bytes);

}  // namespace trivo

// Strict reading of integer fields. The JSON library converts any number to an integer, and
// converting a huge or fractional floating-point value is undefined behaviour, so records read
// from other processes take their integers through these helpers instead.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "core/util/json_fields.h"

namespace trivo::json {

// Reads a signed 64-bit integer; a missing key or null keeps the value (null clears an
// optional); a fraction, an out-of-range number or another type throws RecordError.
inline std::int64_t integerValue(const Json& j, const char* key) {
  if (j.is_number_integer()) {
    if (j.is_number_unsigned() &&
        j.get<std::uint64_t>() >
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      throw RecordError(std::string("\"") + key + "\" is out of range");
    }
    return j.get<std::int64_t>();
  }
  throw RecordError(std::string("\"") + key + "\" must be a whole number");
}

inline void takeInteger(const Json& j, const char* key, std::int64_t& value) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  value = integerValue(*it, key);
}

inline void takeInteger(const Json& j, const char* key, std::optional<std::int64_t>& value) {
  auto it = j.find(key);
  if (it == j.end()) return;
  if (it->is_null()) {
    value.reset();
    return;
  }
  value = integerValue(*it, key);
}

}  // namespace trivo::json

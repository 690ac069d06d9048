// Parsing JSON that comes from files other programs may write: never more deeply nested than any
// record of ours, because copying or merging a tree recurses once per level.
#pragma once

#include <string_view>

#include "core/util/json_fields.h"

namespace trivo {

inline constexpr int kMaxJsonDepth = 64;

// True when arrays and objects in the text nest deeper than `limit` (strings are skipped).
bool jsonNestsDeeperThan(std::string_view text, int limit = kMaxJsonDepth);

// The JSON value of a file's text, or a discarded value (is_discarded()) for text that is not
// JSON or nests deeper than kMaxJsonDepth. Never throws.
Json parseJsonFile(std::string_view text);

}  // namespace trivo

// A unified diff of two texts, line by line, as `diff -u` prints it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace trivo {

// "--- before" / "+++ after" and hunks "@@ -l,n +l,n @@" with `context` unchanged lines around
// each change; empty when the texts are equal. Very long texts (over a few thousand lines each)
// are shown as one hunk that replaces everything rather than searched for the least change.
std::string unifiedDiff(std::string_view before, std::string_view after,
                        std::string_view nameBefore, std::string_view nameAfter,
                        std::size_t context = 2);

}  // namespace trivo

// Percent-encoding of URL components: unreserved characters (letters, digits, "-", ".", "_",
// "~") stay as they are, every other byte becomes "%XX" with upper-case hex digits.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace trivo {

// Encodes every byte outside the unreserved set and `keep`.
std::string percentEncode(std::string_view text, std::string_view keep = {});
// Decodes "%XX" sequences; nothing when a "%" is not followed by two hex digits. A "+" is kept
// as a plus sign (only form bodies use it for a blank).
std::optional<std::string> percentDecode(std::string_view text);

}  // namespace trivo

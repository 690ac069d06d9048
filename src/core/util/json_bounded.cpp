// Depth-bounded parsing of JSON files.
#include "core/util/json_bounded.h"

namespace trivo {

bool jsonNestsDeeperThan(std::string_view text, int limit) {
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > limit) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return false;
}

Json parseJsonFile(std::string_view text) {
  if (jsonNestsDeeperThan(text)) return Json(Json::value_t::discarded);
  return Json::parse(text, nullptr, /*allow_exceptions=*/false);
}

}  // namespace trivo

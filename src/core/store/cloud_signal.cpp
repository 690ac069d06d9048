// Recognition of file-sync conflict copies.
#include "core/store/cloud_signal.h"

#include <string>

namespace trivo {

bool isConflictCopy(std::string_view fileName) {
  std::string lower(fileName);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (lower.find(".sync-conflict-") != std::string::npos) return true;
  for (std::size_t open = lower.find('('); open != std::string::npos;
       open = lower.find('(', open + 1)) {
    const std::size_t close = lower.find(')', open);
    if (close == std::string::npos) break;
    if (lower.substr(open, close - open).find("conflict") != std::string::npos) return true;
  }
  return false;
}

}  // namespace trivo

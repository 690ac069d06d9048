// Listing the day folder of a vault.
#include "core/today/day_page_index.h"

#include <filesystem>

namespace trivo {

std::optional<DayDate> FolderDayPageIndex::latestBefore(const DayDate& day) const {
  namespace fs = std::filesystem;
  std::optional<DayDate> latest;
  std::error_code ec;
  for (fs::directory_iterator it(paths_.base() / "days", ec), end; !ec && it != end;
       it.increment(ec)) {
    const auto key = paths_.key("days", it->path().filename().string());
    if (!key) continue;
    const DayDate found = *key->asDay();
    if (found < day && (!latest || *latest < found)) latest = found;
  }
  return latest;
}

}  // namespace trivo

// Reading a day named on the command line.
#include "cli/day_argument.h"

#include "cli/command.h"
#include "core/vault/page_address.h"

namespace trivo::cli {

DayDate parseDayArgument(const std::string& text, const DayDate& today) {
  // Only day pages are wanted here, so the year mode (which decides what "yo" means) is moot.
  if (auto target = parsePageAddress(text, today, YearMode::quarter)) {
    if (const EntryKey* key = target->asPage()) {
      if (auto day = key->asDay()) return *day;
    }
  }
  throw UserError("\"" + text +
                  "\" is not a day; write it as YYYY-MM-DD, today, yesterday, tomorrow or a "
                  "weekday name.");
}

}  // namespace trivo::cli

// Reading a day named on the command line.
#pragma once

#include <string>

#include "core/calendar/day_date.h"

namespace trivo::cli {

// "today", "yesterday", "tomorrow" or "YYYY-MM-DD"; throws UserError naming the text otherwise.
DayDate parseDayArgument(const std::string& text, const DayDate& today);

}  // namespace trivo::cli

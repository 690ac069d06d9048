// Reading a day named on the command line.
#include "cli/day_argument.h"

#include "cli/command.h"

namespace trivo::cli {

DayDate parseDayArgument(const std::string& text, const DayDate& today) {
  if (text == "today") return today;
  if (text == "yesterday") return today.adding(-1);
  if (text == "tomorrow") return today.adding(1);
  if (auto day = DayDate::parse(text)) return *day;
  throw UserError("\"" + text +
                  "\" is not a day; write it as YYYY-MM-DD, today, yesterday or tomorrow.");
}

}  // namespace trivo::cli

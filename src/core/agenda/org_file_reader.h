// Reading an Org file of the person's own for its agenda entries: headings with SCHEDULED and
// DEADLINE stamps on their planning line, repeaters included, with the TODO keywords the file
// declares for itself.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/agenda/agenda.h"
#include "core/calendar/day_date.h"

namespace trivo {

class OrgFileReader {
 public:
  // The TODO keywords in force in a file: words before "|" are open, words after it done, and a
  // sequence without "|" has only its last word done; fast-access keys ("WAIT(w@/!)") are
  // dropped. The file's own "#+TODO:", "#+SEQ_TODO:" and "#+TYP_TODO:" lines (each one a
  // sequence, all of them together) win; without them `fallback` is read the same way; when
  // that is empty too, Org's default "TODO | DONE".
  struct Keywords {
    std::vector<std::string> open;
    std::vector<std::string> done;
    bool operator==(const Keywords&) const = default;
  };
  static Keywords keywords(std::string_view text, std::string_view fallback = {});

  // The entries between `from` and `through` inclusive, in file order (then by day), as Org's
  // agenda shows them with done items skipped: a heading whose planning line (the line right
  // under it, indentation allowed, made of CLOSED:, DEADLINE: and SCHEDULED: stamps) has an
  // active stamp shows on that stamp's day and on each day its repeater ("+1w", ".+2d", "++1m")
  // reaches after it. Headings with a done keyword, commented headings ("* COMMENT …") and
  // trees tagged ARCHIVE are left out with everything under them for the last two. Each item
  // carries `file` and the heading's words without keyword, priority and tags. Accepts any
  // bytes; what it cannot read is passed over.
  static std::vector<AgendaItem> items(std::string_view text, const std::string& file,
                                       const DayDate& from, const DayDate& through,
                                       std::string_view fallbackKeywords = {});
};

}  // namespace trivo

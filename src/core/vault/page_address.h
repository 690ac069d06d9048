// The page addresses a person may type on the command line, resolved against a given today.
#pragma once

#include <optional>
#include <string_view>

#include "core/calendar/day_date.h"
#include "core/config/year_mode.h"
#include "core/vault/relative_page.h"

namespace trivo {

// Accepts, in this order of trial:
// - the page keys of links: "day:2026-09-16", "week:2026-W38", "month:2026-09",
//   "quarter:2026-Q3", "year:2026", "inbox", and the keys of views ("calendar", "draft:Ideas",
//   "friday:2026-W38", …), which resolve to the view named by the key's text;
// - the bare text forms "2026-09-16", "2026-W38", "2026-09", "2026-Q3" and "2026";
// - "today" and the relative page words ("yesterday", "wo", "lastfriday", …), in any ASCII
//   case, resolved against `today` and `yearMode`.
// Nothing for any other text.
std::optional<PageTarget> parsePageAddress(std::string_view text, const DayDate& today,
                                           YearMode yearMode);

}  // namespace trivo

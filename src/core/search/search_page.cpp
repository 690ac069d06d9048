// The periods of pages and the order of search results.
#include "core/search/search_page.h"

#include <algorithm>

#include "core/calendar/periods.h"

namespace trivo {

std::optional<std::pair<DayDate, DayDate>> periodDays(const EntryKey& page) {
  if (page.isInbox()) return std::nullopt;
  if (const DayDate* d = page.asDay()) return std::pair{*d, *d};
  if (const ISOWeek* w = page.asWeek()) return std::pair{w->monday(), w->sunday()};
  if (const YearMonth* m = page.asMonth()) return std::pair{m->firstDay(), m->lastDay()};
  if (const YearQuarter* q = page.asQuarter()) return std::pair{q->firstDay(), q->lastDay()};
  const std::int64_t y = *page.asYear();
  return std::pair{*DayDate::make(y, 1, 1), *DayDate::make(y, 12, 31)};
}

void SearchPage::add(std::size_t number, std::string_view line) {
  lines.push_back(Line{number, text.size(), line.size()});
  text.append(line);
}

std::optional<std::string_view> SearchPage::lineText(std::size_t number) const {
  const auto it = std::lower_bound(lines.begin(), lines.end(), number,
                                   [](const Line& line, std::size_t n) { return line.number < n; });
  if (it == lines.end() || it->number != number) return std::nullopt;
  return textOf(*it);
}

ShownPlace shownPlace(const std::optional<DayDate>& first, const std::optional<DayDate>& last,
                      bool page, bool pinned) {
  ShownPlace place;
  if (last && first) {
    place.last = -last->dayNumber();
    place.first = -first->dayNumber();
  } else {
    place.group = page ? 1 : 2;
  }
  place.unpinned = !pinned;
  return place;
}

bool shownBefore(const SearchPage& a, const SearchPage& b) {
  const ShownPlace placeA = shownPlace(a.first, a.last, a.page.has_value(), a.pinned);
  const ShownPlace placeB = shownPlace(b.first, b.last, b.page.has_value(), b.pinned);
  if (placeA != placeB) return placeA < placeB;
  return a.file < b.file;
}

}  // namespace trivo

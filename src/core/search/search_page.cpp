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

bool shownBefore(const SearchPage& a, const SearchPage& b) {
  auto rank = [](const SearchPage& p) {
    if (p.last) return 0;
    if (p.page) return 1;
    return 2;
  };
  if (rank(a) != rank(b)) return rank(a) < rank(b);
  if (a.last && b.last) {
    if (*a.last != *b.last) return *b.last < *a.last;
    if (*a.first != *b.first) return *b.first < *a.first;
  }
  if (a.pinned != b.pinned) return a.pinned;
  return a.file < b.file;
}

}  // namespace trivo

// Resolution of relative page words against a given today.
#include "core/vault/relative_page.h"

#include "core/calendar/periods.h"

namespace trivo {

std::optional<RelativePage> relativePageFromRaw(std::string_view raw) {
  return json::enumFromString<RelativePage>(raw, kRelativePageNames);
}

std::optional<RelativePage> relativePageFromPageKey(std::string_view key) {
  std::string lower(key);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return relativePageFromRaw(lower);
}

std::string pageKey(RelativePage page) { return std::string(rawValue(page)); }

PageTarget resolve(RelativePage page, const DayDate& today, YearMode yearMode) {
  switch (page) {
    case RelativePage::yesterday:
      return PageTarget::page(EntryKey::day(today.adding(-1)));
    case RelativePage::tomorrow:
      return PageTarget::page(EntryKey::day(today.adding(1)));
    case RelativePage::outcomes:
      return PageTarget::page(EntryKey::day(today));
    case RelativePage::monday:
    case RelativePage::tuesday:
    case RelativePage::wednesday:
    case RelativePage::thursday:
    case RelativePage::friday:
    case RelativePage::saturday:
    case RelativePage::sunday: {
      const auto offset = static_cast<int>(page) - static_cast<int>(RelativePage::monday);
      return PageTarget::page(EntryKey::day(today.isoWeek().day(weekdayAt(offset))));
    }
    case RelativePage::lastfriday: {
      // Days back to the previous Friday: 1 on a Saturday … 7 on a Friday.
      const auto back =
          detail::floorMod(weekdayIndex(today.weekday()) - weekdayIndex(Weekday::friday) - 1, 7) +
          1;
      return PageTarget::page(EntryKey::day(today.adding(-back)));
    }
    case RelativePage::wo:
    case RelativePage::weekoutcomes:
      return PageTarget::page(EntryKey::week(today.isoWeek()));
    case RelativePage::mo:
      return PageTarget::page(EntryKey::month(today.yearMonth()));
    case RelativePage::yo:
      if (yearMode == YearMode::quarter) {
        return PageTarget::page(EntryKey::quarter(today.yearQuarter()));
      }
      return PageTarget::page(EntryKey::year(today.year));
    case RelativePage::agenda:
    case RelativePage::whynot:
    case RelativePage::logit:
    case RelativePage::events:
    case RelativePage::capture:
    case RelativePage::hotspots:
      break;
  }
  return PageTarget::view(pageKey(page));
}

}  // namespace trivo

// Parsing of typed page addresses.
#include "core/vault/page_address.h"

#include "core/calendar/periods.h"
#include "core/vault/page_link.h"

namespace trivo {

std::optional<PageTarget> parsePageAddress(std::string_view text, const DayDate& today,
                                           YearMode yearMode) {
  if (auto key = PageKey::parse(text)) {
    if (key->kind == PageKey::Kind::period && key->period) return PageTarget::page(*key->period);
    return PageTarget::view(key->text());
  }
  if (auto d = DayDate::parse(text)) return PageTarget::page(EntryKey::day(*d));
  if (auto w = ISOWeek::parse(text)) return PageTarget::page(EntryKey::week(*w));
  if (auto m = YearMonth::parse(text)) return PageTarget::page(EntryKey::month(*m));
  if (auto q = YearQuarter::parse(text)) return PageTarget::page(EntryKey::quarter(*q));
  // A bare year is digits only: "-5" would read as an option and "+2026" as a typo.
  if (!text.empty() && text[0] >= '0' && text[0] <= '9') {
    if (auto y = parseYearText(text)) return PageTarget::page(EntryKey::year(*y));
  }
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (lower == "today") return PageTarget::page(EntryKey::day(today));
  if (auto relative = relativePageFromPageKey(lower)) {
    return resolve(*relative, today, yearMode);
  }
  return std::nullopt;
}

}  // namespace trivo

// Named pages relative to today ("yesterday", "wo", "lastfriday", …) that links and commands
// may use instead of a date, and the page or view each one opens.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/calendar/day_date.h"
#include "core/config/year_mode.h"
#include "core/vault/entry_key.h"

namespace trivo {

enum class RelativePage {
  yesterday,
  tomorrow,
  wo,
  mo,
  yo,
  monday,
  tuesday,
  wednesday,
  thursday,
  friday,
  saturday,
  sunday,
  outcomes,
  agenda,
  whynot,
  logit,
  events,
  capture,
  lastfriday,
  hotspots,
  weekoutcomes,
};

inline constexpr std::array<std::string_view, 21> kRelativePageNames = {
    "yesterday", "tomorrow", "wo",     "mo",       "yo",         "monday",   "tuesday",
    "wednesday", "thursday", "friday", "saturday", "sunday",     "outcomes", "agenda",
    "whynot",    "logit",    "events", "capture",  "lastfriday", "hotspots", "weekoutcomes"};

// Where a page word leads: a page of the vault (a period page or the inbox), or a view of the
// app that has no file of its own, named by a word ("agenda", "calendar", "draft:Ideas").
struct PageTarget {
  std::variant<EntryKey, std::string> value;

  static PageTarget page(const EntryKey& key) { return {key}; }
  static PageTarget view(std::string name) { return {std::move(name)}; }
  [[nodiscard]] const EntryKey* asPage() const { return std::get_if<EntryKey>(&value); }
  [[nodiscard]] const std::string* asView() const { return std::get_if<std::string>(&value); }

  bool operator==(const PageTarget&) const = default;
};

// The raw string is the case name.
inline std::string_view rawValue(RelativePage page) {
  return kRelativePageNames[static_cast<std::size_t>(page)];
}
// Exactly a case name; nothing for any other text.
std::optional<RelativePage> relativePageFromRaw(std::string_view raw);
// The word as typed in a link or on the command line: a case name in any mix of ASCII case.
std::optional<RelativePage> relativePageFromPageKey(std::string_view key);
// The word that links use for it (the case name).
std::string pageKey(RelativePage page);

// What the word opens on `today`:
// - yesterday, tomorrow: that day's page; outcomes: today's page (the day's three outcomes).
// - monday … sunday: that weekday of today's ISO week, before or after today.
// - lastfriday: the most recent Friday strictly before today (a week back on a Friday).
// - wo, weekoutcomes: the page of today's ISO week; mo: the page of today's month.
// - yo: the year's outcomes. In calendar year mode that is the year page; in quarter mode the
//   year is run as four quarter-long "years", so it is the current quarter's page.
// - agenda, whynot, logit, events, capture, hotspots: the view of that name.
PageTarget resolve(RelativePage page, const DayDate& today, YearMode yearMode);

}  // namespace trivo

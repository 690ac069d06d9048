// Page keys, the words that name a page or screen inside the app ("day:2026-09-16", "calendar",
// "draft:Ideas"), and the "trivo://open" links built from them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/vault/entry_key.h"

namespace trivo {

struct PageKey {
  enum class Kind {
    period,     // "day:2026-09-16", "week:2026-W38", "month:2026-09", "quarter:2026-Q3",
                // "year:2026", "inbox"
    draft,      // "draft:" + name
    calendar,   // "calendar"
    journal,    // "journal"
    drafts,     // "drafts"
    mindsweep,  // "mindsweep"
    map,        // "map:" + name
    friday,     // "friday:" + ISO week, the Friday review of that week: "friday:2026-W38"
    monthly,    // "monthly:" + month, that month's review: "monthly:2026-09"
    yearly,     // "yearly:" + year, that year's review: "yearly:2026"
  };

  Kind kind = Kind::calendar;
  // The period page; for friday, monthly and yearly the week, month or year reviewed.
  std::optional<EntryKey> period;
  // The draft's or map's name (any text, not empty).
  std::string name;

  static PageKey page(const EntryKey& key) { return {Kind::period, key, {}}; }
  static PageKey draft(std::string n) { return {Kind::draft, std::nullopt, std::move(n)}; }
  static PageKey map(std::string n) { return {Kind::map, std::nullopt, std::move(n)}; }
  static PageKey friday(const ISOWeek& w) { return {Kind::friday, EntryKey::week(w), {}}; }
  static PageKey monthly(const YearMonth& m) { return {Kind::monthly, EntryKey::month(m), {}}; }
  static PageKey yearly(std::int64_t y) { return {Kind::yearly, EntryKey::year(y), {}}; }
  // calendar, journal, drafts or mindsweep.
  static PageKey fixed(Kind k) { return {k, std::nullopt, {}}; }

  // The key's text, unencoded.
  [[nodiscard]] std::string text() const;
  // The inverse of `text`: exact lower-case words, a period's exact text form after its
  // prefix, a non-empty name after "draft:" and "map:". Nothing for anything else.
  static std::optional<PageKey> parse(std::string_view text);

  bool operator==(const PageKey&) const = default;
};

// The page key of a period page or the inbox: "day:2026-09-16", "year:2026", "inbox".
std::string pageKeyText(const EntryKey& key);

struct PageLink {
  // "trivo://open?page=" + key, and "&persp=" + the perspective's name when one is active.
  // Both values are percent-encoded: everything but letters, digits, "-", ".", "_", "~" and
  // the ":" of the key (which a query may carry as it is) becomes "%XX".
  static std::string urlFor(const PageKey& key,
                            const std::optional<std::string>& perspective = std::nullopt);
  static std::string urlFor(const EntryKey& key,
                            const std::optional<std::string>& perspective = std::nullopt) {
    return urlFor(PageKey::page(key), perspective);
  }
};

}  // namespace trivo

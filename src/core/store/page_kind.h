// What differs between the page kinds of a vault, in one place: the record a page reads into,
// the identity it is read for, its blank record and its serializer calls. Code that works on any
// page (the store's record operations, the codec's checks and rewrites) is written once over
// these traits; a new page kind is added here and nowhere else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "core/format/page_serializer.h"
#include "core/vault/entry_key.h"

namespace trivo {

// Keyed by the identity a page is read for, which is also the payload of its EntryKey.
template <typename Id>
struct PageKind;

template <>
struct PageKind<DayDate> {
  using Entry = DayEntry;
  static Entry blank(const DayDate& d) {
    Entry e;
    e.date = d;
    return e;
  }
  static Entry parse(const VaultSerializer& s, std::string_view text, const DayDate& d) {
    return s.parseDay(text, d);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderDay(e); }
};

template <>
struct PageKind<ISOWeek> {
  using Entry = WeekEntry;
  static Entry blank(const ISOWeek& w) {
    Entry e;
    e.week = w;
    e.targetFriday = w.friday();
    return e;
  }
  static Entry parse(const VaultSerializer& s, std::string_view text, const ISOWeek& w) {
    return s.parseWeek(text, w);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderWeek(e); }
};

template <>
struct PageKind<YearMonth> {
  using Entry = MonthEntry;
  static Entry blank(const YearMonth& m) {
    Entry e;
    e.month = m;
    return e;
  }
  static Entry parse(const VaultSerializer& s, std::string_view text, const YearMonth& m) {
    return s.parseMonth(text, m);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderMonth(e); }
};

template <>
struct PageKind<YearQuarter> {
  using Entry = QuarterEntry;
  static Entry blank(const YearQuarter& q) {
    Entry e;
    e.quarter = q;
    return e;
  }
  static Entry parse(const VaultSerializer& s, std::string_view text, const YearQuarter& q) {
    return s.parseQuarter(text, q);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderQuarter(e); }
};

template <>
struct PageKind<std::int64_t> {
  using Entry = YearEntry;
  static Entry blank(std::int64_t y) {
    Entry e;
    e.year = y;
    return e;
  }
  static Entry parse(const VaultSerializer& s, std::string_view text, std::int64_t y) {
    return s.parseYear(text, y);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderYear(e); }
};

// The inbox is one page and needs no identity.
template <>
struct PageKind<std::monostate> {
  using Entry = Inbox;
  static Entry blank(std::monostate) { return {}; }
  static Entry parse(const VaultSerializer& s, std::string_view text, std::monostate) {
    return s.parseInbox(text);
  }
  static std::string render(const VaultSerializer& s, const Entry& e) { return s.renderInbox(e); }
};

// The identity of a record's page, which picks its page kind: `PageKind<decltype(pageId(e))>`.
inline DayDate pageId(const DayEntry& e) { return e.date; }
inline ISOWeek pageId(const WeekEntry& e) { return e.week; }
inline YearMonth pageId(const MonthEntry& e) { return e.month; }
inline YearQuarter pageId(const QuarterEntry& e) { return e.quarter; }
inline std::int64_t pageId(const YearEntry& e) { return e.year; }
inline std::monostate pageId(const Inbox&) { return {}; }

template <typename Entry>
EntryKey pageKey(const Entry& e) {
  return EntryKey{EntryKey::Payload{pageId(e)}};
}

// The text of a record's page.
template <typename Entry>
std::string renderPage(const VaultSerializer& s, const Entry& e) {
  return PageKind<decltype(pageId(e))>::render(s, e);
}

// Calls `f(PageKind<Id>{}, id)` with the page kind and identity of `key`.
template <typename F>
decltype(auto) withPageKind(const EntryKey& key, F&& f) {
  return std::visit(
      [&f](const auto& id) -> decltype(auto) {
        return f(PageKind<std::decay_t<decltype(id)>>{}, id);
      },
      key.payload);
}

// The record of a page's text, or the kind's blank record when there is no text.
template <typename Id>
typename PageKind<Id>::Entry readPage(const VaultSerializer& s,
                                      const std::optional<std::string>& text, const Id& id) {
  return text ? PageKind<Id>::parse(s, *text, id) : PageKind<Id>::blank(id);
}

}  // namespace trivo

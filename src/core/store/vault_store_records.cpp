// The store's record operations: page texts through the serializer, both ways.
#include <stdexcept>

#include "core/format/page_serializer.h"
#include "core/format/serializer_error.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

// Each page kind's parse and render, so the operations below are written once.
template <typename Entry>
struct Page;

template <>
struct Page<DayEntry> {
  static EntryKey key(const DayEntry& e) { return EntryKey::day(e.date); }
  static DayEntry blank(const DayDate& d) {
    DayEntry e;
    e.date = d;
    return e;
  }
  static DayEntry parse(const VaultSerializer& s, std::string_view text, const DayDate& d) {
    return s.parseDay(text, d);
  }
  static std::string render(const VaultSerializer& s, const DayEntry& e) { return s.renderDay(e); }
};

template <>
struct Page<WeekEntry> {
  static EntryKey key(const WeekEntry& e) { return EntryKey::week(e.week); }
  static WeekEntry blank(const ISOWeek& w) {
    WeekEntry e;
    e.week = w;
    e.targetFriday = w.friday();
    return e;
  }
  static WeekEntry parse(const VaultSerializer& s, std::string_view text, const ISOWeek& w) {
    return s.parseWeek(text, w);
  }
  static std::string render(const VaultSerializer& s, const WeekEntry& e) {
    return s.renderWeek(e);
  }
};

template <>
struct Page<MonthEntry> {
  static EntryKey key(const MonthEntry& e) { return EntryKey::month(e.month); }
  static MonthEntry blank(const YearMonth& m) {
    MonthEntry e;
    e.month = m;
    return e;
  }
  static MonthEntry parse(const VaultSerializer& s, std::string_view text, const YearMonth& m) {
    return s.parseMonth(text, m);
  }
  static std::string render(const VaultSerializer& s, const MonthEntry& e) {
    return s.renderMonth(e);
  }
};

template <>
struct Page<QuarterEntry> {
  static EntryKey key(const QuarterEntry& e) { return EntryKey::quarter(e.quarter); }
  static QuarterEntry blank(const YearQuarter& q) {
    QuarterEntry e;
    e.quarter = q;
    return e;
  }
  static QuarterEntry parse(const VaultSerializer& s, std::string_view text, const YearQuarter& q) {
    return s.parseQuarter(text, q);
  }
  static std::string render(const VaultSerializer& s, const QuarterEntry& e) {
    return s.renderQuarter(e);
  }
};

template <>
struct Page<YearEntry> {
  static EntryKey key(const YearEntry& e) { return EntryKey::year(e.year); }
  static YearEntry blank(std::int64_t y) {
    YearEntry e;
    e.year = y;
    return e;
  }
  static YearEntry parse(const VaultSerializer& s, std::string_view text, std::int64_t y) {
    return s.parseYear(text, y);
  }
  static std::string render(const VaultSerializer& s, const YearEntry& e) {
    return s.renderYear(e);
  }
};

template <typename Entry, typename Id>
Entry fromText(const VaultSerializer& s, const std::optional<std::string>& text, const Id& id) {
  return text ? Page<Entry>::parse(s, *text, id) : Page<Entry>::blank(id);
}

}  // namespace

const VaultSerializer& VaultStore::serializer() const {
  const auto* s = codec_->serializer();
  if (s == nullptr) throw std::logic_error("This store reads pages as text only.");
  return *s;
}

DayEntry VaultStore::day(const DayDate& date) {
  return fromText<DayEntry>(serializer(), loadText(EntryKey::day(date)), date);
}
WeekEntry VaultStore::week(const ISOWeek& w) {
  return fromText<WeekEntry>(serializer(), loadText(EntryKey::week(w)), w);
}
MonthEntry VaultStore::month(const YearMonth& m) {
  return fromText<MonthEntry>(serializer(), loadText(EntryKey::month(m)), m);
}
QuarterEntry VaultStore::quarter(const YearQuarter& q) {
  return fromText<QuarterEntry>(serializer(), loadText(EntryKey::quarter(q)), q);
}
YearEntry VaultStore::year(std::int64_t y) {
  return fromText<YearEntry>(serializer(), loadText(EntryKey::year(y)), y);
}
Inbox VaultStore::inbox() {
  const auto text = loadText(EntryKey::inbox());
  return text ? serializer().parseInbox(*text) : Inbox{};
}

DayEntry VaultStore::peekDay(const DayDate& date) {
  return fromText<DayEntry>(serializer(), peekText(EntryKey::day(date)), date);
}
WeekEntry VaultStore::peekWeek(const ISOWeek& w) {
  return fromText<WeekEntry>(serializer(), peekText(EntryKey::week(w)), w);
}
MonthEntry VaultStore::peekMonth(const YearMonth& m) {
  return fromText<MonthEntry>(serializer(), peekText(EntryKey::month(m)), m);
}
QuarterEntry VaultStore::peekQuarter(const YearQuarter& q) {
  return fromText<QuarterEntry>(serializer(), peekText(EntryKey::quarter(q)), q);
}
YearEntry VaultStore::peekYear(std::int64_t y) {
  return fromText<YearEntry>(serializer(), peekText(EntryKey::year(y)), y);
}
Inbox VaultStore::peekInbox() {
  const auto text = peekText(EntryKey::inbox());
  return text ? serializer().parseInbox(*text) : Inbox{};
}

void VaultStore::save(const DayEntry& e, bool overwriting, bool emptying) {
  saveText(Page<DayEntry>::key(e), Page<DayEntry>::render(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const WeekEntry& e, bool overwriting, bool emptying) {
  saveText(Page<WeekEntry>::key(e), Page<WeekEntry>::render(serializer(), e), overwriting,
           emptying);
}
void VaultStore::save(const MonthEntry& e, bool overwriting, bool emptying) {
  saveText(Page<MonthEntry>::key(e), Page<MonthEntry>::render(serializer(), e), overwriting,
           emptying);
}
void VaultStore::save(const QuarterEntry& e, bool overwriting, bool emptying) {
  saveText(Page<QuarterEntry>::key(e), Page<QuarterEntry>::render(serializer(), e), overwriting,
           emptying);
}
void VaultStore::save(const YearEntry& e, bool overwriting, bool emptying) {
  saveText(Page<YearEntry>::key(e), Page<YearEntry>::render(serializer(), e), overwriting,
           emptying);
}
void VaultStore::save(const Inbox& inbox, bool overwriting) {
  saveText(EntryKey::inbox(), serializer().renderInbox(inbox), overwriting, false);
}

template <typename Record, typename Parse>
std::vector<Record> VaultStore::takeRefusedRecords(const EntryKey& key, Parse parse) {
  std::vector<Record> records;
  std::lock_guard lock(mu_);
  auto it = refused_.find(key);
  if (it == refused_.end()) return records;
  std::vector<std::string> kept;
  for (auto& text : it->second) {
    try {
      records.push_back(parse(text));
    } catch (const SerializerError&) {
      kept.push_back(std::move(text));
    }
  }
  if (kept.empty()) {
    refused_.erase(it);
  } else {
    it->second = std::move(kept);
  }
  return records;
}

std::vector<DayEntry> VaultStore::takeRefusedDays(const DayDate& date) {
  const auto& s = serializer();
  return takeRefusedRecords<DayEntry>(EntryKey::day(date),
                                      [&](const std::string& t) { return s.parseDay(t, date); });
}

std::vector<Inbox> VaultStore::takeRefusedInboxes() {
  const auto& s = serializer();
  return takeRefusedRecords<Inbox>(EntryKey::inbox(),
                                   [&](const std::string& t) { return s.parseInbox(t); });
}

}  // namespace trivo

// The store's record operations: page texts through the serializer, both ways.
#include <stdexcept>

#include "core/format/page_serializer.h"
#include "core/format/serializer_error.h"
#include "core/store/page_kind.h"
#include "core/store/vault_store.h"

namespace trivo {

const VaultSerializer& VaultStore::serializer() const {
  const auto* s = codec_->serializer();
  if (s == nullptr) throw std::logic_error("This store reads pages as text only.");
  return *s;
}

DayEntry VaultStore::day(const DayDate& date) {
  return readPage(serializer(), loadText(EntryKey::day(date)), date);
}
WeekEntry VaultStore::week(const ISOWeek& w) {
  return readPage(serializer(), loadText(EntryKey::week(w)), w);
}
MonthEntry VaultStore::month(const YearMonth& m) {
  return readPage(serializer(), loadText(EntryKey::month(m)), m);
}
QuarterEntry VaultStore::quarter(const YearQuarter& q) {
  return readPage(serializer(), loadText(EntryKey::quarter(q)), q);
}
YearEntry VaultStore::year(std::int64_t y) {
  return readPage(serializer(), loadText(EntryKey::year(y)), y);
}
Inbox VaultStore::inbox() {
  return readPage(serializer(), loadText(EntryKey::inbox()), std::monostate{});
}

DayEntry VaultStore::peekDay(const DayDate& date) {
  return readPage(serializer(), peekText(EntryKey::day(date)), date);
}
WeekEntry VaultStore::peekWeek(const ISOWeek& w) {
  return readPage(serializer(), peekText(EntryKey::week(w)), w);
}
MonthEntry VaultStore::peekMonth(const YearMonth& m) {
  return readPage(serializer(), peekText(EntryKey::month(m)), m);
}
QuarterEntry VaultStore::peekQuarter(const YearQuarter& q) {
  return readPage(serializer(), peekText(EntryKey::quarter(q)), q);
}
YearEntry VaultStore::peekYear(std::int64_t y) {
  return readPage(serializer(), peekText(EntryKey::year(y)), y);
}
Inbox VaultStore::peekInbox() {
  return readPage(serializer(), peekText(EntryKey::inbox()), std::monostate{});
}

void VaultStore::save(const DayEntry& e, bool overwriting, bool emptying) {
  saveText(pageKey(e), renderPage(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const WeekEntry& e, bool overwriting, bool emptying) {
  saveText(pageKey(e), renderPage(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const MonthEntry& e, bool overwriting, bool emptying) {
  saveText(pageKey(e), renderPage(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const QuarterEntry& e, bool overwriting, bool emptying) {
  saveText(pageKey(e), renderPage(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const YearEntry& e, bool overwriting, bool emptying) {
  saveText(pageKey(e), renderPage(serializer(), e), overwriting, emptying);
}
void VaultStore::save(const Inbox& inbox, bool overwriting) {
  saveText(pageKey(inbox), renderPage(serializer(), inbox), overwriting, false);
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

// A markdown vault in a real temporary folder, filled with pages of the outcome chain through
// the store and read back by a store opened afresh on the same folder.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo::testing {

inline Outcome outcome(std::string text, OutcomeState state = OutcomeState::planned,
                       std::optional<std::int64_t> serves = std::nullopt) {
  return Outcome::make(std::move(text), state, serves);
}

inline InboxItem pulled(std::string text, std::optional<std::int64_t> serves,
                        OutcomeState state = OutcomeState::planned) {
  InboxItem item = InboxItem::make(std::move(text));
  item.serves = serves;
  item.done = state == OutcomeState::done;
  item.blocked = state == OutcomeState::blocked;
  return item;
}

class ChainVault {
 public:
  ChainVault() { reopen(); }

  VaultStore& store() { return *store_; }
  const TempDir& dir() const { return dir_; }

  // Writes what was saved and opens a fresh store, so reads come from the files.
  VaultStore& reopen() {
    if (store_) store_->flush();
    store_.reset();
    VaultStore::Options options;
    options.debounce = std::chrono::hours(1);
    options.clock = &clock_;
    const Vault vault{dir_.path(), VaultFormat::markdown, "en", {}};
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    store_ = std::make_unique<VaultStore>(vault, options);
    return *store_;
  }

  void day(const DayDate& date, std::vector<Outcome> outcomes, std::vector<InboxItem> items = {}) {
    DayEntry entry;
    entry.date = date;
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(outcomes));
    entry.pulledItems = std::move(items);
    store_->save(entry);
  }
  void week(const ISOWeek& w, std::vector<Outcome> outcomes) {
    WeekEntry entry;
    entry.week = w;
    entry.targetFriday = w.friday();
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(outcomes));
    store_->save(entry);
  }
  void month(const YearMonth& m, std::vector<Outcome> outcomes) {
    MonthEntry entry;
    entry.month = m;
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(outcomes));
    store_->save(entry);
  }
  void quarter(const YearQuarter& q, std::vector<Outcome> outcomes) {
    QuarterEntry entry;
    entry.quarter = q;
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(outcomes));
    store_->save(entry);
  }
  void year(std::int64_t y, std::vector<Outcome> outcomes) {
    YearEntry entry;
    entry.year = y;
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(outcomes));
    store_->save(entry);
  }

 private:
  TempDir dir_;
  FakeClock clock_{Instant{} + std::chrono::hours(1000)};
  std::unique_ptr<VaultStore> store_;
};

}  // namespace trivo::testing

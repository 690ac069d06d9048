// The day a person is living: the three outcomes of every period page, the day's checklist, the
// inbox items pulled into the day, its journal, what is set aside for tomorrow, the focus minutes
// logged, and carry-over from the last day that has a page.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/platform/clock.h"
#include "core/records/day_entry.h"
#include "core/records/inbox_item.h"
#include "core/records/outcome.h"
#include "core/store/vault_store.h"
#include "core/today/day_page_index.h"
#include "core/today/today_error.h"
#include "core/util/json_fields.h"
#include "core/vault/entry_key.h"

namespace trivo {

class TodayModel {
 public:
  // One unfinished thing of an earlier day that may be carried into today.
  struct CarryOffer {
    enum class Kind { outcome, checklist, forTomorrow };
    Kind kind = Kind::checklist;
    DayDate from;
    std::size_t index = 0;  // position in its list on that day, from 0 (an outcome: slot − 1)
    std::string text;
    bool operator==(const CarryOffer&) const = default;
  };

  // The model works on `store` (which must read records) and reads "today" and "now" from
  // `clock`, so a pinned TRIVO_TODAY holds. Changes are queued in the store; commit() writes them.
  // Not thread-safe: one model per caller.
  TodayModel(VaultStore& store, const Clock& clock, std::shared_ptr<const DayPageIndex> pages);

  [[nodiscard]] DayDate today() const;
  [[nodiscard]] ClockTime now() const;

  // --- Reading. A page that does not read throws PageReadError naming it.
  DayEntry day(const DayDate& date);
  DayEntry page() { return day(today()); }
  // The outcomes of a day, week, month, quarter or year page (TodayError page for the inbox).
  OutcomeSet outcomes(const EntryKey& page);
  // The focused minutes logged on a day.
  std::int64_t focusMinutes(const DayDate& date);
  // A day has a plan once it has an outcome, a checklist item or a pulled item.
  static bool hasPlan(const DayEntry& day);

  // --- Outcomes of any period page; `slot` is 1–3. Each throws TodayError (slot, serves, page,
  // text) before changing anything.
  // Sets the outcome's words; an outcome that was already set keeps its state and comments.
  void setOutcome(const EntryKey& page, std::int64_t slot, const std::string& text);
  // Which outcome of the period above it serves (1–3), or none. A year has nothing above it.
  void setServes(const EntryKey& page, std::int64_t slot, std::optional<std::int64_t> serves);
  // Empties the slot: no words, planned, no comments and serving nothing.
  void clearOutcome(const EntryKey& page, std::int64_t slot);
  // Moves the outcome at `from` to `to`; the others keep their order.
  void moveOutcome(const EntryKey& page, std::int64_t from, std::int64_t to);
  // Ticks (done), unticks (planned) or blocks an outcome that is set (TodayError slot for a
  // blank one: there is nothing to tick).
  void setOutcomeState(const EntryKey& page, std::int64_t slot, OutcomeState state);

  // --- Today's lists; `number` counts from 1 as listings print it.
  void addChecklistItem(const std::string& text);
  // Ticks or unticks a checklist item; a tick writes the done stamp, an untick removes it.
  void setChecklistDone(std::size_t number, bool done);
  void addForTomorrow(const std::string& text);

  // --- Inbox items pulled into today, by id.
  // Moves the item from the inbox onto today's page, serving today's outcome `slot` (1–3) when
  // one is given. A repeating item stays in the inbox and today gets a one-off copy of it, due
  // today, with an id of its own. Throws TodayError item when the inbox holds no such item.
  InboxItem pull(const std::string& id, std::optional<std::int64_t> slot);
  // Ticks or unticks an item pulled into today, with the close stamp.
  void setPulledDone(const std::string& id, bool done);
  // Sends a pulled item back to the inbox, no longer pulled and serving nothing.
  InboxItem sendBack(const std::string& id);

  // --- Journal: an entry at `at` (now when not given), kept in time order; entries at the same
  // minute stay in the order they were written.
  JournalEntry addJournal(const std::string& text, std::optional<ClockTime> at = std::nullopt);

  // --- Carry-over.
  // The latest day before today that has a page; nothing when there is none.
  std::optional<DayDate> carrySource();
  // What that day left unfinished and has not been carried: outcomes still planned, checklist and
  // "for tomorrow" items neither done nor given a fate, less what today already holds.
  std::vector<CarryOffer> carryOffers();
  // The offers while today has no plan yet, else none.
  std::vector<CarryOffer> offersForToday();
  // Carries the offers numbered (from 1) as carryOffers() lists them; all when `numbers` is
  // empty. An outcome goes into today's first empty slot (serving the same outcome when today is
  // in the same week), else onto the checklist; the other items onto the checklist. On the old
  // day an item gets the fate `today` and an outcome a comment "carried to DAY", so the history
  // stays where it was written and nothing is offered twice. Throws TodayError item for a
  // number that is not offered. Returns what was carried.
  std::vector<CarryOffer> carry(const std::vector<std::size_t>& numbers);

  // --- Writing. Writes every change queued so far. Throws VaultError::changedOnDisk when a page
  // changed on disk since this model read it (that page is not written; the store keeps the
  // refused text) and FileError when a write fails.
  void commit();
  // Forgets every change not yet written.
  void discard();

 private:
  Inbox editInbox();
  // `emptying` lets a change that removes the last thing on a page write the blank page, which
  // the store otherwise refuses as a stray template over a full page.
  void save(const DayEntry& entry, bool emptying = false);
  void save(const Inbox& inbox);
  template <class Change>
  void editOutcomes(const EntryKey& page, Change change, bool emptying = false);
  // Sets an outcome's state; on an Org page its log says the day it was ticked.
  void changeState(Outcome& outcome, OutcomeState state) const;
  [[nodiscard]] std::string stamp() const;

  VaultStore& store_;
  const Clock& clock_;
  std::shared_ptr<const DayPageIndex> pages_;
  std::set<EntryKey> touched_;
};

std::string_view caseName(TodayModel::CarryOffer::Kind kind);
void to_json(Json& j, const TodayModel::CarryOffer& offer);

}  // namespace trivo

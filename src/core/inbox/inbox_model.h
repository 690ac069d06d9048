// The inbox as a person works with it: capturing lines with their scheduling read from the
// words, the lists an item shows up on, and ticking, hiding and deleting items by the short
// number that listings print.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/inbox/capture_phrase.h"
#include "core/inbox/inbox_error.h"
#include "core/platform/clock.h"
#include "core/records/inbox_item.h"
#include "core/util/json_fields.h"

namespace trivo {

class VaultStore;

// Works on the store's inbox record and never on page text, so an item always lands among the
// inbox's items wherever the person's own sections sit on the page.
//
// Item numbers: an item's number is its 1-based position among all the inbox's items (open and
// done) in page order. New items are appended, ticking keeps an item where it is, so a number
// stays the same until an item above it is deleted or the page is reordered by hand.
//
// Not thread-safe; the store it uses is. Errors: InboxError for what the person asked wrongly;
// whatever the store's inbox()/save() throw (PageReadError, SerializerError) passes through, and
// nothing is saved then. Writes are queued in the store: call VaultStore::flush() to write them.
class InboxModel {
 public:
  // The lists under the link words, then the two views by due day. An item is on exactly one
  // of the first five while it is open: someday, else waiting, else routine (it repeats), else
  // later (due after today, or hidden until a later day), else captured. `overdue` (due before
  // today) and `today` (due today, or a repeat that falls on today) cut across them; neither
  // holds someday items nor items hidden that day.
  enum class List { captured, later, someday, waiting, routine, overdue, today };
  static constexpr std::array<std::string_view, 7> kListNames = {
      "captured", "later", "someday", "waiting", "routine", "overdue", "today"};

  // The list of a name, in any letter case; nothing for another word.
  static std::optional<List> listNamed(std::string_view name);
  // Whether an item belongs to the list on `today`. Done items belong to none.
  static bool belongs(const InboxItem& item, List list, const DayDate& today);

  struct Entry {
    std::int64_t number = 0;  // as listings print it, from 1
    InboxItem item;
    bool operator==(const Entry&) const = default;
  };

  // `store` must outlive the model. Today is DayDate::today(clock) (TRIVO_TODAY respected); the
  // clock also gives the time of close stamps.
  InboxModel(VaultStore& store, const Clock& clock);
  InboxModel(VaultStore& store, const Clock& clock, const DayDate& today);

  [[nodiscard]] const DayDate& today() const { return today_; }

  // Keeps in `file` (a cache) where the next capture goes in the inbox page, so that a capture
  // into an inbox this program wrote last adds a line instead of writing every item again. A
  // page changed since in any way takes the long way. Off until called.
  void rememberAppendPoint(std::filesystem::path file) { appendPointFile_ = std::move(file); }

  // --- Reading (as the page reads now; nothing is recorded in the store).

  // Every item with its number, in page order.
  std::vector<Entry> items();
  // The items of a list: overdue and today's by due day and time, the others in page order.
  std::vector<Entry> list(List which);
  // The same, picked from entries already read with items() (to show several lists from one
  // reading of the page).
  static std::vector<Entry> select(std::vector<Entry> entries, List which, const DayDate& today);
  // The item with that number; nothing when there is none.
  std::optional<Entry> find(std::int64_t number);
  // The number of the item with that id; nothing when there is none.
  std::optional<std::int64_t> numberOf(std::string_view id);

  // --- Writing. Each reads the inbox for editing, changes one item and saves the record.

  // Reads the line's scheduling (CapturePhrase::read on today) and appends the item, captured
  // today. Throws InboxError::emptyText for a line of blanks and InboxError::pastDay for a due
  // day before today.
  Entry capture(std::string_view line);
  // Appends an item made from an already read phrase, with the same refusals.
  Entry capture(const CapturePhrase& phrase);
  // Ticks or unticks an item. Ticking a repeating item with a due day keeps it open: its due
  // day moves to the next date of its rule (counted from today) and today is added to its
  // `doneDates`; when the rule has no further date it is closed like any other item. Unticking
  // an open repeating item takes back its last tick: the last day of `doneDates` is removed and
  // becomes its due day again. Ticking a done item, or unticking an open one that has no tick
  // to take back, changes nothing. Throws InboxError::unknownItem.
  Entry setDone(std::int64_t number, bool done);
  // Hides an item until a day (it is listed again on that day); nothing shows it at once.
  // Throws InboxError::unknownItem, and InboxError::pastDay for a day before today.
  Entry hideUntil(std::int64_t number, std::optional<DayDate> day);
  // Deletes an item and returns it. Throws InboxError::unknownItem.
  InboxItem remove(std::int64_t number);
  // Writes back a changed item, found by its id; for callers that change other fields (pulling
  // an item into a day). Throws InboxError::unknownItem when no item has that id.
  Entry replace(const InboxItem& item);

 private:
  Inbox load();
  std::optional<Entry> captureByAdding(const InboxItem& item);
  Entry change(std::int64_t number, const std::function<void(InboxItem&)>& edit);

  VaultStore& store_;
  const Clock& clock_;
  DayDate today_;
  std::optional<std::filesystem::path> appendPointFile_;
};

void to_json(Json& j, const InboxModel::List& l);
void to_json(Json& j, const InboxModel::Entry& e);

}  // namespace trivo

// Capturing, listing, ticking, hiding and deleting inbox items through the store's inbox record.
#include "core/inbox/inbox_model.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "core/calendar/clock_time.h"
#include "core/format/page_serializer.h"
#include "core/inbox/inbox_append_point.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

std::int64_t numberAt(std::size_t index) { return static_cast<std::int64_t>(index) + 1; }

bool laterThanToday(const InboxItem& item, const DayDate& today) {
  return item.isAhead(today) || item.isHidden(today);
}

// Earlier due days first, then timed items before untimed ones of the same day; page order
// otherwise, since the sort is stable.
void sortByDue(std::vector<InboxModel::Entry>& entries) {
  std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
    if (a.item.due != b.item.due) return a.item.due < b.item.due;
    if (a.item.time.has_value() != b.item.time.has_value()) return a.item.time.has_value();
    return a.item.time < b.item.time;
  });
}

}  // namespace

std::optional<InboxModel::List> InboxModel::listNamed(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (std::size_t i = 0; i < kListNames.size(); ++i) {
    if (kListNames[i] == lower) return static_cast<List>(i);
  }
  return std::nullopt;
}

bool InboxModel::belongs(const InboxItem& item, List list, const DayDate& today) {
  if (item.done) return false;
  switch (list) {
    case List::someday:
      return item.someday;
    case List::waiting:
      return !item.someday && item.waiting;
    case List::routine:
      return !item.someday && !item.waiting && item.repeats.has_value();
    case List::later:
      return !item.someday && !item.waiting && !item.repeats && laterThanToday(item, today);
    case List::captured:
      return !item.someday && !item.waiting && !item.repeats && !laterThanToday(item, today);
    case List::overdue:
      return item.isListed(today) && item.due && *item.due < today;
    case List::today:
      return item.isListed(today) && item.due && (*item.due == today || item.isRoutine(today));
  }
  return false;
}

InboxModel::InboxModel(VaultStore& store, const Clock& clock)
    : InboxModel(store, clock, DayDate::today(clock)) {}

InboxModel::InboxModel(VaultStore& store, const Clock& clock, const DayDate& today)
    : store_(store), clock_(clock), today_(today) {}

std::vector<InboxModel::Entry> InboxModel::items() {
  Inbox inbox = store_.peekInbox();
  std::vector<Entry> entries;
  entries.reserve(inbox.items.size());
  for (std::size_t i = 0; i < inbox.items.size(); ++i) {
    entries.push_back({numberAt(i), std::move(inbox.items[i])});
  }
  return entries;
}

std::vector<InboxModel::Entry> InboxModel::list(List which) {
  return select(items(), which, today_);
}

std::vector<InboxModel::Entry> InboxModel::select(std::vector<Entry> entries, List which,
                                                  const DayDate& today) {
  std::erase_if(entries, [&](const Entry& e) { return !belongs(e.item, which, today); });
  if (which == List::overdue || which == List::today) sortByDue(entries);
  return entries;
}

std::optional<InboxModel::Entry> InboxModel::find(std::int64_t number) {
  Inbox inbox = store_.peekInbox();
  if (number < 1 || number > static_cast<std::int64_t>(inbox.items.size())) return std::nullopt;
  return Entry{number, std::move(inbox.items[static_cast<std::size_t>(number - 1)])};
}

std::optional<std::int64_t> InboxModel::numberOf(std::string_view id) {
  const Inbox inbox = store_.peekInbox();
  for (std::size_t i = 0; i < inbox.items.size(); ++i) {
    if (inbox.items[i].id == id) return numberAt(i);
  }
  return std::nullopt;
}

InboxModel::Entry InboxModel::capture(std::string_view line) {
  return capture(CapturePhrase::read(line, today_));
}

InboxModel::Entry InboxModel::capture(const CapturePhrase& phrase) {
  const std::string_view words = trimmedWhitespace(phrase.text);
  if (words.empty()) throw InboxError::emptyText();
  if (phrase.due && *phrase.due < today_) throw InboxError::pastDay(*phrase.due, today_);
  InboxItem item = InboxItem::make(std::string(words), today_);
  item.due = phrase.due;
  item.time = phrase.time;
  item.repeats = phrase.repeats;
  item.priority = phrase.priority;
  item.someday = phrase.someday;
  item.waiting = phrase.waiting;
  item.alerts = phrase.alerts;
  if (appendPointFile_) {
    if (auto entry = captureByAdding(item)) return *std::move(entry);
  }
  Inbox inbox = load();
  // After the last list item: where the page will hold it.
  const auto at = std::find_if(inbox.items.begin(), inbox.items.end(),
                               [](const InboxItem& i) { return i.orgHeading; });
  const auto index = static_cast<std::size_t>(at - inbox.items.begin());
  inbox.items.insert(at, item);
  store_.save(inbox);
  if (appendPointFile_) {
    const auto text = store_.peekText(EntryKey::inbox());
    const auto point =
        text ? InboxAppendPoint::after(*text, item.id, numberAt(index)) : std::nullopt;
    if (point) {
      point->save(*appendPointFile_);
    } else {
      InboxAppendPoint::forget(*appendPointFile_);
    }
  }
  return {numberAt(index), std::move(item)};
}

std::optional<InboxModel::Entry> InboxModel::captureByAdding(const InboxItem& item) {
  const auto point = InboxAppendPoint::load(*appendPointFile_);
  if (!point) return std::nullopt;
  const std::string line = store_.serializer().renderInboxListItem(item);
  if (!InboxAppendPoint::canAdd(line)) return std::nullopt;
  auto text = store_.loadText(EntryKey::inbox());
  if (!text || !point->fits(*text)) return std::nullopt;
  point->add(*text, line);
  const InboxAppendPoint next = point->next(*text, line);
  store_.saveText(EntryKey::inbox(), *std::move(text));
  next.save(*appendPointFile_);
  return Entry{next.number, item};
}

InboxModel::Entry InboxModel::setDone(std::int64_t number, bool done) {
  return change(number, [&](InboxItem& item) {
    if (done) {
      if (item.done) return;
      if (auto next = item.nextDue(today_)) {
        item.due = *next;
        item.doneDates.push_back(today_);
        return;
      }
      // The close day and time live in the item's own fields, which both syntaxes write on
      // the item's line; a "CLOSED:" line under a list item would be a second copy.
      item.done = true;
      item.closed = today_;
      item.closedTime = ClockTime::fromInstant(clock_.now(), clock_);
      return;
    }
    if (item.done) {
      item.setPulledDone(false, std::nullopt);
      item.closed.reset();
      item.closedTime.reset();
      return;
    }
    if (item.repeats && !item.doneDates.empty()) {
      item.due = item.doneDates.back();
      item.doneDates.pop_back();
    }
  });
}

InboxModel::Entry InboxModel::hideUntil(std::int64_t number, std::optional<DayDate> day) {
  if (day && *day < today_) throw InboxError::pastDay(*day, today_);
  return change(number, [&](InboxItem& item) { item.hiddenUntil = day; });
}

InboxItem InboxModel::remove(std::int64_t number) {
  Inbox inbox = load();
  if (number < 1 || number > static_cast<std::int64_t>(inbox.items.size())) {
    throw InboxError::unknownItem(number);
  }
  const auto at = inbox.items.begin() + static_cast<std::ptrdiff_t>(number - 1);
  InboxItem removed = std::move(*at);
  inbox.items.erase(at);
  store_.save(inbox);
  return removed;
}

InboxModel::Entry InboxModel::replace(const InboxItem& item) {
  Inbox inbox = load();
  for (std::size_t i = 0; i < inbox.items.size(); ++i) {
    if (inbox.items[i].id != item.id) continue;
    inbox.items[i] = item;
    store_.save(inbox);
    return {numberAt(i), item};
  }
  throw InboxError::unknownItem(0);
}

Inbox InboxModel::load() {
  // An Org page holds its list items before its heading items (a list line after a heading
  // would belong to that heading), so an item added to the record's end as a list item is read
  // back above the headings. Numbers follow the page as it will read, so that the number a
  // capture prints is the number `done` takes afterwards.
  Inbox inbox = store_.inbox();
  const auto listItem = [](const InboxItem& item) { return !item.orgHeading; };
  // The partition moves every item through a scratch buffer; a page read back is in order.
  if (!std::is_partitioned(inbox.items.begin(), inbox.items.end(), listItem)) {
    std::stable_partition(inbox.items.begin(), inbox.items.end(), listItem);
  }
  return inbox;
}

InboxModel::Entry InboxModel::change(std::int64_t number,
                                     const std::function<void(InboxItem&)>& edit) {
  Inbox inbox = load();
  if (number < 1 || number > static_cast<std::int64_t>(inbox.items.size())) {
    throw InboxError::unknownItem(number);
  }
  InboxItem& item = inbox.items[static_cast<std::size_t>(number - 1)];
  const InboxItem before = item;
  edit(item);
  // Saving an unchanged record would still queue a write, and with it a refusal when the page
  // changed on disk meanwhile; a no-op stays a no-op.
  if (item != before) store_.save(inbox);
  return {number, item};
}

void to_json(Json& j, const InboxModel::List& l) {
  j = std::string(InboxModel::kListNames[static_cast<std::size_t>(l)]);
}

void to_json(Json& j, const InboxModel::Entry& e) {
  j = Json::object();
  j["number"] = e.number;
  j["item"] = e.item;
}

}  // namespace trivo

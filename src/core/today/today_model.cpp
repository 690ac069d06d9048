// Planning the current day and the outcomes of every period page, on the store's records.
#include "core/today/today_model.h"

#include <algorithm>
#include <numeric>

#include "core/format/org_entry.h"
#include "core/format/serializer_error.h"
#include "core/format/text_syntax.h"

namespace trivo {
namespace {

std::string trimmedCopy(std::string_view text) { return std::string(trimmedWhitespace(text)); }

void checkSlot(std::int64_t slot) {
  if (slot < 1 || slot > 3) {
    throw TodayError(TodayError::Kind::slot, "There is no outcome " + std::to_string(slot) +
                                                 "; a period has outcomes 1, 2 and 3.");
  }
}

Outcome blankOutcome() { return Outcome::make(""); }

}  // namespace

TodayModel::TodayModel(VaultStore& store, const Clock& clock,
                       std::shared_ptr<const DayPageIndex> pages)
    : store_(store), clock_(clock), pages_(std::move(pages)) {}

DayDate TodayModel::today() const { return DayDate::today(clock_); }

ClockTime TodayModel::now() const { return ClockTime::fromInstant(clock_.now(), clock_); }

std::string TodayModel::stamp() const {
  // The day part follows "today" rather than the clock, so a pinned day stamps its own date.
  return today().isoString() + " " + now().description();
}

// Reads a record for editing. A page whose front matter does not read is reported as the store
// reports its other unreadable pages, naming the page, so callers have one error to handle.
template <class Read>
static auto readRecord(VaultStore& store, const EntryKey& key, Read read) {
  try {
    return read();
  } catch (const SerializerError& e) {
    throw PageReadError(key, store.readProblem(key).value_or(
                                 ReadProblem::of(ReadProblem::Kind::frontmatter, e.what())));
  }
}

DayEntry TodayModel::day(const DayDate& date) {
  return readRecord(store_, EntryKey::day(date), [&] { return store_.day(date); });
}

Inbox TodayModel::editInbox() {
  return readRecord(store_, EntryKey::inbox(), [&] { return store_.inbox(); });
}

void TodayModel::save(const DayEntry& entry, bool emptying) {
  store_.save(entry, /*overwritingExternalChanges=*/false, emptying);
  touched_.insert(EntryKey::day(entry.date));
}

void TodayModel::save(const Inbox& inbox) {
  store_.save(inbox);
  touched_.insert(EntryKey::inbox());
}

bool TodayModel::hasPlan(const DayEntry& day) {
  return !day.outcomes.isBlank() || !day.checklist.empty() || !day.pulledItems.empty();
}

std::int64_t TodayModel::focusMinutes(const DayDate& date) {
  const DayEntry entry = day(date);
  return std::accumulate(entry.sessions.begin(), entry.sessions.end(), std::int64_t{0},
                         [](std::int64_t sum, const FocusSession& s) { return sum + s.minutes; });
}

// --- Outcomes of any period page.

template <class Change>
void TodayModel::editOutcomes(const EntryKey& page, Change change, bool emptying) {
  auto apply = [&](auto entry) {
    std::vector<Outcome> list = OutcomeSet::normalize(entry.outcomes.outcomes);
    change(list);
    entry.outcomes.outcomes = OutcomeSet::normalize(std::move(list));
    store_.save(entry, /*overwritingExternalChanges=*/false, emptying);
    touched_.insert(page);
  };
  const auto read = [&](auto load) { return readRecord(store_, page, load); };
  if (const auto* d = page.asDay()) return apply(read([&] { return store_.day(*d); }));
  if (const auto* w = page.asWeek()) return apply(read([&] { return store_.week(*w); }));
  if (const auto* m = page.asMonth()) return apply(read([&] { return store_.month(*m); }));
  if (const auto* q = page.asQuarter()) return apply(read([&] { return store_.quarter(*q); }));
  if (const auto* y = page.asYear()) return apply(read([&] { return store_.year(*y); }));
  throw TodayError(TodayError::Kind::page,
                   "The inbox has no outcomes; name a day, week, month, "
                   "quarter or year page instead.");
}

OutcomeSet TodayModel::outcomes(const EntryKey& page) {
  const auto read = [&](auto load) { return readRecord(store_, page, load).outcomes; };
  if (const auto* d = page.asDay()) return read([&] { return store_.day(*d); });
  if (const auto* w = page.asWeek()) return read([&] { return store_.week(*w); });
  if (const auto* m = page.asMonth()) return read([&] { return store_.month(*m); });
  if (const auto* q = page.asQuarter()) return read([&] { return store_.quarter(*q); });
  if (const auto* y = page.asYear()) return read([&] { return store_.year(*y); });
  throw TodayError(TodayError::Kind::page,
                   "The inbox has no outcomes; name a day, week, month, "
                   "quarter or year page instead.");
}

void TodayModel::setOutcome(const EntryKey& page, std::int64_t slot, const std::string& text) {
  checkSlot(slot);
  std::string words = trimmedCopy(text);
  // An outcome is one line on the page; a line break would start a line of another meaning.
  std::replace(words.begin(), words.end(), '\n', ' ');
  std::replace(words.begin(), words.end(), '\r', ' ');
  if (words.empty()) {
    throw TodayError(TodayError::Kind::text,
                     "An outcome needs words; to empty a slot, clear it instead.");
  }
  editOutcomes(page, [&](std::vector<Outcome>& list) {
    list[static_cast<std::size_t>(slot - 1)].text = words;
  });
}

void TodayModel::setServes(const EntryKey& page, std::int64_t slot,
                           std::optional<std::int64_t> serves) {
  checkSlot(slot);
  if (serves && page.kind() == EntryKey::Kind::year) {
    throw TodayError(TodayError::Kind::serves,
                     "A year's outcomes serve nothing above them; leave out the served outcome.");
  }
  if (serves && (*serves < 1 || *serves > 3)) {
    throw TodayError(TodayError::Kind::serves,
                     "An outcome can serve outcome 1, 2 or 3 of the period above, not " +
                         std::to_string(*serves) + ".");
  }
  editOutcomes(page, [&](std::vector<Outcome>& list) {
    list[static_cast<std::size_t>(slot - 1)].serves = serves;
  });
}

void TodayModel::clearOutcome(const EntryKey& page, std::int64_t slot) {
  checkSlot(slot);
  editOutcomes(
      page,
      [&](std::vector<Outcome>& list) {
        Outcome& outcome = list[static_cast<std::size_t>(slot - 1)];
        // Lines of the person's own under the outcome (Org drawers, notes) stay where they were;
        // the note of its tick goes with the tick.
        changeState(outcome, OutcomeState::planned);
        std::vector<std::string> kept = std::move(outcome.trailingLines);
        outcome = blankOutcome();
        outcome.trailingLines = std::move(kept);
      },
      /*emptying=*/true);
}

void TodayModel::moveOutcome(const EntryKey& page, std::int64_t from, std::int64_t to) {
  checkSlot(from);
  checkSlot(to);
  editOutcomes(page, [&](std::vector<Outcome>& list) {
    Outcome moving = std::move(list[static_cast<std::size_t>(from - 1)]);
    list.erase(list.begin() + (from - 1));
    list.insert(list.begin() + (to - 1), std::move(moving));
  });
}

void TodayModel::setOutcomeState(const EntryKey& page, std::int64_t slot, OutcomeState state) {
  checkSlot(slot);
  if (outcomes(page).outcomes[static_cast<std::size_t>(slot - 1)].isBlank()) {
    throw TodayError(TodayError::Kind::slot, "Outcome " + std::to_string(slot) + " of " +
                                                 page.description() +
                                                 " is not set, so there is nothing to tick.");
  }
  editOutcomes(page, [&](std::vector<Outcome>& list) {
    changeState(list[static_cast<std::size_t>(slot - 1)], state);
  });
}

void TodayModel::changeState(Outcome& outcome, OutcomeState state) const {
  const bool wasDone = outcome.state == OutcomeState::done;
  outcome.state = state;
  // An Org page logs the day an outcome was ticked, as Org does; without a note of its own the
  // page would date it by its period (the last day of a week, month or quarter). A note that says
  // the page's own day is the one the page writes anyway, and is read back as such.
  const bool org = store_.paths().fileExtension() == fileExtension(VaultFormat::org);
  if (!org || wasDone == (state == OutcomeState::done)) return;
  outcome.trailingLines = wasDone
                              ? OrgEntry::unticked(std::move(outcome.trailingLines))
                              : OrgEntry::ticked(std::move(outcome.trailingLines),
                                                 TextSyntax::orgDoneLine(today(), std::nullopt));
}

// --- Today's lists.

namespace {

std::string oneLine(const std::string& text, const char* what) {
  std::string words = trimmedCopy(text);
  std::replace(words.begin(), words.end(), '\n', ' ');
  std::replace(words.begin(), words.end(), '\r', ' ');
  if (words.empty()) throw TodayError(TodayError::Kind::text, std::string(what) + " needs words.");
  return words;
}

}  // namespace

void TodayModel::addChecklistItem(const std::string& text) {
  const std::string words = oneLine(text, "A checklist item");
  DayEntry entry = page();
  entry.checklist.push_back(CarryItem{words, false, {}, std::nullopt, std::nullopt, {}});
  save(entry);
}

void TodayModel::setChecklistDone(std::size_t number, bool done) {
  DayEntry entry = page();
  if (number < 1 || number > entry.checklist.size()) {
    throw TodayError(TodayError::Kind::slot, "Today's checklist has no item " +
                                                 std::to_string(number) + "; it has " +
                                                 std::to_string(entry.checklist.size()) + ".");
  }
  CarryItem& item = entry.checklist[number - 1];
  if (item.done == done) return;  // a second tick keeps the first stamp
  item.done = done;
  item.closedAt = done ? std::optional<std::string>(stamp()) : std::nullopt;
  if (done) item.fate = CarryItem::Fate::done;
  if (!done && item.fate == CarryItem::Fate::done) item.fate.reset();
  save(entry);
}

void TodayModel::addForTomorrow(const std::string& text) {
  const std::string words = oneLine(text, "An item for tomorrow");
  DayEntry entry = page();
  entry.forTomorrow.push_back(CarryItem{words, false, {}, std::nullopt, std::nullopt, {}});
  save(entry);
}

// --- Pulled inbox items.

namespace {

TodayError noSuchItem(const std::string& id, const std::string& where) {
  return TodayError(TodayError::Kind::item, "No item " + id + " is " + where + ".");
}

}  // namespace

InboxItem TodayModel::pull(const std::string& id, std::optional<std::int64_t> slot) {
  if (slot && (*slot < 1 || *slot > 3)) {
    throw TodayError(
        TodayError::Kind::serves,
        "A pulled item can serve today's outcome 1, 2 or 3, not " + std::to_string(*slot) + ".");
  }
  Inbox inbox = editInbox();
  auto it = std::find_if(inbox.items.begin(), inbox.items.end(),
                         [&](const InboxItem& item) { return item.id == id; });
  if (it == inbox.items.end()) throw noSuchItem(id, "in the inbox");
  DayEntry entry = page();
  InboxItem item = *it;
  item.pulledInto = today();
  item.serves = slot;
  if (item.repeats) {
    // A routine keeps recurring from the inbox; today gets this one occurrence of it.
    item.id = InboxItem::newId();
    item.repeats.reset();
    item.doneDates.clear();
    item.due = today();
  } else {
    inbox.items.erase(it);
  }
  entry.pulledItems.push_back(item);
  save(inbox);
  save(entry);
  return item;
}

void TodayModel::setPulledDone(const std::string& id, bool done) {
  DayEntry entry = page();
  auto it = std::find_if(entry.pulledItems.begin(), entry.pulledItems.end(),
                         [&](const InboxItem& item) { return item.id == id; });
  if (it == entry.pulledItems.end()) throw noSuchItem(id, "pulled into today");
  if (it->done == done) return;
  // On a day page the close stamp lives in the item's own fields, written in its annotation; a
  // "CLOSED:" line under it as well would be a second copy of the stamp.
  it->setPulledDone(done, std::nullopt);
  it->closed = done ? std::optional<DayDate>(today()) : std::nullopt;
  it->closedTime = done ? std::optional<ClockTime>(now()) : std::nullopt;
  save(entry);
}

InboxItem TodayModel::sendBack(const std::string& id) {
  DayEntry entry = page();
  auto it = std::find_if(entry.pulledItems.begin(), entry.pulledItems.end(),
                         [&](const InboxItem& item) { return item.id == id; });
  if (it == entry.pulledItems.end()) throw noSuchItem(id, "pulled into today");
  Inbox inbox = editInbox();
  InboxItem item = *it;
  item.pulledInto.reset();
  item.serves.reset();
  entry.pulledItems.erase(it);
  inbox.items.push_back(item);
  save(entry, /*emptying=*/true);
  save(inbox);
  return item;
}

// --- Journal.

JournalEntry TodayModel::addJournal(const std::string& text, std::optional<ClockTime> at) {
  std::string words = trimmedCopy(text);
  if (words.empty()) throw TodayError(TodayError::Kind::text, "A journal entry needs words.");
  const JournalEntry added{at.value_or(now()), std::move(words)};
  DayEntry entry = page();
  const auto after = std::upper_bound(
      entry.journal.begin(), entry.journal.end(), added,
      [](const auto& a, const auto& b) { return a.time.minutesOfDay() < b.time.minutesOfDay(); });
  entry.journal.insert(after, added);
  save(entry);
  return added;
}

// --- Writing.

void TodayModel::commit() { store_.flush(); }

void TodayModel::discard() {
  for (const EntryKey& key : touched_) store_.discardPending(key);
  touched_.clear();
}

std::string_view caseName(TodayModel::CarryOffer::Kind kind) {
  static constexpr std::array<std::string_view, 3> names = {"outcome", "checklist", "forTomorrow"};
  return names[static_cast<std::size_t>(kind)];
}

void to_json(Json& j, const TodayModel::CarryOffer& offer) {
  j = Json::object();
  j["kind"] = std::string(caseName(offer.kind));
  json::put(j, "from", offer.from);
  json::put(j, "index", offer.index);
  json::put(j, "text", offer.text);
}

}  // namespace trivo

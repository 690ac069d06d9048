// Counting what serves each outcome of a period, read page by page through the store.
#include "core/planning/serves_progress.h"

#include <algorithm>
#include <optional>

#include "core/records/day_entry.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

constexpr std::int64_t kMaxDots = 10;

// The served position when it names one of the three outcomes above; anything else (none, 0,
// 4, negative) serves nothing.
std::optional<std::int64_t> servedPosition(const std::optional<std::int64_t>& serves) {
  if (serves && *serves >= 1 && *serves <= 3) return serves;
  return std::nullopt;
}

ServesProgress::Set emptySet() {
  ServesProgress::Set set;
  for (std::int64_t p = 1; p <= 3; ++p) {
    set.slots[p] = {};
    set.children[p] = {};
  }
  return set;
}

void count(ServesProgress::Stat& stat, OutcomeState state) {
  ++stat.total;
  if (state == OutcomeState::done) ++stat.done;
  if (state == OutcomeState::blocked) ++stat.blocked;
}

// Gathers the outcomes of one page of the level below. Blank outcomes are empty slots, not
// items, so they count nowhere; non-blank ones that serve no existing position are unlinked.
void gatherOutcomes(ServesProgress::Set& set, const EntryKey& from, const OutcomeSet& outcomes) {
  for (std::size_t i = 0; i < outcomes.outcomes.size(); ++i) {
    const Outcome& outcome = outcomes.outcomes[i];
    if (outcome.isBlank()) continue;
    const auto p = servedPosition(outcome.serves);
    if (!p) {
      ++set.unlinked;
      continue;
    }
    count(set.slots[*p], outcome.state);
    ServesProgress::Child child;
    child.text = outcome.text;
    child.state = outcome.state;
    child.from = from;
    child.slot = static_cast<std::int64_t>(i) + 1;
    child.comments = outcome.comments;
    set.children[*p].push_back(std::move(child));
  }
}

// Gathers a day's pulled inbox items. Checklist items are the day's own housekeeping and carry
// no link upward, so only pulled items count beside the outcomes.
void gatherPulled(ServesProgress::Set& set, const DayEntry& day) {
  const EntryKey from = EntryKey::day(day.date);
  for (std::size_t i = 0; i < day.pulledItems.size(); ++i) {
    const InboxItem& item = day.pulledItems[i];
    if (trimmedWhitespace(item.text).empty()) continue;
    const auto p = servedPosition(item.serves);
    if (!p) {
      ++set.unlinked;
      continue;
    }
    count(set.slots[*p], item.state());
    ServesProgress::Sub sub;
    sub.text = item.text;
    sub.done = item.done;
    sub.index = static_cast<std::int64_t>(i);
    sub.comments = item.comments;
    sub.steps = item.subtasks;
    // The task sits with the first outcome of its day that serves the same position, else with
    // a stand-in for the day itself.
    auto& children = set.children[*p];
    auto holder = std::find_if(children.begin(), children.end(),
                               [&](const ServesProgress::Child& c) { return c.from == from; });
    if (holder == children.end()) {
      ServesProgress::Child standIn;
      standIn.from = from;
      children.push_back(std::move(standIn));
      holder = std::prev(children.end());
    }
    holder->tasks.push_back(std::move(sub));
  }
}

std::string repeated(std::string_view glyph, std::int64_t times) {
  std::string out;
  for (std::int64_t i = 0; i < times; ++i) out += glyph;
  return out;
}

}  // namespace

std::string ServesProgress::Stat::dots(OutcomeState state) const {
  if (total <= 0) {
    if (state == OutcomeState::done) return "●";
    if (state == OutcomeState::blocked) return "⊘";
    return "";
  }
  std::int64_t shownDone = std::clamp<std::int64_t>(done, 0, total);
  std::int64_t shownBlocked = std::clamp<std::int64_t>(blocked, 0, total - shownDone);
  std::int64_t shown = total;
  if (total > kMaxDots) {
    // Scale down, but never hide that something is done or blocked.
    const auto scale = [&](std::int64_t n) {
      if (n == 0) return std::int64_t{0};
      const long double share = static_cast<long double>(n) * static_cast<long double>(kMaxDots) /
                                static_cast<long double>(total);
      return std::max<std::int64_t>(1, static_cast<std::int64_t>(share));
    };
    shownDone = std::min(scale(shownDone), kMaxDots);
    shownBlocked = std::min(scale(shownBlocked), kMaxDots - shownDone);
    shown = kMaxDots;
  }
  return repeated("●", shownDone) + repeated("⊘", shownBlocked) +
         repeated("○", shown - shownDone - shownBlocked);
}

std::vector<ISOWeek> ServesProgress::weeksOf(const YearMonth& month) {
  std::vector<ISOWeek> weeks;
  const DayDate last = month.lastDay();
  for (ISOWeek w = month.firstDay().isoWeek(); w.monday() <= last; w = w.next()) {
    if (w.owningMonth() == month) weeks.push_back(w);
  }
  return weeks;
}

std::vector<YearMonth> ServesProgress::monthsOf(const YearQuarter& quarter) {
  std::vector<YearMonth> months;
  for (YearMonth m = quarter.firstDay().yearMonth(); m.quarter() == quarter; m = m.next()) {
    months.push_back(m);
  }
  return months;
}

ServesProgress::Set ServesProgress::forWeek(const ISOWeek& week) const {
  Set set = emptySet();
  const DayDate monday = week.monday();
  for (std::int64_t i = 0; i < 7; ++i) {
    const DayEntry day = store_.peekDay(monday.adding(i));
    gatherOutcomes(set, EntryKey::day(day.date), day.outcomes);
    gatherPulled(set, day);
  }
  return set;
}

ServesProgress::Set ServesProgress::forMonth(const YearMonth& month) const {
  Set set = emptySet();
  for (const ISOWeek& w : weeksOf(month)) {
    gatherOutcomes(set, EntryKey::week(w), store_.peekWeek(w).outcomes);
  }
  return set;
}

ServesProgress::Set ServesProgress::forQuarter(const YearQuarter& quarter) const {
  Set set = emptySet();
  for (const YearMonth& m : monthsOf(quarter)) {
    gatherOutcomes(set, EntryKey::month(m), store_.peekMonth(m).outcomes);
  }
  return set;
}

ServesProgress::Set ServesProgress::forYear(std::int64_t year) const {
  Set set = emptySet();
  for (std::int64_t q = 1; q <= 4; ++q) {
    const YearQuarter quarter{year, q};
    gatherOutcomes(set, EntryKey::quarter(quarter), store_.peekQuarter(quarter).outcomes);
  }
  return set;
}

namespace {

// Applies an edit to the outcome at a 1-based slot of a set; false for a slot outside it.
bool editSlot(OutcomeSet& set, std::int64_t slot, const std::function<void(Outcome&)>& edit) {
  if (slot < 1 || slot > static_cast<std::int64_t>(set.outcomes.size())) return false;
  edit(set.outcomes[static_cast<std::size_t>(slot - 1)]);
  return true;
}

template <class Entry>
bool editAndSave(VaultStore& store, Entry entry, std::int64_t slot,
                 const std::function<void(Outcome&)>& edit) {
  if (!editSlot(entry.outcomes, slot, edit)) return false;
  store.save(entry);
  return true;
}

}  // namespace

bool ServesProgress::editOutcome(const EntryKey& page, std::int64_t slot,
                                 const std::function<void(Outcome&)>& edit) const {
  if (slot < 1 || slot > 3) return false;
  // Loaded for editing, so the store knows the text this edit started from and refuses the save
  // if the page changes on disk meanwhile.
  if (const auto* d = page.asDay()) return editAndSave(store_, store_.day(*d), slot, edit);
  if (const auto* w = page.asWeek()) return editAndSave(store_, store_.week(*w), slot, edit);
  if (const auto* m = page.asMonth()) return editAndSave(store_, store_.month(*m), slot, edit);
  if (const auto* q = page.asQuarter()) {
    return editAndSave(store_, store_.quarter(*q), slot, edit);
  }
  if (const auto* y = page.asYear()) return editAndSave(store_, store_.year(*y), slot, edit);
  return false;
}

// --- JSON: the position maps are objects keyed "1", "2", "3".

namespace {

template <class T>
Json positionMap(const std::map<std::int64_t, T>& map) {
  Json j = Json::object();
  for (const auto& [p, value] : map) j[std::to_string(p)] = value;
  return j;
}

template <class T>
void readPositionMap(const Json& j, const char* key, std::map<std::int64_t, T>& map) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  if (!it->is_object()) throw RecordError(std::string("\"") + key + "\" must be an object");
  map.clear();
  for (const auto& [name, value] : it->items()) {
    const auto p = detail::parseInteger(name);
    if (!p) throw RecordError(std::string("\"") + key + "\" has a key that is not a number");
    map[*p] = json::as<T>(value, key);
  }
}

}  // namespace

void to_json(Json& j, const ServesProgress::Stat& s) {
  j = Json::object();
  json::put(j, "total", s.total);
  json::put(j, "done", s.done);
  json::put(j, "blocked", s.blocked);
}
void from_json(const Json& j, ServesProgress::Stat& s) {
  json::requireObject(j, "ServesProgress.Stat");
  json::take(j, "total", s.total);
  json::take(j, "done", s.done);
  json::take(j, "blocked", s.blocked);
}

void to_json(Json& j, const ServesProgress::Sub& s) {
  j = Json::object();
  json::put(j, "text", s.text);
  json::put(j, "done", s.done);
  json::put(j, "index", s.index);
  json::put(j, "comments", s.comments);
  json::put(j, "steps", s.steps);
}
void from_json(const Json& j, ServesProgress::Sub& s) {
  json::requireObject(j, "ServesProgress.Sub");
  json::take(j, "text", s.text);
  json::take(j, "done", s.done);
  json::take(j, "index", s.index);
  json::take(j, "comments", s.comments);
  json::take(j, "steps", s.steps);
}

void to_json(Json& j, const ServesProgress::Child& c) {
  j = Json::object();
  json::put(j, "text", c.text);
  json::put(j, "state", c.state);
  json::put(j, "from", c.from);
  json::put(j, "slot", c.slot);
  json::put(j, "comments", c.comments);
  json::put(j, "tasks", c.tasks);
}
void from_json(const Json& j, ServesProgress::Child& c) {
  json::requireObject(j, "ServesProgress.Child");
  json::take(j, "text", c.text);
  json::take(j, "state", c.state);
  json::take(j, "from", c.from);
  json::take(j, "slot", c.slot);
  json::take(j, "comments", c.comments);
  json::take(j, "tasks", c.tasks);
}

void to_json(Json& j, const ServesProgress::Set& s) {
  j = Json::object();
  j["slots"] = positionMap(s.slots);
  json::put(j, "unlinked", s.unlinked);
  j["children"] = positionMap(s.children);
}
void from_json(const Json& j, ServesProgress::Set& s) {
  json::requireObject(j, "ServesProgress.Set");
  readPositionMap(j, "slots", s.slots);
  json::take(j, "unlinked", s.unlinked);
  readPositionMap(j, "children", s.children);
}

}  // namespace trivo

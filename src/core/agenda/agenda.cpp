// Gathering the agenda of a run of days from the inbox, the period pages' outcomes and the Org
// planning lines on those pages.
#include "core/agenda/agenda.h"

#include <algorithm>
#include <set>

#include "core/agenda/org_file_reader.h"
#include "core/agenda/org_files.h"
#include "core/calendar/periods.h"
#include "core/format/text_util.h"
#include "core/records/repeat.h"
#include "core/store/text_cache.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

// An Org time stamp's day, start time and repeater: "<2026-09-11 Fri 10:00-11:00 +1w>".
struct Stamp {
  DayDate day;
  std::optional<ClockTime> time;
  std::optional<Repeat> repeats;
};

std::optional<Stamp> readStamp(std::string_view inner) {
  std::vector<std::string_view> parts;
  while (!inner.empty()) {
    inner = text::trimStart(inner);
    const std::size_t end = std::min(inner.find(' '), inner.size());
    if (end > 0) parts.push_back(inner.substr(0, end));
    inner = inner.substr(end);
  }
  if (parts.empty()) return std::nullopt;
  auto day = DayDate::parse(parts[0]);
  if (!day) return std::nullopt;
  Stamp stamp{*day, std::nullopt, std::nullopt};
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const std::string_view part = parts[i];
    if (part.find(':') != std::string_view::npos && !stamp.time) {
      stamp.time = ClockTime::parse(part.substr(0, part.find('-')));
    } else if (part.starts_with('+') || part.starts_with(".+")) {
      stamp.repeats = Repeat::fromOrgRepeater(part);
    }
  }
  return stamp;
}

constexpr std::array<std::string_view, 6> kOpenKeywords = {"TODO",    "NEXT",    "INPROCESS",
                                                           "WAITING", "STARTED", "HOLD"};
constexpr std::array<std::string_view, 3> kClosedKeywords = {"DONE", "CANCELLED", "CANCELED"};

struct Heading {
  int level = 0;
  std::string title;
  bool closed = false;
};

// "** TODO [#A] Call Ana → #2 @@trivo:…@@ :phone:" as a title for people: "Call Ana → #2".
std::optional<Heading> readHeading(std::string_view line) {
  int level = 0;
  while (static_cast<std::size_t>(level) < line.size() &&
         line[static_cast<std::size_t>(level)] == '*') {
    ++level;
  }
  if (level == 0 || static_cast<std::size_t>(level) >= line.size() ||
      line[static_cast<std::size_t>(level)] != ' ') {
    return std::nullopt;
  }
  std::string_view rest = text::trim(line.substr(static_cast<std::size_t>(level)));
  Heading heading{level, {}, false};
  const std::string_view first = rest.substr(0, std::min(rest.find(' '), rest.size()));
  if (std::find(kClosedKeywords.begin(), kClosedKeywords.end(), first) != kClosedKeywords.end()) {
    heading.closed = true;
    rest = text::trimStart(rest.substr(first.size()));
  } else if (std::find(kOpenKeywords.begin(), kOpenKeywords.end(), first) != kOpenKeywords.end()) {
    rest = text::trimStart(rest.substr(first.size()));
  }
  if (rest.size() >= 4 && rest.starts_with("[#") && rest[3] == ']') {
    rest = text::trimStart(rest.substr(4));
  }
  // Tags: a last word wrapped in colons.
  const std::size_t lastBlank = rest.rfind(' ');
  const std::string_view last =
      lastBlank == std::string_view::npos ? rest : rest.substr(lastBlank + 1);
  if (last.size() > 2 && last.front() == ':' && last.back() == ':' &&
      lastBlank != std::string_view::npos) {
    rest = text::trimEnd(rest.substr(0, lastBlank));
  }
  // The hidden annotation of an item.
  if (const std::size_t snippet = rest.find(" @@trivo:"); snippet != std::string_view::npos) {
    rest = text::trimEnd(rest.substr(0, snippet));
  }
  heading.title = std::string(rest);
  return heading;
}

void sortWithinDays(std::vector<AgendaItem>& items) {
  std::stable_sort(items.begin(), items.end(), [](const AgendaItem& a, const AgendaItem& b) {
    if (a.day != b.day) return a.day < b.day;
    if (a.time.has_value() != b.time.has_value()) return a.time.has_value();
    return a.time < b.time;
  });
}

void addOutcomes(std::vector<AgendaItem>& items, const OutcomeSet& set, const EntryKey& page,
                 const DayDate& day) {
  for (const Outcome& outcome : set.outcomes) {
    if (outcome.isBlank() || outcome.state != OutcomeState::planned) continue;
    AgendaItem item;
    item.day = day;
    item.kind = AgendaItem::Kind::outcome;
    item.text = outcome.text;
    item.page = page;
    items.push_back(std::move(item));
  }
}

void addInbox(std::vector<AgendaItem>& items, const Inbox& inbox, const DayDate& from,
              const DayDate& through) {
  for (std::size_t i = 0; i < inbox.items.size(); ++i) {
    const InboxItem& entry = inbox.items[i];
    if (entry.done || entry.someday || !entry.due) continue;
    auto add = [&](const DayDate& day, bool overdue) {
      if (entry.isHidden(day)) return;
      AgendaItem item;
      item.day = day;
      item.time = entry.time;
      item.kind = AgendaItem::Kind::inbox;
      item.text = entry.text;
      item.overdue = overdue;
      item.number = static_cast<std::int64_t>(i) + 1;
      items.push_back(std::move(item));
    };
    if (*entry.due < from) add(from, true);
    for (const DayDate& day : entry.occurrences(from, through)) {
      if (!(*entry.due < from && day == from)) add(day, false);
    }
  }
}

}  // namespace

std::vector<AgendaItem> Agenda::planningLines(std::string_view text, const EntryKey& page,
                                              const DayDate& from, const DayDate& through) {
  std::vector<AgendaItem> items;
  const std::vector<std::string_view> lines = text::lines(text);
  bool inOutcomes = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto heading = readHeading(text::withoutCR(lines[i]));
    if (!heading) continue;
    // Outcomes carry their own planning lines; they are listed from the page's records.
    if (heading->level == 1) inOutcomes = text::lower(heading->title) == "outcomes";
    if (inOutcomes || heading->closed || i + 1 >= lines.size()) continue;
    // Org reads a planning line only directly under its heading.
    const std::string_view planning = text::withoutCR(lines[i + 1]);
    for (const auto& [word, kind] :
         {std::pair{std::string_view("SCHEDULED:"), AgendaItem::Planning::scheduled},
          std::pair{std::string_view("DEADLINE:"), AgendaItem::Planning::deadline}}) {
      const std::size_t at = planning.find(word);
      if (at == std::string_view::npos) continue;
      const std::string_view after = text::trimStart(planning.substr(at + word.size()));
      const std::size_t close = after.find('>');
      if (!after.starts_with('<') || close == std::string_view::npos) continue;
      const auto stamp = readStamp(after.substr(1, close - 1));
      if (!stamp) continue;
      std::vector<DayDate> days;
      if (stamp->repeats) {
        days = stamp->repeats->occurrences(stamp->day, from, through);
      } else if (stamp->day >= from && stamp->day <= through) {
        days.push_back(stamp->day);
      }
      for (const DayDate& day : days) {
        AgendaItem item;
        item.day = day;
        item.time = stamp->time;
        item.kind = AgendaItem::Kind::planning;
        item.text = heading->title;
        item.page = page;
        item.planning = kind;
        items.push_back(std::move(item));
      }
    }
  }
  return items;
}

std::vector<AgendaItem> Agenda::build(VaultStore& store, const DayDate& from, std::int64_t days) {
  const DayDate through = from.adding(std::max<std::int64_t>(days, 1) - 1);
  std::vector<AgendaItem> items;
  addInbox(items, store.peekInbox(), from, through);

  std::vector<EntryKey> pages;
  std::set<EntryKey> seen;
  auto visit = [&](const EntryKey& key) {
    if (seen.insert(key).second) pages.push_back(key);
  };
  for (DayDate day = from; day <= through; day = day.adding(1)) {
    visit(EntryKey::day(day));
    visit(EntryKey::week(day.isoWeek()));
    visit(EntryKey::month(day.yearMonth()));
    visit(EntryKey::quarter(day.yearQuarter()));
    visit(EntryKey::year(day.year));
  }
  auto inRange = [&](const DayDate& d) { return d >= from && d <= through; };
  for (const EntryKey& key : pages) {
    if (const DayDate* d = key.asDay()) {
      addOutcomes(items, store.peekDay(*d).outcomes, key, *d);
    } else if (const ISOWeek* w = key.asWeek()) {
      const WeekEntry week = store.peekWeek(*w);
      if (inRange(week.targetFriday)) addOutcomes(items, week.outcomes, key, week.targetFriday);
    } else if (const YearMonth* m = key.asMonth()) {
      if (inRange(m->lastDay()))
        addOutcomes(items, store.peekMonth(*m).outcomes, key, m->lastDay());
    } else if (const YearQuarter* q = key.asQuarter()) {
      if (inRange(q->lastDay())) {
        addOutcomes(items, store.peekQuarter(*q).outcomes, key, q->lastDay());
      }
    } else if (const std::int64_t* y = key.asYear()) {
      const DayDate last{*y, 12, 31};
      if (inRange(last)) addOutcomes(items, store.peekYear(*y).outcomes, key, last);
    }
  }
  if (store.vault().format == VaultFormat::org) {
    for (const EntryKey& key : pages) {
      if (auto text = store.peekText(key)) {
        auto found = planningLines(*text, key, from, through);
        items.insert(items.end(), found.begin(), found.end());
      }
    }
  }
  sortWithinDays(items);
  return items;
}

std::vector<AgendaItem> Agenda::orgFileItems(const VaultPaths& paths,
                                             const std::vector<std::string>& skip,
                                             const std::vector<std::string>& pins,
                                             std::string_view keywords, const DayDate& from,
                                             const DayDate& through) {
  std::vector<AgendaItem> items;
  for (const OrgFile& org : OrgFiles::list(paths, skip, pins)) {
    const auto read = TextCache::shared().read(org.file);
    if (!read) continue;
    auto found = OrgFileReader::items(read->text, org.relative, from, through, keywords);
    items.insert(items.end(), std::make_move_iterator(found.begin()),
                 std::make_move_iterator(found.end()));
  }
  sortWithinDays(items);
  return items;
}

void Agenda::merge(std::vector<AgendaItem>& agenda, std::vector<AgendaItem> more) {
  agenda.insert(agenda.end(), std::make_move_iterator(more.begin()),
                std::make_move_iterator(more.end()));
  sortWithinDays(agenda);
}

void to_json(Json& j, const AgendaItem& item) {
  j = Json::object();
  json::put(j, "day", item.day);
  json::put(j, "time", item.time);
  j["kind"] = std::string(kAgendaKindNames[static_cast<std::size_t>(item.kind)]);
  json::put(j, "text", item.text);
  json::put(j, "overdue", item.overdue);
  json::put(j, "number", item.number);
  json::put(j, "page", item.page);
  if (item.planning) {
    j["planning"] = std::string(kAgendaPlanningNames[static_cast<std::size_t>(*item.planning)]);
  } else {
    j["planning"] = nullptr;
  }
  json::put(j, "file", item.file);
}

}  // namespace trivo

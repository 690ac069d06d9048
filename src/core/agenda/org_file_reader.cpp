// Agenda entries of hand-written Org files.
#include "core/agenda/org_file_reader.h"

#include <algorithm>

#include "core/format/text_util.h"
#include "core/records/repeat.h"

namespace trivo {
namespace {

bool isSpaceOrTab(char c) { return c == ' ' || c == '\t'; }

std::vector<std::string_view> wordsOfLine(std::string_view text) {
  std::vector<std::string_view> out;
  std::size_t at = 0;
  while (at < text.size()) {
    while (at < text.size() && isSpaceOrTab(text[at])) ++at;
    std::size_t end = at;
    while (end < text.size() && !isSpaceOrTab(text[end])) ++end;
    if (end > at) out.push_back(text.substr(at, end - at));
    at = end;
  }
  return out;
}

void readSequence(std::string_view value, OrgFileReader::Keywords& keywords) {
  std::vector<std::string> before;
  std::vector<std::string> after;
  bool bar = false;
  for (std::string_view word : wordsOfLine(value)) {
    if (word == "|") {
      bar = true;
      continue;
    }
    word = word.substr(0, std::min(word.find('('), word.size()));
    if (word.empty()) continue;
    (bar ? after : before).emplace_back(word);
  }
  if (!bar && !before.empty()) {
    after.push_back(before.back());
    before.pop_back();
  }
  keywords.open.insert(keywords.open.end(), before.begin(), before.end());
  keywords.done.insert(keywords.done.end(), after.begin(), after.end());
}

// "#+TODO: A B | C" → "A B | C" for the keyword lines that declare TODO sequences.
std::optional<std::string_view> sequenceLine(std::string_view line) {
  line = text::trimStart(line);
  if (!line.starts_with("#+")) return std::nullopt;
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string key = text::lower(line.substr(2, colon - 2));
  if (key != "todo" && key != "seq_todo" && key != "typ_todo") return std::nullopt;
  return line.substr(colon + 1);
}

struct PlanningStamp {
  DayDate day;
  std::optional<ClockTime> time;
  std::optional<Repeat> repeats;
};

// The inside of an active stamp: "2026-09-11 Fri 10:00-11:00 +1w -2d".
std::optional<PlanningStamp> readPlanningStamp(std::string_view inner) {
  const auto parts = wordsOfLine(inner);
  if (parts.empty()) return std::nullopt;
  const auto day = DayDate::parse(parts[0]);
  if (!day) return std::nullopt;
  PlanningStamp stamp{*day, std::nullopt, std::nullopt};
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const std::string_view part = parts[i];
    if (!stamp.time && !part.empty() && part[0] >= '0' && part[0] <= '9' &&
        part.find(':') != std::string_view::npos) {
      stamp.time = ClockTime::parse(part.substr(0, part.find('-')));
    } else if (!stamp.repeats && (part.starts_with('+') || part.starts_with(".+"))) {
      stamp.repeats = Repeat::fromOrgRepeater(part);
    }
  }
  return stamp;
}

struct Planning {
  AgendaItem::Planning kind;
  PlanningStamp stamp;
};

// A planning line: only keywords with stamps, as Org reads it. Nothing when the line is
// anything else (a sentence that mentions SCHEDULED: is body text).
std::optional<std::vector<Planning>> readOrgPlanning(std::string_view line) {
  std::string_view rest = text::trim(line);
  if (rest.empty()) return std::nullopt;
  std::vector<Planning> found;
  while (!rest.empty()) {
    std::optional<AgendaItem::Planning> kind;
    std::size_t size = 0;
    if (rest.starts_with("SCHEDULED:")) {
      kind = AgendaItem::Planning::scheduled;
      size = 10;
    } else if (rest.starts_with("DEADLINE:")) {
      kind = AgendaItem::Planning::deadline;
      size = 9;
    } else if (rest.starts_with("CLOSED:")) {
      size = 7;
    } else {
      return std::nullopt;
    }
    rest = text::trimStart(rest.substr(size));
    if (rest.empty() || (rest[0] != '<' && rest[0] != '[')) return std::nullopt;
    const char close = rest[0] == '<' ? '>' : ']';
    const std::size_t end = rest.find(close);
    if (end == std::string_view::npos) return std::nullopt;
    if (kind && rest[0] == '<') {
      if (auto stamp = readPlanningStamp(rest.substr(1, end - 1))) found.push_back({*kind, *stamp});
    }
    rest = rest.substr(end + 1);
    // A range's second stamp ("<…>--<…>") belongs to the first.
    if (rest.starts_with("--<")) {
      const std::size_t second = rest.find('>');
      if (second == std::string_view::npos) return std::nullopt;
      rest = rest.substr(second + 1);
    }
    rest = text::trimStart(rest);
  }
  return found;
}

struct OrgHeading {
  std::size_t level = 0;
  std::string_view keyword;
  bool comment = false;
  bool archived = false;
  std::string title;
};

std::optional<OrgHeading> readOrgHeading(std::string_view line, const OrgFileReader::Keywords& keys) {
  std::size_t level = 0;
  while (level < line.size() && line[level] == '*') ++level;
  if (level == 0 || level >= line.size() || !isSpaceOrTab(line[level])) return std::nullopt;
  OrgHeading heading;
  heading.level = level;
  std::string_view rest = text::trim(line.substr(level));
  auto firstWord = [&] { return rest.substr(0, std::min(rest.find_first_of(" \t"), rest.size())); };
  const std::string_view first = firstWord();
  const auto isIn = [&](const std::vector<std::string>& list) {
    return std::find(list.begin(), list.end(), first) != list.end();
  };
  if (!first.empty() && (isIn(keys.open) || isIn(keys.done))) {
    heading.keyword = first;
    rest = text::trimStart(rest.substr(first.size()));
  }
  if (rest.size() >= 4 && rest.starts_with("[#") && rest[3] == ']' &&
      (rest.size() == 4 || isSpaceOrTab(rest[4]))) {
    rest = text::trimStart(rest.substr(4));
  }
  if (firstWord() == "COMMENT") {
    heading.comment = true;
    rest = text::trimStart(rest.substr(7));
  }
  const std::size_t blank = rest.find_last_of(" \t");
  const std::string_view last = blank == std::string_view::npos ? rest : rest.substr(blank + 1);
  if (last.size() > 2 && last.front() == ':' && last.back() == ':' &&
      last.find_first_of(" \t") == std::string_view::npos) {
    heading.archived = last.find(":ARCHIVE:") != std::string_view::npos;
    rest =
        blank == std::string_view::npos ? std::string_view() : text::trimEnd(rest.substr(0, blank));
  }
  heading.title = std::string(rest);
  return heading;
}

}  // namespace

OrgFileReader::Keywords OrgFileReader::keywords(std::string_view text, std::string_view fallback) {
  Keywords keywords;
  bool own = false;
  for (std::string_view line : text::lines(text)) {
    if (const auto value = sequenceLine(text::withoutCR(line))) {
      own = true;
      readSequence(*value, keywords);
    }
  }
  if (own) return keywords;
  if (!text::trim(fallback).empty()) {
    readSequence(fallback, keywords);
    if (!keywords.open.empty() || !keywords.done.empty()) return keywords;
  }
  return Keywords{{"TODO"}, {"DONE"}};
}

std::vector<AgendaItem> OrgFileReader::items(std::string_view text, const std::string& file,
                                             const DayDate& from, const DayDate& through,
                                             std::string_view fallbackKeywords) {
  const Keywords keys = keywords(text, fallbackKeywords);
  std::vector<AgendaItem> items;
  const std::vector<std::string_view> lines = text::lines(text);
  // While set, headings deeper than this level lie in a commented or archived tree.
  std::optional<std::size_t> skippedBelow;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto heading = readOrgHeading(text::withoutCR(lines[i]), keys);
    if (!heading) continue;
    if (skippedBelow && heading->level > *skippedBelow) continue;
    skippedBelow.reset();
    if (heading->comment || heading->archived) {
      skippedBelow = heading->level;
      continue;
    }
    const bool done =
        std::find(keys.done.begin(), keys.done.end(), heading->keyword) != keys.done.end();
    if (done || i + 1 >= lines.size()) continue;
    const auto planning = readOrgPlanning(text::withoutCR(lines[i + 1]));
    if (!planning) continue;
    for (const Planning& entry : *planning) {
      std::vector<DayDate> days;
      if (entry.stamp.repeats) {
        days = entry.stamp.repeats->occurrences(entry.stamp.day, from, through);
      } else if (entry.stamp.day >= from && entry.stamp.day <= through) {
        days.push_back(entry.stamp.day);
      }
      for (const DayDate& day : days) {
        AgendaItem item;
        item.day = day;
        item.time = entry.stamp.time;
        item.kind = AgendaItem::Kind::planning;
        item.text = heading->title;
        item.planning = entry.kind;
        item.file = file;
        items.push_back(std::move(item));
      }
    }
  }
  return items;
}

}  // namespace trivo

// The lines under an Org outcome heading, as Org and Trivo lay them out.
#include "core/format/org_entry.h"

#include <algorithm>
#include <array>

#include "core/format/regex.h"
#include "core/format/text_util.h"

namespace trivo {

namespace {

using Lines = std::vector<std::string>;

// A drawer's opening line: a name of letters, digits, "-" and "_" between colons, alone on its
// line. ":END:" closes a drawer and opens none.
bool opensDrawer(std::string_view line) {
  const auto t = text::trim(line);
  if (t.size() < 3 || t.front() != ':' || t.back() != ':') return false;
  const auto name = t.substr(1, t.size() - 2);
  if (text::equalsNoCase(name, "END")) return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
           c == '-' || c == '_';
  });
}

bool closesDrawer(std::string_view line) { return text::equalsNoCase(text::trim(line), ":END:"); }

bool isDrawer(std::string_view line, std::string_view name) {
  return text::equalsNoCase(text::trim(line), name);
}

// The index of the ":END:" line of a drawer that opens at `at`; nothing when no drawer opens
// there or it never closes (then its lines are ordinary text).
std::optional<std::size_t> drawerEnd(std::span<const std::string> lines, std::size_t at) {
  if (at >= lines.size() || !opensDrawer(lines[at])) return std::nullopt;
  for (std::size_t end = at + 1; end < lines.size(); ++end) {
    if (closesDrawer(lines[end])) return end;
    if (opensDrawer(lines[end])) return std::nullopt;
  }
  return std::nullopt;
}

// The first complete logbook drawer outside fenced blocks: its opening and closing line.
std::optional<std::pair<std::size_t, std::size_t>> firstLogbook(TextSyntax syntax,
                                                               std::span<const std::string> lines) {
  FenceTracker fences(syntax);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    const bool inFence = fences.inFence();
    if (fences.feed(lines[at]) || inFence) continue;
    if (!isDrawer(lines[at], ":LOGBOOK:")) continue;
    if (auto end = drawerEnd(lines, at)) return std::pair{at, *end};
  }
  return std::nullopt;
}

bool isDoneNote(const std::string& line) { return TextSyntax::orgDoneDate(line).has_value(); }

bool hasClosed(std::string_view planning) {
  return planning.find("CLOSED:") != std::string_view::npos;
}

// Where the logbook part of an entry ends: drawers and log notes (a note that ends in "\\" goes
// on in the indented lines under it), from `at` up to the first other line or `stop`.
std::size_t logEnd(std::span<const std::string> lines, std::size_t at, std::size_t stop) {
  while (at < lines.size() && at != stop) {
    if (auto end = drawerEnd(lines, at)) {
      at = *end + 1;
      continue;
    }
    if (!OrgEntry::isLogNote(lines[at])) break;
    const bool goesOn = text::trimEnd(lines[at]).ends_with("\\\\");
    ++at;
    while (goesOn && at < lines.size() && at != stop && !lines[at].empty() &&
           text::isSpace(lines[at].front()) && !OrgEntry::isLogNote(lines[at])) {
      ++at;
    }
  }
  return at;
}

// Where the planning line and property drawer end: Org reads them only in that order, right
// under the heading.
std::size_t metaEnd(std::span<const std::string> lines) {
  std::size_t at = 0;
  if (at < lines.size() && TextSyntax::isPlanning(lines[at])) ++at;
  if (at < lines.size() && isDrawer(lines[at], ":PROPERTIES:")) {
    if (auto end = drawerEnd(lines, at)) at = *end + 1;
  }
  return at;
}

bool isOwnClock(const OrgEntry::Own& own, std::string_view line) {
  const auto t = text::trim(line);
  return std::find(own.clocks.begin(), own.clocks.end(), t) != own.clocks.end();
}

}  // namespace

std::string OrgEntry::commentLine(std::string_view comment) {
  return comment.empty() ? std::string(">") : "> " + std::string(comment);
}

std::optional<std::string> OrgEntry::comment(std::string_view line) {
  if (!line.starts_with('>')) return std::nullopt;
  std::string words(text::trim(line.substr(1)));
  if (commentLine(words) != line) return std::nullopt;
  return words;
}

bool OrgEntry::isLogNote(std::string_view line) {
  static constexpr std::array<std::string_view, 8> kHeads = {
      "- State \"",           "- Note taken on ",     "- CLOSING NOTE ",
      "- Rescheduled from ",  "- Not scheduled, was ", "- New deadline from ",
      "- Removed deadline, was ", "- Refiled on "};
  const auto t = text::trimStart(line);
  return std::any_of(kHeads.begin(), kHeads.end(),
                     [&](std::string_view head) { return t.starts_with(head); });
}

std::vector<std::string> OrgEntry::ticked(std::vector<std::string> kept, std::string note) {
  const auto at = static_cast<std::ptrdiff_t>(metaEnd(kept));
  kept.insert(kept.begin() + at, std::move(note));
  return kept;
}

std::vector<std::string> OrgEntry::unticked(std::vector<std::string> kept) {
  const std::size_t at = metaEnd(kept);
  if (at < kept.size() && isDoneNote(kept[at]))
    kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(at));
  return kept;
}

std::string OrgEntry::withoutClosed(std::string_view line) {
  static const Regex closed(R"([ \t]*CLOSED:[ \t]*\[[^\]]*\])");
  const std::string rest = closed.replaceAll(line, "");
  if (text::isBlank(rest)) return {};
  // The line keeps its own indentation, which the stamp may have carried.
  const auto indent = line.substr(0, std::min(line.find_first_not_of(" \t"), line.size()));
  return std::string(indent) + std::string(text::trimStart(rest));
}

OrgEntry::Parts OrgEntry::read(TextSyntax syntax, Lines lines, const Own& own, bool done) {
  Parts out;
  // The lines move on into the parts as they are sorted, each range after everything that looks
  // at it has looked: whatever is asked of the whole entry is asked first.
  const auto take = [&](std::size_t from, std::size_t to) {
    out.kept.insert(out.kept.end(),
                    std::make_move_iterator(lines.begin() + static_cast<std::ptrdiff_t>(from)),
                    std::make_move_iterator(lines.begin() + static_cast<std::ptrdiff_t>(to)));
  };

  // The clocks of the item's sessions are written from the sessions each time; a drawer they
  // leave empty was Trivo's own and goes with them unless it stands somewhere of the person's.
  std::optional<std::size_t> emptied;
  if (auto book = firstLogbook(syntax, lines); book && !own.clocks.empty()) {
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(book->first) + 1;
    const auto last = lines.begin() + static_cast<std::ptrdiff_t>(book->second);
    const auto kept = std::remove_if(first, last, [&](const auto& l) { return isOwnClock(own, l); });
    if (kept != last) {
      lines.erase(kept, last);
      if (kept == first) emptied = book->first;
    }
  }

  const std::size_t meta = metaEnd(lines);
  const auto doneNotes =
      done && own.doneNote ? std::count_if(lines.begin(), lines.end(), isDoneNote) : 0;
  std::size_t at = 0;
  if (at < lines.size() && TextSyntax::isPlanning(lines[at])) {
    if (lines[at] != own.planning) out.kept.push_back(std::move(lines[at]));
    ++at;
  }
  const bool closed = !out.kept.empty() && hasClosed(out.kept.front());
  take(at, meta);
  at = meta;
  // The note Trivo writes is taken back only where it writes it and only when it is the item's one
  // note; a CLOSED stamp already says when the item was done, so Trivo writes none beside it.
  if (done && !closed && own.doneNote && at < lines.size() && lines[at] == *own.doneNote &&
      doneNotes == 1) {
    ++at;
  }
  auto keepLog = [&] {
    const std::size_t log = logEnd(lines, at, emptied.value_or(lines.size()));
    take(at, log);
    at = log;
  };
  keepLog();
  // Trivo's own drawer stands after the log and before the comments.
  if (emptied && at == *emptied) {
    at += 2;
    keepLog();
  }

  // Comments follow the logbook. Comments with a drawer or a note after them stand where Trivo
  // would not write them, so they stay lines of the text; only Trivo's own drawer may follow
  // them, as pages written before the drawer moved up have it.
  std::size_t next = at;
  std::vector<std::string> comments;
  while (next < lines.size()) {
    auto words = comment(lines[next]);
    if (!words) break;
    comments.push_back(std::move(*words));
    ++next;
  }
  const bool logAfter = next < lines.size() && next != emptied &&
                        (drawerEnd(lines, next) || isLogNote(lines[next]));
  if (!comments.empty() && !logAfter) {
    out.comments = std::move(comments);
    at = next;
  }
  if (emptied && at == *emptied) at += 2;
  take(at, lines.size());
  return out;
}

std::vector<std::string> OrgEntry::write(TextSyntax syntax, const Own& own, bool done,
                                         std::span<const std::string> comments,
                                         std::span<const std::string> keptLines) {
  Lines kept(keptLines.begin(), keptLines.end());
  std::vector<std::string> out;

  // Clocks go into the item's first logbook drawer, after what is there, indented as it is.
  bool clocked = own.clocks.empty();
  if (auto book = firstLogbook(syntax, kept); book && !clocked) {
    const std::string& open = kept[book->first];
    const std::string indent = open.substr(0, open.find_first_not_of(" \t"));
    Lines missing;
    for (const auto& clock : own.clocks) {
      const auto first = kept.begin() + static_cast<std::ptrdiff_t>(book->first);
      const auto last = kept.begin() + static_cast<std::ptrdiff_t>(book->second);
      if (std::none_of(first, last, [&](const auto& l) { return text::trim(l) == clock; })) {
        missing.push_back(indent + clock);
      }
    }
    kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(book->second), missing.begin(),
                missing.end());
    clocked = true;
  }

  std::size_t at = 0;
  std::string planning = own.planning;
  if (!kept.empty() && TextSyntax::isPlanning(kept.front())) {
    // An item opened again loses its CLOSED stamp, as Org takes it off.
    std::string line = done ? kept.front() : withoutClosed(kept.front());
    if (!line.empty()) planning = std::move(line);
    at = 1;
  }
  out.push_back(planning);
  const std::size_t meta = metaEnd(kept);
  out.insert(out.end(), kept.begin() + static_cast<std::ptrdiff_t>(at),
             kept.begin() + static_cast<std::ptrdiff_t>(meta));
  at = meta;
  if (done && own.doneNote && !hasClosed(planning) &&
      std::none_of(kept.begin(), kept.end(), isDoneNote)) {
    out.push_back(*own.doneNote);
  }
  const std::size_t log = logEnd(kept, at, kept.size());
  out.insert(out.end(), kept.begin() + static_cast<std::ptrdiff_t>(at),
             kept.begin() + static_cast<std::ptrdiff_t>(log));
  at = log;
  // A drawer of its own stands where Org looks for the log: before the item's text.
  if (!clocked) {
    out.emplace_back(":LOGBOOK:");
    out.insert(out.end(), own.clocks.begin(), own.clocks.end());
    out.emplace_back(":END:");
  }
  for (const auto& words : comments) out.push_back(commentLine(words));
  out.insert(out.end(), kept.begin() + static_cast<std::ptrdiff_t>(at), kept.end());
  return out;
}

}  // namespace trivo

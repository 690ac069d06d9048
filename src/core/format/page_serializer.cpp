// Reading and writing the week, month, quarter and year pages in either syntax.
#include "core/format/page_serializer.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <utility>

#include "core/content/content_bundle.h"
#include "core/format/legacy_headings.h"
#include "core/format/list_lines.h"
#include "core/format/org_entry.h"
#include "core/format/outline.h"
#include "core/format/regex.h"
#include "core/format/section_writer.h"
#include "core/format/serializer_error.h"
#include "core/format/task_marks.h"
#include "core/format/text_util.h"

namespace trivo {

namespace {

using Bodies = std::map<std::string, std::string, std::less<>>;
// Known front matter keys, each with the value the page must carry (its identity) or none.
using KnownFields = std::map<std::string, std::optional<std::string>, std::less<>>;

constexpr int kSectionLevel = 2;
constexpr int kPartLevel = 3;

bool isMarkdown(TextSyntax syntax) { return syntax.format == VaultFormat::markdown; }

// The heading of a content key. Keys the bundle does not carry yet get an English fallback so
// that a page never shows a bare key as a heading.
std::string heading(std::string_view key, std::string_view fallback) {
  if (auto text = content::english(key)) return std::string(*text);
  return std::string(fallback);
}

// Whether normalized() would give the text back as it is: no carriage return, no byte-order
// mark and no line of white space alone, as in nearly every page.
bool isNormal(std::string_view text) {
  if (text.find('\r') != std::string_view::npos) return false;
  if (text.find("\xEF\xBB\xBF") != std::string_view::npos) return false;
  // A line of white space alone starts with white space: only the lines that do are looked at,
  // found by their line break and first character together.
  const auto blankFrom = [&](std::size_t at) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    return text::isBlank(text.substr(at, end - at));
  };
  if (!text.empty() && text::isSpace(text.front()) && blankFrom(0)) return false;
  for (const std::string_view start : {std::string_view("\n "), std::string_view("\n\t"),
                                       std::string_view("\n\v"), std::string_view("\n\f")}) {
    for (std::size_t at = text.find(start); at != std::string_view::npos;
         at = text.find(start, at + 1)) {
      if (blankFrom(at + 1)) return false;
    }
  }
  return true;
}

// Pages may come with a byte-order mark and Windows line ends; they are written without. A
// mark at the start of a later line (pages pasted together) is dropped as well, since it would
// hide the line's meaning from every reader. A run of carriage returns before a line feed ends
// the line with it; a carriage return anywhere else is a line end of its own, as old Mac files
// wrote them. Everything goes in one pass, so that reading what was written finds nothing more
// to change. Asked only of a text that is not isNormal().
std::string normalized(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string out;
  out.reserve(text.size());
  bool lineStart = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (lineStart && text.substr(i).starts_with(kMark)) {
      i += kMark.size() - 1;
      continue;
    }
    lineStart = false;
    if (text[i] == '\r') {
      const std::size_t end = text.find_first_not_of('\r', i);
      if (end == std::string_view::npos || text[end] == '\n') {
        i = (end == std::string_view::npos ? text.size() : end) - 1;
        continue;
      }
    }
    lineStart = text[i] == '\n' || text[i] == '\r';
    out += lineStart ? '\n' : text[i];
  }
  // Lines of white space alone are read as empty lines: they have no meaning of their own.
  std::vector<std::string_view> lines = text::lines(out);
  for (auto& line : lines) {
    if (text::isBlank(line)) line = {};
  }
  return text::join(lines, "\n");
}

// A comment line under an item: "> words" (the space is optional when reading).
std::optional<std::string> commentText(std::string_view line) {
  const auto t = text::trimStart(line);
  if (!t.starts_with('>')) return std::nullopt;
  return std::string(text::trim(t.substr(1)));
}

std::string commentLine(std::string_view comment) {
  return comment.empty() ? std::string(">") : "> " + std::string(comment);
}

// A second section under a known heading is kept as an unknown one. Written back before the
// known section it repeats, it would be taken for that section on the next read, so it is
// placed after it instead.
void placeRepeatedHeadings(SectionReader& reader, int level, std::span<const KnownSection> known,
                           std::string_view path) {
  auto position = [&](std::string_view key) -> std::size_t {
    for (std::size_t i = 0; i < known.size(); ++i) {
      if (SectionReader::sectionKey(path, known[i].key) == key) return i + 1;
    }
    return 0;
  };
  const std::string marker = reader.syntax.headingMarker(level);
  for (auto& unknown : reader.pass.unknownSections) {
    const bool here = path.empty() ? unknown.afterSection.find('/') == std::string::npos
                                   : unknown.afterSection.starts_with(std::string(path) + "/");
    if (!here) continue;
    const std::string_view raw = unknown.raw;
    if (!raw.starts_with(marker)) continue;
    const auto title =
        reader.syntax.splitTags(raw.substr(marker.size(), raw.find('\n') - marker.size()));
    const std::string heading = text::lower(text::trim(title.title));
    for (std::size_t i = 0; i < known.size(); ++i) {
      if (text::lower(text::trim(known[i].title)) != heading &&
          !LegacyHeadings::names(known[i].key, title.title)) {
        continue;
      }
      if (position(unknown.afterSection) < i + 1) {
        unknown.afterSection = SectionReader::sectionKey(path, known[i].key);
      }
      break;
    }
  }
}

// A fenced block is never read for structure: its lines, from the opening to the closing
// line, all go to `raw` (which keeps them together and in order), so that a heading-like or
// list-like line inside a block stays inside it.
template <class Consume, class Raw>
auto outsideFences(TextSyntax syntax, Consume consume, Raw raw) {
  return [fences = FenceTracker(syntax), consume = std::move(consume),
          raw = std::move(raw)](std::string_view line) mutable -> bool {
    const bool wasOpen = fences.inFence();
    const bool toggles = fences.feed(line);
    if (wasOpen || toggles) return raw(line);
    return consume(line);
  };
}

auto refuse() {
  return [](std::string_view) { return false; };
}

// Everything a page's reading needs after its front matter: the known field values, the
// sections, and the Passthrough being filled.
struct OpenPage {
  // Every value of each known field that the page kind reads itself, in the order written.
  std::map<std::string, std::vector<std::string>, std::less<>> fields;
  SectionReader reader;
};

// How a page kind's reader answers one value of a known field.
enum class FieldValue {
  taken,    // the record holds it now
  implied,  // it says what the record holds anyway (a "liked: false"); nothing to keep
  refused,  // not readable: kept among the extras and written back as it stands
};

// Reads a known field that holds one value. The first value taken is the record's; later ones,
// values given over several lines and values the reader refuses stay with the extras. A value
// that is implied takes no place, so that the text written (which leaves it out) reads the same.
template <class Read>
void readField(OpenPage& page, std::string_view key, Read read) {
  auto it = page.fields.find(key);
  if (it == page.fields.end()) return;
  bool taken = false;
  for (auto& value : it->second) {
    const bool oneLine = value.find('\n') == std::string::npos;
    const FieldValue answer =
        taken || !oneLine ? FieldValue::refused : read(std::string_view(value));
    if (answer == FieldValue::refused) {
      page.reader.pass.frontmatterExtras.push_back(FrontmatterField{std::string(key), value});
    }
    taken = taken || answer == FieldValue::taken;
  }
  page.fields.erase(it);
}

// A list field given more than once is one list.
std::vector<std::string> readListField(OpenPage& page, TextSyntax syntax, std::string_view key);

OpenPage openPage(TextSyntax syntax, std::string_view raw, const KnownFields& known,
                  std::span<const KnownSection> sections) {
  // Nearly every page is read as it stands, without a normalised copy.
  std::string copy;
  std::string_view text = raw;
  if (!isNormal(raw)) {
    copy = normalized(raw);
    text = copy;
  }
  auto front = syntax.splitFrontmatter(text);
  OpenPage page{{},
                SectionReader(syntax, isMarkdown(syntax)
                                          ? nullptr
                                          : TextSyntax::sharedTodoWords(front.fields))};
  for (auto& field : front.fields) {
    auto it = known.find(field.key);
    // Markdown pages carry their title in the "# " line; a "title" field is the user's own.
    if (it != known.end() && isMarkdown(syntax) && field.key == "title") it = known.end();
    if (it == known.end()) {
      // The standard keyword declaration is written afresh on every Org page.
      const bool standard = !isMarkdown(syntax) && text::equalsNoCase(field.key, "TODO") &&
                            field.value == TextSyntax::todoDeclaration;
      if (!standard) page.reader.pass.frontmatterExtras.push_back(std::move(field));
      continue;
    }
    if (it->second && *it->second != field.value) {
      throw SerializerError::identityMismatch(*it->second, field.value);
    }
    // The identity, the type and the title are written afresh from the page itself.
    if (it->second || field.key == "type" || field.key == "title") continue;
    page.fields[field.key].push_back(std::move(field.value));
  }
  std::string preamble = page.reader.read(front.rest, kSectionLevel, sections);
  placeRepeatedHeadings(page.reader, kSectionLevel, sections, "");
  if (isMarkdown(syntax)) {
    // The title line is written afresh from the period; keep everything else around it.
    std::vector<std::string_view> kept;
    bool titleTaken = false;
    for (auto line : text::lines(preamble)) {
      if (!titleTaken && line.starts_with("# ")) {
        titleTaken = true;
        continue;
      }
      kept.push_back(line);
    }
    preamble = Outline::trimBlankLines(kept);
  }
  if (!preamble.empty()) page.reader.pass.preamble = preamble;
  return page;
}

// A list is written as YAML list lines or as one line of comma-separated words. A value that
// mixes the two (words after the key and list lines under it) gives each line as an item, so
// that no item holds a line break.
std::vector<std::string> listValue(TextSyntax syntax, std::string_view value) {
  std::vector<std::string> out;
  if (isMarkdown(syntax) && value.find('\n') != std::string_view::npos) {
    for (auto line : text::lines(value)) {
      auto t = text::trim(line);
      if (t.starts_with("- ")) t = text::trim(t.substr(2));
      if (!t.empty()) out.emplace_back(t);
    }
    return out;
  }
  std::size_t start = 0;
  while (start <= value.size()) {
    const auto comma = value.find(',', start);
    const auto part = text::trim(value.substr(
        start, comma == std::string_view::npos ? std::string_view::npos : comma - start));
    if (!part.empty()) out.emplace_back(part);
    if (comma == std::string_view::npos) break;
    start = comma + 1;
  }
  return out;
}

std::vector<std::string> readListField(OpenPage& page, TextSyntax syntax, std::string_view key) {
  std::vector<std::string> items;
  auto it = page.fields.find(key);
  if (it == page.fields.end()) return items;
  for (const auto& value : it->second) {
    for (auto& item : listValue(syntax, value)) items.push_back(std::move(item));
  }
  page.fields.erase(it);
  return items;
}

// Markdown writes a list as YAML list lines under its key; an Org keyword line holds one line.
std::string renderList(TextSyntax syntax, const std::vector<std::string>& items) {
  std::string out;
  for (const auto& item : items) {
    if (isMarkdown(syntax)) {
      out += "\n- " + item;
    } else {
      if (!out.empty()) out += ", ";
      out += item;
    }
  }
  return out;
}

std::string assemblePage(TextSyntax syntax, std::string_view title,
                         std::vector<FrontmatterField> fields, const Passthrough& pass,
                         std::string_view sections) {
  for (const auto& extra : pass.frontmatterExtras) fields.push_back(extra);
  std::vector<std::string> parts;
  if (isMarkdown(syntax)) {
    parts.push_back("# " + std::string(title));
  } else {
    fields.insert(fields.begin(), FrontmatterField{"title", std::string(title)});
    fields = TextSyntax::keywordFront(std::move(fields));
  }
  parts.emplace_back(sections);
  std::string body = Outline::join(parts);
  // Org front matter runs up to the first line that is not a keyword line; a blank line keeps
  // a body that starts with one from joining it.
  if (!isMarkdown(syntax) && TextSyntax::keyword(body.substr(0, body.find('\n')))) {
    body.insert(0, "\n");
  }
  return syntax.assemble(fields, body) + "\n";
}

// A piece of text that leaves a fenced block open would swallow the headings written after it
// when the page is read back, and each write would then add the sections again. Such a piece
// gets the closing line of its block.
std::string closeFences(TextSyntax syntax, std::string text) {
  FenceTracker fences(syntax);
  std::string closer;
  for (auto line : text::lines(text)) {
    const bool wasOpen = fences.inFence();
    if (fences.feed(line) && !wasOpen && fences.inFence()) {
      const auto opener = text::trimStart(line);
      if (isMarkdown(syntax)) {
        closer = std::string(3, opener[0]);
      } else {
        auto name = opener.substr(8);
        name = name.substr(0, std::min(name.find_first_of(" \t"), name.size()));
        closer = "#+end_" + std::string(name);
      }
    }
  }
  if (!fences.inFence()) return text;
  return text + "\n" + closer;
}

std::string preambleOf(const Passthrough& pass) { return pass.preamble.value_or(""); }

// ---- outcomes ----

// The planning line under an Org outcome: a day's outcome is scheduled on its day, the outcomes
// of longer periods are due on the period's last day.
std::string planningLine(Scope scope, const DayDate& day) {
  return (scope == Scope::day ? "SCHEDULED: " : "DEADLINE: ") + TextSyntax::timestamp(day);
}

OutcomeSet readOutcomes(SectionReader& reader, std::string_view key, Scope scope) {
  std::vector<Outcome> list;
  const TextSyntax syntax = reader.syntax;
  auto keep = [&](std::string_view line) {
    if (list.empty()) return false;
    list.back().trailingLines.emplace_back(line);
    return true;
  };
  reader.linesCounting(
      key,
      outsideFences(
          syntax,
          [&](std::string_view line) {
            if (list.size() < 3) {
              std::optional<Outcome> found;
              if (isMarkdown(syntax)) {
                if (auto box = CheckboxLine::parse(line)) {
                  if (auto state = CheckboxLine::stateFor(box->mark)) {
                    auto split = ServesLink::split(box->text);
                    found = Outcome::make(split.text, *state, split.serves);
                  }
                }
              } else if (auto task = TextSyntax::orgTask(line, reader.todoWords())) {
                auto split = ServesLink::split(task->text);
                found = Outcome::make(split.text, task->state, split.serves);
                if (TextSyntax::orgKeywordWord(task->state, std::nullopt) != task->keyword.word) {
                  found->orgKeyword = task->keyword;
                }
              }
              if (found) {
                list.push_back(std::move(*found));
                return true;
              }
            }
            if (list.empty()) return false;
            auto& outcome = list.back();
            // On Org pages the lines under an outcome are sorted out once the page's sessions
            // are known (settleOrgOutcomes).
            // A comment is taken in the form it is written in and only before any other line, so
            // that lines kept under an outcome come back exactly where they stood.
            if (auto comment = commentText(line);
                isMarkdown(syntax) && comment && outcome.trailingLines.empty() &&
                "  " + commentLine(*comment) == line) {
              outcome.comments.push_back(*comment);
            } else {
              outcome.trailingLines.emplace_back(line);
            }
            return true;
          },
          keep));
  return OutcomeSet(scope, std::move(list));
}

// The Org clock line of a finished focus session: "CLOCK: [start]--[end] =>  h:mm". A session
// that ends before it starts ran past midnight.
std::optional<std::string> clockLine(const DayDate& day, const FocusSession& session) {
  if (!session.end) return std::nullopt;
  std::int64_t minutes = session.end->minutesOfDay() - session.start.minutesOfDay();
  const DayDate endDay = minutes < 0 ? day.adding(1) : day;
  if (minutes < 0) minutes += 24 * 60;
  return "CLOCK: " + TextSyntax::inactiveStamp(day, session.start) + "--" +
         TextSyntax::inactiveStamp(endDay, *session.end) + " =>  " + std::to_string(minutes / 60) +
         ":" + (minutes % 60 < 10 ? "0" : "") + std::to_string(minutes % 60);
}

// The clock lines of the sessions spent on an outcome.
std::vector<std::string> ownClocks(const Outcome& outcome, const DayDate& due,
                                   const std::vector<FocusSession>& sessions) {
  std::vector<std::string> clocks;
  if (outcome.isBlank()) return clocks;
  for (const auto& session : sessions) {
    if (session.outcome != outcome.text) continue;
    if (auto line = clockLine(due, session)) clocks.push_back(*line);
  }
  return clocks;
}

// What Trivo writes under an Org outcome itself: its planning line, the state-change note when it
// is done, and a clock line for each finished session spent on it (drawn from the sessions list,
// which holds the sessions themselves).
OrgEntry::Own ownOrgLines(const Outcome& outcome, Scope scope, const DayDate& due,
                          const std::vector<FocusSession>& sessions) {
  return OrgEntry::Own{planningLine(scope, due), TextSyntax::orgDoneLine(due, std::nullopt),
                       ownClocks(outcome, due, sessions)};
}

// Sorts the lines read under each Org outcome into Trivo's own (dropped: they are written
// afresh), comments and lines kept as they stand.
void settleOrgOutcomes(TextSyntax syntax, OutcomeSet& set, const DayDate& due,
                       const std::vector<FocusSession>& sessions = {}) {
  if (isMarkdown(syntax)) return;
  // Every outcome of the set has the same planning line and done note: made once, with each
  // outcome's own clock lines put in for its turn.
  OrgEntry::Own own = ownOrgLines(Outcome{}, set.scope, due, {});
  for (auto& outcome : set.outcomes) {
    // Clock lines are made only for an outcome with a clock line under it: they are only ever
    // compared with those.
    const bool clocked =
        std::any_of(outcome.trailingLines.begin(), outcome.trailingLines.end(),
                    [](const std::string& line) { return text::trim(line).starts_with("CLOCK:"); });
    own.clocks = clocked ? ownClocks(outcome, due, sessions) : std::vector<std::string>{};
    auto parts = OrgEntry::read(syntax, std::move(outcome.trailingLines), own,
                                outcome.state == OutcomeState::done);
    outcome.comments = std::move(parts.comments);
    outcome.trailingLines = std::move(parts.kept);
  }
}

std::string renderOutcomes(TextSyntax syntax, const OutcomeSet& set, const DayDate& due,
                           const std::vector<FocusSession>& sessions = {}) {
  std::vector<std::string> lines;
  for (const auto& outcome : OutcomeSet::normalize(set.outcomes)) {
    const std::string words = ServesLink::join(outcome.text, outcome.serves);
    std::vector<std::string> under;
    if (isMarkdown(syntax)) {
      lines.push_back(CheckboxLine::render(CheckboxLine::markFor(outcome.state), words));
      // A Markdown comment is indented so that it belongs to the list item above it.
      for (const auto& comment : outcome.comments) lines.push_back("  " + commentLine(comment));
      under = outcome.trailingLines;
    } else {
      lines.push_back(TextSyntax::orgTaskHeading(outcome.state, outcome.orgKeyword, words));
      under = OrgEntry::write(syntax, ownOrgLines(outcome, set.scope, due, sessions),
                              outcome.state == OutcomeState::done, outcome.comments,
                              outcome.trailingLines);
    }
    // The next outcome must not land inside a block that these lines leave open.
    if (!under.empty()) lines.push_back(closeFences(syntax, text::join(under, "\n")));
  }
  return text::join(lines, "\n");
}

// ---- checklists ----

// The hidden annotation of a list item: what became of it and when it was closed.
std::string itemMeta(TextSyntax syntax, const std::optional<CarryItem::Fate>& fate,
                     const std::optional<std::string>& closedAt) {
  std::string inner;
  if (fate) inner = "fate: " + std::string(kCarryFateNames[static_cast<std::size_t>(*fate)]);
  if (closedAt) {
    if (!inner.empty()) inner += " \u00B7 ";
    inner += "closed: " + *closedAt;
  }
  return inner.empty() ? std::string() : syntax.meta(inner);
}

struct ItemText {
  std::string text;
  std::optional<CarryItem::Fate> fate;
  std::optional<std::string> closedAt;
};

// Reads the annotation back; an annotation with anything this page does not write stays text.
ItemText readItemText(TextSyntax syntax, std::string_view words) {
  ItemText out{std::string(words), std::nullopt, std::nullopt};
  auto meta = syntax.splitMeta(words);
  if (!meta) return out;
  ItemText parsed{meta->text, std::nullopt, std::nullopt};
  std::string_view rest = meta->inner;
  while (!rest.empty()) {
    const auto dot = rest.find(" \u00B7 ");
    const auto entry = text::trim(rest.substr(0, dot));
    rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 4);
    if (entry.starts_with("fate: ") && !parsed.fate) {
      const auto name = entry.substr(6);
      bool known = false;
      for (std::size_t i = 0; i < kCarryFateNames.size(); ++i) {
        if (kCarryFateNames[i] == name) {
          parsed.fate = static_cast<CarryItem::Fate>(i);
          known = true;
        }
      }
      if (!known) return out;
    } else if (entry.starts_with("closed: ") && !parsed.closedAt && entry.size() > 8) {
      parsed.closedAt = std::string(entry.substr(8));
    } else {
      return out;
    }
  }
  if (!parsed.fate && !parsed.closedAt) return out;
  return parsed;
}

// Tracks the nesting of steps under the items of a list while its lines are read. A step or
// comment line is taken only in the exact form it is written in, so that a line that moves
// under an item (text kept from elsewhere in its section) is written back as it stood.
struct StepNesting {
  std::vector<std::vector<TaskStep>*> levels;  // the step lists open at each depth below items
  std::vector<std::string>* comments = nullptr;
  std::size_t commentIndent = 0;
  // Set once a line under the item is kept as it stands: the lines after it are kept too, since
  // kept lines are written after the steps and must read back the same there.
  bool keeping = false;

  void startItem(std::vector<TaskStep>& steps, std::vector<std::string>& itemComments) {
    levels = {&steps};
    comments = &itemComments;
    commentIndent = 2;
    keeping = false;
  }
  // Takes a step or a comment line under the current item; false for anything else.
  bool take(TextSyntax syntax, std::string_view line) {
    if (levels.empty() || keeping) return false;
    std::size_t indent = 0;
    while (indent < line.size() && line[indent] == ' ') ++indent;
    if (indent == 0) return false;
    if (auto box = CheckboxLine::parse(line.substr(indent))) {
      const std::size_t depth = indent / 2;
      if ((box->mark == " " || box->mark == "x") && indent % 2 == 0 && depth <= levels.size()) {
        auto words = readItemText(syntax, box->text);
        const std::string canonical =
            std::string(indent, ' ') +
            CheckboxLine::render(box->mark,
                                 words.text + itemMeta(syntax, std::nullopt, words.closedAt));
        if (!words.fate && canonical == line) {
          levels.resize(depth);
          auto& list = *levels[depth - 1];
          list.push_back(TaskStep{words.text, box->mark == "x", words.closedAt, {}, {}});
          levels.push_back(&list.back().steps);
          comments = &list.back().comments;
          commentIndent = indent + 2;
          return true;
        }
      }
    }
    if (auto comment = commentText(line);
        comment && std::string(commentIndent, ' ') + commentLine(*comment) == line) {
      comments->push_back(*comment);
      return true;
    }
    return false;
  }
};

// Reads a checklist: items at the margin, their steps indented two spaces per level, comments
// ("> ") under the item or step they follow.
std::vector<CarryItem> readChecklist(SectionReader& reader, std::string_view key) {
  std::vector<CarryItem> items;
  StepNesting nesting;
  const TextSyntax syntax = reader.syntax;
  reader.linesCounting(
      key,
      outsideFences(
          syntax,
          [&](std::string_view line) {
            if (auto box = CheckboxLine::parse(line)) {
              const bool open = box->mark == " ";
              const bool done = box->mark == "x" || box->mark == "X";
              if (open || done) {
                auto words = readItemText(syntax, box->text);
                items.push_back(CarryItem{words.text, done, {}, words.fate, words.closedAt, {}});
                nesting.startItem(items.back().steps, items.back().comments);
                return true;
              }
            }
            if (nesting.take(syntax, line)) return true;
            // Only lines right under an item belong to it.
            nesting = StepNesting{};
            return false;
          },
          refuse()));
  return items;
}

void renderSteps(TextSyntax syntax, const std::vector<TaskStep>& steps, std::size_t depth,
                 std::vector<std::string>& lines) {
  const std::string indent(depth * 2, ' ');
  for (const auto& step : steps) {
    lines.push_back(
        indent + CheckboxLine::render(step.done ? "x" : " ",
                                      step.text + itemMeta(syntax, std::nullopt, step.closedAt)));
    for (const auto& comment : step.comments) lines.push_back(indent + "  " + commentLine(comment));
    renderSteps(syntax, step.steps, depth + 1, lines);
  }
}

std::string renderChecklist(TextSyntax syntax, const std::vector<CarryItem>& items) {
  std::vector<std::string> lines;
  for (const auto& item : items) {
    lines.push_back(CheckboxLine::render(item.done ? "x" : " ",
                                         item.text + itemMeta(syntax, item.fate, item.closedAt)));
    for (const auto& comment : item.comments) lines.push_back("  " + commentLine(comment));
    renderSteps(syntax, item.steps, 1, lines);
  }
  return text::join(lines, "\n");
}

// ---- free text and reflections ----

std::optional<std::string> readText(const SectionReader& reader, std::string_view key, int level) {
  auto body = reader.body(key);
  if (!body || body->empty()) return std::nullopt;
  return reader.syntax.unescape(*body, level);
}

// A rating is a hidden line of its own at the top of a reflection part.
std::string ratingLine(TextSyntax syntax, std::int64_t rating) {
  return std::string(text::trim(syntax.meta("rating: " + std::to_string(rating))));
}

std::optional<std::int64_t> readRating(TextSyntax syntax, std::string_view line) {
  const auto t = text::trim(line);
  const std::string_view open = isMarkdown(syntax) ? "<!-- rating: " : "@@trivo:rating: ";
  const std::string_view close = isMarkdown(syntax) ? " -->" : "@@";
  if (!t.starts_with(open) || !t.ends_with(close) || t.size() <= open.size() + close.size()) {
    return std::nullopt;
  }
  const auto digits = t.substr(open.size(), t.size() - open.size() - close.size());
  if (digits.size() > 6) return std::nullopt;
  std::int64_t value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

// Reads the parts of a reflection section (sub-headings one level down) into answers and
// ratings keyed by the part's key.
void readReflection(SectionReader& reader, std::string_view key,
                    std::span<const KnownSection> parts, Reflection& reflection) {
  auto body = reader.body(key);
  if (!body) return;
  const std::string before = reader.read(*body, kPartLevel, parts, key);
  placeRepeatedHeadings(reader, kPartLevel, parts, key);
  if (!before.empty()) reader.pass.sectionTails[SectionReader::sectionKey(key, "")] = before;
  for (const auto& part : parts) {
    auto text = reader.body(SectionReader::sectionKey(key, part.key));
    if (!text) continue;
    std::string_view rest = *text;
    const auto firstEnd = rest.find('\n');
    if (auto rating = readRating(reader.syntax, rest.substr(0, firstEnd))) {
      reflection.ratings[part.key] = *rating;
      rest = firstEnd == std::string_view::npos ? std::string_view() : rest.substr(firstEnd + 1);
      std::vector<std::string_view> lines = text::lines(rest);
      rest = {};
      const std::string trimmed = Outline::trimBlankLines(lines);
      if (!trimmed.empty())
        reflection.answers[part.key] = reader.syntax.unescape(trimmed, kPartLevel);
      continue;
    }
    if (!rest.empty()) reflection.answers[part.key] = reader.syntax.unescape(rest, kPartLevel);
  }
}

std::string renderReflection(TextSyntax syntax, const Passthrough& pass, std::string_view key,
                             std::span<const KnownSection> parts, const Reflection& reflection) {
  Bodies bodies;
  for (const auto& part : parts) {
    std::vector<std::string> lines;
    if (auto r = reflection.ratings.find(part.key); r != reflection.ratings.end()) {
      lines.push_back(ratingLine(syntax, r->second));
    }
    if (auto a = reflection.answers.find(part.key); a != reflection.answers.end()) {
      lines.push_back(syntax.escape(a->second, kPartLevel));
    }
    bodies[part.key] = text::join(lines, "\n");
  }
  std::string before;
  if (auto it = pass.sectionTails.find(SectionReader::sectionKey(key, ""));
      it != pass.sectionTails.end()) {
    before = it->second;
  }
  for (auto& [part, body] : bodies) body = closeFences(syntax, std::move(body));
  Passthrough closed = pass;
  for (auto& unknown : closed.unknownSections)
    unknown.raw = closeFences(syntax, std::move(unknown.raw));
  return SectionWriter(syntax, closed)
      .write(kPartLevel, key, parts, bodies, closeFences(syntax, std::move(before)));
}

// Leads and tails under a path belong to the parts, which the part writer puts back itself; the
// page writer must only see the section's own.
Passthrough topLevelOnly(const Passthrough& pass) {
  Passthrough out = pass;
  const auto underAPath = [](const auto& entry) {
    return entry.first.find('/') != std::string::npos;
  };
  std::erase_if(out.sectionLeads, underAPath);
  std::erase_if(out.sectionTails, underAPath);
  return out;
}

std::string writeSections(TextSyntax syntax, const Passthrough& pass,
                          std::span<const KnownSection> known, Bodies bodies) {
  Passthrough top = topLevelOnly(pass);
  for (const auto& section : known) {
    std::string& body = bodies[section.key];
    if (auto lead = top.sectionLeads.find(section.key); lead != top.sectionLeads.end()) {
      // A fence left open above the items would take them in when the page is read again.
      std::string above = closeFences(syntax, lead->second);
      body = body.empty() ? std::move(above) : std::move(above) + "\n" + body;
    }
    if (auto tail = top.sectionTails.find(section.key); tail != top.sectionTails.end()) {
      if (!body.empty() && !tail->second.empty()) body += '\n';
      body += tail->second;
    }
    body = closeFences(syntax, std::move(body));
  }
  top.sectionLeads.clear();
  top.sectionTails.clear();
  for (auto& unknown : top.unknownSections)
    unknown.raw = closeFences(syntax, std::move(unknown.raw));
  return SectionWriter(syntax, top)
      .write(kSectionLevel, "", known, bodies, closeFences(syntax, preambleOf(pass)));
}

std::string monthName(std::int64_t month) {
  const std::string_view name = englishMonthName(month);
  return name.empty() ? std::to_string(month) : std::string(name);
}

std::vector<FrontmatterField> hotspotField(TextSyntax syntax,
                                           const std::vector<std::string>& hotspots) {
  if (hotspots.empty()) return {};
  return {FrontmatterField{"hotspots", renderList(syntax, hotspots)}};
}

// ---- day page parts ----

// Splits hidden metadata entries ("key: value · flag"); an empty inner text gives none. The
// entries are views into `inner`: a long inbox reads thousands of them.
std::vector<std::string_view> metaEntries(std::string_view inner) {
  std::vector<std::string_view> out;
  while (!inner.empty()) {
    const auto dot = inner.find(" \u00B7 ");
    const auto entry = text::trim(inner.substr(0, dot));
    if (!entry.empty()) out.emplace_back(entry);
    if (dot == std::string_view::npos) break;
    inner = inner.substr(dot + 4);
  }
  return out;
}

std::string joinMeta(TextSyntax syntax, const std::vector<std::string>& entries) {
  return entries.empty() ? std::string() : syntax.meta(text::join(entries, " \u00B7 "));
}

void renderItemTail(TextSyntax syntax, const std::vector<std::string>& comments,
                    const std::vector<TaskStep>& steps, std::vector<std::string>& lines) {
  for (const auto& comment : comments) lines.push_back("  " + commentLine(comment));
  renderSteps(syntax, steps, 1, lines);
}

// What an inbox item's line holds after its box or keyword: task marks, serves mark and the
// hidden dates and flags. An Org heading item (`planned`) carries its due day and time, its close
// stamp, its hidden day and a repeat Org can express on its planning line instead.
std::string inboxItemWords(TextSyntax syntax, const InboxItem& item, std::string_view text,
                           bool planned) {
  const bool repeatPlanned =
      planned && item.repeats && item.due && item.repeats->orgRepeater(*item.due);
  TaskMarks::Parts parts{item.priority, std::string(text), planned ? std::nullopt : item.due,
                         planned ? std::nullopt : item.time, item.alerts};
  std::string words = ServesLink::join(TaskMarks::render(parts), item.serves);
  std::vector<std::string> meta;
  if (!item.id.empty()) meta.push_back("id: " + item.id);
  if (item.captured) meta.push_back("captured: " + item.captured->isoString());
  if (item.pulledInto) meta.push_back("pulled: " + item.pulledInto->isoString());
  if (item.closed && !planned) {
    meta.push_back("closed: " + item.closed->isoString() +
                   (item.closedTime ? " " + item.closedTime->description() : std::string()));
  }
  if (item.hiddenUntil && !planned) meta.push_back("hidden: " + item.hiddenUntil->isoString());
  if (item.repeats && !repeatPlanned) meta.push_back("repeat: " + item.repeats->phrase());
  if (!item.doneDates.empty()) {
    std::string days;
    for (const auto& d : item.doneDates) days += (days.empty() ? "" : ",") + d.isoString();
    meta.push_back("done: " + days);
  }
  if (item.someday) meta.push_back("someday");
  if (item.waiting) meta.push_back("waiting");
  if (item.blocked && item.done) meta.push_back("blocked");
  for (const auto& extra : item.extraMeta) meta.push_back(extra);
  return words + joinMeta(syntax, meta);
}

// An inbox item as a list line.
std::string inboxItemLine(TextSyntax syntax, const InboxItem& item) {
  const std::string_view mark = item.done ? "x" : item.blocked ? "-" : " ";
  return CheckboxLine::render(mark, inboxItemWords(syntax, item, item.text, false));
}

// Reads what `inboxItemWords` writes into the item. A heading item (`planned`) takes no due day
// or time from its words: those are on its planning line, and a mark in its words is text.
void readInboxWords(TextSyntax syntax, std::string words, InboxItem& item, bool planned) {
  if (auto meta = syntax.splitMeta(words)) {
    words = meta->text;
    // Each known entry counts once; a repeated or unreadable one is kept as it stands.
    enum Known : unsigned {
      kUnknown = 0, kId = 1, kCaptured = 2, kPulled = 4, kHidden = 8, kClosed = 16,
      kRepeat = 32, kDone = 64, kSomeday = 128, kWaiting = 256, kBlocked = 512
    };
    unsigned seen = 0;
    for (const std::string_view entry : metaEntries(meta->inner)) {
      const auto colon = entry.find(": ");
      const std::string_view key = colon == std::string_view::npos ? entry : entry.substr(0, colon);
      const std::string_view value =
          colon == std::string_view::npos ? std::string_view() : entry.substr(colon + 2);
      const Known known = key == "id"                             ? kId
                          : key == "captured"                     ? kCaptured
                          : key == "pulled"                       ? kPulled
                          : key == "hidden"                       ? kHidden
                          : key == "closed"                       ? kClosed
                          : key == "repeat"                       ? kRepeat
                          : key == "done"                         ? kDone
                          : entry == "someday"                    ? kSomeday
                          : entry == "waiting"                    ? kWaiting
                          : (entry == "blocked" && item.done)     ? kBlocked
                                                                  : kUnknown;
      auto readDay = [&value](std::optional<DayDate>& field) {
        field = DayDate::parse(value);
        return field.has_value();
      };
      bool taken = false;
      if (known != kUnknown && !(seen & known)) {
        switch (known) {
          case kId:
            item.id = value;
            taken = !value.empty();
            break;
          case kCaptured:
            taken = readDay(item.captured);
            break;
          case kPulled:
            taken = readDay(item.pulledInto);
            break;
          case kHidden:
            taken = readDay(item.hiddenUntil);
            break;
          case kClosed: {
            const auto day = DayDate::parse(value.substr(0, 10));
            const auto time = value.size() > 11 && value[10] == ' '
                                  ? ClockTime::parse(value.substr(11))
                                  : std::nullopt;
            taken = day && (value.size() == 10 || time);
            if (taken) {
              item.closed = day;
              item.closedTime = time;
            }
            break;
          }
          case kRepeat:
            item.repeats = Repeat::fromPhrase(value);
            taken = item.repeats.has_value();
            break;
          case kDone: {
            taken = !value.empty();
            std::string_view rest = value;
            while (taken) {
              const auto comma = rest.find(',');
              const auto d = DayDate::parse(rest.substr(0, comma));
              taken = d.has_value();
              if (d) item.doneDates.push_back(*d);
              if (!d || comma == std::string_view::npos) break;
              rest = rest.substr(comma + 1);
            }
            if (!taken) item.doneDates.clear();
            break;
          }
          case kSomeday:
            item.someday = taken = true;
            break;
          case kWaiting:
            item.waiting = taken = true;
            break;
          case kBlocked:
            item.blocked = taken = true;
            break;
          case kUnknown:
            break;
        }
      }
      if (taken) {
        seen |= known;
      } else {
        item.extraMeta.emplace_back(entry);
      }
    }
  }
  auto serves = ServesLink::split(words);
  item.serves = serves.serves;
  auto parts = TaskMarks::parse(serves.text, !planned);
  item.priority = parts.priority;
  item.text = parts.words;
  item.due = parts.due;
  item.time = parts.time;
  item.alerts = parts.alerts;
}

std::optional<InboxItem> readInboxItemLine(TextSyntax syntax, std::string_view line) {
  auto box = CheckboxLine::parse(line);
  if (!box) return std::nullopt;
  auto state = CheckboxLine::stateFor(box->mark);
  if (!state) return std::nullopt;
  InboxItem item;
  item.done = *state == OutcomeState::done;
  item.blocked = *state == OutcomeState::blocked;
  readInboxWords(syntax, box->text, item, false);
  return item;
}

// A consume step for the lines of an item list: items, their steps and comments, and lines
// indented under an item that nothing else takes.
std::function<bool(std::string_view)> inboxItemReader(TextSyntax syntax,
                                                      std::vector<InboxItem>& items) {
  auto nesting = std::make_shared<StepNesting>();
  return [syntax, &items, nesting](std::string_view line) {
    if (auto item = readInboxItemLine(syntax, line)) {
      items.push_back(std::move(*item));
      nesting->startItem(items.back().subtasks, items.back().comments);
      return true;
    }
    // A blank line ends the item: what follows it is not the item's.
    if (text::isBlank(line)) {
      *nesting = StepNesting{};
      return false;
    }
    if (nesting->take(syntax, line)) return true;
    if (!nesting->levels.empty() && line.starts_with("  ")) {
      items.back().trailingLines.emplace_back(line.substr(2));
      nesting->keeping = true;
      return true;
    }
    *nesting = StepNesting{};
    return false;
  };
}

std::vector<InboxItem> readInboxItems(SectionReader& reader, std::string_view key) {
  std::vector<InboxItem> items;
  reader.linesCounting(
      key, outsideFences(reader.syntax, inboxItemReader(reader.syntax, items), refuse()));
  return items;
}

// An inbox item as a list line with its comments, steps and kept lines under it.
void renderInboxItem(TextSyntax syntax, const InboxItem& item, std::vector<std::string>& lines) {
  lines.push_back(inboxItemLine(syntax, item));
  renderItemTail(syntax, item.comments, item.subtasks, lines);
  for (const auto& raw : item.trailingLines) lines.push_back("  " + raw);
}

std::string renderInboxItems(TextSyntax syntax, const std::vector<InboxItem>& items) {
  std::vector<std::string> lines;
  for (const auto& item : items) renderInboxItem(syntax, item, lines);
  return text::join(lines, "\n");
}

// The list items of the text above an inbox's first heading; returns the lines they leave
// (runs of blank lines made one).
std::string parseInboxText(TextSyntax syntax, std::string_view text,
                           std::vector<InboxItem>& items) {
  std::vector<std::string_view> kept;
  // Room for every line that may start an item, so that a long inbox's items (large records)
  // are not moved again and again as the list grows.
  std::size_t starts = text.starts_with("- [") ? 1 : 0;
  for (auto at = text.find("\n- ["); at != std::string_view::npos;
       at = text.find("\n- [", at + 1)) {
    ++starts;
  }
  // One more for the item a capture appends, which would otherwise move them all once more.
  items.reserve(items.size() + starts + 1);
  auto consume = outsideFences(syntax, inboxItemReader(syntax, items), refuse());
  for (auto line : text::lines(text)) {
    if (!consume(line) && !(text::isBlank(line) && (kept.empty() || text::isBlank(kept.back())))) {
      kept.push_back(line);
    }
  }
  return Outline::trimBlankLines(kept);
}

// ---- Org inbox items written as headings ----
//
// * TODO [#A] Call Ana → #2 @@trivo:captured: 2026-09-06@@ :phone:
// CLOSED: [2026-09-12 Sat 10:15] DEADLINE: <2026-09-20 Sun 10:00 +1w> SCHEDULED: <2026-09-18 Fri>
// :PROPERTIES:
// :CATEGORY: home
// :END:
// :LOGBOOK:
// CLOCK: [2026-09-11 Fri 09:00]--[2026-09-11 Fri 09:30] =>  0:30
// :END:
// <2026-09-21 Mon 15:00>
//   > a comment
//   - [ ] a step
// Anything else under the heading, kept as written.
//
// DEADLINE is the due day (with its time and an Org repeater), SCHEDULED the day the item shows
// again, CLOSED its close stamp. Whatever else the planning line holds, the drawers' lines and
// time stamps on lines of their own are kept in the item's Org fields.

// A time stamp the item can hold: a day, its weekday name, a time and a repeater, no more (a
// time range or a warning period stays on the planning line as written).
struct OrgStamp {
  DayDate day;
  std::optional<ClockTime> time;
  std::optional<std::string> repeater;
};

std::optional<OrgStamp> readOrgStamp(std::string_view stamp) {
  static const Regex pattern(
      R"(^[<\[](\d{4}-\d{2}-\d{2})(?: [^\s\d<>\[\]+.-]+)?(?: (\d{1,2}:\d{2}))?(?: ((?:\.\+|\+\+|\+)\d+[dwmy]))?[>\]]$)");
  auto m = pattern.matchWhole(stamp);
  if (!m) return std::nullopt;
  auto day = DayDate::parse((*m)[1]);
  if (!day) return std::nullopt;
  OrgStamp out{*day, std::nullopt, std::nullopt};
  if (auto time = m->group(2)) {
    out.time = ClockTime::parse(*time);
    if (!out.time) return std::nullopt;
  }
  if (auto repeater = m->group(3)) out.repeater = std::string(*repeater);
  return out;
}

std::string orgStampText(char open, const DayDate& day, const std::optional<ClockTime>& time,
                         const std::optional<std::string>& repeater) {
  std::string out(1, open);
  out += day.isoString() + " " + std::string(TextSyntax::weekdayName(day));
  if (time) out += " " + time->description();
  if (repeater) out += " " + *repeater;
  out += open == '<' ? '>' : ']';
  return out;
}

// Reads the planning line into the item; what it cannot take becomes `orgPlanningRest`.
void readPlanning(std::string_view line, InboxItem& item) {
  static const Regex token(R"((SCHEDULED|DEADLINE|CLOSED):[ \t]*(<[^<>]*>|\[[^\[\]]*\]))");
  std::vector<std::string_view> rest;
  std::size_t at = 0;
  for (const auto& m : token.findAll(line)) {
    rest.push_back(line.substr(at, m.begin() - at));
    at = m.end();
    const std::string_view word = m[1];
    const std::string_view stamp = m[2];
    const auto read = readOrgStamp(stamp);
    const bool active = stamp.front() == '<';
    bool taken = false;
    if (read && word == "DEADLINE" && active && !item.due) {
      std::optional<Repeat> repeats;
      if (read->repeater) repeats = Repeat::fromOrgRepeater(*read->repeater);
      // A repeat read from the item's words already, or one Org writes but we cannot keep,
      // leaves the whole stamp as written.
      if (!read->repeater || (repeats && !item.repeats)) {
        item.due = read->day;
        item.time = read->time;
        if (repeats) item.repeats = repeats;
        taken = true;
      }
    } else if (read && word == "SCHEDULED" && active && !item.hiddenUntil && !read->time &&
               !read->repeater) {
      item.hiddenUntil = read->day;
      taken = true;
    } else if (read && word == "CLOSED" && !active && !item.closed && !read->repeater) {
      item.closed = read->day;
      item.closedTime = read->time;
      taken = true;
    }
    if (!taken) rest.push_back(m[0]);
  }
  rest.push_back(line.substr(at));
  // The line's indentation is part of what no field holds (Emacs indents it under the heading).
  std::string joined(line.substr(0, line.find_first_not_of(" \t")));
  for (auto piece : rest) {
    piece = text::trim(piece);
    if (piece.empty()) continue;
    if (!text::isBlank(joined)) joined += ' ';
    joined += piece;
  }
  if (!joined.empty()) item.orgPlanningRest = joined;
}

std::string planningLine(const InboxItem& item) {
  std::vector<std::string> parts;
  if (item.closed)
    parts.push_back("CLOSED: " + orgStampText('[', *item.closed, item.closedTime, {}));
  if (item.due) {
    parts.push_back("DEADLINE: " + orgStampText('<', *item.due, item.time,
                                                item.repeats ? item.repeats->orgRepeater(*item.due)
                                                             : std::nullopt));
  }
  if (item.hiddenUntil) {
    parts.push_back("SCHEDULED: " + orgStampText('<', *item.hiddenUntil, {}, {}));
  }
  const std::string rest = item.orgPlanningRest.value_or("");
  const std::size_t words = std::min(rest.find_first_not_of(" \t"), rest.size());
  if (words < rest.size()) parts.emplace_back(rest.substr(words));
  if (parts.empty()) return {};
  return std::string(rest.substr(0, words)) + text::join(parts, " ");
}

bool isDrawerLine(std::string_view line, std::string_view name) {
  return text::equalsNoCase(text::trim(line), name);
}

// The lines of a drawer that opens at `lines[at]` up to its ":END:", moving `at` past it;
// nothing (and `at` unchanged) when the drawer never closes.
std::optional<std::vector<std::string>> readDrawer(const std::vector<std::string_view>& lines,
                                                   std::size_t& at) {
  for (std::size_t end = at + 1; end < lines.size(); ++end) {
    if (!isDrawerLine(lines[end], ":END:")) continue;
    std::vector<std::string> inside(lines.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                                    lines.begin() + static_cast<std::ptrdiff_t>(end));
    at = end + 1;
    return inside;
  }
  return std::nullopt;
}

bool isStampLine(std::string_view line) {
  static const Regex stamp(R"(^[ \t]*<\d{4}-\d{2}-\d{2}[^<>]*>[ \t]*$)");
  return stamp.contains(line);
}

// A top-level Org heading with a keyword, and what stands under it, as one inbox item.
std::optional<InboxItem> readUnderHeading(TextSyntax syntax, const TodoWords& words,
                                          std::string_view raw) {
  const std::size_t firstEnd = raw.find('\n');
  const std::string_view heading = raw.substr(0, firstEnd);
  if (!heading.starts_with("* ")) return std::nullopt;
  const auto task = TextSyntax::orgHeadingTask(heading, words);
  if (!task) return std::nullopt;
  InboxItem item;
  item.orgHeading = true;
  item.done = task->state == OutcomeState::done;
  item.blocked = task->state == OutcomeState::blocked;
  if (TextSyntax::orgKeywordWord(task->state, std::nullopt) != task->keyword.word) {
    item.orgKeyword = task->keyword;
  }
  // Tags close an Org heading; the hidden annotation and the marks come before them.
  const auto tagged = syntax.splitTags(task->text);
  readInboxWords(syntax, tagged.title, item, true);
  if (!tagged.tags.empty()) {
    item.text += (item.text.empty() ? "" : " ") + syntax.renderTags(tagged.tags);
  }

  const std::vector<std::string_view> lines = firstEnd == std::string_view::npos
                                                  ? std::vector<std::string_view>{}
                                                  : text::lines(raw.substr(firstEnd + 1));
  std::size_t at = 0;
  while (at < lines.size() && text::isBlank(lines[at])) ++at;
  if (at < lines.size() && TextSyntax::isPlanning(lines[at])) readPlanning(lines[at++], item);
  bool properties = false;
  bool logbook = false;
  while (at < lines.size()) {
    std::optional<std::vector<std::string>> drawer;
    // Org reads a property drawer only before the logbook; one after it stays where it stood.
    if (!properties && !logbook && isDrawerLine(lines[at], ":PROPERTIES:")) {
      drawer = readDrawer(lines, at);
      properties = drawer.has_value();
      if (drawer) item.orgProperties = std::move(*drawer);
    } else if (!logbook && isDrawerLine(lines[at], ":LOGBOOK:")) {
      drawer = readDrawer(lines, at);
      logbook = drawer.has_value();
      if (drawer) item.orgLogbook = std::move(*drawer);
    }
    if (!drawer) break;
  }
  while (at < lines.size() && isStampLine(lines[at])) item.orgStampExtra.emplace_back(lines[at++]);

  StepNesting nesting;
  nesting.startItem(item.subtasks, item.comments);
  FenceTracker fences(syntax);
  // Blank lines between the heading's own lines and what follows them carry nothing.
  while (at < lines.size() && text::isBlank(lines[at])) ++at;
  for (; at < lines.size(); ++at) {
    const std::string_view line = lines[at];
    const bool inFence = fences.inFence();
    if (fences.feed(line) || inFence || !nesting.take(syntax, line)) {
      item.trailingLines.emplace_back(line);
      nesting.keeping = true;
    }
  }
  while (!item.trailingLines.empty() && text::isBlank(item.trailingLines.back())) {
    item.trailingLines.pop_back();
  }
  return item;
}

std::string asOrgHeading(TextSyntax syntax, const InboxItem& item) {
  const OutcomeState state = item.done      ? OutcomeState::done
                             : item.blocked ? OutcomeState::blocked
                                            : OutcomeState::planned;
  const auto tagged = syntax.splitTags(item.text);
  std::string words = inboxItemWords(syntax, item, tagged.title, true);
  if (!tagged.tags.empty()) words += " " + syntax.renderTags(tagged.tags);
  std::vector<std::string> lines = {"* " + TextSyntax::orgKeywordWord(state, item.orgKeyword) +
                                    (words.empty() ? "" : " " + words)};
  if (std::string planning = planningLine(item); !planning.empty()) lines.push_back(planning);
  // A drawer's first and last lines take the indentation of its first line inside.
  auto drawer = [&lines](std::string_view name, const std::vector<std::string>& inside) {
    if (inside.empty()) return;
    const std::string indent = inside.front().substr(
        0, std::min(inside.front().find_first_not_of(" \t"), inside.front().size()));
    lines.push_back(indent + std::string(name));
    lines.insert(lines.end(), inside.begin(), inside.end());
    lines.push_back(indent + ":END:");
  };
  drawer(":PROPERTIES:", item.orgProperties);
  drawer(":LOGBOOK:", item.orgLogbook);
  lines.insert(lines.end(), item.orgStampExtra.begin(), item.orgStampExtra.end());
  renderItemTail(syntax, item.comments, item.subtasks, lines);
  lines.insert(lines.end(), item.trailingLines.begin(), item.trailingLines.end());
  return text::join(lines, "\n");
}

// A journal line: "- 09:14 — words" on Markdown, "- [2026-09-11 Fri 09:14] words" on Org.
std::optional<JournalEntry> readJournalLine(TextSyntax syntax, std::string_view line) {
  if (!line.starts_with("- ")) return std::nullopt;
  auto rest = line.substr(2);
  std::optional<ClockTime> time;
  if (isMarkdown(syntax)) {
    const auto space = rest.find(' ');
    time = ClockTime::parse(rest.substr(0, space));
    if (!time || space == std::string_view::npos) return std::nullopt;
    rest = rest.substr(space + 1);
    constexpr std::string_view dash = "\u2014";
    if (!rest.starts_with(dash)) return std::nullopt;
    rest = rest.substr(dash.size());
  } else {
    if (!rest.starts_with('[')) return std::nullopt;
    const auto close = rest.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    const auto stamp = rest.substr(1, close - 1);
    if (!DayDate::parse(stamp.substr(0, 10))) return std::nullopt;
    const auto lastSpace = stamp.rfind(' ');
    if (lastSpace == std::string_view::npos) return std::nullopt;
    time = ClockTime::parse(stamp.substr(lastSpace + 1));
    if (!time) return std::nullopt;
    rest = rest.substr(close + 1);
  }
  if (!rest.empty() && rest.front() != ' ') return std::nullopt;
  return JournalEntry{*time, std::string(text::trim(rest))};
}

std::string journalHead(TextSyntax syntax, const DayDate& day, const JournalEntry& entry,
                        std::string_view first) {
  std::string head = isMarkdown(syntax) ? "- " + entry.time.description() + " \u2014"
                                        : "- " + TextSyntax::inactiveStamp(day, entry.time);
  if (!first.empty()) head += " " + std::string(first);
  return head;
}

std::vector<JournalEntry> readJournal(SectionReader& reader, std::string_view key) {
  std::vector<JournalEntry> entries;
  bool open = false;  // the last line read belongs to the last entry
  reader.linesCounting(key, outsideFences(
                                reader.syntax,
                                [&](std::string_view line) {
                                  if (auto entry = readJournalLine(reader.syntax, line)) {
                                    entries.push_back(std::move(*entry));
                                    open = true;
                                    return true;
                                  }
                                  // Lines indented right under an entry continue it.
                                  if (open && line.starts_with("  ")) {
                                    entries.back().text += "\n" + std::string(line.substr(2));
                                    return true;
                                  }
                                  open = false;
                                  return false;
                                },
                                refuse()));
  return entries;
}

std::string renderJournal(TextSyntax syntax, const DayDate& day,
                          const std::vector<JournalEntry>& entries) {
  std::vector<std::string> lines;
  for (const auto& entry : entries) {
    const auto parts = text::lines(entry.text);
    lines.push_back(journalHead(syntax, day, entry, parts.front()));
    for (std::size_t i = 1; i < parts.size(); ++i) lines.push_back("  " + std::string(parts[i]));
  }
  return text::join(lines, "\n");
}

// A session line: "- 09:30–09:55 · 25m · the outcome", with its quality and kind hidden.
std::string sessionLine(TextSyntax syntax, const FocusSession& session) {
  std::string line = "- " + session.start.description();
  if (session.end) line += "\u2013" + session.end->description();
  line += " \u00B7 " + std::to_string(session.minutes) + "m";
  if (!session.outcome.empty()) line += " \u00B7 " + session.outcome;
  std::vector<std::string> meta;
  if (session.quality) {
    meta.push_back("quality: " +
                   std::string(kFocusQualityNames[static_cast<std::size_t>(*session.quality)]));
  }
  if (session.pomodoro) meta.push_back("pomodoro");
  return line + joinMeta(syntax, meta);
}

std::optional<FocusSession> readSessionLine(TextSyntax syntax, std::string_view line) {
  if (!line.starts_with("- ")) return std::nullopt;
  std::string body(line.substr(2));
  FocusSession session;
  if (auto meta = syntax.splitMeta(body)) {
    bool understood = true;
    FocusSession flags;
    for (const auto& entry : metaEntries(meta->inner)) {
      if (entry == "pomodoro" && !flags.pomodoro) {
        flags.pomodoro = true;
        continue;
      }
      bool known = false;
      for (std::size_t i = 0; i < kFocusQualityNames.size(); ++i) {
        if (!flags.quality && entry == "quality: " + std::string(kFocusQualityNames[i])) {
          flags.quality = static_cast<FocusSession::Quality>(i);
          known = true;
        }
      }
      understood = understood && known;
    }
    if (understood) {
      session.quality = flags.quality;
      session.pomodoro = flags.pomodoro;
      body = meta->text;
    }
  }
  constexpr std::string_view sep = " \u00B7 ";
  const auto first = body.find(sep);
  if (first == std::string::npos) return std::nullopt;
  const std::string_view times = std::string_view(body).substr(0, first);
  constexpr std::string_view enDash = "\u2013";
  const auto dash = times.find(enDash);
  auto start = ClockTime::parse(times.substr(0, dash));
  if (!start) return std::nullopt;
  session.start = *start;
  if (dash != std::string_view::npos) {
    session.end = ClockTime::parse(times.substr(dash + enDash.size()));
    if (!session.end) return std::nullopt;
  }
  std::string_view rest = std::string_view(body).substr(first + sep.size());
  const auto second = rest.find(sep);
  std::string_view minutes = rest.substr(0, second);
  if (minutes.size() < 2 || minutes.size() > 7 || !minutes.ends_with('m')) return std::nullopt;
  minutes.remove_suffix(1);
  std::int64_t value = 0;
  for (char c : minutes) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  session.minutes = value;
  if (second != std::string_view::npos) {
    session.outcome = std::string(rest.substr(second + sep.size()));
    if (session.outcome.empty()) return std::nullopt;
  }
  return session;
}

std::vector<FocusSession> readSessions(SectionReader& reader, std::string_view key) {
  std::vector<FocusSession> sessions;
  StepNesting nesting;
  reader.linesCounting(key, outsideFences(
                                reader.syntax,
                                [&](std::string_view line) {
                                  if (auto session = readSessionLine(reader.syntax, line)) {
                                    sessions.push_back(std::move(*session));
                                    nesting.startItem(sessions.back().steps,
                                                      sessions.back().comments);
                                    return true;
                                  }
                                  if (nesting.take(reader.syntax, line)) return true;
                                  nesting = StepNesting{};
                                  return false;
                                },
                                refuse()));
  return sessions;
}

std::string renderSessions(TextSyntax syntax, const std::vector<FocusSession>& sessions) {
  std::vector<std::string> lines;
  for (const auto& session : sessions) {
    lines.push_back(sessionLine(syntax, session));
    renderItemTail(syntax, session.comments, session.steps, lines);
  }
  return text::join(lines, "\n");
}

std::string dayTitle(const DayDate& day) {
  static constexpr std::array<std::string_view, 7> names = {
      "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
  const auto index = static_cast<std::size_t>(static_cast<int>(day.weekday()) - 1);
  return std::string(names[index % 7]) + ", " + std::to_string(day.day) + " " +
         monthName(day.month) + " " + std::to_string(day.year);
}

}  // namespace

MarkdownSerializer::MarkdownSerializer(YearMode yearMode, TextSyntax syntax)
    : yearMode_(yearMode), syntax_(syntax) {
  auto section = [](std::string_view key, std::string_view contentKey) {
    return KnownSection{std::string(key), heading(contentKey, key)};
  };
  dayKeys_ = {section("outcomes", "file.day.outcomes"), section("checklist", "file.day.checklist"),
              section("pulled", "file.day.pulled"),     section("notes", "file.day.notes"),
              section("journal", "file.day.journal"),   section("tomorrow", "file.day.tomorrow"),
              section("sessions", "file.day.sessions")};
  weekKeys_ = {section("outcomes", "file.week.outcomes"),
               section("checklist", "file.week.checklist"),
               section("reflection", "file.week.reflection")};
  fridayKeys_ = {section("friday.well", "file.friday.well"),
                 section("friday.improve", "file.friday.improve"),
                 section("friday.mattered", "file.friday.mattered")};
  monthKeys_ = {section("outcomes", "file.month.outcomes"),
                section("reflection", "file.month.reflection")};
  // A vault that plans by calendar months lists the quarter's outcomes by month.
  quarterKeys_ = {yearMode == YearMode::calendar
                      ? section("outcomes", "file.quarter.outcomes_calendar")
                      : section("outcomes", "file.quarter.outcomes"),
                  section("reflection", "file.quarter.reflection"),
                  section("mindsweep", "file.quarter.mindsweep")};
  quarterGroupKeys_ = {
      section("ground_rules", "file.quarter.ground_rules"),
      section("check_in", "file.quarter.check_in"),
      section("opening", "file.quarter.opening"),
      section("roles_audit", "file.quarter.roles_audit"),
      KnownSection{"how_did_i_do", heading("file.quarter.how_did_i_do", "How did I do?")},
      section("closing", "file.quarter.closing"),
      KnownSection{"anything_else", heading("file.quarter.anything_else", "Anything else")}};
  yearKeys_ = {section("outcomes", "file.year.outcomes"),
               section("year.gratitude", "file.year.gratitude")};
}

// ---- inbox ----

Inbox MarkdownSerializer::parseInbox(std::string_view text) const {
  auto page = openPage(syntax_, text, {{"type", std::nullopt}, {"title", std::nullopt}}, {});
  Inbox inbox;
  const std::string rest =
      parseInboxText(syntax_, page.reader.pass.preamble.value_or(""), inbox.items);
  page.reader.pass.preamble.reset();
  if (!rest.empty()) page.reader.pass.preamble = rest;
  if (!isMarkdown(syntax_)) {
    // Top-level headings with a keyword are items too; other headings are the person's own.
    std::erase_if(page.reader.pass.unknownSections, [&](const UnknownSection& section) {
      auto item = readUnderHeading(syntax_, page.reader.todoWords(), section.raw);
      if (item) inbox.items.push_back(std::move(*item));
      return item.has_value();
    });
  }
  inbox.passthrough = std::move(page.reader.pass);
  return inbox;
}

// List items come first, then what else stood above the first heading, then the heading items
// (a list line after a heading would belong to that heading), then the person's own sections.
std::string MarkdownSerializer::renderInbox(const Inbox& inbox) const {
  std::vector<std::string> listed;
  std::vector<std::string> headings;
  for (const auto& item : inbox.items) {
    if (item.orgHeading && !isMarkdown(syntax_)) {
      headings.push_back(asOrgHeading(syntax_, item));
    } else {
      renderInboxItem(syntax_, item, listed);
    }
  }
  std::vector<std::string> parts = {text::join(listed, "\n"), preambleOf(inbox.passthrough),
                                    text::join(headings, "\n")};
  Passthrough pass = inbox.passthrough;
  pass.preamble = Outline::join(parts);
  const std::string body = writeSections(syntax_, pass, {}, {});
  return assemblePage(syntax_, heading("file.inbox.title", "Inbox"), {{"type", "inbox"}},
                      inbox.passthrough, body);
}

std::string MarkdownSerializer::renderInboxListItem(const InboxItem& item) const {
  std::vector<std::string> lines;
  renderInboxItem(syntax_, item, lines);
  return text::join(lines, "\n");
}

// ---- day ----

DayEntry MarkdownSerializer::parseDay(std::string_view text, const DayDate& date) const {
  auto page = openPage(syntax_, text,
                       {{"date", date.isoString()},
                        {"type", std::nullopt},
                        {"activity", std::nullopt},
                        {"liked", std::nullopt},
                        {"title", std::nullopt}},
                       dayKeys_);
  DayEntry entry;
  entry.date = date;
  entry.activities = readListField(page, syntax_, "activity");
  readField(page, "liked", [&](std::string_view value) {
    const auto flag = text::trim(value);
    if (flag == "false") return FieldValue::implied;
    if (flag != "true") return FieldValue::refused;
    entry.liked = true;
    return FieldValue::taken;
  });
  entry.outcomes = readOutcomes(page.reader, "outcomes", Scope::day);
  entry.checklist = readChecklist(page.reader, "checklist");
  entry.pulledItems = readInboxItems(page.reader, "pulled");
  entry.notes = readText(page.reader, "notes", kSectionLevel).value_or("");
  entry.journal = readJournal(page.reader, "journal");
  entry.forTomorrow = readChecklist(page.reader, "tomorrow");
  entry.sessions = readSessions(page.reader, "sessions");
  settleOrgOutcomes(syntax_, entry.outcomes, date, entry.sessions);
  entry.passthrough = std::move(page.reader.pass);
  return entry;
}

std::string MarkdownSerializer::renderDay(const DayEntry& entry) const {
  std::vector<FrontmatterField> fields = {{"date", entry.date.isoString()}, {"type", "day"}};
  if (!entry.activities.empty())
    fields.push_back({"activity", renderList(syntax_, entry.activities)});
  if (entry.liked) fields.push_back({"liked", "true"});
  Bodies bodies;
  bodies["outcomes"] = renderOutcomes(syntax_, entry.outcomes, entry.date, entry.sessions);
  bodies["checklist"] = renderChecklist(syntax_, entry.checklist);
  bodies["pulled"] = renderInboxItems(syntax_, entry.pulledItems);
  bodies["notes"] = syntax_.escape(entry.notes, kSectionLevel);
  bodies["journal"] = renderJournal(syntax_, entry.date, entry.journal);
  bodies["tomorrow"] = renderChecklist(syntax_, entry.forTomorrow);
  bodies["sessions"] = renderSessions(syntax_, entry.sessions);
  return assemblePage(syntax_, dayTitle(entry.date), std::move(fields), entry.passthrough,
                      writeSections(syntax_, entry.passthrough, dayKeys_, bodies));
}

// ---- week ----

WeekEntry MarkdownSerializer::parseWeek(std::string_view text, const ISOWeek& week) const {
  auto page = openPage(syntax_, text,
                       {{"week", week.id()},
                        {"type", std::nullopt},
                        {"target_friday", std::nullopt},
                        {"hotspots", std::nullopt},
                        {"title", std::nullopt}},
                       weekKeys_);
  WeekEntry entry;
  entry.week = week;
  entry.targetFriday = week.friday();
  readField(page, "target_friday", [&](std::string_view value) {
    const auto day = DayDate::parse(text::trim(value));
    if (!day) return FieldValue::refused;
    entry.targetFriday = *day;
    return FieldValue::taken;
  });
  entry.hotspots = readListField(page, syntax_, "hotspots");
  entry.outcomes = readOutcomes(page.reader, "outcomes", Scope::week);
  settleOrgOutcomes(syntax_, entry.outcomes, week.sunday());
  entry.checklist = readChecklist(page.reader, "checklist");
  readReflection(page.reader, "reflection", fridayKeys_, entry.reflection);
  entry.passthrough = std::move(page.reader.pass);
  return entry;
}

std::string MarkdownSerializer::renderWeek(const WeekEntry& entry) const {
  std::vector<FrontmatterField> fields = {{"week", entry.week.id()},
                                          {"type", "week"},
                                          {"target_friday", entry.targetFriday.isoString()}};
  for (auto& f : hotspotField(syntax_, entry.hotspots)) fields.push_back(std::move(f));
  Bodies bodies;
  bodies["outcomes"] = renderOutcomes(syntax_, entry.outcomes, entry.week.sunday());
  bodies["checklist"] = renderChecklist(syntax_, entry.checklist);
  bodies["reflection"] =
      renderReflection(syntax_, entry.passthrough, "reflection", fridayKeys_, entry.reflection);
  return assemblePage(
      syntax_, "Week " + std::to_string(entry.week.week) + ", " + std::to_string(entry.week.year),
      std::move(fields), entry.passthrough,
      writeSections(syntax_, entry.passthrough, weekKeys_, bodies));
}

// ---- month ----

MonthEntry MarkdownSerializer::parseMonth(std::string_view text, const YearMonth& month) const {
  auto page = openPage(syntax_, text,
                       {{"month", month.id()},
                        {"type", std::nullopt},
                        {"hotspots", std::nullopt},
                        {"title", std::nullopt}},
                       monthKeys_);
  MonthEntry entry;
  entry.month = month;
  entry.hotspots = readListField(page, syntax_, "hotspots");
  entry.outcomes = readOutcomes(page.reader, "outcomes", Scope::month);
  settleOrgOutcomes(syntax_, entry.outcomes, month.lastDay());
  if (auto answer = readText(page.reader, "reflection", kSectionLevel)) {
    entry.reflection.answers["reflection"] = *answer;
  }
  entry.passthrough = std::move(page.reader.pass);
  return entry;
}

std::string MarkdownSerializer::renderMonth(const MonthEntry& entry) const {
  std::vector<FrontmatterField> fields = {{"month", entry.month.id()}, {"type", "month"}};
  for (auto& f : hotspotField(syntax_, entry.hotspots)) fields.push_back(std::move(f));
  Bodies bodies;
  bodies["outcomes"] = renderOutcomes(syntax_, entry.outcomes, entry.month.lastDay());
  if (auto answer = entry.reflection["reflection"]) {
    bodies["reflection"] = syntax_.escape(*answer, kSectionLevel);
  }
  return assemblePage(syntax_,
                      monthName(entry.month.month) + " " + std::to_string(entry.month.year),
                      std::move(fields), entry.passthrough,
                      writeSections(syntax_, entry.passthrough, monthKeys_, bodies));
}

// ---- quarter ----

QuarterEntry MarkdownSerializer::parseQuarter(std::string_view text,
                                              const YearQuarter& quarter) const {
  auto page = openPage(syntax_, text,
                       {{"quarter", quarter.id()}, {"type", std::nullopt}, {"title", std::nullopt}},
                       quarterKeys_);
  QuarterEntry entry;
  entry.quarter = quarter;
  entry.outcomes = readOutcomes(page.reader, "outcomes", Scope::quarter);
  settleOrgOutcomes(syntax_, entry.outcomes, quarter.lastDay());
  readReflection(page.reader, "reflection", quarterGroupKeys_, entry.reflection);
  entry.mindSweep = readText(page.reader, "mindsweep", kSectionLevel).value_or("");
  entry.passthrough = std::move(page.reader.pass);
  return entry;
}

std::string MarkdownSerializer::renderQuarter(const QuarterEntry& entry) const {
  std::vector<FrontmatterField> fields = {{"quarter", entry.quarter.id()}, {"type", "quarter"}};
  Bodies bodies;
  bodies["outcomes"] = renderOutcomes(syntax_, entry.outcomes, entry.quarter.lastDay());
  bodies["reflection"] = renderReflection(syntax_, entry.passthrough, "reflection",
                                          quarterGroupKeys_, entry.reflection);
  bodies["mindsweep"] = syntax_.escape(entry.mindSweep, kSectionLevel);
  return assemblePage(
      syntax_,
      "Q" + std::to_string(entry.quarter.quarter) + " " + std::to_string(entry.quarter.year),
      std::move(fields), entry.passthrough,
      writeSections(syntax_, entry.passthrough, quarterKeys_, bodies));
}

// ---- year ----

YearEntry MarkdownSerializer::parseYear(std::string_view text, std::int64_t year) const {
  auto page = openPage(
      syntax_, text,
      {{"year", std::to_string(year)}, {"type", std::nullopt}, {"title", std::nullopt}}, yearKeys_);
  YearEntry entry;
  entry.year = year;
  entry.outcomes = readOutcomes(page.reader, "outcomes", Scope::year);
  settleOrgOutcomes(syntax_, entry.outcomes, DayDate::make(year, 12, 31).value_or(DayDate{}));
  if (auto answer = readText(page.reader, "year.gratitude", kSectionLevel)) {
    entry.reflection.answers["gratitude"] = *answer;
  }
  entry.passthrough = std::move(page.reader.pass);
  return entry;
}

std::string MarkdownSerializer::renderYear(const YearEntry& entry) const {
  std::vector<FrontmatterField> fields = {{"year", std::to_string(entry.year)}, {"type", "year"}};
  Bodies bodies;
  const auto last = DayDate::make(entry.year, 12, 31).value_or(DayDate{});
  bodies["outcomes"] = renderOutcomes(syntax_, entry.outcomes, last);
  if (auto answer = entry.reflection["gratitude"]) {
    bodies["year.gratitude"] = syntax_.escape(*answer, kSectionLevel);
  }
  return assemblePage(syntax_, std::to_string(entry.year), std::move(fields), entry.passthrough,
                      writeSections(syntax_, entry.passthrough, yearKeys_, bodies));
}

}  // namespace trivo

// Markers, stamps, front matter, escaping and Org keywords of the two page syntaxes.
#include "core/format/text_syntax.h"

#include <array>

#include "core/format/outline.h"
#include "core/format/regex.h"
#include "core/format/text_util.h"
#include "core/util/printf.h"

namespace trivo {

namespace {

bool syntaxIsMarkdown(TextSyntax s) { return s.format == VaultFormat::markdown; }

std::string dateText(const DayDate& day) { return day.isoString(); }

}  // namespace

// ---- headings and fences -------------------------------------------------------------------

std::string TextSyntax::headingMarker(int level) const {
  const int count = syntaxIsMarkdown(*this) ? std::max(level, 1) : std::max(level - 1, 1);
  return std::string(static_cast<std::size_t>(count), headingChar()) + " ";
}

std::size_t TextSyntax::headingDepth(std::string_view line) const {
  std::size_t n = 0;
  while (n < line.size() && line[n] == headingChar()) ++n;
  if (n == 0 || n >= line.size() || (line[n] != ' ' && line[n] != '\t')) return 0;
  return n;
}

bool TextSyntax::isSplittingHeading(std::string_view line, int level) const {
  const std::size_t depth = headingDepth(line);
  return depth > 0 && depth + 1 <= headingMarker(level).size();
}

bool TextSyntax::togglesFence(std::string_view line) const {
  const std::string_view s = text::trimStart(line);
  // Asked of every line: most lines are answered by their first character.
  if (s.empty()) return false;
  if (syntaxIsMarkdown(*this)) {
    return (s[0] == '`' || s[0] == '~') && (s.starts_with("```") || s.starts_with("~~~"));
  }
  return s[0] == '#' &&
         (text::startsWithNoCase(s, "#+begin_") || text::startsWithNoCase(s, "#+end_"));
}

bool FenceTracker::feed(std::string_view line) {
  if (!syntax_.togglesFence(line)) return false;
  const std::string_view s = text::trimStart(line);
  if (syntax_.format == VaultFormat::markdown) {
    // A fence closes only with its own character, so "~~~" inside a "```" block is content.
    if (open_ == 0) {
      open_ = s[0];
    } else if (s[0] == open_) {
      open_ = 0;
    } else {
      return false;
    }
    return true;
  }
  if (text::startsWithNoCase(s, "#+begin_")) {
    if (open_ == 0) open_ = '+';
  } else if (open_ != 0) {
    open_ = 0;  // a stray "#+end_" outside a block changes nothing
  }
  return true;
}

// ---- weekdays, stamps and planning lines ---------------------------------------------------

std::string_view TextSyntax::weekdayName(const DayDate& day) {
  static constexpr std::array<std::string_view, 7> names = {"Mon", "Tue", "Wed", "Thu",
                                                            "Fri", "Sat", "Sun"};
  // 1970-01-01 (day number 719468) was a Thursday, ISO weekday 4.
  const std::int64_t iso = detail::floorMod(day.dayNumber() - 719465, 7) + 1;
  return names[static_cast<std::size_t>(iso - 1)];
}

namespace {

// "<2026-09-16 Wed>", "[2026-09-16 Wed 14:05]": built in one buffer, as pages hold many.
std::string orgStamp(char open, const DayDate& day, const ClockTime* time, char close) {
  const std::string date = dateText(day);
  std::string out;
  out.reserve(date.size() + 13);
  out += open;
  out += date;
  out += ' ';
  out += TextSyntax::weekdayName(day);
  if (time) {
    out += ' ';
    out += time->description();
  }
  out += close;
  return out;
}

}  // namespace

std::string TextSyntax::timestamp(const DayDate& day) { return orgStamp('<', day, nullptr, '>'); }

std::string TextSyntax::inactiveStamp(const DayDate& day, const ClockTime& time) {
  return orgStamp('[', day, &time, ']');
}

std::string TextSyntax::orgDoneLine(const DayDate& day, const std::optional<ClockTime>& time) {
  return "- State \"DONE\"       from \"TODO\"       " +
         orgStamp('[', day, time ? &*time : nullptr, ']');
}

std::optional<DayDate> TextSyntax::orgDoneDate(
    std::string_view line, const std::set<std::string, std::less<>>& doneWords) {
  const std::string_view s = text::trimBreaks(line);
  constexpr std::string_view prefix = "- State \"";
  if (!s.starts_with(prefix)) return std::nullopt;
  const std::size_t close = s.find('"', prefix.size());
  if (close == std::string_view::npos) return std::nullopt;
  const std::string_view word = s.substr(prefix.size(), close - prefix.size());
  if (word != "DONE" && !doneWords.contains(word)) return std::nullopt;
  const std::size_t bracket = s.find('[', close);
  if (bracket == std::string_view::npos) return std::nullopt;
  return DayDate::parse(s.substr(bracket + 1, 10));
}

bool TextSyntax::isPlanning(std::string_view line) {
  // As Org reads it: nothing but one or more "KEYWORD: <stamp>" or "KEYWORD: [stamp]" items.
  // "CLOSED: Hear back from Ana" is a sentence, not a planning line.
  std::string_view s = text::trim(text::trimBreaks(line));
  bool any = false;
  while (!s.empty()) {
    std::size_t keyword = 0;
    for (std::string_view word : {"SCHEDULED:", "DEADLINE:", "CLOSED:"}) {
      if (s.starts_with(word)) keyword = word.size();
    }
    if (keyword == 0) return false;
    s = text::trimStart(s.substr(keyword));
    if (s.empty() || (s.front() != '<' && s.front() != '[')) return false;
    const std::size_t end = s.find(s.front() == '<' ? '>' : ']');
    if (end == std::string_view::npos) return false;
    s = text::trimStart(s.substr(end + 1));
    any = true;
  }
  return any;
}

// ---- hidden metadata -----------------------------------------------------------------------

std::string TextSyntax::meta(std::string_view inner) const {
  if (syntaxIsMarkdown(*this)) return " <!-- " + std::string(inner) + " -->";
  return " @@trivo:" + std::string(inner) + "@@";
}

namespace {

// The metadata of the older Org form opens with a dated entry ("captured: 2026-09-06 · …"),
// which sets it apart from time stamps and bracketed words that simply end a line.
bool isMetaAnnotation(std::string_view inner) {
  // The name and colon are looked at first: nearly every bracket that ends a line (a time
  // stamp) is told apart there, without the expression, which also knows other scripts' digits.
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  if (inner.empty() || !isLetter(inner.front())) return false;
  std::size_t at = 1;
  while (at < inner.size() && (isLetter(inner[at]) || (inner[at] >= '0' && inner[at] <= '9') ||
                               inner[at] == '_' || inner[at] == '-')) {
    ++at;
  }
  if (at == inner.size() || inner[at] != ':') return false;
  static const Regex entry(R"(^[A-Za-z][A-Za-z0-9_-]*: ?\d{4}-\d{2}-\d{2})");
  return entry.contains(inner);
}

TextSyntax::Meta makeMeta(std::string_view text, std::string_view inner) {
  return {std::string(text::trimBreaks(text)), std::string(text::trimBreaks(inner))};
}

}  // namespace

std::optional<TextSyntax::Meta> TextSyntax::splitMeta(std::string_view line) const {
  const std::string_view s = text::trimBreaks(line);
  if (syntaxIsMarkdown(*this)) {
    if (!s.ends_with("-->")) return std::nullopt;
    const std::size_t open = s.rfind("<!--");
    if (open == std::string_view::npos || open + 4 > s.size() - 3) return std::nullopt;
    return makeMeta(s.substr(0, open), s.substr(open + 4, s.size() - 3 - (open + 4)));
  }
  if (s.ends_with("@@")) {
    constexpr std::string_view opener = "@@trivo:";
    std::size_t open = s.rfind(std::string(" ") + std::string(opener));
    std::size_t innerStart = 0;
    if (open != std::string_view::npos) {
      innerStart = open + 1 + opener.size();
    } else if (s.starts_with(opener)) {
      open = 0;
      innerStart = opener.size();
    } else {
      return std::nullopt;
    }
    if (innerStart > s.size() - 2) return std::nullopt;
    return makeMeta(s.substr(0, open), s.substr(innerStart, s.size() - 2 - innerStart));
  }
  if (s.ends_with("]")) {
    const std::size_t open = s.rfind(" [");
    if (open == std::string_view::npos) return std::nullopt;
    const std::string_view inner = s.substr(open + 2, s.size() - 1 - (open + 2));
    if (!isMetaAnnotation(inner)) return std::nullopt;
    return makeMeta(s.substr(0, open), inner);
  }
  return std::nullopt;
}

// ---- front matter --------------------------------------------------------------------------

std::optional<TextSyntax::Keyword> TextSyntax::keyword(std::string_view line) {
  const std::string_view s = text::withoutCR(line);
  if (!s.starts_with("#+")) return std::nullopt;
  if (text::startsWithNoCase(s, "#+begin_") || text::startsWithNoCase(s, "#+end_")) {
    return std::nullopt;
  }
  const std::size_t colon = s.find(':');
  if (colon == std::string_view::npos || colon == 2) return std::nullopt;
  const std::string_view key = s.substr(2, colon - 2);
  for (char c : key) {
    if (text::isSpaceOrBreak(c)) return std::nullopt;
  }
  return Keyword{std::string(key), std::string(text::trim(s.substr(colon + 1))), std::string(line)};
}

TextSyntax::Front TextSyntax::splitFrontmatter(std::string_view text) const {
  if (syntaxIsMarkdown(*this)) return Outline::splitFrontmatter(text);
  Front front;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // a byte-order mark
  std::size_t offset = 0;
  while (offset < text.size()) {
    std::size_t end = text.find('\n', offset);
    const std::size_t next = end == std::string_view::npos ? text.size() : end + 1;
    if (end == std::string_view::npos) end = text.size();
    auto kw = keyword(text.substr(offset, end - offset));
    if (!kw) break;
    front.fields.push_back(FrontmatterField{std::move(kw->key), std::move(kw->value)});
    offset = next;
  }
  front.rest = text.substr(offset);
  return front;
}

std::string TextSyntax::assemble(const std::vector<FrontmatterField>& fields,
                                 std::string_view body) const {
  if (fields.empty()) return std::string(body);
  std::string out;
  if (syntaxIsMarkdown(*this)) {
    out = Outline::renderFrontmatter(fields);
  } else {
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i > 0) out += '\n';
      out += "#+" + fields[i].key + (fields[i].value.empty() ? ":" : ": ") + fields[i].value;
    }
  }
  out += '\n';
  out += body;
  return out;
}

namespace {
// Asked of every keyword line of every Org page, so compared in place rather than upper-cased.
bool isDeclarationKey(std::string_view key) {
  return text::equalsNoCase(key, "TODO") || text::equalsNoCase(key, "SEQ_TODO") ||
         text::equalsNoCase(key, "TYP_TODO");
}
}  // namespace

std::vector<FrontmatterField> TextSyntax::keywordFront(std::vector<FrontmatterField> fields) {
  bool seen = false;
  std::vector<FrontmatterField> out;
  out.reserve(fields.size() + 1);
  for (auto& field : fields) {
    const bool standard = text::equalsNoCase(field.key, "TODO") && field.value == todoDeclaration;
    if (standard && seen) continue;
    seen = seen || standard;
    out.push_back(std::move(field));
  }
  if (!seen) out.push_back(FrontmatterField{"TODO", std::string(todoDeclaration)});
  return out;
}

std::string TextSyntax::retitle(std::string_view text, std::string_view title) const {
  const auto lines = text::lines(text);
  std::size_t at = lines.size();
  if (syntaxIsMarkdown(*this)) {
    std::size_t start = 0;
    // Front matter may hold YAML comments that look like a title line.
    if (!lines.empty() && text::withoutCR(lines[0]) == "---") {
      for (std::size_t i = 1; i < lines.size(); ++i) {
        if (text::withoutCR(lines[i]) == "---") {
          start = i + 1;
          break;
        }
      }
    }
    FenceTracker fence(*this);
    for (std::size_t i = start; i < lines.size(); ++i) {
      if (fence.feed(lines[i]) || fence.inFence()) continue;
      if (lines[i].starts_with("# ")) {
        at = i;
        break;
      }
    }
  } else {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      auto kw = keyword(lines[i]);
      if (!kw) break;
      if (text::equalsNoCase(kw->key, "title")) {
        at = i;
        break;
      }
    }
  }
  if (at == lines.size()) return std::string(text);
  const bool cr = lines[at].ends_with('\r');
  std::string replacement;
  if (syntaxIsMarkdown(*this)) {
    replacement = "# " + std::string(title);
  } else {
    const std::string_view raw = lines[at];
    replacement = std::string(raw.substr(0, raw.find(':') + 1)) + " " + std::string(title);
  }
  if (cr) replacement += '\r';
  std::vector<std::string> out(lines.begin(), lines.end());
  out[at] = std::move(replacement);
  return text::join(out, "\n");
}

TextSyntax::Tagged TextSyntax::splitTags(std::string_view title) const {
  static const Regex orgTags(R"(^(.*?)[ \t]+(:(?:[\p{L}\p{N}_@#%]+:)+)[ \t]*$)");
  static const Regex markdownTags(R"(^(.*?)((?:[ \t]+#\p{L}[\p{L}\p{N}_/-]*)+)[ \t]*$)");
  // Most titles have no tags; these tests are what a match needs and are far cheaper.
  const std::string_view end = text::trimEnd(title);
  if (syntaxIsMarkdown(*this) ? title.find('#') == std::string_view::npos : !end.ends_with(':')) {
    return {std::string(title), {}};
  }
  const Regex& pattern = syntaxIsMarkdown(*this) ? markdownTags : orgTags;
  auto m = pattern.matchWhole(title);
  if (!m || text::trim((*m)[1]).empty()) return {std::string(title), {}};
  Tagged tagged{std::string(text::trimEnd((*m)[1])), {}};
  const std::string_view written = text::trim((*m)[2]);
  std::size_t i = 0;
  while (i < written.size()) {
    // Both forms are runs of tag names between separators: ":" on Org, "#" and blanks on Markdown.
    const auto isSeparator = [&](char c) {
      return syntaxIsMarkdown(*this) ? (c == '#' || text::isSpace(c)) : c == ':';
    };
    while (i < written.size() && isSeparator(written[i])) ++i;
    std::size_t j = i;
    while (j < written.size() && !isSeparator(written[j])) ++j;
    if (j > i) tagged.tags.emplace_back(written.substr(i, j - i));
    i = j;
  }
  return tagged;
}

std::string TextSyntax::renderTags(const std::vector<std::string>& tags) const {
  if (tags.empty()) return {};
  std::string out;
  for (const auto& tag : tags) {
    if (syntaxIsMarkdown(*this)) {
      out += (out.empty() ? "#" : " #") + tag;
    } else {
      out += ":" + tag;
    }
  }
  if (!syntaxIsMarkdown(*this)) out += ":";
  return out;
}

// ---- escaping ------------------------------------------------------------------------------

namespace {

// The line without its leading backslashes, and how many there were.
std::pair<std::size_t, std::string_view> leadingBackslashes(std::string_view line) {
  std::size_t n = 0;
  while (n < line.size() && line[n] == '\\') ++n;
  return {n, line.substr(n)};
}

}  // namespace

std::string TextSyntax::escape(std::string_view text, int level) const {
  std::vector<std::string> out;
  FenceTracker fence(*this);
  for (auto line : text::lines(text)) {
    const bool inside = fence.inFence();
    if (fence.feed(line) || inside) {
      out.emplace_back(line);
      continue;
    }
    const auto [slashes, rest] = leadingBackslashes(line);
    if (isSplittingHeading(rest, level)) {
      out.push_back("\\" + std::string(line));
    } else {
      out.emplace_back(line);
    }
  }
  return text::join(out, "\n");
}

std::string TextSyntax::unescape(std::string_view text, int level) const {
  // Only a line with a leading backslash changes, and most texts have no backslash at all.
  if (text.find('\\') == std::string_view::npos) return std::string(text);
  std::vector<std::string> out;
  FenceTracker fence(*this);
  for (auto line : text::lines(text)) {
    const bool inside = fence.inFence();
    if (fence.feed(line) || inside) {
      out.emplace_back(line);
      continue;
    }
    const auto [slashes, rest] = leadingBackslashes(line);
    if (slashes > 0 && isSplittingHeading(rest, level)) {
      out.emplace_back(line.substr(1));
    } else {
      out.emplace_back(line);
    }
  }
  return text::join(out, "\n");
}

// ---- Org keywords --------------------------------------------------------------------------

TodoWords TextSyntax::todoWords(const std::vector<FrontmatterField>& fields) {
  TodoWords words;
  for (const auto& field : fields) {
    if (!isDeclarationKey(field.key)) continue;
    std::vector<std::string> list;
    for (auto word : text::lines(field.value)) {
      // Values are one line, but a block value is split the same way.
      std::size_t i = 0;
      while (i < word.size()) {
        while (i < word.size() && text::isSpaceOrBreak(word[i])) ++i;
        std::size_t j = i;
        while (j < word.size() && !text::isSpaceOrBreak(word[j])) ++j;
        if (j > i) {
          std::string_view w = word.substr(i, j - i);
          w = w.substr(0, w.find('('));  // "WAIT(w)": the fast-access key is not part of it
          if (!w.empty()) list.emplace_back(w);
        }
        i = j;
      }
    }
    std::size_t bar = list.size();
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (list[i] == "|") {
        bar = i;
        break;
      }
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (i == bar) continue;
      const bool closed = bar < list.size() ? i > bar : i + 1 == list.size();
      words[list[i]] = closed ? OutcomeState::done : OutcomeState::planned;
    }
  }
  return words;
}

std::shared_ptr<const TodoWords> TextSyntax::sharedTodoWords(
    const std::vector<FrontmatterField>& fields) {
  // The declarations, in order, as one text: what the words are made from.
  std::string declared;
  for (const auto& field : fields) {
    if (!isDeclarationKey(field.key)) continue;
    declared += field.key;
    declared += '\n';
    declared += field.value;
    declared += '\0';
  }
  thread_local std::string lastDeclared;
  thread_local std::shared_ptr<const TodoWords> lastWords;
  if (!lastWords || declared != lastDeclared) {
    lastWords = std::make_shared<const TodoWords>(todoWords(fields));
    lastDeclared = std::move(declared);
  }
  return lastWords;
}

const TodoWords& TextSyntax::otherKeywords() {
  static const TodoWords words = {
      {"NEXT", OutcomeState::planned},      {"STARTED", OutcomeState::planned},
      {"INPROCESS", OutcomeState::planned}, {"WAITING", OutcomeState::planned},
      {"HOLD", OutcomeState::planned},      {"CANCELED", OutcomeState::blocked},
  };
  return words;
}

std::optional<TextSyntax::OrgTask> TextSyntax::orgTask(std::string_view line,
                                                       const TodoWords& keywords) {
  if (!line.starts_with("**")) return std::nullopt;
  return orgHeadingTask(line, keywords);
}

std::optional<TextSyntax::OrgTask> TextSyntax::orgHeadingTask(std::string_view line,
                                                              const TodoWords& keywords) {
  const std::string_view s = text::withoutCR(line);
  std::size_t i = 0;
  while (i < s.size() && s[i] == '*') ++i;
  if (i == 0 || i >= s.size() || s[i] != ' ') return std::nullopt;
  const std::string_view after = s.substr(i + 1);
  std::size_t wordEnd = 0;
  while (wordEnd < after.size() && !text::isSpace(after[wordEnd])) ++wordEnd;
  const std::string_view word = after.substr(0, wordEnd);
  std::optional<OutcomeState> state;
  if (word == "TODO") {
    state = OutcomeState::planned;
  } else if (word == "DONE") {
    state = OutcomeState::done;
  } else if (word == "CANCELLED") {
    state = OutcomeState::blocked;
  } else if (auto it = keywords.find(word); it != keywords.end()) {
    state = it->second;
  } else if (word == "BLOCKED") {
    state = OutcomeState::blocked;
  } else if (auto other = otherKeywords().find(word); other != otherKeywords().end()) {
    state = other->second;
  }
  if (!state || word.empty()) return std::nullopt;
  return OrgTask{*state, OrgKeyword{std::string(word), *state},
                 std::string(text::trim(after.substr(wordEnd)))};
}

std::string TextSyntax::orgKeywordWord(OutcomeState state, const std::optional<OrgKeyword>& own) {
  if (own && own->state == state && !own->word.empty()) return own->word;
  switch (state) {
    case OutcomeState::planned:
      return "TODO";
    case OutcomeState::done:
      return "DONE";
    case OutcomeState::blocked:
      return "CANCELLED";
  }
  return "TODO";
}

std::string TextSyntax::orgTaskHeading(OutcomeState state, const std::optional<OrgKeyword>& own,
                                       std::string_view text) {
  std::string out = "** " + orgKeywordWord(state, own);
  if (!text.empty()) out += " " + std::string(text);
  return out;
}

// ---- links ---------------------------------------------------------------------------------

std::string TextSyntax::orgLinks(std::string_view markdownText) {
  static const Regex media(R"(!\[\]\(((?:\.\./)?media/[^()\s]+)\))");
  static const Regex scheme(R"((?<!!)\[([^\[\]]+)\]\(([A-Za-z][A-Za-z0-9+.-]*://[^()\s]+)\))");
  return scheme.replaceAll(media.replaceAll(markdownText, "[[file:$1]]"), "[[$2][$1]]");
}

std::string TextSyntax::markdownLinks(std::string_view orgText) {
  static const Regex media(R"(\[\[file:((?:\.\./)?media/[^\[\]\s]+)\]\])");
  static const Regex scheme(R"(\[\[([A-Za-z][A-Za-z0-9+.-]*://[^\[\]\s]+)\]\[([^\[\]]+)\]\])");
  return scheme.replaceAll(media.replaceAll(orgText, "![]($1)"), "[$2]($1)");
}

}  // namespace trivo

// The formatting commands of the editor.
#include "core/format/text_marks.h"

#include <algorithm>
#include <vector>

#include "core/format/text_util.h"

namespace trivo {

namespace {

// UTF-16 units of the character that starts at byte i.
std::int64_t units(std::string_view text, std::size_t i) {
  return text::charLength(text, i) == 4 ? 2 : 1;
}

struct Range {
  std::size_t begin;
  std::size_t end;
};

TextMarks::Result wrap(std::string_view text, Range r, std::string_view open,
                       std::string_view close) {
  const std::string_view inside = text.substr(r.begin, r.end - r.begin);
  // Toggle off when the markers sit just inside or just around the selection.
  if (inside.size() >= open.size() + close.size() && inside.starts_with(open) &&
      inside.ends_with(close)) {
    std::string out(text.substr(0, r.begin));
    out += inside.substr(open.size(), inside.size() - open.size() - close.size());
    const std::size_t end = out.size();
    out += text.substr(r.end);
    return {out,
            {TextMarks::utf16Offset(out, r.begin),
             TextMarks::utf16Offset(out, end) - TextMarks::utf16Offset(out, r.begin)}};
  }
  if (r.begin >= open.size() && text.substr(r.begin - open.size(), open.size()) == open &&
      text.substr(r.end).starts_with(close)) {
    std::string out(text.substr(0, r.begin - open.size()));
    const std::size_t begin = out.size();
    out += inside;
    const std::size_t end = out.size();
    out += text.substr(r.end + close.size());
    return {out,
            {TextMarks::utf16Offset(out, begin),
             TextMarks::utf16Offset(out, end) - TextMarks::utf16Offset(out, begin)}};
  }
  std::string out(text.substr(0, r.begin));
  out += open;
  const std::size_t begin = out.size();
  out += inside;
  const std::size_t end = out.size();
  out += close;
  out += text.substr(r.end);
  return {out,
          {TextMarks::utf16Offset(out, begin),
           TextMarks::utf16Offset(out, end) - TextMarks::utf16Offset(out, begin)}};
}

TextMarks::Result markLink(std::string_view text, Range r, TextSyntax syntax) {
  const std::string words(text.substr(r.begin, r.end - r.begin));
  std::string out(text.substr(0, r.begin));
  std::size_t urlAt = 0;
  if (syntax.format == VaultFormat::markdown) {
    out += "[" + words + "](";
    urlAt = out.size();
    out += "url)";
  } else {
    out += "[[";
    urlAt = out.size();
    out += "url][" + words + "]]";
  }
  out += text.substr(r.end);
  return {out, {TextMarks::utf16Offset(out, urlAt), 3}};
}

// The line prefix of a line command and the prefixes it replaces.
std::string prefixFor(TextMarks::Mark mark, TextSyntax syntax) {
  switch (mark) {
    case TextMarks::Mark::title:
      return std::string(1, syntax.headingChar()) + " ";
    case TextMarks::Mark::subtitle:
      return std::string(2, syntax.headingChar()) + " ";
    case TextMarks::Mark::list:
      return "- ";
    case TextMarks::Mark::checklist:
      return "- [ ] ";
    default:
      return {};
  }
}

// The structural prefix a line already has: a heading marker, a checkbox or a list dash.
std::size_t existingPrefix(std::string_view line, TextSyntax syntax) {
  if (const std::size_t depth = syntax.headingDepth(line); depth > 0) return depth + 1;
  if (line.size() >= 6 && line.starts_with("- [") && line[4] == ']' && line[5] == ' ') return 6;
  if (line.starts_with("- ")) return 2;
  return 0;
}

TextMarks::Result markLines(TextMarks::Mark mark, std::string_view text, Range r, TextSyntax syntax) {
  const std::size_t first = r.begin == 0 ? 0 : text.rfind('\n', r.begin - 1) + 1;
  std::size_t last = r.end > r.begin && text[r.end - 1] == '\n' ? r.end - 1 : r.end;
  last = text.find('\n', last);
  if (last == std::string_view::npos) last = text.size();
  const std::string prefix = prefixFor(mark, syntax);
  auto touched = text::lines(text.substr(first, last - first));
  const bool allHave = std::all_of(touched.begin(), touched.end(), [&](std::string_view l) {
    // Any box counts as a checklist line, so a ticked item is not reset to open.
    if (mark == TextMarks::Mark::checklist) return existingPrefix(l, syntax) == 6;
    return l.starts_with(prefix) && existingPrefix(l, syntax) == prefix.size();
  });
  std::vector<std::string> changed;
  for (auto line : touched) {
    const std::string_view bare = line.substr(existingPrefix(line, syntax));
    changed.push_back(allHave ? std::string(bare) : prefix + std::string(bare));
  }
  std::string out(text.substr(0, first));
  out += text::join(changed, "\n");
  const std::size_t end = out.size();
  out += text.substr(last);
  const auto begin16 = TextMarks::utf16Offset(out, first);
  return {out, {begin16, TextMarks::utf16Offset(out, end) - begin16}};
}

}  // namespace

std::size_t TextMarks::byteOffset(std::string_view text, std::int64_t utf16) {
  std::size_t i = 0;
  std::int64_t seen = 0;
  while (i < text.size() && seen < utf16) {
    seen += units(text, i);
    i += text::charLength(text, i);
  }
  return i;
}

std::int64_t TextMarks::utf16Offset(std::string_view text, std::size_t byte) {
  std::size_t i = 0;
  std::int64_t seen = 0;
  while (i < text.size() && i < byte) {
    seen += units(text, i);
    i += text::charLength(text, i);
  }
  return seen;
}

TextMarks::Result TextMarks::apply(Mark mark, std::string_view text, Selection selection,
                                   TextSyntax syntax) {
  const std::int64_t location = std::max<std::int64_t>(selection.location, 0);
  const std::int64_t length = std::max<std::int64_t>(selection.length, 0);
  const std::size_t begin = byteOffset(text, location);
  // Counted from `begin` so that a huge length cannot overflow.
  const std::size_t end = begin + byteOffset(text.substr(begin), length);
  const Range r{begin, end};
  const bool markdown = syntax.format == VaultFormat::markdown;
  switch (mark) {
    case Mark::bold:
      return markdown ? wrap(text, r, "**", "**") : wrap(text, r, "*", "*");
    case Mark::italic:
      return markdown ? wrap(text, r, "_", "_") : wrap(text, r, "/", "/");
    case Mark::link:
      return markLink(text, r, syntax);
    case Mark::title:
    case Mark::subtitle:
    case Mark::list:
    case Mark::checklist:
      return markLines(mark, text, r, syntax);
  }
  return {std::string(text), selection};
}

}  // namespace trivo

// Splitting page text into blocks and putting it back together.
#include "core/format/outline.h"

#include "core/format/serializer_error.h"
#include "core/format/text_util.h"

namespace trivo {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// True when the text has line breaks and every one of them is a CRLF.
bool allCRLF(std::string_view text) {
  bool any = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\n') continue;
    if (i == 0 || text[i - 1] != '\r') return false;
    any = true;
  }
  return any;
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string out;
  out.reserve(text.size());
  std::size_t start = 0;
  while (true) {
    std::size_t at = text.find(from, start);
    if (at == std::string_view::npos) break;
    out.append(text, start, at - start);
    out += to;
    start = at + from.size();
  }
  out.append(text, start);
  return out;
}

// Splits the lines of one part into its blank edges and its content.
void takePart(const std::vector<std::string_view>& lines, std::size_t from, std::size_t to,
              std::string& content, Outline::Gap& gap) {
  std::size_t first = from;
  while (first < to && text::isBlank(lines[first])) ++first;
  std::size_t last = to;
  while (last > first && text::isBlank(lines[last - 1])) --last;
  for (std::size_t i = from; i < first; ++i) gap.before.emplace_back(lines[i]);
  for (std::size_t i = last; i < to; ++i) gap.after.emplace_back(lines[i]);
  // The lines are views into one text, each one line break after the one before: the content
  // is the stretch of that text from the first to the end of the last.
  if (first < last) {
    const char* begin = lines[first].data();
    content.assign(begin, static_cast<std::size_t>(lines[last - 1].data() + lines[last - 1].size() - begin));
  } else {
    content.clear();
  }
}

void appendPart(std::vector<std::string>& out, const std::string& content, const Outline::Gap& gap) {
  out.insert(out.end(), gap.before.begin(), gap.before.end());
  if (!content.empty()) {
    for (auto line : text::lines(content)) out.emplace_back(line);
  }
  out.insert(out.end(), gap.after.begin(), gap.after.end());
}

}  // namespace

std::string Outline::Block::render(int level, TextSyntax syntax) const {
  std::string out = syntax.headingMarker(level) + title;
  if (body.empty()) return out;
  out += body.front() == syntax.headingChar() ? "\n\n" : "\n";
  out += body;
  return out;
}

Outline::Split Outline::split(std::string_view text, int level, TextSyntax syntax) {
  Split result;
  if (text.starts_with(kByteOrderMark)) {
    result.layout.byteOrderMark = true;
    text.remove_prefix(kByteOrderMark.size());
  }
  std::string normalized;
  if (allCRLF(text)) {
    result.layout.crlf = true;
    normalized = replaceAll(text, "\r\n", "\n");
    text = normalized;
  }
  const std::string marker = syntax.headingMarker(level);
  const auto lines = text::lines(text);

  // Indices of the heading lines that start blocks.
  std::vector<std::size_t> headings;
  FenceTracker fence(syntax);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (fence.feed(lines[i])) continue;
    if (!fence.inFence() && lines[i].starts_with(marker)) headings.push_back(i);
  }

  result.blocks.reserve(headings.size());
  result.layout.gaps.reserve(headings.size() + 1);
  Gap gap;
  const std::size_t preambleEnd = headings.empty() ? lines.size() : headings.front();
  takePart(lines, 0, preambleEnd, result.preamble, gap);
  result.layout.gaps.push_back(std::move(gap));
  for (std::size_t h = 0; h < headings.size(); ++h) {
    const std::size_t at = headings[h];
    const std::size_t end = h + 1 < headings.size() ? headings[h + 1] : lines.size();
    Block block;
    block.title = std::string(lines[at].substr(marker.size()));
    Gap blockGap;
    takePart(lines, at + 1, end, block.body, blockGap);
    result.blocks.push_back(std::move(block));
    result.layout.gaps.push_back(std::move(blockGap));
  }
  // An empty text has one empty line; keep it as the preamble's gap so it renders back empty.
  return result;
}

std::string Outline::render(const Split& split, int level, TextSyntax syntax) {
  std::string body;
  if (split.layout.gaps.size() == split.blocks.size() + 1) {
    std::vector<std::string> out;
    appendPart(out, split.preamble, split.layout.gaps[0]);
    const std::string marker = syntax.headingMarker(level);
    for (std::size_t i = 0; i < split.blocks.size(); ++i) {
      out.push_back(marker + split.blocks[i].title);
      appendPart(out, split.blocks[i].body, split.layout.gaps[i + 1]);
    }
    body = text::join(out, "\n");
  } else {
    std::vector<std::string> parts;
    parts.push_back(split.preamble);
    for (const auto& block : split.blocks) parts.push_back(block.render(level, syntax));
    body = join(parts);
  }
  if (split.layout.crlf) body = replaceAll(body, "\n", "\r\n");
  if (split.layout.byteOrderMark) body.insert(0, kByteOrderMark);
  return body;
}

std::string Outline::join(std::span<const std::string> parts) {
  std::string out;
  for (const auto& part : parts) {
    if (part.empty()) continue;
    if (!out.empty()) out += "\n\n";
    out += part;
  }
  return out;
}

namespace {
template <class S>
std::string trimBlank(std::span<const S> lines) {
  std::size_t first = 0;
  while (first < lines.size() && text::isBlank(lines[first])) ++first;
  std::size_t last = lines.size();
  while (last > first && text::isBlank(lines[last - 1])) --last;
  std::string out;
  for (std::size_t i = first; i < last; ++i) {
    if (i > first) out += '\n';
    out += lines[i];
  }
  return out;
}
}  // namespace

std::string Outline::trimBlankLines(std::span<const std::string> lines) {
  return trimBlank(lines);
}
std::string Outline::trimBlankLines(std::span<const std::string_view> lines) {
  return trimBlank(lines);
}

std::string Outline::renderFrontmatter(std::span<const FrontmatterField> fields) {
  std::string out = "---\n";
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& field = fields[i];
    if (i > 0) out += '\n';
    out += field.key;
    out += field.value.empty() || field.value.front() == '\n' ? ":" : ": ";
    out += field.value;
  }
  out += "\n---";
  return out;
}

TextSyntax::Front Outline::splitFrontmatter(std::string_view text) {
  TextSyntax::Front front;
  // Editors on some systems save a byte-order mark; it must not hide the front matter.
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  // The lines are taken one at a time: the block is a few lines at the top of a long page.
  const std::size_t firstEnd = std::min(text.find('\n'), text.size());
  if (text::withoutCR(text.substr(0, firstEnd)) != "---") {
    front.rest = text;
    return front;
  }
  std::size_t offset = firstEnd + 1;  // byte offset of the line after the one being read
  bool closed = false;
  // A line break at the very end starts no line of its own.
  for (std::size_t at = offset; at < text.size(); at = offset) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view line = text::withoutCR(text.substr(at, end - at));
    offset = end + 1;
    if (line == "---") {
      closed = true;
      break;
    }
    const std::string_view indented = text::trimStart(line);
    const bool continuation = indented.starts_with("- ") || indented == "-" ||
                              line.find(':') == std::string_view::npos;
    if (continuation) {
      if (front.fields.empty()) {
        // Blank lines before the first field carry nothing; any other text there is not a field.
        if (text::isBlank(line)) continue;
        throw SerializerError::malformedFrontmatter();
      }
      front.fields.back().value += '\n';
      front.fields.back().value += line;
      continue;
    }
    const std::size_t colon = line.find(':');
    front.fields.push_back(FrontmatterField{std::string(text::trim(line.substr(0, colon))),
                                            std::string(text::trim(line.substr(colon + 1)))});
  }
  // A block that never closes would swallow the whole page as field values, and the next write
  // would drop everything the person wrote below it: such a page is refused, never rewritten.
  if (!closed) throw SerializerError::malformedFrontmatter();
  front.rest = offset <= text.size() ? text.substr(offset) : std::string_view();
  return front;
}

}  // namespace trivo

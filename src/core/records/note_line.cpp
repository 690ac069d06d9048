// Indented outline lines.
#include "core/records/note_line.h"

#include "core/records/done_stamp.h"

namespace trivo::NoteLine {

Parts split(std::string_view line) {
  std::size_t depth = 0;
  std::size_t at = 0;
  while (at < line.size()) {
    if (line[at] == '\t') {
      ++depth;
      ++at;
    } else if (line[at] == ' ' && at + 1 < line.size() && line[at + 1] == ' ') {
      ++depth;
      at += 2;
    } else {
      break;
    }
  }
  // A lone space left over belongs to the indentation, not the text.
  if (at < line.size() && line[at] == ' ') ++at;
  return {depth, std::string(line.substr(at))};
}

std::string join(std::string_view text, const std::optional<std::string>& stamp,
                 std::size_t depth) {
  std::string out(depth * 2, ' ');
  out += stamp ? DoneStamp::join(text, *stamp) : std::string(text);
  return out;
}

std::string reword(std::string_view line, std::string_view text) {
  const Parts parts = split(line);
  const auto [old, stamp] = DoneStamp::split(parts.text);
  return join(text, stamp, parts.depth);
}

std::size_t subtreeEnd(const std::vector<std::string>& lines, std::size_t after) {
  if (after >= lines.size()) return lines.size();
  const std::size_t depth = split(lines[after]).depth;
  std::size_t end = after + 1;
  while (end < lines.size() && split(lines[end]).depth > depth) ++end;
  return end;
}

namespace {

void shift(std::vector<std::string>& lines, std::size_t index, bool in) {
  const std::size_t end = subtreeEnd(lines, index);
  for (std::size_t i = index; i < end; ++i) {
    Parts parts = split(lines[i]);
    lines[i] = std::string((in ? parts.depth + 1 : parts.depth - 1) * 2, ' ') + parts.text;
  }
}

}  // namespace

bool lift(std::vector<std::string>& lines, std::size_t index) {
  if (index >= lines.size() || split(lines[index]).depth == 0) return false;
  shift(lines, index, false);
  return true;
}

bool sink(std::vector<std::string>& lines, std::size_t index) {
  if (index == 0 || index >= lines.size()) return false;
  if (split(lines[index - 1]).depth < split(lines[index]).depth) return false;
  shift(lines, index, true);
  return true;
}

}  // namespace trivo::NoteLine

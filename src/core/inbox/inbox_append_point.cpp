// Adding a captured item's line to an inbox text at a remembered point.
#include "core/inbox/inbox_append_point.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <system_error>

#include "core/format/text_syntax.h"
#include "core/format/text_util.h"
#include "core/store/atomic_write.h"
#include "core/util/fnv_hash.h"
#include "core/util/json_fields.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kListLine = "- [";

}  // namespace

std::optional<InboxAppendPoint> InboxAppendPoint::after(std::string_view text, std::string_view id,
                                                        std::int64_t number) {
  if (id.empty()) return std::nullopt;
  const auto at = text.find(id);
  if (at == std::string_view::npos || text.find(id, at + 1) != std::string_view::npos) {
    return std::nullopt;
  }
  const auto newline = text.rfind('\n', at);
  const auto lineStart = newline == std::string_view::npos ? 0 : newline + 1;
  const auto lineEnd = std::min(text.find('\n', at), text.size());
  if (!text.substr(lineStart).starts_with(kListLine)) return std::nullopt;
  // Nothing may hang under the line: the next line, if any, is blank.
  if (lineEnd < text.size()) {
    const auto nextEnd = std::min(text.find('\n', lineEnd + 1), text.size());
    if (!text::isBlank(text.substr(lineEnd + 1, nextEnd - lineEnd - 1))) return std::nullopt;
  }
  // The page's syntax is not known here; a line inside a fenced block of either syntax would
  // not read back as an item, and declining costs no more than the long way.
  FenceTracker markdown(TextSyntax::markdown);
  FenceTracker org(TextSyntax::org);
  for (auto line : text::lines(text.substr(0, lineEnd))) {
    markdown.feed(line);
    org.feed(line);
  }
  if (markdown.inFence() || org.inFence()) return std::nullopt;
  return InboxAppendPoint{text.size(), fnv1aHash(text), lineEnd, number};
}

bool InboxAppendPoint::canAdd(std::string_view line) {
  // A line that starts as a list item cannot open or close a fenced block either: fences begin
  // their line.
  return line.starts_with(kListLine) && line.find_first_of("\r\n") == std::string_view::npos;
}

bool InboxAppendPoint::fits(std::string_view text) const {
  return text.size() == size && offset <= text.size() && fnv1aHash(text) == hash;
}

void InboxAppendPoint::add(std::string& text, std::string_view line) const {
  // In place: a page read by the store has room for a line, so nothing is copied but its tail.
  text.insert(offset, 1 + line.size(), '\n');
  text.replace(offset + 1, line.size(), line);
}

InboxAppendPoint InboxAppendPoint::next(std::string_view text, std::string_view line) const {
  return {text.size(), fnv1aHash(text), offset + 1 + line.size(), number + 1};
}

std::optional<InboxAppendPoint> InboxAppendPoint::load(const fs::path& file) {
  const auto j = Coordinated::readJson(file);
  if (!j || !j->is_object()) return std::nullopt;
  InboxAppendPoint point;
  try {
    point.size = j->at("size").get<std::uint64_t>();
    point.hash = std::stoull(j->at("hash").get<std::string>(), nullptr, 16);
    point.offset = j->at("offset").get<std::uint64_t>();
    point.number = j->at("number").get<std::int64_t>();
  } catch (const std::exception&) {
    return std::nullopt;
  }
  if (point.offset > point.size || point.number < 1) return std::nullopt;
  return point;
}

void InboxAppendPoint::save(const fs::path& file) const {
  std::error_code ec;
  fs::create_directories(file.parent_path(), ec);
  char hex[17];
  std::snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(hash));
  const Json j = {{"size", size}, {"hash", hex}, {"offset", offset}, {"number", number}};
  const fs::path scratch = file.string() + "." + std::to_string(::getpid()) + ".tmp";
  {
    std::ofstream out(scratch, std::ios::binary | std::ios::trunc);
    out << j.dump() << '\n';
    if (!out.flush()) {
      fs::remove(scratch, ec);
      return;
    }
  }
  fs::rename(scratch, file, ec);
  if (ec) fs::remove(scratch, ec);
}

void InboxAppendPoint::forget(const fs::path& file) {
  std::error_code ec;
  fs::remove(file, ec);
}

}  // namespace trivo

// A line-by-line reader: each dated heading opens an entry that runs to the next one.
#include "core/imports/journal_file.h"

#include <fmt/format.h>

#include "core/convert/markup_converter.h"
#include "core/format/text_syntax.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "YYYY-MM-DD" at the start of s.
bool looksLikeDate(std::string_view s) {
  if (s.size() < 10) return false;
  for (std::size_t i : {0u, 1u, 2u, 3u, 5u, 6u, 8u, 9u}) {
    if (!isDigit(s[i])) return false;
  }
  return s[4] == '-' && s[7] == '-' && (s.size() == 10 || !isDigit(s[10]));
}

// "H:MM" or "HH:MM" at the start of s, as a time of day.
std::optional<ClockTime> timeAt(std::string_view s, std::size_t* length) {
  std::size_t colon = s.find(':');
  if (colon == std::string_view::npos || colon == 0 || colon > 2 || s.size() < colon + 3) {
    return std::nullopt;
  }
  if (!isDigit(s[colon + 1]) || !isDigit(s[colon + 2])) return std::nullopt;
  if (s.size() > colon + 3 && isDigit(s[colon + 3])) return std::nullopt;
  std::int64_t hour = 0;
  for (std::size_t i = 0; i < colon; ++i) {
    if (!isDigit(s[i])) return std::nullopt;
    hour = hour * 10 + (s[i] - '0');
  }
  const std::int64_t minute = (s[colon + 1] - '0') * 10 + (s[colon + 2] - '0');
  auto time = ClockTime::make(hour, minute);
  if (time) *length = colon + 3;
  return time;
}

struct Dated {
  DayDate day;
  std::optional<ClockTime> time;
  std::string title;
};

// The date, time and title of a heading's words, or nothing when they do not start with a date.
// A date that cannot be (2026-02-30) is an error.
std::optional<Dated> dated(std::string_view words, const std::string& where) {
  words = trim(words);
  std::string_view title;
  std::string_view stamp;
  if (!words.empty() && (words.front() == '<' || words.front() == '[')) {
    const char close = words.front() == '<' ? '>' : ']';
    const std::size_t end = words.find(close);
    if (end == std::string_view::npos) return std::nullopt;
    stamp = words.substr(1, end - 1);
    title = words.substr(end + 1);
  } else {
    stamp = words;
  }
  if (!looksLikeDate(stamp)) return std::nullopt;
  Dated out;
  auto day = DayDate::parse(stamp.substr(0, 10));
  if (!day) {
    throw ImportError(
        fmt::format("{}: {} is not a day of the calendar; correct the heading, then "
                    "import again.",
                    where, stamp.substr(0, 10)));
  }
  out.day = *day;
  std::string_view rest = stamp.substr(10);
  // In a stamp the weekday and time follow the date; in plain words an optional time does.
  for (int word = 0; word < 2; ++word) {
    const std::string_view trimmed = trim(rest);
    std::size_t length = 0;
    if (auto time = timeAt(trimmed, &length)) {
      out.time = time;
      rest = trimmed.substr(length);
      break;
    }
    if (stamp.data() == words.data() || trimmed.empty()) break;
    const std::size_t space = trimmed.find(' ');
    rest = space == std::string_view::npos ? std::string_view{} : trimmed.substr(space);
  }
  if (stamp.data() == words.data()) title = rest;
  title = trim(title);
  // A separator between the date and the title is not part of the title.
  for (std::string_view dash : {"— ", "– ", "- ", ": "}) {
    if (title.starts_with(dash)) title = trim(title.substr(dash.size()));
  }
  out.title = std::string(title);
  return out;
}

// The words of a heading line of the syntax, or nothing for any other line.
std::optional<std::string_view> headingWords(std::string_view line, JournalFile::Syntax syntax) {
  switch (syntax) {
    case JournalFile::Syntax::plain:
      return line;
    case JournalFile::Syntax::markdown:
    case JournalFile::Syntax::org: {
      const char mark = syntax == JournalFile::Syntax::org ? '*' : '#';
      const std::size_t level = line.find_first_not_of(mark);
      if (level == 0 || level == std::string_view::npos || line[level] != ' ') {
        return std::nullopt;
      }
      return line.substr(level + 1);
    }
  }
  return std::nullopt;
}

bool isPlanning(std::string_view line) {
  const std::string_view t = trim(line);
  return t.starts_with("SCHEDULED:") || t.starts_with("DEADLINE:") || t.starts_with("CLOSED:");
}

// Every keyword of a planning line must be followed by a stamp whose date reads.
bool planningReads(std::string_view line) {
  std::string_view rest = trim(line);
  while (!rest.empty()) {
    const std::size_t colon = rest.find(':');
    if (colon == std::string_view::npos) return false;
    const std::string_view keyword = rest.substr(0, colon);
    if (keyword != "SCHEDULED" && keyword != "DEADLINE" && keyword != "CLOSED") return false;
    rest = trim(rest.substr(colon + 1));
    if (rest.empty() || (rest.front() != '<' && rest.front() != '[')) return false;
    const char close = rest.front() == '<' ? '>' : ']';
    const std::size_t end = rest.find(close);
    if (end == std::string_view::npos) return false;
    const std::string_view stamp = rest.substr(1, end - 1);
    if (!looksLikeDate(stamp) || !DayDate::parse(stamp.substr(0, 10))) return false;
    rest = trim(rest.substr(end + 1));
    // A range "<…>--<…>" continues with a second stamp.
    if (rest.starts_with("--")) {
      rest = rest.substr(2);
      const std::size_t end2 = rest.find(close);
      if (end2 == std::string_view::npos) return false;
      rest = trim(rest.substr(end2 + 1));
    }
  }
  return true;
}

std::string converted(std::string_view text, JournalFile::Syntax syntax, VaultFormat to) {
  if (syntax == JournalFile::Syntax::markdown && to == VaultFormat::org) {
    return MarkupConverter::toOrg(text);
  }
  if (syntax == JournalFile::Syntax::org && to == VaultFormat::markdown) {
    return MarkupConverter::toMarkdown(text);
  }
  return std::string(text);
}

}  // namespace

JournalFile::Syntax JournalFile::syntaxOf(const fs::path& file) {
  const std::string extension = file.extension().string();
  if (extension == ".org") return Syntax::org;
  if (extension == ".md" || extension == ".markdown") return Syntax::markdown;
  return Syntax::plain;
}

JournalFile::Read JournalFile::read(std::string_view text, Syntax syntax, VaultFormat to,
                                    const std::string& name) {
  Read out;
  struct Open {
    Dated heading;
    std::vector<std::string_view> lines;
    bool bookkeeping = true;  // still right under the heading, where planning and drawers go
    std::optional<std::string_view> drawer;
  };
  std::optional<Open> open;
  const auto close = [&] {
    if (!open) return;
    auto& lines = open->lines;
    while (!lines.empty() && trim(lines.back()).empty()) lines.pop_back();
    std::size_t first = 0;
    while (first < lines.size() && trim(lines[first]).empty()) ++first;
    std::string body;
    for (std::size_t i = first; i < lines.size(); ++i) {
      if (!body.empty() || i > first) body += '\n';
      body += lines[i];
    }
    std::string entry = open->heading.title;
    if (!body.empty()) entry += (entry.empty() ? "" : "\n") + body;
    if (!entry.empty()) {
      out.entries.push_back(ImportedEntry{open->heading.day,
                                          open->heading.time.value_or(ClockTime{}),
                                          converted(entry, syntax, to),
                                          {}});
    }
    open.reset();
  };

  bool frontMatter = false;
  std::size_t number = 0;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const bool last = end == text.size();
    start = end + 1;
    ++number;
    if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.remove_prefix(3);
    const std::string where = fmt::format("{}:{}", name, number);

    if (auto words = headingWords(line, syntax)) {
      if (auto heading = dated(*words, where)) {
        close();
        open = Open{std::move(*heading), {}, true, std::nullopt};
        if (last) break;
        continue;
      }
    }
    if (!open) {
      // Above the first entry: front matter, keywords and blank lines are the file's own.
      if (number == 1 && line == "---" && syntax == Syntax::markdown) {
        frontMatter = true;
      } else if (frontMatter) {
        if (line == "---") frontMatter = false;
      } else if (!trim(line).empty() && !line.starts_with("#+")) {
        ++out.linesBeforeFirst;
      }
      if (last) break;
      continue;
    }
    if (syntax == Syntax::org && open->bookkeeping) {
      if (open->drawer) {
        if (trim(line) == ":END:") open->drawer.reset();
        if (last) break;
        continue;
      }
      if (isPlanning(line)) {
        if (!planningReads(line)) {
          throw ImportError(fmt::format(
              "{}: the planning line \"{}\" does not read as Org stamps; correct it, then import "
              "again.",
              where, trim(line)));
        }
        if (last) break;
        continue;
      }
      const std::string_view t = trim(line);
      if (t.size() > 2 && t.front() == ':' && t.back() == ':' &&
          t.find(' ') == std::string_view::npos) {
        open->drawer = t;
        if (last) break;
        continue;
      }
      open->bookkeeping = false;
    } else if (syntax == Syntax::org && isPlanning(line) && !planningReads(line)) {
      throw ImportError(fmt::format(
          "{}: the planning line \"{}\" does not read as Org stamps; correct it, then import "
          "again.",
          where, trim(line)));
    }
    open->lines.push_back(line);
    if (last) break;
  }
  close();
  if (out.entries.empty()) {
    throw ImportError(fmt::format(
        "{} holds no dated entries; a journal needs one heading per entry that starts with its "
        "date, such as \"{}2026-03-14 09:30\".",
        name,
        syntax == Syntax::org        ? "* "
        : syntax == Syntax::markdown ? "## "
                                     : ""));
  }
  return out;
}

std::string JournalFile::write(const std::vector<ImportedEntry>& entries, VaultFormat format) {
  std::string out;
  for (const ImportedEntry& e : entries) {
    if (!out.empty()) out += '\n';
    const auto syntax =
        format == VaultFormat::org ? JournalFile::Syntax::org : JournalFile::Syntax::markdown;
    // A first line that would itself read as a dated heading stays on the entry's heading, as
    // its title, so that reading the file back never splits the entry in two.
    const std::string_view first = std::string_view(e.text).substr(0, e.text.find('\n'));
    bool onHeading = false;
    if (auto words = headingWords(first, syntax)) {
      try {
        onHeading = dated(*words, "").has_value();
      } catch (const ImportError&) {
        onHeading = true;  // a heading with a date that does not read would be refused
      }
    }
    if (format == VaultFormat::org) {
      out += "* " + TextSyntax::inactiveStamp(e.day, e.time);
    } else {
      out += "## " + e.day.isoString() + " " + e.time.description();
    }
    out += onHeading ? " " + e.text + "\n" : "\n" + e.text + "\n";
  }
  return out;
}

}  // namespace trivo

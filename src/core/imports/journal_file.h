// Journals kept outside Trivo, read as dated entries: a plain-text, Markdown or Org file with one
// dated heading per entry ("## 2026-03-14 09:30 Title", "* <2026-03-14 Sat 09:30> Title",
// "2026-03-14 Title" on a line of its own in plain text), and the entries written back out.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/vault/vault_format.h"

namespace trivo {

// One entry on its way into a day's journal. `text` is in the syntax the reader was asked for:
// its first line is the entry's line, the others follow it. `media` names pictures to copy into
// the vault: each `placeholder` in the text is replaced by the picture's link (or the link is
// added as a line of its own when the text has no placeholder).
struct ImportedEntry {
  struct Media {
    std::filesystem::path file;
    std::string placeholder;
    bool operator==(const Media&) const = default;
  };
  DayDate day;
  ClockTime time;
  std::string text;
  std::vector<Media> media;
  bool operator==(const ImportedEntry&) const = default;
};

// Input that is not a journal; what() is one sentence naming the file (and line).
class ImportError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class JournalFile {
 public:
  enum class Syntax { plain, markdown, org };

  // The syntax of a file by its extension: ".org" Org, ".md"/".markdown" Markdown, else plain.
  static Syntax syntaxOf(const std::filesystem::path& file);

  struct Read {
    std::vector<ImportedEntry> entries;
    // Lines of text above the first dated heading (a title, a preamble), which belong to no
    // entry and are not imported; blank lines, front matter and Org keyword lines not counted.
    std::size_t linesBeforeFirst = 0;
  };

  // The entries of a journal's text, in the order written. A heading is a line that starts with
  // a date (after the heading marks of its syntax, or inside an Org time stamp), optionally a
  // time and a title. Refused: a text with no dated heading, a dated heading whose date does not
  // exist, and an Org planning line (SCHEDULED:, DEADLINE:, CLOSED:) whose stamps do not read;
  // valid planning lines and the drawers after them are Org's bookkeeping and are left out. An
  // entry without a time is placed at 00:00, one without text is skipped. The text is converted
  // from `syntax` to `to` (links, emphasis, headings). `name` is the file's name for messages.
  // Throws ImportError.
  static Read read(std::string_view text, Syntax syntax, VaultFormat to, const std::string& name);

  // A journal as text that `read` reads back: one heading per entry ("## 2026-03-14 09:30" or
  // "* [2026-03-14 Sat 09:30]") and the entry's lines under it, the entries in the order given.
  static std::string write(const std::vector<ImportedEntry>& entries, VaultFormat format);
};

}  // namespace trivo

#include "core/imports/journal_importer.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "core/format/serializer_error.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string_view firstLine(std::string_view text) { return text.substr(0, text.find('\n')); }

// The first line without pictures and surrounding blanks: what makes two entries the same.
std::string identity(std::string_view text, const std::vector<ImportedEntry::Media>& media) {
  std::string line(firstLine(text));
  for (const auto& m : media) {
    if (m.placeholder.empty()) continue;
    for (auto at = line.find(m.placeholder); at != std::string::npos;
         at = line.find(m.placeholder)) {
      line.erase(at, m.placeholder.size());
    }
  }
  // Links to the vault's pictures, as an earlier import wrote them.
  for (const auto& [open, close] :
       {std::pair{"![](media/", ")"}, std::pair{"[[file:media/", "]]"}}) {
    for (auto at = line.find(open); at != std::string::npos; at = line.find(open)) {
      const auto end = line.find(close, at + std::string_view(open).size());
      if (end == std::string::npos) break;
      line.erase(at, end + std::string_view(close).size() - at);
    }
  }
  const auto first = line.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  return line.substr(first, line.find_last_not_of(" \t") + 1 - first);
}

// A journal entry runs to its first blank line, so the blank lines inside an imported text go.
std::string withoutBlankLines(std::string_view text) {
  std::string out;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    if (line.find_first_not_of(" \t") != std::string_view::npos) {
      if (!out.empty()) out += '\n';
      out += line;
    }
    start = end + 1;
  }
  return out;
}

}  // namespace

JournalImporter::Result JournalImporter::add(VaultStore& store,
                                             const std::vector<ImportedEntry>& entries,
                                             const ProgressReport& progress) {
  std::map<DayDate, std::vector<const ImportedEntry*>> byDay;
  for (const auto& e : entries) byDay[e.day].push_back(&e);

  std::map<DayDate, DayEntry> pages;
  for (const auto& [day, list] : byDay) {
    try {
      pages.emplace(day, store.day(day));
    } catch (const SerializerError& e) {
      const fs::path file = store.paths().urlFor(EntryKey::day(day));
      throw ImportError(fmt::format("{} cannot be read: {} Nothing was imported.",
                                    file.lexically_relative(store.vault().rootURL).string(),
                                    e.what()));
    }
  }

  Result result;
  std::size_t done = 0;
  for (const auto& [day, list] : byDay) {
    DayEntry& page = pages.at(day);
    bool changed = false;
    for (const ImportedEntry* e : list) {
      const std::string id = identity(e->text, e->media);
      const bool known = std::any_of(
          page.journal.begin(), page.journal.end(),
          [&](const JournalEntry& j) { return j.time == e->time && identity(j.text, {}) == id; });
      if (known) {
        ++result.skipped;
      } else {
        std::string text = withoutBlankLines(e->text);
        for (const auto& m : e->media) {
          const std::string link = store.importMedia(m.file, e->day, e->time);
          ++result.media;
          bool placed = false;
          if (!m.placeholder.empty()) {
            for (auto at = text.find(m.placeholder); at != std::string::npos;
                 at = text.find(m.placeholder, at + link.size())) {
              text.replace(at, m.placeholder.size(), link);
              placed = true;
            }
          }
          if (!placed) text += (text.empty() ? "" : "\n") + link;
        }
        // After the last entry at or before its time, so the journal stays in time order.
        const auto at = std::find_if(page.journal.begin(), page.journal.end(),
                                     [&](const JournalEntry& j) { return e->time < j.time; });
        page.journal.insert(at, JournalEntry{e->time, std::move(text)});
        ++result.added;
        changed = true;
      }
      if (progress) progress(++done, entries.size());
    }
    if (changed) {
      store.save(page);
      ++result.days;
    }
  }
  store.flush();
  return result;
}

}  // namespace trivo

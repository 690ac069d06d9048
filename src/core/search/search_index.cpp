// Building, refreshing and querying the vault's full-text index.
#include "core/search/search_index.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "core/calendar/periods.h"
#include "core/config/vault_config.h"
#include "core/search/search_lines.h"
#include "core/search/search_sources.h"
#include "core/search/sqlite_db.h"
#include "core/store/text_cache.h"
#include "core/util/fnv_hash.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Bumped whenever the tables or what is stored in them change; an older file is rebuilt.
constexpr std::int64_t kLayout = 1;

constexpr std::string_view kSchema = R"(
CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE files(id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, size INTEGER NOT NULL,
  mtime INTEGER NOT NULL, page TEXT, first INTEGER, last INTEGER, pinned INTEGER NOT NULL);
CREATE TABLE lines(id INTEGER PRIMARY KEY, file INTEGER NOT NULL, line INTEGER NOT NULL,
  kind INTEGER NOT NULL, tags TEXT NOT NULL, text TEXT NOT NULL, flat TEXT NOT NULL);
CREATE INDEX lines_by_file ON lines(file, line);
CREATE VIRTUAL TABLE fts USING fts5(flat, content='lines', content_rowid='id',
  tokenize='trigram');
)";

struct FileStamp {
  std::int64_t size = -1;
  std::int64_t mtime = 0;  // nanoseconds
};

std::optional<FileStamp> stampOf(const fs::path& file) {
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  return FileStamp{static_cast<std::int64_t>(info.st_size),
               static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 +
                   static_cast<std::int64_t>(info.st_mtim.tv_nsec)};
}

std::pair<DayDate, DayDate> daysOf(const EntryKey& key) {
  if (const DayDate* d = key.asDay()) return {*d, *d};
  if (const ISOWeek* w = key.asWeek()) return {w->monday(), w->sunday()};
  if (const YearMonth* m = key.asMonth()) return {m->firstDay(), m->lastDay()};
  if (const YearQuarter* q = key.asQuarter()) return {q->firstDay(), q->lastDay()};
  const std::int64_t y = *key.asYear();
  return {*DayDate::make(y, 1, 1), *DayDate::make(y, 12, 31)};
}

std::optional<EntryKey> pageNamed(std::string_view text) {
  if (text == "inbox") return EntryKey::inbox();
  if (auto d = DayDate::parse(text)) return EntryKey::day(*d);
  if (auto w = ISOWeek::parse(text)) return EntryKey::week(*w);
  if (auto m = YearMonth::parse(text)) return EntryKey::month(*m);
  if (auto q = YearQuarter::parse(text)) return EntryKey::quarter(*q);
  if (!text.empty() && text.find_first_not_of("+-0123456789") == std::string_view::npos) {
    try {
      return EntryKey::year(std::stoll(std::string(text)));
    } catch (const std::exception&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::string pageText(const EntryKey& key) {
  return key.isInbox() ? std::string("inbox") : key.payloadText();
}

std::optional<std::string> readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return std::nullopt;
  return text;
}

std::string joinedTags(const std::vector<std::string>& tags) {
  if (tags.empty()) return {};
  std::string out = " ";
  for (const std::string& tag : tags) out += tag + " ";
  return out;
}

std::size_t codePoints(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// An FTS5 phrase for a term: substring matching under the trigram tokenizer.
std::string ftsPhrase(std::string_view term) {
  std::string out = "\"";
  for (char c : term) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

struct FileRow {
  std::string path;
  std::optional<EntryKey> page;
  std::optional<DayDate> first;
  std::optional<DayDate> last;
  bool pinned = false;
};

}  // namespace

std::optional<fs::path> SearchIndex::defaultCacheFolder(const char* xdgCacheHome,
                                                        const char* home) {
  if (xdgCacheHome && fs::path(xdgCacheHome).is_absolute()) {
    return fs::path(xdgCacheHome) / "trivo";
  }
  if (home && fs::path(home).is_absolute()) return fs::path(home) / ".cache" / "trivo";
  return std::nullopt;
}

std::optional<fs::path> SearchIndex::defaultCacheFolder() {
  return defaultCacheFolder(std::getenv("XDG_CACHE_HOME"), std::getenv("HOME"));
}

fs::path SearchIndex::databaseFile(const fs::path& cacheFolder, const fs::path& vault) {
  return cacheFile(cacheFolder, vault, "search-", ".sqlite");
}

fs::path SearchIndex::cacheFile(const fs::path& cacheFolder, const fs::path& vault,
                                std::string_view prefix, std::string_view suffix) {
  std::error_code ec;
  fs::path absolute = fs::weakly_canonical(vault, ec);
  if (ec) absolute = fs::absolute(vault);
  char hex[17];
  std::snprintf(hex, sizeof hex, "%016llx",
                static_cast<unsigned long long>(fnv1aHash(absolute.lexically_normal().string())));
  return cacheFolder / (std::string(prefix) + hex + std::string(suffix));
}

SearchIndex::Options SearchIndex::Options::forVault(fs::path vault, VaultFormat format,
                                                   fs::path cacheFolder,
                                                   const VaultConfig& config) {
  Options options;
  options.vault = std::move(vault);
  options.format = format;
  options.cacheFolder = std::move(cacheFolder);
  options.orgFiles = config.orgInFind;
  options.orgSkip = config.orgSkip;
  options.orgPins = config.orgPins;
  return options;
}

SearchIndex::SearchIndex(Options options) : options_(std::move(options)) {
  file_ = databaseFile(options_.cacheFolder, options_.vault);
  std::error_code ec;
  fs::create_directories(options_.cacheFolder, ec);
  try {
    open();
  } catch (const SqliteError& e) {
    if (!e.damaged()) throw;
    discard();
    open();
  }
}

SearchIndex::~SearchIndex() = default;

void SearchIndex::discard() {
  db_.reset();
  std::error_code ec;
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
    fs::remove(fs::path(file_.string() + suffix), ec);
  }
}

void SearchIndex::open() {
  const std::string vault = fs::absolute(options_.vault).lexically_normal().string();
  auto layoutOf = [&] {
    auto statement = db_->prepare("PRAGMA user_version");
    return statement.step() ? statement.integer(0) : 0;
  };
  for (int attempt = 0; attempt < 2; ++attempt) {
    db_ = std::make_unique<SqliteDb>(file_, true);
    // A cache: losing the last transaction to a power cut costs a rebuild, never the person's
    // data.
    db_->exec("PRAGMA synchronous=OFF");
    if (layoutOf() == 0) {
      // A new file. Another process may be making it at the same moment: whoever takes the
      // write lock first lays out the tables, the other finds them made.
      db_->exec("BEGIN IMMEDIATE");
      if (layoutOf() == 0) {
        db_->exec(kSchema);
        db_->prepare("INSERT INTO meta(key, value) VALUES('vault', ?)").bind(1, vault).run();
        db_->exec("PRAGMA user_version=" + std::to_string(kLayout));
        db_->exec("COMMIT");
        fresh_ = true;
        return;
      }
      db_->exec("COMMIT");
    }
    if (layoutOf() == kLayout) {
      // A file shorter than its header says was cut off. Damage elsewhere shows as an error
      // where it is read, which rebuilds the index then; a full check on every open would cost
      // more than the search itself. One of another vault (a hash collision) is replaced.
      auto pages = db_->prepare("PRAGMA page_count");
      auto pageSize = db_->prepare("PRAGMA page_size");
      std::error_code ec;
      const auto bytes = fs::file_size(file_, ec);
      if (!pages.step() || !pageSize.step() || ec ||
          static_cast<std::uintmax_t>(pages.integer(0) * pageSize.integer(0)) > bytes) {
        throw SqliteError(11, "the index is cut off");
      }
      auto meta = db_->prepare("SELECT value FROM meta WHERE key = 'vault'");
      if (meta.step() && meta.text(0) == vault) {
        fresh_ = false;
        return;
      }
    }
    discard();
  }
  throw SqliteError(1, "the search index could not be laid out");
}

SearchIndex::Refresh SearchIndex::refresh() {
  try {
    lastRefresh_ = refreshOnce();
  } catch (const SqliteError& e) {
    if (!e.damaged()) throw;
    discard();
    open();
    lastRefresh_ = refreshOnce();
    lastRefresh_.rebuilt = true;
  }
  return lastRefresh_;
}

SearchIndex::Refresh SearchIndex::refreshOnce() {
  Refresh result;
  result.rebuilt = fresh_;
  const std::vector<SearchSource> sources = searchSources(
      options_.vault, options_.format, options_.orgFiles, options_.orgSkip, options_.orgPins);

  struct Known {
    std::int64_t id;
    FileStamp stamp;
    bool pinned;
  };
  std::unordered_map<std::string, Known> known;
  {
    auto rows = db_->prepare("SELECT id, path, size, mtime, pinned FROM files");
    while (rows.step()) {
      known.emplace(
          std::string(rows.text(1)),
          Known{rows.integer(0), FileStamp{rows.integer(2), rows.integer(3)}, rows.integer(4) != 0});
    }
  }

  // What changed, found before any transaction: a search over an unchanged vault (the usual
  // case) takes no write lock and writes nothing.
  struct Change {
    const SearchSource* source;
    FileStamp stamp;
    std::optional<std::int64_t> replaces;  // the row of the file as it was indexed before
  };
  std::vector<Change> changes;
  std::vector<std::pair<std::int64_t, bool>> repins;
  std::unordered_set<std::string_view> present;
  for (const SearchSource& source : sources) {
    const auto stamp = stampOf(source.file);
    if (!stamp) continue;  // gone since the folder was listed: forgotten below
    present.insert(source.relative);
    const auto it = known.find(source.relative);
    if (it == known.end() || it->second.stamp.size != stamp->size ||
        it->second.stamp.mtime != stamp->mtime) {
      changes.push_back({&source, *stamp,
                         it == known.end() ? std::nullopt : std::optional(it->second.id)});
    } else if (it->second.pinned != source.pinned) {
      repins.emplace_back(it->second.id, source.pinned);
    }
  }
  std::vector<std::int64_t> gone;
  for (const auto& [path, row] : known) {
    if (!present.contains(path)) gone.push_back(row.id);
  }
  if (changes.empty() && repins.empty() && gone.empty()) {
    fresh_ = false;
    return result;
  }

  db_->exec("BEGIN IMMEDIATE");
  try {
    auto forgetLines = db_->prepare(
        "INSERT INTO fts(fts, rowid, flat) SELECT 'delete', id, flat FROM lines "
        "WHERE file = ? AND flat <> ''");
    auto dropLines = db_->prepare("DELETE FROM lines WHERE file = ?");
    auto dropFile = db_->prepare("DELETE FROM files WHERE id = ?");
    auto addFile = db_->prepare(
        "INSERT INTO files(path, size, mtime, page, first, last, pinned) "
        "VALUES(?, ?, ?, ?, ?, ?, ?)");
    auto addLine = db_->prepare(
        "INSERT INTO lines(file, line, kind, tags, text, flat) VALUES(?, ?, ?, ?, ?, ?)");
    auto addFts = db_->prepare("INSERT INTO fts(rowid, flat) VALUES(?, ?)");
    auto setPinned = db_->prepare("UPDATE files SET pinned = ? WHERE id = ?");

    auto forget = [&](std::int64_t id) {
      forgetLines.bind(1, id).run();
      dropLines.bind(1, id).run();
      dropFile.bind(1, id).run();
    };

    for (const auto& [id, pinned] : repins) {
      setPinned.bind(1, std::int64_t{pinned}).bind(2, id).run();
    }
    std::size_t done = 0;
    for (const Change& change : changes) {
      ++done;
      const SearchSource& source = *change.source;
      const FileStamp* stamp = &change.stamp;
      // The stamp is taken before reading, so a change made while the file is read shows as a
      // newer stamp next time and is read then.
      const auto text = readFile(source.file);
      if (!text) continue;
      if (change.replaces) forget(*change.replaces);
      addFile.bind(1, source.relative).bind(2, stamp->size).bind(3, stamp->mtime);
      if (source.page) {
        addFile.bind(4, pageText(*source.page));
        if (!source.page->isInbox()) {
          const auto [first, last] = daysOf(*source.page);
          addFile.bind(5, first.dayNumber()).bind(6, last.dayNumber());
        } else {
          addFile.bindNull(5).bindNull(6);
        }
      } else {
        addFile.bindNull(4).bindNull(5).bindNull(6);
      }
      addFile.bind(7, std::int64_t{source.pinned}).run();
      const std::int64_t fileId = db_->lastInsertRowid();
      const VaultFormat syntax = source.page ? options_.format : VaultFormat::org;
      for (const SearchLine& line : searchLines(*text, syntax, source.page)) {
        const std::string flat = TextCache::fold(line.text);
        addLine.bind(1, fileId)
            .bind(2, static_cast<std::int64_t>(line.number))
            .bind(3, static_cast<std::int64_t>(line.kind))
            .bind(4, joinedTags(line.tags))
            .bind(5, line.text)
            .bind(6, flat)
            .run();
        if (!flat.empty()) addFts.bind(1, db_->lastInsertRowid()).bind(2, flat).run();
      }
      ++result.read;
      if (fresh_ && options_.progress) options_.progress(done, changes.size());
    }
    for (const std::int64_t id : gone) {
      forget(id);
      ++result.removed;
    }
    db_->exec("COMMIT");
  } catch (...) {
    try {
      db_->exec("ROLLBACK");
    } catch (const SqliteError&) {
      // The transaction is already gone; what matters is the first failure.
    }
    throw;
  }
  if (fresh_ && options_.progress) options_.progress(changes.size(), changes.size());
  fresh_ = false;
  return result;
}

std::vector<SearchPage> SearchIndex::search(const SearchQuery& query) {
  refresh();
  try {
    return searchOnce(query);
  } catch (const SqliteError& e) {
    if (!e.damaged()) throw;
    discard();
    open();
    lastRefresh_ = refreshOnce();
    lastRefresh_.rebuilt = true;
    return searchOnce(query);
  }
}

std::vector<SearchPage> SearchIndex::searchOnce(const SearchQuery& query) {
  // The files of matching lines only, read as they come up: most searches touch a few of the
  // vault's thousands of pages.
  std::unordered_map<std::int64_t, std::optional<FileRow>> files;
  auto fileRow = db_->prepare("SELECT path, page, first, last, pinned FROM files WHERE id = ?");
  auto rowOf = [&](std::int64_t id) -> const FileRow* {
    auto [it, added] = files.try_emplace(id);
    if (added) {
      fileRow.bind(1, id);
      if (fileRow.step()) {
        FileRow row;
        row.path = std::string(fileRow.text(0));
        if (!fileRow.isNull(1)) row.page = pageNamed(fileRow.text(1));
        if (!fileRow.isNull(2)) row.first = DayDate::fromDayNumber(fileRow.integer(2));
        if (!fileRow.isNull(3)) row.last = DayDate::fromDayNumber(fileRow.integer(3));
        row.pinned = fileRow.integer(4) != 0;
        it->second = std::move(row);
      }
      fileRow.reset();
    }
    return it->second ? &*it->second : nullptr;
  };
  auto fileAllowed = [&](const FileRow& row) {
    if (!query.from && !query.to) return true;
    if (!row.first || !row.last) return false;
    if (query.from && *row.last < *query.from) return false;
    if (query.to && *query.to < *row.first) return false;
    return true;
  };
  auto hasTag = [](std::string_view tags, const std::string& tag) {
    return tags.find(" " + tag + " ") != std::string_view::npos;
  };
  auto lineMatches = [&](SearchKind kind, std::string_view tags, std::string_view flat) {
    if (!query.allows(kind)) return false;
    for (const std::string& term : query.terms) {
      if (flat.find(term) == std::string_view::npos) return false;
    }
    for (const std::string& term : query.excluded) {
      if (flat.find(term) != std::string_view::npos) return false;
    }
    for (const std::string& tag : query.tags) {
      if (!hasTag(tags, tag)) return false;
    }
    for (const std::string& tag : query.excludedTags) {
      if (hasTag(tags, tag)) return false;
    }
    if (!query.anyTags.empty() &&
        std::none_of(query.anyTags.begin(), query.anyTags.end(),
                     [&](const std::string& tag) { return hasTag(tags, tag); })) {
      return false;
    }
    return true;
  };

  std::string match;
  for (const std::string& term : query.terms) {
    if (codePoints(term) < 3) continue;
    if (!match.empty()) match += " AND ";
    match += ftsPhrase(term);
  }
  constexpr std::string_view kColumns = "l.file, l.line, l.kind, l.tags, l.flat, l.id";
  SqliteStatement rows =
      match.empty() ? db_->prepare("SELECT " + std::string(kColumns) + " FROM lines l")
                    : db_->prepare("SELECT " + std::string(kColumns) +
                                   " FROM fts JOIN lines l ON l.id = fts.rowid WHERE fts MATCH ?");
  if (!match.empty()) rows.bind(1, match);
  // By file, the matching lines with their row ids.
  std::map<std::int64_t, std::map<std::size_t, std::int64_t>> found;
  while (rows.step()) {
    const std::int64_t file = rows.integer(0);
    const FileRow* row = rowOf(file);
    if (!row || !fileAllowed(*row)) continue;
    const auto kind = static_cast<SearchKind>(
        std::clamp<std::int64_t>(rows.integer(2), 0, std::int64_t{kSearchKindNames.size() - 1}));
    if (!lineMatches(kind, rows.text(3), rows.text(4))) continue;
    found[file].emplace(static_cast<std::size_t>(rows.integer(1)), rows.integer(5));
  }

  std::vector<SearchPage> pages;
  // A file's lines are stored one after another in line order, so the neighbours of a line
  // are the rows next to it: one range of row ids per run of matches, with no index lookups.
  auto around = db_->prepare("SELECT file, line, text FROM lines WHERE id BETWEEN ? AND ?");
  const auto context = static_cast<std::int64_t>(options_.context);
  for (const auto& entry : found) {
    // Named variables, not structured bindings: the lambda below captures the id, which
    // clang 14 does not allow of a binding.
    const auto& fileId = entry.first;
    const auto& numbers = entry.second;
    const FileRow& row = *rowOf(fileId);
    SearchPage page;
    page.file = row.path;
    page.page = row.page;
    page.first = row.first;
    page.last = row.last;
    page.pinned = row.pinned;
    for (const auto& [number, id] : numbers) page.matches.push_back(number);
    // Whether a line is within `context` lines of a match (a row next to a match may be
    // further away when the lines between were not stored).
    auto near = [&](std::int64_t line) {
      const auto after = std::lower_bound(page.matches.begin(), page.matches.end(),
                                          static_cast<std::size_t>(std::max<std::int64_t>(
                                              0, line - context)));
      return after != page.matches.end() &&
             static_cast<std::int64_t>(*after) <= line + context;
    };
    std::int64_t runStart = -1;
    std::int64_t runEnd = -1;
    auto readRun = [&] {
      if (runStart < 0) return;
      around.bind(1, runStart).bind(2, runEnd);
      while (around.step()) {
        const std::int64_t line = around.integer(1);
        if (around.integer(0) != fileId || !near(line)) continue;
        page.lines.emplace(static_cast<std::size_t>(line), std::string(around.text(2)));
      }
      around.reset();
    };
    for (const auto& [number, id] : numbers) {
      const std::int64_t from = id - context;
      const std::int64_t to = id + context;
      if (runStart >= 0 && from <= runEnd + 1) {
        runEnd = std::max(runEnd, to);
      } else {
        readRun();
        runStart = from;
        runEnd = to;
      }
    }
    readRun();
    pages.push_back(std::move(page));
  }
  auto rank = [](const SearchPage& p) {
    if (p.last) return 0;
    if (p.page) return 1;
    return 2;
  };
  std::sort(pages.begin(), pages.end(), [&](const SearchPage& a, const SearchPage& b) {
    if (rank(a) != rank(b)) return rank(a) < rank(b);
    if (a.last && b.last) {
      if (*a.last != *b.last) return *b.last < *a.last;
      if (*a.first != *b.first) return *b.first < *a.first;
    }
    if (a.pinned != b.pinned) return a.pinned;
    return a.file < b.file;
  });
  return pages;
}

std::vector<std::pair<std::size_t, std::size_t>> SearchIndex::marks(std::string_view line,
                                                                    const SearchQuery& query) {
  // Fold one character at a time, remembering where each folded byte came from.
  std::string folded;
  std::vector<std::size_t> from;  // raw start of the character each folded byte belongs to
  std::vector<std::size_t> to;    // raw end of it
  std::size_t at = 0;
  while (at < line.size()) {
    const auto lead = static_cast<unsigned char>(line[at]);
    std::size_t length = 1;
    if (lead >= 0xF0) {
      length = 4;
    } else if (lead >= 0xE0) {
      length = 3;
    } else if (lead >= 0xC0) {
      length = 2;
    }
    length = std::min(length, line.size() - at);
    const std::string piece = TextCache::fold(line.substr(at, length));
    for (std::size_t i = 0; i < piece.size(); ++i) {
      from.push_back(at);
      to.push_back(at + length);
    }
    folded += piece;
    at += length;
  }
  std::vector<std::pair<std::size_t, std::size_t>> ranges;
  for (const std::string& term : query.terms) {
    if (term.empty()) continue;
    for (std::size_t hit = folded.find(term); hit != std::string::npos;
         hit = folded.find(term, hit + 1)) {
      ranges.emplace_back(from[hit], to[hit + term.size() - 1]);
    }
  }
  std::sort(ranges.begin(), ranges.end());
  std::vector<std::pair<std::size_t, std::size_t>> merged;
  for (const auto& range : ranges) {
    if (!merged.empty() && range.first <= merged.back().second) {
      merged.back().second = std::max(merged.back().second, range.second);
    } else {
      merged.push_back(range);
    }
  }
  return merged;
}

}  // namespace trivo

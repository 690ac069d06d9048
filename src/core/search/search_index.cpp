// Building, refreshing and querying the vault's full-text index.
#include "core/search/search_index.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <set>
#include <unordered_map>

#include "core/calendar/periods.h"
#include "core/config/vault_config.h"
#include "core/search/folder_changes.h"
#include "core/search/search_lines.h"
#include "core/search/search_scan.h"
#include "core/search/search_sources.h"
#include "core/search/sqlite_db.h"
#include "core/store/text_cache.h"
#include "core/util/fnv_hash.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Bumped whenever the tables or what is stored in them change; an older file is rebuilt.
constexpr std::int64_t kLayout = 2;

// Past this many matching lines (fewer with neighbours shown), reading every file on every core
// costs less than asking the index for them (measured on ten years of pages; see
// bench/search_bench.cpp and bench/search_vs_rg.sh).
constexpr std::int64_t kMatchesWorthReadingFiles = 6000;

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

// The full-text index's query for the terms it can look up (those of three characters or more;
// the trigram tokenizer finds nothing shorter), or nothing when there are none.
std::string ftsQuery(const SearchQuery& query) {
  std::string match;
  for (const std::string& term : query.terms) {
    if (codePoints(term) < 3) continue;
    if (!match.empty()) match += " AND ";
    match += ftsPhrase(term);
  }
  return match;
}

}  // namespace

// The rows a query reads, and what queries keep of them between one another (named, not
// anonymous: SearchIndex::Copies holds them).
namespace search_rows {

struct FileRow {
  std::string path;
  std::optional<EntryKey> page;
  std::optional<DayDate> first;
  std::optional<DayDate> last;
  bool pinned = false;
};

// A line of the index as a query reads it; the views last as long as their source's row.
struct LineRow {
  std::int64_t id = 0;
  std::int64_t file = 0;
  std::size_t line = 0;
  SearchKind kind = SearchKind::other;
  std::string_view tags;
  std::string_view flat;
  std::string_view text;
};
using LineVisit = std::function<void(const LineRow&)>;

SearchKind kindOf(std::int64_t stored) {
  return static_cast<SearchKind>(
      std::clamp<std::int64_t>(stored, 0, std::int64_t{kSearchKindNames.size() - 1}));
}

// Changes whenever another connection commits to the database (never for this one's own).
std::int64_t dataVersion(SqliteDb& db) {
  auto statement = db.prepare("PRAGMA data_version");
  return statement.step() ? statement.integer(0) : -1;
}

// Every line, read row by row from the database: for a query with no word the full-text index
// can look up (all shorter than three letters, or tags and kinds alone).
void everyRow(SqliteDb& db, const LineVisit& visit) {
  auto rows = db.prepare("SELECT id, file, line, kind, tags, flat, text FROM lines");
  while (rows.step()) {
    visit(LineRow{rows.integer(0), rows.integer(1), static_cast<std::size_t>(rows.integer(2)),
                  kindOf(rows.integer(3)), rows.text(4), rows.text(5), rows.text(6)});
  }
}

// Lines of the index held in memory. A process that searches again and again holds them all:
// a query then asks the database only for the ids of the lines that match (the full-text index
// answers that in about a millisecond) instead of fetching every matching line and its
// neighbours row by row; ten years of pages take about 20 MB. A process that searches once
// holds the matching lines and their neighbours, read in one range of rows per run.
class LineMirror {
 public:
  // Every line of the index.
  explicit LineMirror(SqliteDb& db) {
    auto rows = db.prepare("SELECT id, file, line, kind, tags, flat, text FROM lines ORDER BY id");
    add(rows);
    indexIds();
  }

  // The lines of the ranges of ids given (ascending, not overlapping) only: for a process that
  // searches once, the matching lines and their neighbours, each row read once, one range per
  // run of matches.
  LineMirror(SqliteDb& db, const std::vector<std::pair<std::int64_t, std::int64_t>>& ranges) {
    auto rows = db.prepare(
        "SELECT id, file, line, kind, tags, flat, text FROM lines WHERE id BETWEEN ? AND ?");
    // Room for every row at once, and for a line and its folded form of a usual length each:
    // grown step by step, the blocks would be copied and freed again and again.
    std::size_t count = 0;
    for (const auto& [from, to] : ranges) count += static_cast<std::size_t>(to - from + 1);
    rows_.reserve(count);
    bytes_.reserve(count * 64);
    for (const auto& [from, to] : ranges) {
      rows.bind(1, from).bind(2, to);
      add(rows);
      rows.reset();
    }
  }

  // The full-text index's answer to `match` (an FTS5 query), ascending.
  static std::vector<std::int64_t> matchingIds(SqliteDb& db, const std::string& match) {
    std::vector<std::int64_t> out;
    auto ids = db.prepare("SELECT rowid FROM fts WHERE fts MATCH ?");
    ids.bind(1, match);
    while (ids.step()) out.push_back(ids.integer(0));
    std::sort(out.begin(), out.end());
    return out;
  }

  void candidates(SqliteDb& db, const std::string& match, const LineVisit& visit) const {
    if (match.empty()) {
      for (const Row& row : rows_) visit(lineOf(row));
      return;
    }
    visitIds(matchingIds(db, match), visit);
  }

  void visitIds(const std::vector<std::int64_t>& ids, const LineVisit& visit) const {
    for (const std::int64_t id : ids) {
      if (const Row* row = find(id)) visit(lineOf(*row));
    }
  }

  // The lines held whose ids lie from `from` to `to`, in the order of their ids.
  void range(std::int64_t from, std::int64_t to, const LineVisit& visit) const {
    if (!slots_.empty()) {
      for (std::int64_t id = std::max<std::int64_t>(from, 0); id <= to; ++id) {
        if (const Row* row = find(id)) visit(lineOf(*row));
      }
      return;
    }
    auto it = std::lower_bound(rows_.begin(), rows_.end(), from,
                               [](const Row& row, std::int64_t id) { return row.id < id; });
    for (; it != rows_.end() && it->id <= to; ++it) visit(lineOf(*it));
  }

 private:
  void add(SqliteStatement& rows) {
    while (rows.step()) {
      const std::string_view tags = rows.text(4);
      const std::string_view flat = rows.text(5);
      const std::string_view text = rows.text(6);
      rows_.push_back(Row{rows.integer(0), rows.integer(1),
                          static_cast<std::size_t>(rows.integer(2)), kindOf(rows.integer(3)),
                          bytes_.size(), tags.size(), flat.size(), text.size()});
      bytes_.append(tags).append(flat).append(text);
    }
  }

  void indexIds() {
    // Row ids are dense but for the lines of pages read again (whose new rows go to the end):
    // a table from id to row finds a line at once, where a binary search over all of them
    // would miss the processor's caches a dozen times per line.
    if (!rows_.empty() && rows_.back().id >= 0 &&
        static_cast<std::size_t>(rows_.back().id) <= 4 * rows_.size() + 4096) {
      slots_.assign(static_cast<std::size_t>(rows_.back().id) + 1, 0);
      for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (rows_[i].id >= 0) slots_[static_cast<std::size_t>(rows_[i].id)] = i + 1;
      }
    }
  }

  struct Row {
    std::int64_t id;
    std::int64_t file;
    std::size_t line;
    SearchKind kind;
    std::size_t at;  // tags, flat and text follow one another in bytes_ from here
    std::size_t tags;
    std::size_t flat;
    std::size_t text;
  };

  [[nodiscard]] const Row* find(std::int64_t id) const {
    if (!slots_.empty()) {
      if (id < 0 || static_cast<std::size_t>(id) >= slots_.size()) return nullptr;
      const std::size_t slot = slots_[static_cast<std::size_t>(id)];
      return slot ? &rows_[slot - 1] : nullptr;
    }
    auto it = std::lower_bound(rows_.begin(), rows_.end(), id,
                               [](const Row& row, std::int64_t wanted) { return row.id < wanted; });
    return it != rows_.end() && it->id == id ? &*it : nullptr;
  }

  [[nodiscard]] LineRow lineOf(const Row& row) const {
    const std::string_view all(bytes_);
    return LineRow{row.id,
                   row.file,
                   row.line,
                   row.kind,
                   all.substr(row.at, row.tags),
                   all.substr(row.at + row.tags, row.flat),
                   all.substr(row.at + row.tags + row.flat, row.text)};
  }

  std::vector<Row> rows_;  // by id
  std::string bytes_;
  std::vector<std::size_t> slots_;  // by id: the row's place + 1, or 0; empty when ids are sparse
};

}  // namespace search_rows

using search_rows::dataVersion;
using search_rows::everyRow;
using search_rows::FileRow;
using search_rows::LineMirror;
using search_rows::LineRow;

// What queries keep from one to the next while the database is as they read it.
struct SearchIndex::Copies {
  std::int64_t version = -1;  // the database's data version when they were made
  std::unordered_map<std::int64_t, std::optional<FileRow>> files;
  std::unique_ptr<LineMirror> lines;  // with watchFolders
};

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
  copies_.reset();
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
    // Pages are read through a mapping of the file rather than copied into SQLite's own
    // cache one system call at a time: a search reads lines from all over the file.
    db_->exec("PRAGMA mmap_size=1073741824");
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
  if (options_.watchFolders) {
    if (!changes_) changes_ = std::make_unique<FolderChanges>();
    // What happened up to now is taken here and covered by the look below; what happens from
    // here on is queued for the next refresh.
    if (!changes_->changed() && watchedUpToDate_) return lastRefresh_ = Refresh{};
    changes_->watch(searchFolders(options_.vault, options_.format, options_.orgFiles));
  }
  watchedUpToDate_ = false;
  refreshFrom(listSources());
  watchedUpToDate_ = changes_ && changes_->usable();
  return lastRefresh_;
}

std::vector<SearchSource> SearchIndex::listSources() const {
  return searchSources(options_.vault, options_.format, options_.orgFiles, options_.orgSkip,
                       options_.orgPins, /*stamped=*/true);
}

void SearchIndex::refreshFrom(const std::vector<SearchSource>& sources) {
  try {
    lastRefresh_ = refreshOnce(sources);
  } catch (const SqliteError& e) {
    if (!e.damaged()) throw;
    discard();
    open();
    lastRefresh_ = refreshOnce(sources);
    lastRefresh_.rebuilt = true;
  }
}

SearchIndex::Refresh SearchIndex::refreshOnce(const std::vector<SearchSource>& sources) {
  Refresh result;
  result.rebuilt = fresh_;
  wrote_ = false;

  struct Known {
    std::int64_t id;
    SearchStamp stamp;
    bool pinned;
    bool present = false;  // among the files listed now
  };
  // The paths in one block and the map over views of it: thousands of strings allocated one by
  // one cost more than looking them all up.
  std::string paths;
  std::vector<std::pair<std::size_t, std::size_t>> spans;
  std::vector<Known> rows;
  {
    auto files = db_->prepare("SELECT id, path, size, mtime, pinned FROM files");
    while (files.step()) {
      const std::string_view path = files.text(1);
      spans.emplace_back(paths.size(), path.size());
      paths += path;
      rows.push_back(Known{files.integer(0), SearchStamp{files.integer(2), files.integer(3)},
                           files.integer(4) != 0});
    }
  }
  std::unordered_map<std::string_view, Known*> known;
  known.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    known.emplace(std::string_view(paths).substr(spans[i].first, spans[i].second), &rows[i]);
  }

  // What changed, found before any transaction: a search over an unchanged vault (the usual
  // case) takes no write lock and writes nothing.
  struct Change {
    const SearchSource* source;
    SearchStamp stamp;
    std::optional<std::int64_t> replaces;  // the row of the file as it was indexed before
  };
  std::vector<Change> changes;
  std::vector<std::pair<std::int64_t, bool>> repins;
  for (const SearchSource& source : sources) {
    const auto& stamp = source.stamp;
    if (!stamp) continue;  // gone since the folder was listed: forgotten below
    const auto it = known.find(source.relative);
    if (it == known.end()) {
      changes.push_back({&source, *stamp, std::nullopt});
      continue;
    }
    Known& row = *it->second;
    row.present = true;
    if (row.stamp != *stamp) {
      changes.push_back({&source, *stamp, row.id});
    } else if (row.pinned != source.pinned) {
      repins.emplace_back(row.id, source.pinned);
    }
  }
  std::vector<std::int64_t> gone;
  for (const Known& row : rows) {
    if (!row.present) gone.push_back(row.id);
  }
  if (changes.empty() && repins.empty() && gone.empty()) {
    fresh_ = false;
    return result;
  }

  SqliteTransaction writing(*db_, "BEGIN IMMEDIATE");
  {
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
      const SearchStamp* stamp = &change.stamp;
      // The stamp is taken before reading, so a change made while the file is read shows as a
      // newer stamp next time and is read then.
      const auto text = readFile(options_.vault / source.relative);
      if (!text) continue;
      if (change.replaces) forget(*change.replaces);
      addFile.bind(1, source.relative).bind(2, stamp->size).bind(3, stamp->mtime);
      if (source.page) {
        addFile.bind(4, pageText(*source.page));
        if (const auto days = periodDays(*source.page)) {
          addFile.bind(5, days->first.dayNumber()).bind(6, days->second.dayNumber());
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
  }
  writing.commit();
  wrote_ = true;
  copies_.reset();  // this connection's own writes leave the data version as it was
  if (fresh_ && options_.progress) options_.progress(changes.size(), changes.size());
  fresh_ = false;
  return result;
}

void SearchIndex::search(const SearchQuery& query, const std::function<void(SearchPage&&)>& each) {
  if (readsFiles(query)) {
    const auto list = [this](SourceShare share) {
      return searchSources(options_.vault, options_.format, options_.orgFiles, options_.orgSkip,
                           options_.orgPins, false, share);
    };
    scanFiles(options_.vault, list, options_.format, query, options_.context, each,
              cacheFile(options_.cacheFolder, options_.vault, "search-", ".pages"));
    return;
  }
  for (SearchPage& page : searchIndex(query)) each(std::move(page));
}

std::vector<SearchPage> SearchIndex::search(const SearchQuery& query) {
  std::vector<SearchPage> pages;
  search(query, [&](SearchPage&& page) { pages.push_back(std::move(page)); });
  return pages;
}

std::vector<SearchPage> SearchIndex::searchIndex(const SearchQuery& query) {
  if (options_.watchFolders || fresh_) {
    refresh();
    return searchOrRebuild(query, nullptr);
  }
  // A process that searches once: its files are listed and their stamps taken on a second
  // thread while the index answers as it stands. Only when a file changed meanwhile is the
  // index brought up to date and asked again; the usual search of an unchanged vault costs
  // the longer of the two, not both.
  auto listing = std::async(std::launch::async, [this] { return listSources(); });
  auto pages = searchOrRebuild(query, &listing);
  if (listing.valid()) {
    refreshFrom(listing.get());
    if (wrote_) pages = searchOrRebuild(query, nullptr);
  }
  return pages;
}

bool SearchIndex::readsFiles(const SearchQuery& query) {
  if (options_.plan != Options::Plan::cheaper) return options_.plan == Options::Plan::files;
  // Lines held in memory answer any query at once; a new index is built before it is asked.
  if (options_.watchFolders || fresh_) return false;
  // A query the index cannot look up would read every line of it.
  const std::string match = ftsQuery(query);
  if (match.empty()) return true;
  // The index is asked how many lines hold the terms, but only up to where reading the files
  // costs less: it stops there, so even a word in every line costs a fraction of a millisecond.
  const std::int64_t enough =
      kMatchesWorthReadingFiles / static_cast<std::int64_t>(1 + options_.context);
  try {
    auto count = db_->prepare("SELECT count(*) FROM (SELECT 1 FROM fts WHERE fts MATCH ? LIMIT ?)");
    count.bind(1, match).bind(2, enough);
    return count.step() && count.integer(0) >= enough;
  } catch (const SqliteError&) {
    return false;  // a damaged index is found and rebuilt where it is searched
  }
}

std::vector<SearchPage> SearchIndex::searchOrRebuild(
    const SearchQuery& query, std::future<std::vector<SearchSource>>* listing) {
  try {
    return searchOnce(query);
  } catch (const SqliteError& e) {
    if (!e.damaged()) throw;
    discard();
    open();
    lastRefresh_ = refreshOnce(listing ? listing->get() : listSources());
    lastRefresh_.rebuilt = true;
    return searchOnce(query);
  }
}

std::vector<SearchPage> SearchIndex::searchOnce(const SearchQuery& query) {
  // One read transaction for the whole query: outside one, every statement takes and drops
  // the file's shared lock and reads its header again, and a search runs thousands of them
  // (a file row per matching file, a range of neighbours per run of matches).
  SqliteTransaction reading(*db_, "BEGIN");
  auto pages = matchingPages(query);
  reading.commit();
  return pages;
}

std::vector<SearchPage> SearchIndex::matchingPages(const SearchQuery& query) {
  // Another connection (another trivo, the service) that wrote to the index since the files
  // and lines were copied here may have given their row ids to other files and lines.
  const std::int64_t version = dataVersion(*db_);
  if (!copies_ || copies_->version != version) {
    copies_ = std::make_unique<Copies>();
    copies_->version = version;
  }
  auto& files = copies_->files;
  auto& mirror = copies_->lines;
  if (options_.watchFolders && !mirror) mirror = std::make_unique<LineMirror>(*db_);

  // The files of matching lines only, read as they come up (most searches touch a few of the
  // vault's thousands of pages) and kept for the next query.
  std::optional<SqliteStatement> fileRow;
  auto rowOf = [&](std::int64_t id) -> const FileRow* {
    auto [it, added] = files.try_emplace(id);
    if (added) {
      if (!fileRow) {
        fileRow.emplace(db_->handle(),
                        "SELECT path, page, first, last, pinned FROM files WHERE id = ?");
      }
      fileRow->bind(1, id);
      if (fileRow->step()) {
        FileRow row;
        row.path = std::string(fileRow->text(0));
        if (!fileRow->isNull(1)) row.page = pageNamed(fileRow->text(1));
        if (!fileRow->isNull(2)) row.first = DayDate::fromDayNumber(fileRow->integer(2));
        if (!fileRow->isNull(3)) row.last = DayDate::fromDayNumber(fileRow->integer(3));
        row.pinned = fileRow->integer(4) != 0;
        it->second = std::move(row);
      }
      fileRow->reset();
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
  auto lineMatches = [&](const LineRow& line) {
    const auto carries = [&](const std::string& tag) {
      return line.tags.find(" " + tag + " ") != std::string_view::npos;  // stored as " a b "
    };
    return query.allows(line.kind) && query.allowsText(line.flat) && query.allowsTags(carries);
  };

  const std::string match = ftsQuery(query);
  // The matching lines, with their row ids and texts.
  struct Hit {
    std::int64_t file;
    std::size_t line;
    std::int64_t id;
    std::string text;
  };
  std::vector<Hit> hits;
  auto consider = [&](const LineRow& line) {
    const FileRow* row = rowOf(line.file);
    if (!row || !fileAllowed(*row) || !lineMatches(line)) return;
    hits.push_back(Hit{line.file, line.line, line.id, std::string(line.text)});
  };
  std::unique_ptr<LineMirror> runs;  // the lines read for this query alone
  if (mirror) {
    mirror->candidates(*db_, match, consider);
  } else if (!match.empty()) {
    const auto ids = LineMirror::matchingIds(*db_, match);
    const auto context = static_cast<std::int64_t>(options_.context);
    std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
    for (const std::int64_t id : ids) {
      const std::int64_t from = std::max<std::int64_t>(0, id - context);
      if (!ranges.empty() && from <= ranges.back().second + 1) {
        ranges.back().second = id + context;
      } else {
        ranges.emplace_back(from, id + context);
      }
    }
    runs = std::make_unique<LineMirror>(*db_, ranges);
    runs->visitIds(ids, consider);
  } else {
    everyRow(*db_, consider);
  }
  // Neighbours come from the lines in memory when there are any.
  const LineMirror* lines = mirror ? mirror.get() : runs.get();
  // The lines come in the order of their ids, and a file's lines are stored together in line
  // order, so the hits of a file stand together already; the sort only makes sure of it.
  std::stable_sort(hits.begin(), hits.end(),
                   [](const Hit& a, const Hit& b) { return a.file < b.file; });
  struct Group {
    const FileRow* row;
    std::size_t begin;
    std::size_t end;
  };
  std::vector<Group> groups;
  for (std::size_t i = 0; i < hits.size(); ++i) {
    if (groups.empty() || hits[groups.back().begin].file != hits[i].file) {
      groups.push_back(Group{rowOf(hits[i].file), i, i});
    }
    groups.back().end = i + 1;
  }

  std::vector<SearchPage> pages;
  pages.reserve(groups.size());
  std::optional<SqliteStatement> around;  // prepared when the lines are not held in memory
  const auto context = static_cast<std::int64_t>(options_.context);
  for (const Group& group : groups) {
    const std::int64_t fileId = hits[group.begin].file;
    const FileRow& row = *group.row;
    SearchPage page;
    page.file = row.path;
    page.page = row.page;
    page.first = row.first;
    page.last = row.last;
    page.pinned = row.pinned;
    // The lines shown, by number: matches and neighbours come in two passes.
    std::map<std::size_t, std::string> shown;
    // In line order as stored, so each line goes in at the end of the map.
    for (std::size_t i = group.begin; i < group.end; ++i) {
      const auto before = shown.size();
      shown.try_emplace(shown.end(), hits[i].line, std::move(hits[i].text));
      if (shown.size() > before) page.matches.push_back(hits[i].line);
    }
    std::sort(page.matches.begin(), page.matches.end());
    auto hint = shown.begin();
    // Whether a line is within `context` lines of a match (a row next to a match may be
    // further away when the lines between were not stored).
    auto near = [&](std::int64_t line) {
      const auto after =
          std::lower_bound(page.matches.begin(), page.matches.end(),
                           static_cast<std::size_t>(std::max<std::int64_t>(0, line - context)));
      return after != page.matches.end() && static_cast<std::int64_t>(*after) <= line + context;
    };
    auto neighbour = [&](const LineRow& line) {
      if (line.file != fileId || !near(static_cast<std::int64_t>(line.line))) return;
      // Neighbours come in line order too: the next one goes in just after the last one.
      hint = std::next(shown.try_emplace(hint, line.line, line.text));
    };
    // A file's lines are stored one after another in line order, so the neighbours of a line
    // are the rows next to it: one range of ids per run of matches, with no index lookups.
    auto readRange = [&](std::int64_t from, std::int64_t to) {
      if (from < 0) return;
      if (lines) {
        lines->range(from, to, neighbour);
        return;
      }
      if (!around) {
        around.emplace(db_->handle(),
                       "SELECT id, file, line, text FROM lines WHERE id BETWEEN ? AND ?");
      }
      around->bind(1, from).bind(2, to);
      while (around->step()) {
        neighbour(LineRow{around->integer(0),
                          around->integer(1),
                          static_cast<std::size_t>(around->integer(2)),
                          SearchKind::other,
                          {},
                          {},
                          around->text(3)});
      }
      around->reset();
    };
    if (context > 0) {
      std::int64_t runStart = -1;
      std::int64_t runEnd = -1;
      for (std::size_t i = group.begin; i < group.end; ++i) {
        const std::int64_t from = std::max<std::int64_t>(0, hits[i].id - context);
        const std::int64_t to = hits[i].id + context;
        if (runStart >= 0 && from <= runEnd + 1) {
          runEnd = std::max(runEnd, to);
        } else {
          readRange(runStart, runEnd);
          runStart = from;
          runEnd = to;
        }
      }
      readRange(runStart, runEnd);
    }
    for (const auto& [number, text] : shown) page.add(number, text);
    pages.push_back(std::move(page));
  }
  std::sort(pages.begin(), pages.end(), shownBefore);
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

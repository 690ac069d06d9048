// The full-text index of a vault: an SQLite FTS5 database (trigram tokens over case- and
// accent-folded lines) kept in the user's cache folder, one per vault, brought up to date from
// file sizes and modification times before each search that asks it (a word most lines hold is
// found by reading the pages instead). The database is only a cache: one that is missing,
// damaged or of another layout is deleted and built again from the pages.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/search/search_page.h"
#include "core/search/search_query.h"
#include "core/search/search_sources.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

class FolderChanges;
class SqliteDb;
struct VaultConfig;

class SearchIndex {
 public:
  struct Options {
    std::filesystem::path vault;  // the vault root
    VaultFormat format = VaultFormat::markdown;
    std::filesystem::path cacheFolder;  // where the databases are kept; created when missing
    bool orgFiles = false;              // also index the vault's other Org files
    std::vector<std::string> orgSkip;   // which of them to leave out
    std::vector<std::string> orgPins;   // which of them come first
    std::size_t context = 1;            // neighbours shown on each side of a matching line
    // Told how far a build that reads every file has come (files read, files in all); called
    // only when the database was missing or thrown away.
    std::function<void(std::size_t, std::size_t)> progress;
    // For a process that searches again and again (the service, the window): watch the folders
    // of the files searched, and bring the index up to date only when something in them
    // changed since the last time, instead of looking at every file before each search.
    bool watchFolders = false;
    // How a process that searches once finds the lines: through the index, or by reading the
    // files themselves when the index's counts say that costs less (a word most lines hold, a
    // query the index cannot look up). Both ways find the same lines; tests and benchmarks
    // choose one.
    enum class Plan { cheaper, index, files };
    Plan plan = Plan::cheaper;

    // A vault's options as its settings give them: which of its other Org files are searched,
    // and which come first.
    static Options forVault(std::filesystem::path vault, VaultFormat format,
                            std::filesystem::path cacheFolder, const VaultConfig& config);
  };

  // What bringing the index up to date did.
  struct Refresh {
    bool rebuilt = false;     // the database was missing, damaged or stale and was made anew
    std::size_t read = 0;     // files read because they were new or changed
    std::size_t removed = 0;  // files gone from the vault
    bool operator==(const Refresh&) const = default;
  };

  // "$XDG_CACHE_HOME/trivo" when that variable holds an absolute path, else "~/.cache/trivo";
  // nothing when neither can be formed.
  static std::optional<std::filesystem::path> defaultCacheFolder(const char* xdgCacheHome,
                                                                 const char* home);
  // The same from this process's environment.
  static std::optional<std::filesystem::path> defaultCacheFolder();
  // The database file of a vault: "search-<hash of the vault's absolute path>.sqlite".
  static std::filesystem::path databaseFile(const std::filesystem::path& cacheFolder,
                                            const std::filesystem::path& vault);
  // A vault's file in the cache folder: PREFIX + the hash of the vault's absolute path + SUFFIX.
  static std::filesystem::path cacheFile(const std::filesystem::path& cacheFolder,
                                         const std::filesystem::path& vault,
                                         std::string_view prefix, std::string_view suffix);

  // Opens the vault's database, creating it (or replacing a damaged one) as needed; the files
  // are read on the first refresh. Throws SqliteError when the cache folder cannot hold a
  // database at all.
  explicit SearchIndex(Options options);
  ~SearchIndex();
  SearchIndex(const SearchIndex&) = delete;
  SearchIndex& operator=(const SearchIndex&) = delete;

  // Reads the files that are new or whose size or modification time changed, and forgets those
  // that are gone, in one transaction. A database found damaged meanwhile is rebuilt once. With
  // `watchFolders`, looks at no file when nothing changed in their folders since the last time.
  Refresh refresh();
  // Finds the matching lines: through the index, brought up to date first, or by reading the
  // files when that costs less (see Options::plan; the index is then left as it is). Pages with
  // days come newest first (by their last day, then their first), then the inbox, then other
  // Org files (pinned first, then by path).
  std::vector<SearchPage> search(const SearchQuery& query);
  // The same, handed to `each` page by page in that order: a process that prints them need not
  // hold them all. What `each` throws reaches the caller.
  void search(const SearchQuery& query, const std::function<void(SearchPage&&)>& each);
  [[nodiscard]] const Refresh& lastRefresh() const { return lastRefresh_; }
  [[nodiscard]] const std::filesystem::path& file() const { return file_; }

  // The byte ranges of `line` where the query's words and phrases match, folded as the index
  // folds, sorted and merged; for marking them on a terminal.
  static std::vector<std::pair<std::size_t, std::size_t>> marks(std::string_view line,
                                                                const SearchQuery& query);

 private:
  void open();
  void discard();
  [[nodiscard]] std::vector<SearchSource> listSources() const;
  void refreshFrom(const std::vector<SearchSource>& sources);
  Refresh refreshOnce(const std::vector<SearchSource>& sources);
  std::vector<SearchPage> searchOrRebuild(const SearchQuery& query,
                                          std::future<std::vector<SearchSource>>* listing);
  std::vector<SearchPage> searchOnce(const SearchQuery& query);
  std::vector<SearchPage> searchIndex(const SearchQuery& query);
  std::vector<SearchPage> matchingPages(const SearchQuery& query);
  bool readsFiles(const SearchQuery& query);

  Options options_;
  std::filesystem::path file_;
  std::unique_ptr<SqliteDb> db_;
  struct Copies;
  std::unique_ptr<Copies> copies_;
  std::unique_ptr<FolderChanges> changes_;  // with watchFolders
  bool watchedUpToDate_ = false;  // the last refresh saw every file, under watches that hold
  bool fresh_ = false;  // the database was created by this object and holds no file yet
  bool wrote_ = false;  // the last refresh changed the database
  Refresh lastRefresh_;
};

}  // namespace trivo

// Queries in the language `trivo search` reads, answered from the vault's index.
#include "app/indexed_search.h"

#include "app/display_text.h"
#include "core/config/config_store.h"
#include "core/format/text_util.h"
#include "core/search/search_index.h"
#include "core/search/sqlite_db.h"

namespace trivo::app {

namespace {

// The line without its list marker and checkbox, as a person reads it.
std::string shownText(std::string_view text) {
  const auto first = text.find_first_not_of(" \t-*#");
  text.remove_prefix(first == std::string_view::npos ? text.size() : first);
  for (std::string_view box : {"[ ] ", "[x] ", "[X] ", "[-] "}) {
    if (text.substr(0, box.size()) == box) text.remove_prefix(box.size());
  }
  return std::string(text);
}

}  // namespace

IndexedSearch::IndexedSearch(std::filesystem::path root, VaultFormat format)
    : root_(std::move(root)), format_(format) {}

IndexedSearch::~IndexedSearch() = default;

std::vector<SearchHit> IndexedSearch::find(std::string_view text, std::size_t limit,
                                           const Progress& progress) {
  std::vector<SearchHit> hits;
  if (text::isBlank(text) || limit == 0) return hits;
  SearchQuery query;
  try {
    query = SearchQuery::parse(text);
  } catch (const SearchQueryError& e) {
    throw PageSearchError(e.what());
  }
  // Set for the length of this call only; the index calls it while it reads every page.
  progress_ = &progress;
  struct Forget {
    const Progress*& told;
    ~Forget() { told = nullptr; }
  } forget{progress_};
  try {
    if (!index_) {
      const auto folder = SearchIndex::defaultCacheFolder();
      if (!folder) {
        throw PageSearchError(
            "There is no cache folder for the search index; set XDG_CACHE_HOME or HOME to an "
            "absolute folder.");
      }
      VaultConfig config;
      try {
        config = ConfigStore(root_, ConfigStore::defaultDeviceURL()).load();
      } catch (const std::exception&) {
        // A damaged settings file leaves the vault's other Org files out, nothing more.
      }
      auto options = SearchIndex::Options::forVault(root_, format_, *folder, config);
      options.context = 0;
      // The window searches at every pause in typing: it looks at the pages only when
      // something in their folders changed since the last search.
      options.watchFolders = true;
      options.progress = [this](std::size_t done, std::size_t all) {
        if (progress_ && *progress_) (*progress_)(done, all);
      };
      index_ = std::make_unique<SearchIndex>(options);
    }
    const auto pages = index_->search(query);
    for (const SearchPage& page : pages) {
      const std::string id = page.page ? (page.page->isInbox() ? "inbox" : pageId(*page.page)) : "";
      for (const std::size_t n : page.matches) {
        hits.push_back(
            {id, page.file, n, shownText(page.lineText(n).value_or(std::string_view()))});
        if (hits.size() >= limit) return hits;
      }
    }
  } catch (const SqliteError& e) {
    index_.reset();
    throw PageSearchError(std::string("The search index cannot be used (") + e.what() +
                          "); check that the cache folder can be written.");
  }
  return hits;
}

}  // namespace trivo::app

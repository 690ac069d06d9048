// Running searches for the command line.
#include "cli/cmd_search_support.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <ostream>
#include <sstream>

#include "cli/cmd_inbox_vault.h"
#include "cli/vault_settings.h"
#include "core/config/config_store.h"
#include "core/search/sqlite_db.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

// Draws "Indexing the vault [#####.....] 120/3650" over itself on standard error.
class ProgressBar {
 public:
  explicit ProgressBar(std::ostream& err) : err_(err) {}
  void operator()(std::size_t done, std::size_t total) {
    constexpr std::size_t kWidth = 30;
    const std::size_t filled = total == 0 ? kWidth : done * kWidth / total;
    if (filled == lastFilled_ && done != total) return;
    lastFilled_ = filled;
    err_ << "\rIndexing the vault [" << std::string(filled, '#')
         << std::string(kWidth - filled, '.') << "] " << done << "/" << total << std::flush;
    if (done == total) err_ << "\r\x1b[K" << std::flush;
  }

 private:
  std::ostream& err_;
  std::size_t lastFilled_ = static_cast<std::size_t>(-1);
};

std::string pageTitle(const SearchPage& page) {
  if (!page.page) return page.pinned ? "pinned Org file" : "Org file";
  if (page.page->isInbox()) return "inbox";
  if (const DayDate* d = page.page->asDay()) return dayWords(*d);
  return page.page->description();
}

std::string marked(const std::string& line, const SearchQuery& query, const Paint& paint) {
  if (!paint.on) return line;
  std::string out;
  std::size_t at = 0;
  for (const auto& [from, to] : SearchIndex::marks(line, query)) {
    out += line.substr(at, from - at);
    out += "\x1b[1;31m" + line.substr(from, to - from) + "\x1b[0m";
    at = to;
  }
  return out + line.substr(at);
}

}  // namespace

SearchVault SearchVault::open(const Context& context) {
  SearchVault vault;
  vault.root = commandVault(context);
  vault.format = detectVaultFormat(vault.root);
  try {
    vault.config = ConfigStore(vault.root, ConfigStore::defaultDeviceURL()).load();
  } catch (const std::exception&) {
    vault.config.reset();
  }
  return vault;
}

const VaultConfig& SearchVault::settings() const {
  if (!config) {
    throw UserError("The settings file " + (root / ".trivo" / "config.json").string() +
                    " cannot be read; fix it (trivo config shows what is wrong) and run the "
                    "command again.");
  }
  return *config;
}

SearchQuery parseQuery(const std::string& text) {
  try {
    return SearchQuery::parse(text);
  } catch (const SearchQueryError& e) {
    throw UserError(e.what(), 2);
  }
}

std::vector<SearchPage> runSearch(const Context& context, const SearchVault& vault,
                                  const SearchQuery& query, std::size_t contextLines,
                                  std::optional<bool> orgFiles) {
  const auto folder = SearchIndex::defaultCacheFolder();
  if (!folder) {
    throw UserError(
        "There is no cache folder for the search index; set XDG_CACHE_HOME or HOME "
        "to an absolute folder.");
  }
  const VaultConfig defaults;
  const VaultConfig& config = vault.config ? *vault.config : defaults;
  auto options = SearchIndex::Options::forVault(vault.root, vault.format, *folder, config);
  if (orgFiles) options.orgFiles = *orgFiles;
  options.context = contextLines;
  ProgressBar bar(context.err);
  if (isatty(STDERR_FILENO) != 0 && &context.err == &std::cerr) {
    options.progress = [&bar](std::size_t done, std::size_t total) { bar(done, total); };
  }
  try {
    SearchIndex index(options);
    return index.search(query);
  } catch (const SqliteError& e) {
    throw UserError("The search index in " + folder->string() + " cannot be used (" + e.what() +
                    "); check that the folder can be written, or remove it and search again.");
  }
}

int printSearch(const Context& context, const std::string& asked, const SearchQuery& query,
                const std::vector<SearchPage>& pages) {
  std::size_t count = 0;
  for (const SearchPage& page : pages) count += page.matches.size();
  if (context.json) {
    Json out = Json::object();
    out["query"] = asked;
    out["lines"] = count;
    Json list = Json::array();
    for (const SearchPage& page : pages) {
      Json p = Json::object();
      p["file"] = page.file;
      p["page"] = page.page ? Json(page.page->description()) : Json(nullptr);
      p["first"] = page.first ? Json(page.first->isoString()) : Json(nullptr);
      p["last"] = page.last ? Json(page.last->isoString()) : Json(nullptr);
      Json matches = Json::array();
      for (const std::size_t n : page.matches) {
        Json m = Json::object();
        m["line"] = n;
        m["text"] = page.lines.count(n) ? page.lines.at(n) : std::string();
        Json around = Json::array();
        for (const auto& [number, text] : page.lines) {
          if (number != n && (number + 1 == n || number == n + 1)) {
            around.push_back(Json{{"line", number}, {"text", text}});
          }
        }
        m["context"] = around;
        matches.push_back(m);
      }
      p["matches"] = matches;
      list.push_back(p);
    }
    out["pages"] = list;
    context.out << out.dump(2) << "\n";
    return count == 0 ? 1 : 0;
  }
  const Paint paint = Paint::forContext(context);
  if (pages.empty()) {
    context.out << "No line matches " << asked << ".\n";
    return 1;
  }
  // Thousands of lines: gathered here and written at once, not piece by piece to the terminal.
  std::ostringstream out;
  bool firstPage = true;
  for (const SearchPage& page : pages) {
    if (!firstPage) out << "\n";
    firstPage = false;
    out << paint.bold(page.file) << "  " << paint.dim(pageTitle(page)) << "\n";
    std::optional<std::size_t> previous;
    for (const auto& [number, text] : page.lines) {
      if (previous && number > *previous + 1) out << paint.dim("  --") << "\n";
      previous = number;
      const bool match = std::binary_search(page.matches.begin(), page.matches.end(), number);
      std::string n = std::to_string(number);
      n.insert(0, n.size() < 5 ? 5 - n.size() : 0, ' ');
      out << paint.dim(n + (match ? ":" : "-")) << " "
          << (match ? marked(text, query, paint) : paint.dim(text)) << "\n";
    }
  }
  out << "\n"
      << count << (count == 1 ? " line" : " lines") << " in " << pages.size()
      << (pages.size() == 1 ? " file" : " files") << ".\n";
  context.out << out.view();
  return 0;
}

}  // namespace trivo::cli

// Running searches for the command line.
#include "cli/cmd_search_support.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <ostream>

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

std::string marked(std::string_view line, const SearchQuery& query, const Paint& paint) {
  if (!paint.on) return std::string(line);
  std::string out;
  std::size_t at = 0;
  for (const auto& [from, to] : SearchIndex::marks(line, query)) {
    out += line.substr(at, from - at);
    out.append("\x1b[1;31m").append(line.substr(from, to - from)).append("\x1b[0m");
    at = to;
  }
  return out.append(line.substr(at));
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
    throw UserError(e.what(), kSearchFailed);
  }
}

namespace {

// Runs the query, handing each page found to `each` in the order shown.
void runSearch(const Context& context, const SearchVault& vault, const SearchQuery& query,
               std::size_t contextLines, std::optional<bool> orgFiles,
               const std::function<void(SearchPage&&)>& each) {
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
    index.search(query, each);
  } catch (const SqliteError& e) {
    throw UserError("The search index in " + folder->string() + " cannot be used (" + e.what() +
                    "); check that the folder can be written, or remove it and search again.");
  }
}

// The pages as JSON, all at once: the count of lines comes first.
int printJson(const Context& context, const std::string& asked,
              const std::vector<SearchPage>& pages) {
  std::size_t count = 0;
  for (const SearchPage& page : pages) count += page.matches.size();
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
      m["text"] = std::string(page.lineText(n).value_or(std::string_view()));
      Json around = Json::array();
      for (const SearchPage::Line& line : page.lines) {
        if (line.number != n && (line.number + 1 == n || line.number == n + 1)) {
          around.push_back(Json{{"line", line.number}, {"text", page.textOf(line)}});
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

// Prints pages for people as they come: tens of thousands of lines, at times, written a block
// at a time rather than piece by piece to the terminal or all at once at the end.
class PagePrinter {
 public:
  PagePrinter(const Context& context, const SearchQuery& query)
      : context_(context), query_(query), paint_(Paint::forContext(context)) {
    out_.reserve(2 * kBlock);
  }

  void operator()(const SearchPage& page) {
    if (pages_ > 0) out_ += "\n";
    ++pages_;
    lines_ += page.matches.size();
    if (paint_.on) {
      out_ += paint_.bold(page.file) + "  " + paint_.dim(pageTitle(page)) + "\n";
    } else {
      out_.append(page.file).append("  ").append(pageTitle(page)).push_back('\n');
    }
    std::optional<std::size_t> previous;
    for (const SearchPage::Line& line : page.lines) {
      const std::size_t number = line.number;
      const std::string_view text = page.textOf(line);
      if (previous && number > *previous + 1) out_ += paint_.dim("  --") + "\n";
      previous = number;
      const bool match = std::binary_search(page.matches.begin(), page.matches.end(), number);
      // The number right-aligned in five places, then ":" for a match or "-" for a neighbour.
      char digits[24];
      const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
      const auto width = static_cast<std::size_t>(end - digits);
      std::string prefix(width < 5 ? 5 - width : 0, ' ');
      prefix.append(digits, width).push_back(match ? ':' : '-');
      if (paint_.on) {
        out_ +=
            paint_.dim(prefix) + " " + (match ? marked(text, query_, paint_) : paint_.dim(text));
      } else {
        out_.append(prefix).append(" ").append(text);
      }
      out_ += "\n";
      if (out_.size() >= kBlock) {
        context_.out << out_;
        out_.clear();
      }
    }
  }

  // The count of lines and files, or that nothing matched; the exit code.
  int finish(const std::string& asked) {
    if (pages_ == 0) {
      context_.out << "No line matches " << asked << ".\n";
      return 1;
    }
    out_ +=
        "\n" + counted(lines_, "line", "lines") + " in " + counted(pages_, "file", "files") + ".\n";
    context_.out << out_;
    return 0;
  }

 private:
  static constexpr std::size_t kBlock = 1 << 16;
  const Context& context_;
  const SearchQuery& query_;
  Paint paint_;
  std::string out_;
  std::size_t pages_ = 0;
  std::size_t lines_ = 0;
};

}  // namespace

int searchAndPrint(const Context& context, const SearchVault& vault, const std::string& asked,
                   const SearchQuery& query, std::size_t contextLines,
                   std::optional<bool> orgFiles) {
  if (context.json) {
    std::vector<SearchPage> pages;
    runSearch(context, vault, query, contextLines, orgFiles,
              [&](SearchPage&& page) { pages.push_back(std::move(page)); });
    return printJson(context, asked, pages);
  }
  PagePrinter printer(context, query);
  runSearch(context, vault, query, contextLines, orgFiles,
            [&](SearchPage&& page) { printer(page); });
  return printer.finish(asked);
}

}  // namespace trivo::cli

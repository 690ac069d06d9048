// `trivo search QUERY` and `trivo search --saved NAME`: the lines of the vault that match, by
// page, newest first, with their neighbours.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_search_support.h"
#include "cli/command.h"
#include "core/config/saved_filters.h"
#include "core/format/text_util.h"

namespace trivo::cli {
namespace {

constexpr int kMostContext = 20;

class SearchCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "search"; }
  [[nodiscard]] const char* summary() const override {
    return "Find lines in the vault: words, \"phrase\", -word, tag:, in:, from:, to:";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    // "-word" is part of the query, not an option: what the parser does not know is kept here
    // instead of being handed up to the program's own options (--json is looked for in it, and
    // --vault is taken here as well).
    app.allow_extras();
    app.fallthrough(false);
    app_ = &app;
    app.add_option("QUERY", words_,
                   "Words a line must hold (folded for case and accents), \"an exact phrase\", "
                   "-word to leave out, tag:NAME, in:journal|inbox|outcomes|reflections|other, "
                   "from:DAY, to:DAY");
    app.add_option("--saved", saved_, "Run a saved search or saved filter of the settings by name")
        ->type_name("NAME");
    app.add_option("--context", context_, "Lines shown around each match (0 to 20)")
        ->default_val(1);
    app.add_flag("--org", org_,
                 "Search the vault's other Org files too, whatever the settings say");
    app.add_flag("--no-org", noOrg_, "Leave the vault's other Org files out");
    app.add_option("--vault", vault_, "The vault folder")->type_name("DIR");
  }

  int run(Context& context) override {
    try {
      return search(context);
    } catch (const UserError& e) {
      // 1 would read as "nothing matched".
      if (e.exitCode() == 1) throw UserError(e.what(), kSearchFailed);
      throw;
    }
  }

 private:
  int search(Context& context) {
    if (context_ < 0 || context_ > kMostContext) {
      throw UserError("--context takes 0 to " + std::to_string(kMostContext) + " lines, not " +
                          std::to_string(context_) + ".",
                      kSearchFailed);
    }
    std::string asked;
    std::vector<std::string> words = words_;
    if (vault_) context.vault = vault_;
    for (const std::string& extra : app_->remaining()) {
      if (extra == "--json") {
        context.json = true;
      } else {
        words.push_back(extra);
      }
    }
    for (const std::string& word : words) {
      // A word with a blank in it was quoted on the command line: keep it one phrase.
      const bool phrase = word.find(' ') != std::string::npos &&
                          word.find('"') == std::string::npos && words.size() > 1;
      asked += (asked.empty() ? "" : " ") + (phrase ? "\"" + word + "\"" : word);
    }
    const SearchVault vault = SearchVault::open(context);
    SearchQuery query;
    if (saved_) {
      if (!asked.empty()) {
        throw UserError("Give either a query or --saved NAME, not both.", kSearchFailed);
      }
      query = savedQuery(vault.settings(), *saved_);
      asked = "the saved search \"" + *saved_ + "\"";
    } else {
      if (text::trim(asked).empty()) {
        throw UserError("Give something to search for, as in: trivo search coffee tag:friends.",
                        kSearchFailed);
      }
      query = parseQuery(asked);
      asked = "\"" + asked + "\"";
    }
    std::optional<bool> orgFiles;
    if (org_ || noOrg_) orgFiles = org_ && !noOrg_;
    return searchAndPrint(context, vault, asked, query, static_cast<std::size_t>(context_),
                          orgFiles);
  }

  static SearchQuery savedQuery(const VaultConfig& config, const std::string& name) {
    try {
      for (int pass = 0; pass < 2; ++pass) {
        // An exact name first, then one that differs only in case.
        auto same = [&](const std::string& other) {
          return pass == 0 ? other == name : text::lower(other) == text::lower(name);
        };
        for (const SavedSearch& search : config.savedSearches) {
          if (same(search.name)) return SearchQuery::fromSaved(search);
        }
        for (const auto& [list, filters] : config.savedFilters) {
          for (const SavedFilter& filter : filters) {
            if (same(filter.name)) return SearchQuery::fromFilter(filter);
          }
        }
      }
    } catch (const SearchQueryError& e) {
      throw UserError(e.what(), kSearchFailed);
    }
    std::string names;
    for (const SavedSearch& search : config.savedSearches) {
      names += (names.empty() ? "" : ", ") + search.name;
    }
    for (const auto& [list, filters] : config.savedFilters) {
      for (const SavedFilter& filter : filters) names += (names.empty() ? "" : ", ") + filter.name;
    }
    throw UserError("There is no saved search or filter \"" + name + "\"" +
                        (names.empty() ? std::string("; the settings hold none.")
                                       : "; the saved ones are " + names + "."),
                    kSearchFailed);
  }

  CLI::App* app_ = nullptr;
  std::vector<std::string> words_;
  std::optional<std::string> saved_;
  std::int64_t context_ = 1;
  bool org_ = false;
  bool noOrg_ = false;
  std::optional<std::string> vault_;
};

}  // namespace

std::unique_ptr<Command> makeSearchCommand() { return std::make_unique<SearchCommand>(); }

}  // namespace trivo::cli

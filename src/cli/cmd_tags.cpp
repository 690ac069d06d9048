// `trivo tags`: every tag written in the vault with how many lines carry it, pinned tags first.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/cmd_search_support.h"
#include "cli/command.h"
#include "core/indexes/tag_index.h"
#include "core/search/search_sources.h"
#include "core/store/text_cache.h"

namespace trivo::cli {
namespace {

class TagsCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "tags"; }
  [[nodiscard]] const char* summary() const override {
    return "List the tags of the vault with their counts, pinned tags first";
  }
  [[nodiscard]] bool writesVault() const override { return false; }
  void define(CLI::App&) override {}

  int run(Context& context) override {
    const SearchVault vault = SearchVault::open(context);
    const VaultConfig defaults;
    const VaultConfig& config = vault.config ? *vault.config : defaults;
    TagIndex index;
    for (const SearchSource& source : searchSources(vault.root, vault.format, config.orgInFind,
                                                    config.orgSkip, config.orgPins)) {
      if (const auto read = TextCache::shared().read(vault.root / source.relative)) {
        index.add(read->text, source.page ? vault.format : VaultFormat::org);
      }
    }
    const auto tags = index.list(config.tagPins, config.tagColors);
    if (context.json) {
      Json out = Json::array();
      for (const TagCount& tag : tags) {
        out.push_back(Json{{"name", tag.name},
                           {"count", tag.count},
                           {"pinned", tag.pinned},
                           {"color", tag.color ? Json(*tag.color) : Json(nullptr)}});
      }
      context.out << out.dump(2) << "\n";
      return 0;
    }
    if (tags.empty()) {
      context.out << "No page carries a tag yet; write #word in a line or :word: after an Org "
                     "heading.\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    for (const TagCount& tag : tags) {
      std::string count = std::to_string(tag.count);
      count.insert(0, count.size() < 6 ? 6 - count.size() : 0, ' ');
      context.out << count << "  " << (tag.pinned ? paint.bold("#" + tag.name) : "#" + tag.name)
                  << (tag.pinned ? paint.dim("  pinned") : "") << "\n";
    }
    return 0;
  }
};

}  // namespace

std::unique_ptr<Command> makeTagsCommand() { return std::make_unique<TagsCommand>(); }

}  // namespace trivo::cli

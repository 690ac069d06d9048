// `trivo tree PAGE`: the outcome chain below a week, month, quarter or year page as an indented
// tree, with the outcomes of the periods above it.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/chain_page.h"
#include "cli/command.h"
#include "core/planning/outcome_tree.h"

namespace trivo::cli {
namespace {

std::string_view box(const std::optional<OutcomeState>& state) {
  if (!state) return "[ ]";
  switch (*state) {
    case OutcomeState::planned:
      return "[ ]";
    case OutcomeState::done:
      return "[x]";
    case OutcomeState::blocked:
      return "[-]";
  }
  return "[ ]";
}

std::string titleOf(const OutcomeTree::Node& node) {
  return trimmedWhitespace(node.title).empty() ? std::string("(not set)") : node.title;
}

// One line per node: its box and title, then where it lives, children two spaces further in.
void print(std::ostream& out, const OutcomeTree::Node& node, std::size_t depth) {
  out << std::string(depth * 2, ' ') << box(node.state) << " " << titleOf(node);
  if (node.key) {
    out << "  (" << (node.kind == OutcomeTree::Kind::task ? "task, " : "")
        << node.key->description() << ")";
  }
  out << "\n";
  for (const auto& child : node.children) print(out, child, depth + 1);
}

class TreeCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "tree"; }
  [[nodiscard]] const char* summary() const override {
    return "Show what serves a period's outcomes, down to the days (2026-W38, mo, 2026 …)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("PAGE", page_, "A week, month, quarter or year, such as 2026-W38 or wo")
        ->required();
  }

  int run(Context& context) override {
    const ChainPage page = chainPage(page_, context);
    const auto store = openChainStore(page.root, context);
    std::optional<OutcomeTree::Tree> tree;
    readingPages(page.key, [&] { tree = OutcomeTree(*store).build(page.key); });
    if (!tree) throw UserError("\"" + page_ + "\" has no outcome tree.");
    if (context.json) {
      context.out << Json(*tree).dump(2) << "\n";
      return 0;
    }
    auto& out = context.out;
    out << tree->title << "\n";
    for (std::size_t i = 0; i < tree->children.size(); ++i) {
      const auto& node = tree->children[i];
      out << "  " << (i + 1) << ". " << box(node.state) << " " << titleOf(node) << "\n";
      for (const auto& child : node.children) print(out, child, 2);
    }
    if (!tree->unlinked.empty()) {
      out << "Serving nothing:\n";
      for (const auto& node : tree->unlinked) print(out, node, 1);
    }
    for (const auto& set : tree->above) {
      if (set.empty() || !set.front().key) continue;
      out << "Above, " << set.front().key->description() << ":\n";
      for (std::size_t i = 0; i < set.size(); ++i) {
        out << "  " << (i + 1) << ". " << box(set[i].state) << " " << titleOf(set[i]) << "\n";
      }
    }
    return 0;
  }

 private:
  std::string page_;
};

}  // namespace

std::unique_ptr<Command> makeTreeCommand() { return std::make_unique<TreeCommand>(); }

}  // namespace trivo::cli

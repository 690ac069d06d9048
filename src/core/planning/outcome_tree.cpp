// Building the outcome tree: every page below the root is read once, bottom up, and each node
// is hung under the outcome it serves.
#include "core/planning/outcome_tree.h"

#include "core/planning/serves_progress.h"
#include "core/records/day_entry.h"
#include "core/store/vault_store.h"
#include "core/vault/page_link.h"

namespace trivo {
namespace {

bool inRange(const std::optional<std::int64_t>& serves) {
  return serves && *serves >= 1 && *serves <= 3;
}

// The pages of the level right below a period page, in calendar order.
std::vector<EntryKey> pagesBelow(const EntryKey& key) {
  std::vector<EntryKey> pages;
  if (const auto* w = key.asWeek()) {
    for (std::int64_t i = 0; i < 7; ++i) pages.push_back(EntryKey::day(w->monday().adding(i)));
  } else if (const auto* m = key.asMonth()) {
    for (const ISOWeek& week : ServesProgress::weeksOf(*m)) pages.push_back(EntryKey::week(week));
  } else if (const auto* q = key.asQuarter()) {
    for (const YearMonth& month : ServesProgress::monthsOf(*q)) {
      pages.push_back(EntryKey::month(month));
    }
  } else if (const auto* y = key.asYear()) {
    for (std::int64_t n = 1; n <= 4; ++n) pages.push_back(EntryKey::quarter(YearQuarter{*y, n}));
  }
  return pages;
}

OutcomeTree::Node outcomeNode(const EntryKey& key, std::int64_t slot, const Outcome& outcome) {
  OutcomeTree::Node node;
  node.id = OutcomeTree::outcomeId(key, slot);
  node.title = outcome.text;
  node.state = outcome.state;
  node.key = key;
  node.kind = OutcomeTree::Kind::outcome;
  node.ref = OutcomeTree::Ref::outcome(key, slot);
  node.serves = outcome.serves;
  return node;
}

// One page expanded: its three outcome nodes with what serves them, and what of the level below
// serves none of them.
struct Expanded {
  std::vector<OutcomeTree::Node> outcomes;
  std::vector<OutcomeTree::Node> unlinked;
};

class Builder {
 public:
  explicit Builder(VaultStore& store) : store_(store) {}

  Expanded expand(const EntryKey& key) {
    Expanded page;
    const OutcomeSet set = outcomesOf(key);
    for (std::size_t i = 0; i < set.outcomes.size(); ++i) {
      page.outcomes.push_back(outcomeNode(key, static_cast<std::int64_t>(i) + 1, set.outcomes[i]));
    }
    const auto hang = [&](OutcomeTree::Node node) {
      if (inRange(node.serves)) {
        page.outcomes[static_cast<std::size_t>(*node.serves - 1)].children.push_back(
            std::move(node));
      } else {
        page.unlinked.push_back(std::move(node));
      }
    };
    for (const EntryKey& lower : pagesBelow(key)) {
      Expanded below = expand(lower);
      // A blank outcome is an empty slot and is left out, unless something below serves it:
      // that work would otherwise vanish from the tree.
      for (OutcomeTree::Node& node : below.outcomes) {
        if (!trimmedWhitespace(node.title).empty() || !node.children.empty()) {
          hang(std::move(node));
        }
      }
      if (const auto* d = lower.asDay()) {
        const auto it = pulled_.find(*d);
        if (it == pulled_.end()) continue;
        for (std::size_t i = 0; i < it->second.size(); ++i) {
          const InboxItem& item = it->second[i];
          if (trimmedWhitespace(item.text).empty()) continue;
          OutcomeTree::Node node;
          node.id = OutcomeTree::taskId(*d, static_cast<std::int64_t>(i));
          node.title = item.text;
          node.state = item.state();
          node.key = lower;
          node.kind = OutcomeTree::Kind::task;
          node.ref = OutcomeTree::Ref::task(*d, static_cast<std::int64_t>(i));
          node.serves = item.serves;
          hang(std::move(node));
        }
      }
    }
    return page;
  }

  // The three outcomes of a period page as nodes without children.
  std::vector<OutcomeTree::Node> flat(const EntryKey& key) {
    std::vector<OutcomeTree::Node> nodes;
    const OutcomeSet set = outcomesOf(key);
    for (std::size_t i = 0; i < set.outcomes.size(); ++i) {
      nodes.push_back(outcomeNode(key, static_cast<std::int64_t>(i) + 1, set.outcomes[i]));
    }
    return nodes;
  }

 private:
  OutcomeSet outcomesOf(const EntryKey& key) {
    if (const auto* d = key.asDay()) {
      DayEntry day = store_.peekDay(*d);
      pulled_[*d] = std::move(day.pulledItems);
      return day.outcomes;
    }
    if (const auto* w = key.asWeek()) return store_.peekWeek(*w).outcomes;
    if (const auto* m = key.asMonth()) return store_.peekMonth(*m).outcomes;
    if (const auto* q = key.asQuarter()) return store_.peekQuarter(*q).outcomes;
    if (const auto* y = key.asYear()) return store_.peekYear(*y).outcomes;
    return OutcomeSet{};
  }

  VaultStore& store_;
  std::map<DayDate, std::vector<InboxItem>> pulled_;
};

void collectServes(const std::vector<OutcomeTree::Node>& nodes,
                   std::map<std::string, std::int64_t>& serves) {
  for (const auto& node : nodes) {
    if (node.serves) serves[node.id] = *node.serves;
    collectServes(node.children, serves);
  }
}

// The period pages above a root, nearest first: a week's month and quarter are those of its
// Monday, so the chain matches the one the counts follow.
std::vector<EntryKey> pagesAbove(const EntryKey& key) {
  std::vector<EntryKey> pages;
  std::optional<YearQuarter> quarter;
  if (const auto* w = key.asWeek()) {
    pages.push_back(EntryKey::month(w->owningMonth()));
    quarter = w->owningQuarter();
  } else if (const auto* m = key.asMonth()) {
    quarter = m->quarter();
  } else if (const auto* q = key.asQuarter()) {
    pages.push_back(EntryKey::year(q->year));
    return pages;
  } else {
    return pages;
  }
  pages.push_back(EntryKey::quarter(*quarter));
  pages.push_back(EntryKey::year(quarter->year));
  return pages;
}

}  // namespace

std::string OutcomeTree::outcomeId(const EntryKey& key, std::int64_t slot) {
  return pageKeyText(key) + "#" + std::to_string(slot);
}

std::string OutcomeTree::taskId(const DayDate& date, std::int64_t index) {
  return "task:" + date.isoString() + "#" + std::to_string(index);
}

std::optional<OutcomeTree::Tree> OutcomeTree::build(const EntryKey& root) const {
  if (root.kind() == EntryKey::Kind::day || root.isInbox()) return std::nullopt;
  Builder builder(store_);
  Expanded expanded = builder.expand(root);
  Tree tree;
  tree.title = root.description();
  tree.key = root;
  tree.children = std::move(expanded.outcomes);
  tree.unlinked = std::move(expanded.unlinked);
  for (const EntryKey& page : pagesAbove(root)) tree.above.push_back(builder.flat(page));
  collectServes(tree.children, tree.serves);
  collectServes(tree.unlinked, tree.serves);
  for (const auto& set : tree.above) collectServes(set, tree.serves);
  return tree;
}

// --- JSON

void to_json(Json& j, const OutcomeTree::Kind& k) { j = json::enumName(k, kOutcomeTreeKindNames); }
void from_json(const Json& j, OutcomeTree::Kind& k) {
  k = json::enumFromName<OutcomeTree::Kind>(j, kOutcomeTreeKindNames, "OutcomeTree.Kind");
}

// An object with one member named after the case, as page keys are written.
void to_json(Json& j, const OutcomeTree::Ref& r) {
  j = Json::object();
  if (const auto* o = r.asOutcome()) {
    Json inner = Json::object();
    json::put(inner, "key", o->key);
    json::put(inner, "slot", o->slot);
    j["outcome"] = inner;
  } else if (const auto* t = r.asTask()) {
    Json inner = Json::object();
    json::put(inner, "date", t->date);
    json::put(inner, "index", t->index);
    j["task"] = inner;
  }
}
void from_json(const Json& j, OutcomeTree::Ref& r) {
  json::requireObject(j, "OutcomeTree.Ref");
  if (auto it = j.find("outcome"); it != j.end()) {
    json::requireObject(*it, "OutcomeTree.Ref.outcome");
    OutcomeTree::Ref::Outcome o;
    json::take(*it, "key", o.key);
    json::take(*it, "slot", o.slot);
    r.value = o;
  } else if (auto t = j.find("task"); t != j.end()) {
    json::requireObject(*t, "OutcomeTree.Ref.task");
    OutcomeTree::Ref::Task task;
    json::take(*t, "date", task.date);
    json::take(*t, "index", task.index);
    r.value = task;
  } else {
    throw RecordError("OutcomeTree.Ref must name its case, outcome or task");
  }
}

void to_json(Json& j, const OutcomeTree::Node& n) {
  j = Json::object();
  json::put(j, "id", n.id);
  json::put(j, "title", n.title);
  json::put(j, "state", n.state);
  json::put(j, "key", n.key);
  json::put(j, "kind", n.kind);
  json::put(j, "ref", n.ref);
  json::put(j, "children", n.children);
  json::put(j, "serves", n.serves);
}
void from_json(const Json& j, OutcomeTree::Node& n) {
  json::requireObject(j, "OutcomeTree.Node");
  json::take(j, "id", n.id);
  json::take(j, "title", n.title);
  json::take(j, "state", n.state);
  json::take(j, "key", n.key);
  json::take(j, "kind", n.kind);
  json::take(j, "ref", n.ref);
  json::take(j, "children", n.children);
  json::take(j, "serves", n.serves);
}

void to_json(Json& j, const OutcomeTree::Tree& t) {
  j = Json::object();
  json::put(j, "title", t.title);
  json::put(j, "key", t.key);
  json::put(j, "children", t.children);
  json::put(j, "unlinked", t.unlinked);
  json::put(j, "above", t.above);
  json::put(j, "serves", t.serves);
}
void from_json(const Json& j, OutcomeTree::Tree& t) {
  json::requireObject(j, "OutcomeTree.Tree");
  json::take(j, "title", t.title);
  json::take(j, "key", t.key);
  json::take(j, "children", t.children);
  json::take(j, "unlinked", t.unlinked);
  json::take(j, "above", t.above);
  json::take(j, "serves", t.serves);
}

}  // namespace trivo

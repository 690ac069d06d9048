// The outcome chain below a week, month, quarter or year page as a tree: the page's three
// outcomes, what serves each of them down to the day outcomes and the tasks pulled into days,
// and the outcome sets of the periods above it.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/records/outcome.h"
#include "core/util/json_fields.h"
#include "core/vault/entry_key.h"

namespace trivo {

class VaultStore;

// Where a node lives, for editing: an outcome slot (1–3) of a period page, or a pulled inbox
// item at an index of a day page's pulled items.
struct OutcomeTreeRef {
  // The cases carry no member initialisers so that the variant can default-construct them while
  // this struct is still being defined; it value-initialises them to zero.
  struct Outcome {
    EntryKey key;
    std::int64_t slot;
    bool operator==(const Outcome&) const = default;
  };
  struct Task {
    DayDate date;
    std::int64_t index;
    bool operator==(const Task&) const = default;
  };
  std::variant<Outcome, Task> value;

  static OutcomeTreeRef outcome(const EntryKey& key, std::int64_t slot) {
    return {Outcome{key, slot}};
  }
  static OutcomeTreeRef task(const DayDate& date, std::int64_t index) {
    return {Task{date, index}};
  }
  [[nodiscard]] const Outcome* asOutcome() const { return std::get_if<Outcome>(&value); }
  [[nodiscard]] const Task* asTask() const { return std::get_if<Task>(&value); }
  bool operator==(const OutcomeTreeRef&) const = default;
};

class OutcomeTree {
 public:
  enum class Kind { outcome, task };

  using Ref = OutcomeTreeRef;

  struct Node {
    // "week:2026-W38#2" for an outcome (page key and slot), "task:2026-09-16#0" for a pulled
    // item (day and index): the same node has the same id on every build.
    std::string id;
    std::string title;
    std::optional<OutcomeState> state;
    std::optional<EntryKey> key;
    Kind kind = Kind::outcome;
    std::optional<Ref> ref;
    std::vector<Node> children;
    std::optional<std::int64_t> serves;
    bool operator==(const Node&) const = default;
  };

  struct Tree {
    std::string title;
    EntryKey key;
    // The root page's three outcomes (blank ones too, so positions stay visible), each with
    // what serves it, in page order: page by page, outcomes before pulled items.
    std::vector<Node> children;
    // Non-blank outcomes and pulled items of the level right below the root that serve no
    // existing position, with what serves them.
    std::vector<Node> unlinked;
    // The outcome sets above the root, nearest first, up to the year (without children).
    std::vector<std::vector<Node>> above;
    // Every node of the tree that names a position it serves, by id.
    std::map<std::string, std::int64_t> serves;
    bool operator==(const Tree&) const = default;
  };

  explicit OutcomeTree(VaultStore& store) : store_(store) {}

  [[nodiscard]] VaultStore& store() const { return store_; }

  // The tree of a week, month, quarter or year page; nothing for a day or the inbox.
  [[nodiscard]] std::optional<Tree> build(const EntryKey& root) const;

  // The id of the outcome at `slot` of a page, and of the pulled item at `index` of a day.
  static std::string outcomeId(const EntryKey& key, std::int64_t slot);
  static std::string taskId(const DayDate& date, std::int64_t index);

 private:
  VaultStore& store_;
};

inline constexpr std::array<std::string_view, 2> kOutcomeTreeKindNames = {"outcome", "task"};

void to_json(Json& j, const OutcomeTree::Kind& k);
void from_json(const Json& j, OutcomeTree::Kind& k);
void to_json(Json& j, const OutcomeTree::Ref& r);
void from_json(const Json& j, OutcomeTree::Ref& r);
void to_json(Json& j, const OutcomeTree::Node& n);
void from_json(const Json& j, OutcomeTree::Node& n);
void to_json(Json& j, const OutcomeTree::Tree& t);
void from_json(const Json& j, OutcomeTree::Tree& t);

}  // namespace trivo

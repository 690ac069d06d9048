// An item of a day's checklist or of its "for tomorrow" list, with its nested steps.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/records/task_step.h"
#include "core/util/json_fields.h"

namespace trivo {

struct CarryItem {
  // What became of the item.
  enum class Fate { done, today, inbox, noted };

  std::string text;
  bool done = false;
  std::vector<std::string> comments;
  std::optional<Fate> fate;
  std::optional<std::string> closedAt;  // the done stamp
  std::vector<TaskStep> steps;

  // A copy of a step tree for a reopened item: every step, at every depth, keeps its text and
  // sub-steps but is not done, has no stamp and loses its comments (they belonged to the earlier
  // attempt).
  static std::vector<TaskStep> reopened(const std::vector<TaskStep>& steps);
  // Turns item `from` into the last step of item `under` (keeping its own steps). Refused (false,
  // list unchanged) for an index out of range or an item nested under itself.
  static bool nest(std::vector<CarryItem>& items, std::size_t from, std::size_t under);

  bool operator==(const CarryItem&) const = default;
};

inline constexpr std::array<std::string_view, 4> kCarryFateNames = {"done", "today", "inbox",
                                                                    "noted"};

void to_json(Json& j, const CarryItem::Fate& f);
void from_json(const Json& j, CarryItem::Fate& f);
void to_json(Json& j, const CarryItem& c);
void from_json(const Json& j, CarryItem& c);

}  // namespace trivo

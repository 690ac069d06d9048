// A step of a task, nestable to any depth, and the moves of a step within a step tree. A step is
// addressed by its index path: one index per level, from the top.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/util/json_fields.h"

namespace trivo {

using IndexPath = std::vector<std::size_t>;

struct TaskStep {
  std::string text;
  bool done = false;
  std::optional<std::string> closedAt;  // the done stamp
  std::vector<std::string> comments;
  std::vector<TaskStep> steps;

  // Moves the step at `from` to the end of the sub-steps of the step at `under`. Refused (false,
  // tree unchanged) when a path is invalid or `under` lies within the moved step's own subtree.
  static bool nest(std::vector<TaskStep>& tree, const IndexPath& from, const IndexPath& under);
  // Moves the step at `from` beside the step at `beside`: after it when `after`, else before.
  // Refused like `nest`; placing a step beside itself changes nothing and succeeds.
  static bool place(std::vector<TaskStep>& tree, const IndexPath& from, const IndexPath& beside,
                    bool after);
  // Removes and returns the step at the path; nothing for an invalid path.
  static std::optional<TaskStep> remove(std::vector<TaskStep>& tree, const IndexPath& at);
  // The step at a path, or null.
  static const TaskStep* at(const std::vector<TaskStep>& tree, const IndexPath& path);

  bool operator==(const TaskStep&) const = default;
};

void to_json(Json& j, const TaskStep& s);
void from_json(const Json& j, TaskStep& s);

}  // namespace trivo

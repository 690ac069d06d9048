// Step trees and their moves.
#include "core/records/task_step.h"

#include <algorithm>

namespace trivo {
namespace {

std::vector<TaskStep>* siblingsOf(std::vector<TaskStep>& tree, const IndexPath& path) {
  if (path.empty()) return nullptr;
  std::vector<TaskStep>* level = &tree;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    if (path[i] >= level->size()) return nullptr;
    level = &(*level)[path[i]].steps;
  }
  return path.back() < level->size() ? level : nullptr;
}

bool isWithin(const IndexPath& path, const IndexPath& ancestor) {
  return path.size() >= ancestor.size() &&
         std::equal(ancestor.begin(), ancestor.end(), path.begin());
}

// Where `path` points once the step at `removed` is gone: a later sibling of the removed step,
// or anything under such a sibling, moves up by one at that level.
IndexPath afterRemoval(IndexPath path, const IndexPath& removed) {
  const std::size_t level = removed.size() - 1;
  if (path.size() > level &&
      std::equal(removed.begin(), removed.begin() + static_cast<long>(level), path.begin()) &&
      path[level] > removed[level]) {
    --path[level];
  }
  return path;
}

}  // namespace

const TaskStep* TaskStep::at(const std::vector<TaskStep>& tree, const IndexPath& path) {
  auto* siblings = siblingsOf(const_cast<std::vector<TaskStep>&>(tree), path);
  return siblings ? &(*siblings)[path.back()] : nullptr;
}

std::optional<TaskStep> TaskStep::remove(std::vector<TaskStep>& tree, const IndexPath& path) {
  auto* siblings = siblingsOf(tree, path);
  if (!siblings) return std::nullopt;
  TaskStep step = std::move((*siblings)[path.back()]);
  siblings->erase(siblings->begin() + static_cast<long>(path.back()));
  return step;
}

bool TaskStep::nest(std::vector<TaskStep>& tree, const IndexPath& from, const IndexPath& under) {
  if (!at(tree, from) || !at(tree, under) || isWithin(under, from)) return false;
  const IndexPath target = afterRemoval(under, from);
  TaskStep moved = *remove(tree, from);
  auto* siblings = siblingsOf(tree, target);
  (*siblings)[target.back()].steps.push_back(std::move(moved));
  return true;
}

bool TaskStep::place(std::vector<TaskStep>& tree, const IndexPath& from, const IndexPath& beside,
                     bool after) {
  if (!at(tree, from) || !at(tree, beside)) return false;
  if (from == beside) return true;
  if (isWithin(beside, from)) return false;
  const IndexPath target = afterRemoval(beside, from);
  TaskStep moved = *remove(tree, from);
  auto* siblings = siblingsOf(tree, target);
  const std::size_t index = target.back() + (after ? 1 : 0);
  siblings->insert(siblings->begin() + static_cast<long>(index), std::move(moved));
  return true;
}

void to_json(Json& j, const TaskStep& s) {
  j = Json::object();
  json::put(j, "text", s.text);
  json::put(j, "done", s.done);
  json::put(j, "closedAt", s.closedAt);
  json::put(j, "comments", s.comments);
  json::put(j, "steps", s.steps);
}

void from_json(const Json& j, TaskStep& s) {
  json::requireObject(j, "TaskStep");
  TaskStep r;
  json::take(j, "text", r.text);
  json::take(j, "done", r.done);
  json::take(j, "closedAt", r.closedAt);
  json::take(j, "comments", r.comments);
  json::take(j, "steps", r.steps);
  s = std::move(r);
}

}  // namespace trivo

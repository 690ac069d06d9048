// Carried items.
#include "core/records/carry_item.h"

namespace trivo {

std::vector<TaskStep> CarryItem::reopened(const std::vector<TaskStep>& steps) {
  std::vector<TaskStep> out;
  out.reserve(steps.size());
  for (const auto& step : steps) {
    TaskStep copy;
    copy.text = step.text;
    copy.steps = reopened(step.steps);
    out.push_back(std::move(copy));
  }
  return out;
}

bool CarryItem::nest(std::vector<CarryItem>& items, std::size_t from, std::size_t under) {
  if (from >= items.size() || under >= items.size() || from == under) return false;
  CarryItem moved = std::move(items[from]);
  items.erase(items.begin() + static_cast<long>(from));
  if (under > from) --under;
  items[under].steps.push_back(
      TaskStep{moved.text, moved.done, moved.closedAt, moved.comments, moved.steps});
  return true;
}

void to_json(Json& j, const CarryItem::Fate& f) { j = json::enumName(f, kCarryFateNames); }
void from_json(const Json& j, CarryItem::Fate& f) {
  f = json::enumFromName<CarryItem::Fate>(j, kCarryFateNames, "CarryItem.Fate");
}

void to_json(Json& j, const CarryItem& c) {
  j = Json::object();
  json::put(j, "text", c.text);
  json::put(j, "done", c.done);
  json::put(j, "comments", c.comments);
  json::put(j, "fate", c.fate);
  json::put(j, "closedAt", c.closedAt);
  json::put(j, "steps", c.steps);
}

void from_json(const Json& j, CarryItem& c) {
  json::requireObject(j, "CarryItem");
  CarryItem r;
  json::take(j, "text", r.text);
  json::take(j, "done", r.done);
  json::take(j, "comments", r.comments);
  json::take(j, "fate", r.fate);
  json::take(j, "closedAt", r.closedAt);
  json::take(j, "steps", r.steps);
  c = std::move(r);
}

}  // namespace trivo

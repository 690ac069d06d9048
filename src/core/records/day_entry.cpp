// JSON of the day record.
#include "core/records/day_entry.h"

namespace trivo {

void to_json(Json& j, const DayEntry& e) {
  j = Json::object();
  json::put(j, "date", e.date);
  json::put(j, "outcomes", e.outcomes);
  json::put(j, "checklist", e.checklist);
  json::put(j, "pulledItems", e.pulledItems);
  json::put(j, "notes", e.notes);
  json::put(j, "journal", e.journal);
  json::put(j, "forTomorrow", e.forTomorrow);
  json::put(j, "activities", e.activities);
  json::put(j, "sessions", e.sessions);
  json::put(j, "liked", e.liked);
  json::put(j, "passthrough", e.passthrough);
}

void from_json(const Json& j, DayEntry& e) {
  json::requireObject(j, "DayEntry");
  DayEntry r;
  json::take(j, "date", r.date);
  json::take(j, "outcomes", r.outcomes);
  json::take(j, "checklist", r.checklist);
  json::take(j, "pulledItems", r.pulledItems);
  json::take(j, "notes", r.notes);
  json::take(j, "journal", r.journal);
  json::take(j, "forTomorrow", r.forTomorrow);
  json::take(j, "activities", r.activities);
  json::take(j, "sessions", r.sessions);
  json::take(j, "liked", r.liked);
  json::take(j, "passthrough", r.passthrough);
  e = std::move(r);
}

}  // namespace trivo

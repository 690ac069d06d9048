// The record of a day page: its outcomes, checklist, pulled inbox items, notes, journal, items
// for tomorrow, activities and focus sessions.
#pragma once

#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/records/carry_item.h"
#include "core/records/inbox_item.h"
#include "core/records/journal_entry.h"
#include "core/records/outcome.h"
#include "core/records/passthrough.h"
#include "core/records/reflection.h"
#include "core/util/json_fields.h"

namespace trivo {

struct DayEntry {
  DayDate date;
  OutcomeSet outcomes{Scope::day};
  std::vector<CarryItem> checklist;
  std::vector<InboxItem> pulledItems;  // inbox items pulled into this day
  std::string notes;
  std::vector<JournalEntry> journal;
  std::vector<CarryItem> forTomorrow;
  std::vector<std::string> activities;
  std::vector<FocusSession> sessions;
  bool liked = false;
  Passthrough passthrough;
  bool operator==(const DayEntry&) const = default;
};

void to_json(Json& j, const DayEntry& e);
void from_json(const Json& j, DayEntry& e);

}  // namespace trivo

// A small sample vault for trying the planner: two weeks of days up to a given today, their week,
// month and quarter pages, and an inbox, written as records through the store.
#pragma once

#include "core/calendar/day_date.h"

namespace trivo {

class VaultStore;

class SampleVault {
 public:
  // Writes the sample pages into the store's vault and flushes. Days: the thirteen days before
  // `today` (Sundays rest) with three outcomes each serving the week, ticks, checklists and
  // journal lines; yesterday leaves an outcome, a checklist item and a "for tomorrow" item open
  // for carrying over. Today has its outcomes set and one ticked. Weeks, months and the quarter
  // of those days carry outcomes serving the level above; the finished weeks their reflection.
  // The inbox holds an overdue item, items due today (one at a time) and later, one repeating
  // every Monday, one for someday and one waiting. The store must read pages as records; its
  // exceptions (VaultError, FileError, SerializerError) pass through.
  static void write(VaultStore& store, const DayDate& today);
};

}  // namespace trivo

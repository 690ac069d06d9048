// The tasks written inside journal entries ("- [ ] call Ana" under a journal line), gathered
// across the vault's day pages with their status.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/journal_entry.h"
#include "core/util/json_fields.h"

namespace trivo {

class VaultStore;

struct JournalTaskRow {
  DayDate day;
  ClockTime time;     // of the journal entry
  std::string entry;  // the entry's first line
  std::string text;   // the task's words
  TaskStatus status = TaskStatus::todo;
  std::size_t depth = 0;  // 0 for a task, 1 for its step, …
  std::optional<std::string> closedAt;

  bool operator==(const JournalTaskRow&) const = default;
};

class TaskIndex {
 public:
  // A task's status: `done` when ticked; `waiting` when its words begin with WAITING, WAIT or
  // HOLD; `inprocess` when they begin with INPROCESS, STARTED or DOING, or when some of its
  // steps (at any depth) are done and it is not; else `todo`.
  static TaskStatus statusOf(const TaskStep& task);
  // The tasks and their steps of the journals of `days` (each read through the store), newest
  // day first, in page order within a day. Throws what the store's record operations throw for
  // a page that cannot be read.
  static std::vector<JournalTaskRow> collect(VaultStore& store, std::vector<DayDate> days);
};

void to_json(Json& j, const JournalTaskRow& row);

}  // namespace trivo

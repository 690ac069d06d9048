// A captured task or note with all its scheduling state, and the inbox page that holds them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/alert_offset.h"
#include "core/records/outcome.h"
#include "core/records/passthrough.h"
#include "core/records/priority.h"
#include "core/records/repeat.h"
#include "core/records/task_step.h"
#include "core/util/json_fields.h"

namespace trivo {

struct InboxItem {
  std::string id;  // a UUID in upper-case text, stable for the item's life
  std::string text;
  std::optional<DayDate> captured;
  std::optional<DayDate> pulledInto;  // the day page it was pulled into
  bool done = false;
  std::optional<Priority> priority;
  bool blocked = false;
  std::optional<DayDate> closed;
  std::optional<ClockTime> closedTime;
  std::optional<DayDate> hiddenUntil;  // not listed before this day
  bool someday = false;
  bool waiting = false;
  std::optional<std::int64_t> serves;  // position 1–3 of the outcome it serves
  // Raw lines kept under the item; a first line "CLOSED: …" is its close stamp.
  std::vector<std::string> trailingLines;
  std::vector<std::string> comments;
  std::vector<TaskStep> subtasks;
  std::optional<OrgKeyword> orgKeyword;
  std::optional<DayDate> due;
  std::optional<ClockTime> time;  // due time of day
  std::optional<Repeat> repeats;
  std::vector<AlertOffset> alerts;
  std::vector<std::string> extraMeta;  // metadata entries the reader did not know, in order
  bool orgHeading = false;             // written as an Org heading rather than a list item
  std::optional<std::string> orgPlanningRest;
  std::vector<std::string> orgProperties;
  std::vector<std::string> orgStampExtra;
  std::vector<DayDate> doneDates;  // the days a repeating item was completed
  std::vector<std::string> orgLogbook;

  // A new item with a fresh id.
  static InboxItem make(std::string text, std::optional<DayDate> captured = std::nullopt);
  // A fresh random UUID, upper-case.
  static std::string newId();

  // done, else blocked, else planned.
  [[nodiscard]] OutcomeState state() const;
  // The next due date after completing the item on `doneOn`; nothing unless it repeats and has
  // a due date.
  [[nodiscard]] std::optional<DayDate> nextDue(const DayDate& doneOn) const;
  // Marks the item done or not; a done mark with a stamp becomes the first trailing line
  // "CLOSED: stamp", replacing an earlier one (so there is never more than one).
  void setPulledDone(bool isDone, const std::optional<std::string>& stamp);
  // The close stamp: the `closed` day and time, else the "CLOSED:" line's text.
  [[nodiscard]] std::optional<std::string> closedAt() const;
  // Sets or clears the close stamp in `closed`, `closedTime` and the "CLOSED:" line together.
  void setClosedAt(const std::optional<std::string>& stamp);

  // Hidden until its `hiddenUntil` day.
  [[nodiscard]] bool isHidden(const DayDate& day) const;
  // On the inbox's list that day: open, not hidden and not parked for someday.
  [[nodiscard]] bool isListed(const DayDate& day) const;
  // Open and due after the day.
  [[nodiscard]] bool isAhead(const DayDate& day) const;
  // A repeating item whose rule lands on the day.
  [[nodiscard]] bool isRoutine(const DayDate& day) const;
  // Open and due on or before the day (overdue items count: they are still due).
  [[nodiscard]] bool isDue(const DayDate& day) const;
  // Open, waiting on someone else, and not hidden that day.
  [[nodiscard]] bool isWaiting(const DayDate& day) const;
  // The days between `from` and `through` (inclusive) on which the item falls due: the rule's
  // dates counted from the due date, or the due date alone for an item that does not repeat.
  [[nodiscard]] std::vector<DayDate> occurrences(const DayDate& from, const DayDate& through) const;
  // The item moved to another day: its due date (when it has one) and the day it was pulled
  // into (when it was) become that day.
  [[nodiscard]] InboxItem rolled(const DayDate& to) const;

  bool operator==(const InboxItem&) const = default;
};

struct Inbox {
  std::vector<InboxItem> items;
  Passthrough passthrough;
  bool operator==(const Inbox&) const = default;
};

void to_json(Json& j, const InboxItem& item);
void from_json(const Json& j, InboxItem& item);
void to_json(Json& j, const Inbox& inbox);
void from_json(const Json& j, Inbox& inbox);

}  // namespace trivo

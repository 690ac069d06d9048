// A time-stamped entry of a day's journal, the tasks written inside journal text, and the
// statuses a task can have wherever it lives.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/records/task_step.h"
#include "core/util/json_fields.h"

namespace trivo {

// The lines after an entry's first line are notes or tasks. A task line is a checkbox line,
// "- [ ] text" or "- [x] text [stamp]", indented two spaces per level of nesting; every other
// line is a note and is kept as written.
struct JournalEntry {
  // One piece of what follows the first line: a note line, or a task with its nested steps.
  struct TailItem {
    std::variant<std::string, TaskStep> value;
    static TailItem note(std::string line) { return {std::move(line)}; }
    static TailItem task(TaskStep step) { return {std::move(step)}; }
    [[nodiscard]] const TaskStep* asTask() const { return std::get_if<TaskStep>(&value); }
    bool operator==(const TailItem&) const = default;
  };

  ClockTime time;
  std::string text;

  // The lines after the first, read as notes and task trees.
  [[nodiscard]] std::vector<TailItem> tail() const;
  // The task trees of the entry, in order.
  [[nodiscard]] std::vector<TaskStep> tasks() const;
  // Lets `edit` change the task trees, then writes them back in place: notes stay where they
  // were, tasks fill the places tasks held, extra tasks follow the last of them (or the text).
  void editSteps(const std::function<void(std::vector<TaskStep>&)>& edit);

  bool operator==(const JournalEntry&) const = default;
};

// A task found in journal text.
struct JournalTask {
  std::string text;
  bool done = false;
  std::optional<std::string> closedAt;
  bool operator==(const JournalTask&) const = default;
};

// The status of a task wherever it lives.
enum class TaskStatus { todo, inprocess, waiting, done };
inline constexpr std::array<std::string_view, 4> kTaskStatusNames = {"todo", "inprocess", "waiting",
                                                                     "done"};
// Where a task lives (an enum cannot nest a type, so the place stands beside the status).
enum class TaskStatusPlace { inbox, day, journal };
inline constexpr std::array<std::string_view, 3> kTaskStatusPlaceNames = {"inbox", "day",
                                                                          "journal"};

// Reads "- [ ] text" / "- [x] text [stamp]" (after its indentation); nothing for other lines.
std::optional<TaskStep> parseTaskLine(std::string_view textWithoutIndent);
// Writes a step and its sub-steps as indented checkbox lines.
void renderTaskLines(const TaskStep& step, std::size_t depth, std::vector<std::string>& out);

void to_json(Json& j, const JournalEntry& e);
void from_json(const Json& j, JournalEntry& e);
void to_json(Json& j, const JournalTask& t);
void from_json(const Json& j, JournalTask& t);
void to_json(Json& j, const TaskStatus& s);
void from_json(const Json& j, TaskStatus& s);

}  // namespace trivo

// Gathering the tasks of journal entries.
#include "core/indexes/task_index.h"

#include <algorithm>
#include <array>
#include <functional>

#include "core/format/text_util.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

bool anyDone(const std::vector<TaskStep>& steps) {
  return std::any_of(steps.begin(), steps.end(),
                     [](const TaskStep& s) { return s.done || anyDone(s.steps); });
}

}  // namespace

TaskStatus TaskIndex::statusOf(const TaskStep& task) {
  if (task.done) return TaskStatus::done;
  const std::string_view words = text::trimStart(task.text);
  const std::string_view first = words.substr(0, std::min(words.find(' '), words.size()));
  constexpr std::array<std::string_view, 3> waiting = {"WAITING", "WAIT", "HOLD"};
  constexpr std::array<std::string_view, 3> started = {"INPROCESS", "STARTED", "DOING"};
  if (std::find(waiting.begin(), waiting.end(), first) != waiting.end()) {
    return TaskStatus::waiting;
  }
  if (std::find(started.begin(), started.end(), first) != started.end() || anyDone(task.steps)) {
    return TaskStatus::inprocess;
  }
  return TaskStatus::todo;
}

std::vector<JournalTaskRow> TaskIndex::collect(VaultStore& store, std::vector<DayDate> days) {
  std::sort(days.begin(), days.end(), [](const DayDate& a, const DayDate& b) { return b < a; });
  days.erase(std::unique(days.begin(), days.end()), days.end());
  std::vector<JournalTaskRow> rows;
  for (const DayDate& day : days) {
    const DayEntry entry = store.peekDay(day);
    for (const JournalEntry& journal : entry.journal) {
      const std::string first(text::withoutCR(
          journal.text.substr(0, std::min(journal.text.find('\n'), journal.text.size()))));
      std::function<void(const TaskStep&, std::size_t)> add = [&](const TaskStep& step,
                                                                  std::size_t depth) {
        rows.push_back(JournalTaskRow{day, journal.time, first, step.text, statusOf(step), depth,
                                      step.closedAt});
        for (const TaskStep& sub : step.steps) add(sub, depth + 1);
      };
      for (const TaskStep& task : journal.tasks()) add(task, 0);
    }
  }
  return rows;
}

void to_json(Json& j, const JournalTaskRow& row) {
  j = Json::object();
  json::put(j, "day", row.day);
  json::put(j, "time", row.time);
  json::put(j, "entry", row.entry);
  json::put(j, "text", row.text);
  json::put(j, "status", row.status);
  json::put(j, "depth", static_cast<std::int64_t>(row.depth));
  json::put(j, "closedAt", row.closedAt);
}

}  // namespace trivo

// Journal entries and the tasks in their text.
#include "core/records/journal_entry.h"

#include "core/records/done_stamp.h"
#include "core/records/note_line.h"

namespace trivo {
namespace {

std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (true) {
    const auto newline = text.find('\n', start);
    lines.emplace_back(
        text.substr(start, newline == std::string_view::npos ? newline : newline - start));
    if (newline == std::string_view::npos) break;
    start = newline + 1;
  }
  return lines;
}

// Reads the task line at `index` and every deeper task line under it as one tree; `index` ends
// one past the tree.
TaskStep readTree(const std::vector<std::string>& lines, std::size_t& index) {
  const auto parts = NoteLine::split(lines[index]);
  TaskStep step = *parseTaskLine(parts.text);
  ++index;
  while (index < lines.size()) {
    const auto child = NoteLine::split(lines[index]);
    if (child.depth <= parts.depth || !parseTaskLine(child.text)) break;
    step.steps.push_back(readTree(lines, index));
  }
  return step;
}

}  // namespace

std::optional<TaskStep> parseTaskLine(std::string_view text) {
  if (text.size() < 5 || text.substr(0, 3) != "- [" || text[4] != ']') return std::nullopt;
  const char mark = text[3];
  if (mark != ' ' && mark != 'x' && mark != 'X') return std::nullopt;
  std::string_view rest = text.substr(5);
  if (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
  TaskStep step;
  step.done = mark != ' ';
  auto [words, stamp] = DoneStamp::split(rest);
  step.text = std::move(words);
  step.closedAt = std::move(stamp);
  return step;
}

void renderTaskLines(const TaskStep& step, std::size_t depth, std::vector<std::string>& out) {
  std::string line = std::string(step.done ? "- [x] " : "- [ ] ") + step.text;
  out.push_back(NoteLine::join(line, step.closedAt, depth));
  for (const auto& child : step.steps) renderTaskLines(child, depth + 1, out);
}

std::vector<JournalEntry::TailItem> JournalEntry::tail() const {
  const auto lines = splitLines(text);
  std::vector<TailItem> items;
  std::size_t index = 1;
  while (index < lines.size()) {
    if (parseTaskLine(NoteLine::split(lines[index]).text)) {
      items.push_back(TailItem::task(readTree(lines, index)));
    } else {
      items.push_back(TailItem::note(lines[index++]));
    }
  }
  return items;
}

std::vector<TaskStep> JournalEntry::tasks() const {
  std::vector<TaskStep> result;
  for (const auto& item : tail()) {
    if (const auto* task = item.asTask()) result.push_back(*task);
  }
  return result;
}

void JournalEntry::editSteps(const std::function<void(std::vector<TaskStep>&)>& edit) {
  const auto items = tail();
  std::vector<TaskStep> steps = tasks();
  edit(steps);

  const auto lines = splitLines(text);
  std::vector<std::string> out{lines.front()};
  std::size_t next = 0;
  std::size_t lastTaskLine = 1;  // where extra tasks go: after the last task, else the first line
  for (const auto& item : items) {
    if (item.asTask()) {
      if (next < steps.size()) {
        // Rewritten trees start at the left margin, as the app writes new task lines.
        renderTaskLines(steps[next++], 0, out);
      }
      lastTaskLine = out.size();
    } else {
      out.push_back(std::get<std::string>(item.value));
    }
  }
  std::vector<std::string> extra;
  for (; next < steps.size(); ++next) renderTaskLines(steps[next], 0, extra);
  out.insert(out.begin() + static_cast<long>(lastTaskLine), extra.begin(), extra.end());

  std::string joined;
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (i > 0) joined += '\n';
    joined += out[i];
  }
  text = std::move(joined);
}

void to_json(Json& j, const JournalEntry& e) {
  j = Json::object();
  json::put(j, "time", e.time);
  json::put(j, "text", e.text);
}

void from_json(const Json& j, JournalEntry& e) {
  json::requireObject(j, "JournalEntry");
  JournalEntry r;
  json::take(j, "time", r.time);
  json::take(j, "text", r.text);
  e = std::move(r);
}

void to_json(Json& j, const JournalTask& t) {
  j = Json::object();
  json::put(j, "text", t.text);
  json::put(j, "done", t.done);
  json::put(j, "closedAt", t.closedAt);
}

void from_json(const Json& j, JournalTask& t) {
  json::requireObject(j, "JournalTask");
  JournalTask r;
  json::take(j, "text", r.text);
  json::take(j, "done", r.done);
  json::take(j, "closedAt", r.closedAt);
  t = std::move(r);
}

void to_json(Json& j, const TaskStatus& s) { j = json::enumName(s, kTaskStatusNames); }
void from_json(const Json& j, TaskStatus& s) {
  s = json::enumFromName<TaskStatus>(j, kTaskStatusNames, "TaskStatus");
}

}  // namespace trivo

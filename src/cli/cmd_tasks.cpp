// `trivo tasks [STATUS]`: the tasks written inside journal entries, by status.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/command.h"
#include "core/indexes/task_index.h"
#include "core/search/search_sources.h"

namespace trivo::cli {
namespace {

class TasksCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "tasks"; }
  [[nodiscard]] const char* summary() const override {
    return "List the tasks written in journal entries: todo, inprocess, waiting, done or all";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("STATUS", status_,
                   "todo, inprocess, waiting, done, or all (without it: every open task)");
  }

  [[nodiscard]] std::string emptyListSentence() const {
    if (status_ == "all") return "No task is written in the journal yet.";
    if (status_ == "todo") return "No journal task is to do.";
    if (status_ == "inprocess") return "No journal task is in process.";
    if (status_) return "No journal task is " + *status_ + ".";
    return "No journal task is open.";
  }

  int run(Context& context) override {
    std::vector<TaskStatus> shown = {TaskStatus::todo, TaskStatus::inprocess, TaskStatus::waiting};
    if (status_ == "all") {
      shown.push_back(TaskStatus::done);
    } else if (status_) {
      const auto found = std::find(kTaskStatusNames.begin(), kTaskStatusNames.end(), *status_);
      if (found == kTaskStatusNames.end()) {
        throw UserError("There is no task status \"" + *status_ +
                        "\"; the statuses are todo, inprocess, waiting and done (or all).");
      }
      shown = {static_cast<TaskStatus>(found - kTaskStatusNames.begin())};
    }
    InboxVault vault = InboxVault::open(context, true);
    std::vector<DayDate> days;
    for (const SearchSource& source :
         searchSources(vault.root, vault.store->vault().format, false, {}, {})) {
      if (source.page && source.page->asDay()) days.push_back(*source.page->asDay());
    }
    std::vector<JournalTaskRow> rows;
    guarded(vault, [&] { rows = TaskIndex::collect(*vault.store, days); });
    std::erase_if(rows, [&](const JournalTaskRow& row) {
      return std::find(shown.begin(), shown.end(), row.status) == shown.end();
    });

    if (context.json) {
      context.out << Json(rows).dump(2) << "\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    bool any = false;
    for (const TaskStatus status : shown) {
      bool header = false;
      for (const JournalTaskRow& row : rows) {
        if (row.status != status) continue;
        if (!header) {
          if (any) context.out << "\n";
          context.out << paint.bold(kTaskStatusNames[static_cast<std::size_t>(status)]) << "\n";
          header = true;
          any = true;
        }
        context.out << "  " << row.day.isoString() << " " << row.time.description() << "  "
                    << std::string(row.depth * 2, ' ')
                    << (row.status == TaskStatus::done ? "[x] " : "[ ] ") << row.text << "  "
                    << paint.dim("(" + row.entry + ")") << "\n";
      }
    }
    if (!any) {
      context.out << emptyListSentence() << "\n";
    }
    return 0;
  }

 private:
  std::optional<std::string> status_;
};

}  // namespace

std::unique_ptr<Command> makeTasksCommand() { return std::make_unique<TasksCommand>(); }

}  // namespace trivo::cli

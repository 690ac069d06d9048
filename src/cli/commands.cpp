// The registry of `trivo` commands.
#include <CLI/CLI.hpp>

#include "cli/command.h"

namespace trivo::cli {

std::unique_ptr<Command> makePlanCommand();
std::unique_ptr<Command> makePathCommand();
std::unique_ptr<Command> makeOpenCommand();
std::unique_ptr<Command> makeConfigCommand();
std::unique_ptr<Command> makeProgressCommand();
std::unique_ptr<Command> makeTreeCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeFmtCommand();
std::unique_ptr<Command> makeRefusedCommand();
std::unique_ptr<Command> makeTodayCommand();
std::unique_ptr<Command> makeOutcomeCommand();
std::unique_ptr<Command> makeJournalCommand();
std::unique_ptr<Command> makeChecklistCommand();
std::unique_ptr<Command> makeTomorrowCommand();
std::unique_ptr<Command> makeCarryCommand();
std::unique_ptr<Command> makeDoneCommand();
std::unique_ptr<Command> makeUndoneCommand();
std::unique_ptr<Command> makePullCommand();
std::unique_ptr<Command> makeCaptureCommand();
std::unique_ptr<Command> makeInboxCommand();
std::unique_ptr<Command> makeAgendaCommand();
std::unique_ptr<Command> makeAppCommand();
std::unique_ptr<Command> makeFocusCommand();
std::unique_ptr<Command> makeInitCommand();
std::unique_ptr<Command> makeReflectCommand();
std::unique_ptr<Command> makeEditCommand();
std::unique_ptr<Command> makeCompletionCommand();
std::unique_ptr<Command> makeSearchCommand();
std::unique_ptr<Command> makeTagsCommand();
std::unique_ptr<Command> makeTasksCommand();
std::unique_ptr<Command> makeOnThisDayCommand();
std::unique_ptr<Command> makeConvertCommand();
std::unique_ptr<Command> makeImportCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeHistoryCommand();
std::unique_ptr<Command> makeRestoreCommand();

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makePlanCommand());
  commands.push_back(makePathCommand());
  commands.push_back(makeOpenCommand());
  commands.push_back(makeConfigCommand());
  commands.push_back(makeProgressCommand());
  commands.push_back(makeTreeCommand());
  commands.push_back(makeCheckCommand());
  commands.push_back(makeFmtCommand());
  commands.push_back(makeRefusedCommand());
  commands.push_back(makeTodayCommand());
  commands.push_back(makeOutcomeCommand());
  commands.push_back(makeJournalCommand());
  commands.push_back(makeChecklistCommand());
  commands.push_back(makeTomorrowCommand());
  commands.push_back(makeCarryCommand());
  commands.push_back(makeDoneCommand());
  commands.push_back(makeUndoneCommand());
  commands.push_back(makePullCommand());
  commands.push_back(makeCaptureCommand());
  commands.push_back(makeInboxCommand());
  commands.push_back(makeAgendaCommand());
  commands.push_back(makeAppCommand());
  commands.push_back(makeFocusCommand());
  commands.push_back(makeInitCommand());
  commands.push_back(makeReflectCommand());
  commands.push_back(makeEditCommand());
  commands.push_back(makeCompletionCommand());
  commands.push_back(makeSearchCommand());
  commands.push_back(makeTagsCommand());
  commands.push_back(makeTasksCommand());
  commands.push_back(makeOnThisDayCommand());
  commands.push_back(makeConvertCommand());
  commands.push_back(makeImportCommand());
  commands.push_back(makeExportCommand());
  commands.push_back(makeHistoryCommand());
  commands.push_back(makeRestoreCommand());
  return commands;
}

}  // namespace trivo::cli

// The registry of `trivo` commands.
#include <CLI/CLI.hpp>

#include "cli/command.h"

namespace trivo::cli {

std::unique_ptr<Command> makePlanCommand();
std::unique_ptr<Command> makePathCommand();
std::unique_ptr<Command> makeOpenCommand();

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makePlanCommand());
  commands.push_back(makePathCommand());
  commands.push_back(makeOpenCommand());
  return commands;
}

}  // namespace trivo::cli

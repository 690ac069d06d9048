// The registry of `trivo` commands.
#include <CLI/CLI.hpp>

#include "cli/command.h"

namespace trivo::cli {

std::unique_ptr<Command> makePlanCommand();

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makePlanCommand());
  return commands;
}

}  // namespace trivo::cli

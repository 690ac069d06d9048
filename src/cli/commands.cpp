// The registry of `trivo` commands.
#include <CLI/CLI.hpp>

#include "cli/command.h"

namespace trivo::cli {

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  return commands;
}

}  // namespace trivo::cli

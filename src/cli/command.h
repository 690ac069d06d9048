// The commands of `trivo`: each is one class with its metadata, registered in one list.
#pragma once

#include <concepts>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/platform/clock.h"

namespace CLI {
class App;
}

namespace trivo::cli {

// A refused action or bad argument: one sentence for standard error and an exit code.
class UserError : public std::runtime_error {
 public:
  explicit UserError(const std::string& sentence, int exitCode = 1)
      : std::runtime_error(sentence), exitCode_(exitCode) {}
  [[nodiscard]] int exitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

// "1 page", "3 pages": a count with the word that fits it.
template <std::integral N>
std::string counted(N n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

// What every command is given: streams, the clock and the options shared by all commands.
struct Context {
  std::ostream& out;
  std::ostream& err;
  const Clock& clock;
  std::optional<std::string> vault;  // --vault DIR
  bool json = false;                 // --json, where the command shows something
  bool outIsTerminal = false;
};

class Command {
 public:
  virtual ~Command() = default;
  [[nodiscard]] virtual const char* name() const = 0;
  [[nodiscard]] virtual const char* summary() const = 0;
  // Whether the command may change files of the vault.
  [[nodiscard]] virtual bool writesVault() const = 0;
  // Declares the command's own arguments and options on its subcommand.
  virtual void define(CLI::App& app) = 0;
  // Runs after a successful parse; returns the exit code. Throws UserError to refuse.
  virtual int run(Context& context) = 0;
};

// Every command of the program, in the order `--help` lists them.
std::vector<std::unique_ptr<Command>> allCommands();

// Runs the program with its arguments; returns the exit code.
int runMain(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace trivo::cli

// Runs the built programs in a child process and captures what they print.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace trivo::testing {

struct ProcessResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

struct ProcessOptions {
  // Variables to set (a value) or remove (nothing) in the child's environment.
  std::map<std::string, std::optional<std::string>> env;
  std::optional<std::string> cwd;
  std::string input;
};

// Runs a program built by this project (looked up in the build folder).
ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options = {});
inline ProcessResult runTrivo(const std::vector<std::string>& args,
                              const ProcessOptions& options = {}) {
  return runProgram("trivo", args, options);
}
// The absolute path of a program built by this project.
std::string builtProgram(const std::string& program);

}  // namespace trivo::testing

// Runs the built programs in a child process and captures what they print.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
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
// The first executable called `name` in the folders of $PATH (/usr/bin:/bin without one).
std::optional<std::filesystem::path> onPath(const std::string& name);
// Runs any executable by absolute path.
ProcessResult runExecutable(const std::string& path, const std::vector<std::string>& args,
                            const ProcessOptions& options = {});

// Runs `work` in a forked copy of this test process, which exits 0 when `work` returns and 1
// when it throws; the child's id, negative when no child could be made.
pid_t runInChild(const std::function<void()>& work);
// Waits for a child of runInChild and expects it to have exited 0.
void expectExitedCleanly(pid_t child);

// A child process that runs while the test goes on, stopped with SIGTERM (then SIGKILL) when the
// object goes away. Its standard output can be read line by line.
class BackgroundProcess {
 public:
  BackgroundProcess(const std::string& path, const std::vector<std::string>& args,
                    const ProcessOptions& options = {});
  ~BackgroundProcess();
  BackgroundProcess(const BackgroundProcess&) = delete;
  BackgroundProcess& operator=(const BackgroundProcess&) = delete;

  // The next line of standard output, or nothing when none came within the timeout.
  std::optional<std::string> readLine(int timeoutMs);
  // Sends SIGTERM and waits up to the timeout; the exit code, or nothing when it did not end.
  std::optional<int> stop(int timeoutMs);

 private:
  int pid_ = -1;
  int out_ = -1;
  std::string buffered_;
};

// A child process on a pseudo-terminal of its own, as a person at a terminal runs it: it sees a
// terminal on every standard stream, and Ctrl-C typed into it interrupts it.
class TerminalProcess {
 public:
  TerminalProcess(const std::string& path, const std::vector<std::string>& args,
                  const ProcessOptions& options = {});
  ~TerminalProcess();
  TerminalProcess(const TerminalProcess&) = delete;
  TerminalProcess& operator=(const TerminalProcess&) = delete;

  // Reads until what was printed so far contains `text`; false when it did not come in time.
  bool waitForOutput(const std::string& text, int timeoutMs);
  // Everything printed so far.
  [[nodiscard]] const std::string& output() const { return printed_; }
  // Types the bytes (a line ends in "\n"; "\x03" is Ctrl-C).
  void type(const std::string& bytes);
  // Waits for the process to end; its exit code, or nothing when it did not end in time.
  std::optional<int> wait(int timeoutMs);

 private:
  int pid_ = -1;
  int master_ = -1;
  std::string printed_;
};

}  // namespace trivo::testing

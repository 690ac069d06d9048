// Child processes for end-to-end tests: fork, exec, and read both pipes with poll.
#include "testing/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

extern char** environ;

namespace trivo::testing {

std::string builtProgram(const std::string& program) {
  return std::string(TRIVO_BINARY_DIR) + "/" + program;
}

ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options) {
  int outPipe[2], errPipe[2], inPipe[2];
  if (pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0 ||
      pipe2(inPipe, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  const std::string path = builtProgram(program);
  std::vector<std::string> argStore{path};
  argStore.insert(argStore.end(), args.begin(), args.end());

  pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(inPipe[0], 0);
    dup2(outPipe[1], 1);
    dup2(errPipe[1], 2);
    for (const auto& [name, value] : options.env) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
    if (options.cwd && chdir(options.cwd->c_str()) != 0) _exit(126);
    std::vector<char*> argv;
    for (auto& a : argStore) argv.push_back(a.data());
    argv.push_back(nullptr);
    execve(path.c_str(), argv.data(), environ);
    _exit(127);
  }
  close(inPipe[0]);
  close(outPipe[1]);
  close(errPipe[1]);
  std::size_t written = 0;
  while (written < options.input.size()) {
    ssize_t n = write(inPipe[1], options.input.data() + written, options.input.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    written += static_cast<std::size_t>(n);
  }
  close(inPipe[1]);

  ProcessResult result;
  pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
  std::string* sinks[2] = {&result.out, &result.err};
  int open = 2;
  while (open > 0) {
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      char buf[4096];
      ssize_t n = read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        sinks[i]->append(buf, static_cast<std::size_t>(n));
      } else if (n == 0 || errno != EINTR) {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace trivo::testing

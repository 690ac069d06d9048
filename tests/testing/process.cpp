// Child processes for end-to-end tests: fork, exec, and read both pipes with poll.
#include "testing/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace trivo::testing {

pid_t runInChild(const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      work();
    } catch (...) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  return child;
}

void expectExitedCleanly(pid_t child) {
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

std::string builtProgram(const std::string& program) {
  return std::string(TRIVO_BINARY_DIR) + "/" + program;
}

ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args,
                         const ProcessOptions& options) {
  return runExecutable(builtProgram(program), args, options);
}

namespace {

// In a forked child: applies the options and replaces the process with the program.
[[noreturn]] void execChild(const std::string& path, std::vector<std::string> argStore,
                            const ProcessOptions& options) {
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

}  // namespace

BackgroundProcess::BackgroundProcess(const std::string& path, const std::vector<std::string>& args,
                                     const ProcessOptions& options) {
  int outPipe[2];
  if (pipe2(outPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  std::vector<std::string> argStore{path};
  argStore.insert(argStore.end(), args.begin(), args.end());
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    dup2(outPipe[1], 1);
    execChild(path, argStore, options);
  }
  close(outPipe[1]);
  out_ = outPipe[0];
}

BackgroundProcess::~BackgroundProcess() {
  if (pid_ > 0 && !stop(5000)) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (out_ >= 0) close(out_);
}

std::optional<std::string> BackgroundProcess::readLine(int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    const auto newline = buffered_.find('\n');
    if (newline != std::string::npos) {
      std::string line = buffered_.substr(0, newline);
      buffered_.erase(0, newline + 1);
      return line;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || out_ < 0) return std::nullopt;
    pollfd p{out_, POLLIN, 0};
    if (poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
    char buf[4096];
    const ssize_t n = read(out_, buf, sizeof buf);
    if (n <= 0) return std::nullopt;
    buffered_.append(buf, static_cast<std::size_t>(n));
  }
}

std::optional<int> BackgroundProcess::stop(int timeoutMs) {
  if (pid_ <= 0) return std::nullopt;
  kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    int status = 0;
    const pid_t done = waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
      pid_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return std::nullopt;
}

ProcessResult runExecutable(const std::string& path, const std::vector<std::string>& args,
                            const ProcessOptions& options) {
  int outPipe[2], errPipe[2], inPipe[2];
  if (pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0 ||
      pipe2(inPipe, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  std::vector<std::string> argStore{path};
  argStore.insert(argStore.end(), args.begin(), args.end());

  pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(inPipe[0], 0);
    dup2(outPipe[1], 1);
    dup2(errPipe[1], 2);
    execChild(path, argStore, options);
  }
  close(inPipe[0]);
  close(outPipe[1]);
  close(errPipe[1]);
  std::size_t written = 0;
  while (written < options.input.size()) {
    ssize_t n = ::write(inPipe[1], options.input.data() + written, options.input.size() - written);
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

TerminalProcess::TerminalProcess(const std::string& path, const std::vector<std::string>& args,
                                 const ProcessOptions& options) {
  std::vector<std::string> argStore{path};
  argStore.insert(argStore.end(), args.begin(), args.end());
  pid_ = forkpty(&master_, nullptr, nullptr, nullptr);
  if (pid_ < 0) throw std::runtime_error("forkpty failed");
  if (pid_ == 0) execChild(path, argStore, options);
  fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
}

TerminalProcess::~TerminalProcess() {
  if (pid_ > 0 && !wait(0)) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (master_ >= 0) close(master_);
}

bool TerminalProcess::waitForOutput(const std::string& text, int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (printed_.find(text) == std::string::npos) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd fd{master_, POLLIN, 0};
    if (poll(&fd, 1, static_cast<int>(left.count())) <= 0) continue;
    char buffer[4096];
    const ssize_t n = read(master_, buffer, sizeof buffer);
    if (n <= 0) return printed_.find(text) != std::string::npos;  // the child closed its side
    printed_.append(buffer, static_cast<std::size_t>(n));
  }
  return true;
}

void TerminalProcess::type(const std::string& bytes) {
  if (::write(master_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("writing to the terminal failed");
  }
}

std::optional<int> TerminalProcess::wait(int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (true) {
    char buffer[4096];
    while (true) {  // keep the terminal drained so the child never blocks on output
      const ssize_t n = read(master_, buffer, sizeof buffer);
      if (n <= 0) break;
      printed_.append(buffer, static_cast<std::size_t>(n));
    }
    int status = 0;
    const pid_t done = waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
      pid_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

std::optional<std::filesystem::path> onPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path ? path : "/usr/bin:/bin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (folder.empty()) continue;
    const std::filesystem::path candidate = std::filesystem::path(folder) / name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return std::nullopt;
}

}  // namespace trivo::testing

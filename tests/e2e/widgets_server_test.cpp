// `trivo-widgets serve` against hostile clients, with real sockets on loopback: slow clients that
// trickle their headers, one address opening many connections, and a second server on a busy
// port.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <regex>
#include <thread>

#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

// A TCP connection to the board from a chosen loopback address (all of 127/8 is loopback).
class Client {
 public:
  Client(int port, const char* from = "127.0.0.1") : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in source{};
    source.sin_family = AF_INET;
    inet_pton(AF_INET, from, &source.sin_addr);
    bind(fd_, reinterpret_cast<sockaddr*>(&source), sizeof source);
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<std::uint16_t>(port));
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&target), sizeof target) == 0;
  }
  ~Client() { close(fd_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool connected() const { return connected_; }
  // Sends without blocking; a server that hung up makes this fail quietly.
  void send(const std::string& text) {
    [[maybe_unused]] auto n = ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  // What came back until the server closed, or until `timeout` passed (then `closed` is false).
  std::string receive(std::chrono::milliseconds timeout) {
    const auto until = SteadyClock::now() + timeout;
    for (;;) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - SteadyClock::now());
      pollfd p{fd_, POLLIN, 0};
      if (left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0) return got_;
      char buffer[4096];
      const ssize_t n = recv(fd_, buffer, sizeof buffer, 0);
      if (n <= 0) {
        closed_ = true;
        return got_;
      }
      got_.append(buffer, static_cast<std::size_t>(n));
    }
  }
  bool closed() const { return closed_; }

 private:
  int fd_;
  bool connected_ = false;
  bool closed_ = false;
  std::string got_;
};

class BoardUnderLoad : public ::testing::Test {
 protected:
  void SetUp() override {
    options_.env = {{"TRIVO_GROUP_DIR", group_.path().string()},
                    {"XDG_STATE_HOME", state_.path().string()},
                    {"XDG_RUNTIME_DIR", std::nullopt},
                    {"TRIVO_TODAY", "2026-09-16"}};
  }

  // Starts a board and returns its port (0 when it did not start).
  int start(std::vector<std::string> args) {
    args.insert(args.begin(), "serve");
    server_.emplace(testing::builtProgram("trivo-widgets"), args, options_);
    const auto first = server_->readLine(30000);
    std::smatch match;
    if (!first || !std::regex_match(*first, match, std::regex(R"(serving http://127\.0\.0\.1:(\d+)/)"))) {
      return 0;
    }
    return std::stoi(match[1]);
  }

  static std::string get(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
  }

  testing::TempDir group_;
  testing::TempDir state_;
  testing::ProcessOptions options_;
  std::optional<testing::BackgroundProcess> server_;
};

TEST_F(BoardUnderLoad, SlowClientsNeitherStarveOthersNorHoldOnForever) {
  const int port = start({"--port", "0", "--request-timeout", "1.5"});
  ASSERT_NE(port, 0);
  // More slow clients than the machine has cores (a fixed worker pool is sized by them), spread
  // over a few addresses so that the per-address cap is not what answers them.
  const auto count = std::clamp<unsigned>(std::thread::hardware_concurrency() + 1, 10, 40);
  std::vector<std::unique_ptr<Client>> slow;
  for (unsigned i = 0; i < count; ++i) {
    const std::string from = "127.0.0." + std::to_string(2 + i % 4);
    slow.push_back(std::make_unique<Client>(port, from.c_str()));
    ASSERT_TRUE(slow.back()->connected());
    slow.back()->send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n");
  }
  const auto started = SteadyClock::now();
  auto trickle = [&] {
    for (auto& client : slow) client->send("X-Slow: 1\r\n");
  };
  // Every slow client now holds a connection and keeps it busy.
  std::this_thread::sleep_for(600ms);
  trickle();

  Client normal(port);
  const auto asked = SteadyClock::now();
  normal.send(get("/"));
  const std::string answer = normal.receive(3000ms);
  const auto waited = SteadyClock::now() - asked;
  EXPECT_EQ(answer.rfind("HTTP/1.1 200", 0), 0u) << answer.substr(0, 80);
  EXPECT_LT(waited, 1500ms);

  // Trickling does not keep a request alive past its timeout: all are cut soon after 1.5 s.
  while (SteadyClock::now() - started < 2700ms) {
    std::this_thread::sleep_for(500ms);
    trickle();
  }
  unsigned cut = 0;
  for (auto& client : slow) {
    client->receive(200ms);
    if (client->closed()) ++cut;
  }
  EXPECT_EQ(cut, count);
}

TEST_F(BoardUnderLoad, OneAddressCannotTakeEveryConnection) {
  const int port = start({"--port", "0", "--request-timeout", "10"});
  ASSERT_NE(port, 0);
  // Twenty idle connections from one address: sixteen are held, the rest refused at once.
  std::vector<std::unique_ptr<Client>> greedy;
  for (int i = 0; i < 20; ++i) {
    greedy.push_back(std::make_unique<Client>(port, "127.0.0.2"));
    ASSERT_TRUE(greedy.back()->connected());
  }
  std::this_thread::sleep_for(500ms);
  int refused = 0;
  for (auto& client : greedy) {
    const std::string got = client->receive(20ms);
    if (client->closed()) {
      EXPECT_EQ(got.rfind("HTTP/1.1 503", 0), 0u) << got;
      ++refused;
    }
  }
  EXPECT_EQ(refused, 4);

  Client other(port, "127.0.0.1");
  const auto asked = SteadyClock::now();
  other.send(get("/state.json"));
  const std::string answer = other.receive(3000ms);
  EXPECT_EQ(answer.rfind("HTTP/1.1 200", 0), 0u) << answer.substr(0, 80);
  EXPECT_LT(SteadyClock::now() - asked, 1500ms);
}

TEST_F(BoardUnderLoad, ASecondServeOnABusyPortFailsWithOneSentence) {
  const int port = start({"--port", "0"});
  ASSERT_NE(port, 0);
  // Bounded: a second server that listened anyway would run until `timeout` ends it (124).
  const auto second = testing::runExecutable(
      "/usr/bin/timeout", {"10", testing::builtProgram("trivo-widgets"), "serve", "--port",
                           std::to_string(port)},
      options_);
  EXPECT_EQ(second.exitCode, 1);
  EXPECT_EQ(second.out, "");
  EXPECT_EQ(second.err, "trivo-widgets: cannot listen on 127.0.0.1:" + std::to_string(port) +
                            " (is another board already serving there?); choose another port "
                            "with --port.\n");
  // The first one still has the port to itself.
  for (int i = 0; i < 4; ++i) {
    Client client(port);
    client.send(get("/state.json"));
    EXPECT_EQ(client.receive(3000ms).rfind("HTTP/1.1 200", 0), 0u);
  }
}

}  // namespace
}  // namespace trivo

// Connection handling of the board server.
#include "widgets/board_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace trivo::widgets {
namespace {

using SteadyClock = std::chrono::steady_clock;

int pollFor(socket_t sock, short events, SteadyClock::time_point until) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(until - SteadyClock::now()).count();
  if (left <= 0) return 0;
  pollfd p{sock, events, 0};
  int n = 0;
  do {
    n = poll(&p, 1, static_cast<int>(left));
  } while (n < 0 && errno == EINTR);
  return n > 0 && (p.revents & (events | POLLHUP | POLLERR)) ? 1 : 0;
}

std::string addressText(const sockaddr_storage& address, int& port) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (address.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
    port = ntohs(v4.sin_port);
  } else if (address.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
    inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
    port = ntohs(v6.sin6_port);
  }
  return text.data();
}

// A socket whose reads share one deadline, so that the request as a whole must arrive in time
// (cpp-httplib's own timeout restarts with every byte that comes in).
class DeadlineStream final : public httplib::Stream {
 public:
  DeadlineStream(socket_t sock, SteadyClock::time_point readDeadline,
                 std::chrono::milliseconds writeTimeout)
      : sock_(sock), readDeadline_(readDeadline), writeTimeout_(writeTimeout) {}

  bool is_readable() const override {
    return begin_ < end_ || pollFor(sock_, POLLIN, readDeadline_) > 0;
  }
  bool is_writable() const override {
    return pollFor(sock_, POLLOUT, SteadyClock::now() + writeTimeout_) > 0;
  }
  ssize_t read(char* ptr, size_t size) override {
    if (begin_ == end_) {
      if (!is_readable()) return -1;
      ssize_t n = 0;
      do {
        n = recv(sock_, buffer_.data(), buffer_.size(), 0);
      } while (n < 0 && errno == EINTR);
      if (n <= 0) return n;
      begin_ = 0;
      end_ = static_cast<std::size_t>(n);
    }
    const std::size_t count = std::min(size, end_ - begin_);
    std::copy_n(buffer_.data() + begin_, count, ptr);
    begin_ += count;
    return static_cast<ssize_t>(count);
  }
  ssize_t write(const char* ptr, size_t size) override {
    if (!is_writable()) return -1;
    ssize_t n = 0;
    do {
      n = send(sock_, ptr, size, MSG_NOSIGNAL);
    } while (n < 0 && errno == EINTR);
    return n;
  }
  void get_remote_ip_and_port(std::string& ip, int& port) const override {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getpeername(sock_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
      ip = addressText(address, port);
    }
  }
  void get_local_ip_and_port(std::string& ip, int& port) const override {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(sock_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
      ip = addressText(address, port);
    }
  }
  socket_t socket() const override { return sock_; }

 private:
  socket_t sock_;
  SteadyClock::time_point readDeadline_;
  std::chrono::milliseconds writeTimeout_;
  std::array<char, 4096> buffer_{};
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

// One thread per connection, all joined at shutdown. The gate bounds how many do real work; a
// refused connection's thread only writes a short answer and ends.
class ConnectionThreads final : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> fn) override {
    std::lock_guard lock(mutex_);
    // Join the threads that have ended, so the list stays as long as the live connections.
    for (auto it = threads_.begin(); it != threads_.end();) {
      if (it->done->load()) {
        it->thread.join();
        it = threads_.erase(it);
      } else {
        ++it;
      }
    }
    auto done = std::make_shared<std::atomic<bool>>(false);
    threads_.push_back({std::thread([fn = std::move(fn), done] {
                          fn();
                          done->store(true);
                        }),
                        done});
  }
  void shutdown() override {
    std::list<Worker> all;
    {
      std::lock_guard lock(mutex_);
      all.swap(threads_);
    }
    for (auto& worker : all) worker.thread.join();
  }

 private:
  struct Worker {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> done;
  };
  std::mutex mutex_;
  std::list<Worker> threads_;
};

}  // namespace

BoardServer::BoardServer(BoardServerLimits limits)
    : limits_(limits), gate_(limits.perAddress, limits.total) {
  new_task_queue = [] { return new ConnectionThreads(); };
  // cpp-httplib sets SO_REUSEPORT by default, which lets a second server listen on a port that
  // is taken and steal half of its connections. SO_REUSEADDR alone still allows a quick restart
  // but refuses a busy port.
  set_socket_options([](socket_t sock) {
    const int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
}

void BoardServer::widenBacklog() {
  // Listening again on a listening socket only changes its queue length.
  if (svr_sock_ != INVALID_SOCKET) ::listen(svr_sock_, SOMAXCONN);
}

bool BoardServer::process_and_close_socket(socket_t sock) {
  const auto start = SteadyClock::now();
  sockaddr_storage peer{};
  socklen_t length = sizeof peer;
  int port = 0;
  const std::string address = getpeername(sock, reinterpret_cast<sockaddr*>(&peer), &length) == 0
                                  ? addressText(peer, port)
                                  : std::string();
  bool ok = false;
  if (auto pass = gate_.enter(address)) {
    DeadlineStream stream(sock, start + limits_.requestTimeout, limits_.writeTimeout);
    bool closed = false;
    ok = process_request(stream, true, closed, nullptr);
  } else {
    static constexpr std::string_view kBusy =
        "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nRetry-After: 1\r\n"
        "Content-Type: text/plain\r\nContent-Length: 40\r\n\r\n"
        "Too many connections from your address.\n";
    [[maybe_unused]] auto sent =
        send(sock, kBusy.data(), kBusy.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  ::shutdown(sock, SHUT_RDWR);
  ::close(sock);
  return ok;
}

}  // namespace trivo::widgets

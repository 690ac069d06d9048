// The widget board server: read-only, loopback only, pushing each change to the open pages.
#include "widgets/serve.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <iostream>
#include <mutex>
#include <thread>

#include "core/widgets/bar_schedule.h"
#include "core/widgets/board.h"
#include "core/widgets/focus_provider.h"
#include "widgets/live_watch.h"

namespace trivo::widgets {
namespace {

ViewContext contextAt(const Clock& clock, Instant now) {
  return {now, DayDate::pinnedToday().value_or(DayDate::fromInstant(now, clock)),
          WidgetSize::medium};
}

// A stream that carries nothing for this long sends a comment, so a closed tab is noticed (the
// write fails) and its connection freed.
constexpr std::chrono::seconds kHeartbeat{20};

// Counts the changes of "live.json" for the event streams, from one watching thread.
class LiveChanges {
 public:
  explicit LiveChanges(const Clock& clock) : watch_(clock), thread_([this] { watchLoop(); }) {}
  ~LiveChanges() {
    stop();
    thread_.join();
  }
  LiveChanges(const LiveChanges&) = delete;
  LiveChanges& operator=(const LiveChanges&) = delete;

  // Ends the watch and wakes every stream so that it can end.
  void stop() {
    {
      std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    watch_.wake();
  }

  // The number of changes seen so far.
  std::uint64_t generation() const {
    std::lock_guard lock(mutex_);
    return generation_;
  }

  // Waits until the count passes `seen`, `deadline` comes or the server stops; false when it
  // stopped.
  bool waitPast(std::uint64_t seen, Instant deadline) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, deadline, [&] { return stopped_ || generation_ != seen; });
    return !stopped_;
  }

 private:
  void watchLoop() {
    for (;;) {
      {
        std::lock_guard lock(mutex_);
        if (stopped_) return;
      }
      const bool changed =
          watch_.waitUntil(std::chrono::system_clock::now() + std::chrono::hours(24));
      if (changed) {
        {
          std::lock_guard lock(mutex_);
          ++generation_;
        }
        changed_.notify_all();
      }
    }
  }

  LiveWatch watch_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t generation_ = 0;
  bool stopped_ = false;
  std::thread thread_;
};

void noStore(httplib::Response& response) { response.set_header("Cache-Control", "no-store"); }

}  // namespace

int serveBoard(int port, const BoardServerLimits& limits) {
  // Signals are taken by one thread with sigwait, so stopping the server never runs inside a
  // signal handler. The mask is inherited by the server's worker threads.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  const Clock& clock = SystemClock::shared();
  LiveChanges changes(clock);
  BoardServer server(limits);
  server.set_default_headers({{"Content-Security-Policy", std::string(kBoardContentSecurityPolicy)},
                              {"X-Content-Type-Options", "nosniff"},
                              {"Referrer-Policy", "no-referrer"}});
  server.set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
    switch (checkRequest(request.method, request.get_header_value("Host"))) {
      case BoardVerdict::forbidden:
        response.status = 403;
        response.set_content("This board answers only to 127.0.0.1 and localhost.\n", "text/plain");
        return httplib::Server::HandlerResponse::Handled;
      case BoardVerdict::methodNotAllowed:
        response.status = 405;
        response.set_header("Allow", "GET, HEAD");
        response.set_content("The board is read-only.\n", "text/plain");
        return httplib::Server::HandlerResponse::Handled;
      case BoardVerdict::serve:
        break;
    }
    return httplib::Server::HandlerResponse::Unhandled;
  });
  server.Get("/", [&clock](const httplib::Request&, httplib::Response& response) {
    const auto timeline = FocusProvider(clock).getTimeline(WidgetSize::medium);
    const auto& entry = timeline.entries.front();
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(timeline.reloadAfter - entry.date).count();
    noStore(response);
    response.set_content(
        boardPage(entry.state, contextAt(clock, entry.date), static_cast<long>(seconds)),
        "text/html; charset=utf-8");
  });
  server.Get("/board.css", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(std::string(boardStyle()), "text/css; charset=utf-8");
  });
  server.Get("/board.js", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(std::string(boardScript()), "text/javascript; charset=utf-8");
  });
  server.Get("/state.json", [&clock](const httplib::Request&, httplib::Response& response) {
    const auto entry = FocusProvider(clock).getSnapshot(WidgetSize::medium);
    noStore(response);
    response.set_content(boardState(entry.state, contextAt(clock, entry.date)).dump(2),
                         "application/json");
  });
  server.Get("/events", [&clock, &changes](const httplib::Request& request,
                                           httplib::Response& response) {
    // The version the tab shows: the last event's id after a reconnect, else the page's own.
    std::string shown = request.get_header_value("Last-Event-ID");
    if (shown.empty()) shown = request.get_param_value("since");
    noStore(response);
    response.set_chunked_content_provider(
        "text/event-stream",
        [&clock, &changes, shown](std::size_t, httplib::DataSink& sink) mutable {
          const auto seen = changes.generation();
          const Instant now = clock.now();
          const LiveState state = LiveState::read();
          const std::string main = boardMain(state, contextAt(clock, now));
          if (boardVersion(main) != shown) {
            const std::string event = boardEvent(main);
            if (!sink.write(event.data(), event.size())) return false;
            shown = boardVersion(main);
          }
          // Sleep until the record changes, the countdown steps or the heartbeat is due.
          const Instant until = std::min(BarSchedule::nextTick(state, now), now + kHeartbeat);
          if (!changes.waitPast(seen, until)) return false;
          if (changes.generation() == seen && clock.now() >= now + kHeartbeat) {
            static constexpr std::string_view kComment = ":\n\n";
            return sink.write(kComment.data(), kComment.size());
          }
          return true;
        });
  });

  int bound = port;
  if (port == 0) {
    bound = server.bind_to_any_port("127.0.0.1");
  } else if (!server.bind_to_port("127.0.0.1", port)) {
    bound = -1;
  }
  if (bound < 0) {
    std::cerr << "trivo-widgets: cannot listen on 127.0.0.1:" << port
              << " (is another board already serving there?); choose another port with --port.\n";
    return 1;
  }
  server.widenBacklog();
  std::cout << "serving http://127.0.0.1:" << bound << "/" << std::endl;

  std::atomic<bool> finished{false};
  std::thread stopper([&server, &changes, &finished, stopSignals] {
    int signal = 0;
    sigwait(&stopSignals, &signal);
    changes.stop();
    // A signal that comes before the server runs would find nothing to stop (cpp-httplib ignores
    // stop() until it listens): ask again until it has ended.
    while (!finished.load()) {
      server.stop();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  const bool ok = server.listen_after_bind();
  finished = true;
  // The server may also end on its own (a listen error): wake the stopper so it can be joined.
  pthread_kill(stopper.native_handle(), SIGTERM);
  stopper.join();
  return ok ? 0 : 1;
}

}  // namespace trivo::widgets

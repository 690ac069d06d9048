// The widget board server: read-only, loopback only, reloading by the timeline policy.
#include "widgets/serve.h"

#include <httplib.h>
#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <iostream>
#include <thread>

#include "core/widgets/board.h"
#include "core/widgets/focus_provider.h"

namespace trivo::widgets {
namespace {

ViewContext contextAt(const Clock& clock, Instant now) {
  return {now, DayDate::pinnedToday().value_or(DayDate::fromInstant(now, clock)),
          WidgetSize::medium};
}

}  // namespace

int serveBoard(int port) {
  // Signals are taken by one thread with sigwait, so stopping the server never runs inside a
  // signal handler. The mask is inherited by the server's worker threads.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  const Clock& clock = SystemClock::shared();
  httplib::Server server;
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
    response.set_header("Cache-Control", "no-store");
    response.set_content(
        boardPage(entry.state, contextAt(clock, entry.date), static_cast<long>(seconds)),
        "text/html; charset=utf-8");
  });
  server.Get("/state.json", [&clock](const httplib::Request&, httplib::Response& response) {
    const auto entry = FocusProvider(clock).getSnapshot(WidgetSize::medium);
    response.set_header("Cache-Control", "no-store");
    response.set_content(boardState(entry.state, contextAt(clock, entry.date)).dump(2),
                         "application/json");
  });

  int bound = port;
  if (port == 0) {
    bound = server.bind_to_any_port("127.0.0.1");
  } else if (!server.bind_to_port("127.0.0.1", port)) {
    bound = -1;
  }
  if (bound < 0) {
    std::cerr << "trivo-widgets: cannot listen on 127.0.0.1:" << port
              << "; choose another port with --port.\n";
    return 1;
  }
  std::cout << "serving http://127.0.0.1:" << bound << "/" << std::endl;

  std::thread stopper([&server, stopSignals] {
    int signal = 0;
    sigwait(&stopSignals, &signal);
    server.stop();
  });
  const bool ok = server.listen_after_bind();
  // The server may also end on its own (a listen error): wake the stopper so it can be joined.
  if (stopper.joinable()) {
    pthread_kill(stopper.native_handle(), SIGTERM);
    stopper.join();
  }
  return ok ? 0 : 1;
}

}  // namespace trivo::widgets

// The HTTP server under the widget board: cpp-httplib's request handling, with the connection
// handling of our own so that slow or greedy clients cannot starve everyone else.
#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>

#include "core/widgets/connection_gate.h"

namespace trivo::widgets {

struct BoardServerLimits {
  // The whole request (line, headers) must arrive within this time of the connection's start;
  // a client that trickles a header line every few seconds is cut off here.
  std::chrono::milliseconds requestTimeout{5000};
  // How long one write may wait for a client that does not read.
  std::chrono::milliseconds writeTimeout{5000};
  // Connections held at once from one address, and in all. Each holds a thread, and a stream of
  // the board holds its connection for as long as the tab is open.
  std::size_t perAddress = 16;
  std::size_t total = 64;
};

class BoardServer final : public httplib::Server {
 public:
  explicit BoardServer(BoardServerLimits limits = {});

  // Gives the bound socket a full-sized accept queue: cpp-httplib asks for five, so a burst of
  // connections (a browser opens several at once) waited a second for SYN retries. Call after
  // binding and before anything may stop the server.
  void widenBacklog();

 private:
  // Serves one request per connection, each connection on its own thread (cpp-httplib's fixed
  // pool of eight is what a handful of slow clients used to exhaust).
  bool process_and_close_socket(socket_t sock) override;

  BoardServerLimits limits_;
  ConnectionGate gate_;
};

}  // namespace trivo::widgets

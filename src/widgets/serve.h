// `trivo-widgets serve`: the widget board over HTTP on the loopback interface.
#pragma once

namespace trivo::widgets {

// Serves the board on 127.0.0.1 at `port` (0 picks a free one), prints "serving URL" as its first
// line, and runs until SIGINT or SIGTERM. Returns the exit code.
int serveBoard(int port);

}  // namespace trivo::widgets

// `trivo-widgets serve`: the widget board over HTTP on the loopback interface.
#pragma once

#include "widgets/board_server.h"

namespace trivo::widgets {

// Serves the board on 127.0.0.1 at `port` (0 picks a free one), prints "serving URL" as its first
// line, and runs until SIGINT or SIGTERM. An open page follows the live state through "/events".
// Returns the exit code: 1 with one sentence on standard error when the port cannot be had.
int serveBoard(int port, const BoardServerLimits& limits);

}  // namespace trivo::widgets

// The widget board: all nine widgets on one HTML page for a browser, and the request policy of
// the loopback server that serves it.
#pragma once

#include <string>
#include <string_view>

#include "core/focus/live_state.h"
#include "core/util/json_fields.h"
#include "core/widgets/widget_views.h"

namespace trivo::widgets {

// What the server answers a request before looking at its path.
enum class BoardVerdict { serve, forbidden, methodNotAllowed };

// Whether a Host header names this machine's loopback ("127.0.0.1", "localhost", "[::1]", with
// or without a port). Anything else may be a rebinding attack from a web page: refuse it.
bool isLoopbackHost(std::string_view host);
// Loopback hosts only, and read-only: GET and HEAD.
BoardVerdict checkRequest(std::string_view method, std::string_view host);

std::string htmlEscape(std::string_view text);

// The policy sent with every answer: the page may load its own style sheet and script and open
// its own event stream, and nothing else (no inline script, no other origin, no frames).
inline constexpr std::string_view kBoardContentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// The nine widgets in bundle order, each an <article data-kind="..."> whose links are the
// widgets' "trivo://" links: the part of the page that the event stream replaces.
std::string boardMain(const LiveState& state, const ViewContext& context);
// A short tag of a boardMain text, equal for equal texts.
std::string boardVersion(std::string_view mainHtml);
// The page around boardMain, tagged with its version. Its script (boardScript, at "/board.js")
// follows "/events" and swaps in each new boardMain; without scripts it reloads itself after
// `reloadSeconds` (at least 60).
std::string boardPage(const LiveState& state, const ViewContext& context, long reloadSeconds);
// "/board.css" and "/board.js".
std::string_view boardStyle();
std::string_view boardScript();
// One server-sent event carrying a boardMain text: "id: VERSION", one "data:" line per line of
// the text, and the blank line that ends the event.
std::string boardEvent(std::string_view mainHtml);
// The same content as JSON: one object per widget with its kind, name and lines.
Json boardState(const LiveState& state, const ViewContext& context);

}  // namespace trivo::widgets

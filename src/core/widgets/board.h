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

// The page: the nine widgets in bundle order, each an <article data-kind="..."> whose links are
// the widgets' "trivo://" links; it reloads itself after `reloadSeconds`.
std::string boardPage(const LiveState& state, const ViewContext& context, long reloadSeconds);
// The same content as JSON: one object per widget with its kind, name and lines.
Json boardState(const LiveState& state, const ViewContext& context);

}  // namespace trivo::widgets

// The widget board page and its request policy.
#include "core/widgets/board.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "core/util/fnv_hash.h"
#include "core/util/printf.h"
#include "core/widgets/render.h"
#include "core/widgets/trivo_widgets.h"

namespace trivo::widgets {
namespace {

constexpr std::string_view kStyle = R"(
body { font-family: system-ui, sans-serif; background: #f4f1ea; color: #222; margin: 24px; }
h1 { font-size: 20px; font-weight: 600; margin: 0 0 16px; }
main { display: grid; grid-template-columns: repeat(auto-fill, minmax(320px, 1fr)); gap: 16px; }
article { background: #fff; border-radius: 14px; padding: 14px 16px;
          box-shadow: 0 1px 3px rgba(0,0,0,.12); }
article h2 { font-size: 13px; text-transform: uppercase; letter-spacing: .06em; color: #8a7f6a;
             margin: 0 0 8px; }
article p { margin: 4px 0; line-height: 1.35; }
article p.title { font-size: 17px; font-weight: 600; }
article[data-kind="TrivoFocus"] p.title { font-size: 26px; }
article p.quiet { color: #888; }
article p.link { display: inline-block; margin: 6px 10px 0 0; }
a { color: #2f6f5e; text-decoration: none; margin-right: 10px; }
a.button { display: inline-block; border: 1px solid #2f6f5e; border-radius: 8px;
           padding: 2px 10px; margin: 6px 8px 0 0; }
)";

// Follows the event stream and swaps in each new set of widgets. The page says which version it
// was drawn from, so the server sends only what is newer; after a lost connection the browser
// reconnects with the last event's id and gets the same treatment.
constexpr std::string_view kScript = R"(
'use strict';
(function () {
  const body = document.body;
  const main = document.querySelector('main');
  body.dataset.updates = '0';
  const events = new EventSource('/events?since=' + encodeURIComponent(body.dataset.version || ''));
  events.onopen = function () { body.dataset.live = 'open'; };
  events.onerror = function () { body.dataset.live = 'retrying'; };
  events.onmessage = function (event) {
    main.innerHTML = event.data;
    body.dataset.version = event.lastEventId;
    body.dataset.updates = String(Number(body.dataset.updates) + 1);
  };
})();
)";

const char* styleClass(TextLine::Style style) {
  switch (style) {
    case TextLine::Style::title:
      return "title";
    case TextLine::Style::quiet:
      return "quiet";
    case TextLine::Style::link:
      return "link";
    case TextLine::Style::plain:
      break;
  }
  return "plain";
}

std::string trimmedBoard(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return "";
  const auto end = text.find_last_not_of(" \t");
  return std::string(text.substr(begin, end - begin + 1));
}

// A line that carries a link shows the words before it as the link's label: "[Start]
// trivo://widget/start" becomes a button "Start", a bare link becomes "Open".
std::string lineHtml(const TextLine& line) {
  const auto at = line.text.find("trivo://");
  if (at == std::string::npos) {
    return "<p class=\"" + std::string(styleClass(line.style)) + "\">" + htmlEscape(line.text) +
           "</p>";
  }
  const auto end = line.text.find(' ', at);
  const std::string url = line.text.substr(at, end == std::string::npos ? end : end - at);
  std::string label = trimmedBoard(std::string_view(line.text).substr(0, at));
  const bool button = label.size() >= 2 && label.front() == '[' && label.back() == ']';
  if (button) label = label.substr(1, label.size() - 2);
  if (label.empty()) label = "Open";
  return std::string("<p class=\"link\"><a") + (button ? " class=\"button\"" : "") + " href=\"" +
         htmlEscape(url) + "\">" + htmlEscape(label) + "</a></p>";
}

}  // namespace

bool isLoopbackHost(std::string_view host) {
  std::string_view name = host;
  if (!name.empty() && name.front() == '[') {
    const auto close = name.find(']');
    if (close == std::string_view::npos) return false;
    const auto rest = name.substr(close + 1);
    if (!rest.empty() && (rest.front() != ':' || rest.size() == 1)) return false;
    name = name.substr(0, close + 1);
  } else if (const auto colon = name.find(':'); colon != std::string_view::npos) {
    const auto port = name.substr(colon + 1);
    if (port.empty() || !std::all_of(port.begin(), port.end(), [](char c) {
          return std::isdigit(static_cast<unsigned char>(c));
        })) {
      return false;
    }
    name = name.substr(0, colon);
  }
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower == "127.0.0.1" || lower == "localhost" || lower == "[::1]";
}

BoardVerdict checkRequest(std::string_view method, std::string_view host) {
  if (!isLoopbackHost(host)) return BoardVerdict::forbidden;
  if (method != "GET" && method != "HEAD") return BoardVerdict::methodNotAllowed;
  return BoardVerdict::serve;
}

std::string htmlEscape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out.push_back(c);
    }
  }
  return out;
}

std::string boardMain(const LiveState& state, const ViewContext& context) {
  std::string html;
  for (const auto& widget : TrivoWidgets::widgets()) {
    html += "<article data-kind=\"" + htmlEscape(widget.kind) + "\" title=\"" +
            htmlEscape(widget.description.text()) + "\"><h2>" + htmlEscape(widget.name.text()) +
            "</h2>";
    for (const auto& line : render(widget, state, context).lines) html += lineHtml(line);
    html += "</article>\n";
  }
  return html;
}

std::string boardVersion(std::string_view mainHtml) {
  // A tab that outlives a restart of the server still compares equal versions.
  return stringPrintf("%016llx", static_cast<unsigned long long>(fnv1aHash(mainHtml)));
}

std::string boardPage(const LiveState& state, const ViewContext& context, long reloadSeconds) {
  const std::string main = boardMain(state, context);
  return "<!DOCTYPE html>\n<html lang=\"" + htmlEscape(state.locale) +
         "\"><head><meta charset=\"utf-8\"><noscript><meta http-equiv=\"refresh\" content=\"" +
         std::to_string(std::max(reloadSeconds, 60L)) +
         "\"></noscript><title>Trivo widgets</title>"
         "<link rel=\"stylesheet\" href=\"/board.css\">"
         "<script src=\"/board.js\" defer></script></head><body data-version=\"" +
         boardVersion(main) + "\"><h1>Trivo</h1><main>\n" + main + "</main></body></html>\n";
}

std::string_view boardStyle() { return kStyle; }

std::string_view boardScript() { return kScript; }

std::string boardEvent(std::string_view mainHtml) {
  std::string event = "id: " + boardVersion(mainHtml) + "\n";
  std::string_view rest = mainHtml;
  // A trailing line break would otherwise add an empty data line.
  if (!rest.empty() && rest.back() == '\n') rest.remove_suffix(1);
  for (;;) {
    const auto end = rest.find('\n');
    event += "data: ";
    event.append(rest.substr(0, end));
    event += '\n';
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  return event + "\n";
}

Json boardState(const LiveState& state, const ViewContext& context) {
  Json all = Json::array();
  for (const auto& widget : TrivoWidgets::widgets()) {
    const auto rendering = render(widget, state, context);
    Json lines = Json::array();
    for (const auto& line : rendering.lines) lines.push_back(line.text);
    all.push_back(Json{{"kind", widget.kind},
                       {"name", widget.name.text()},
                       {"lines", std::move(lines)},
                       {"text", rendering.barText},
                       {"class", rendering.barClass}});
  }
  return all;
}

}  // namespace trivo::widgets

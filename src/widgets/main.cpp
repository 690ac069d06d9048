// Entry point of `trivo-widgets`, the widget host that draws the day from the live state.
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "core/version.h"
#include "core/widgets/focus_provider.h"
#include "core/widgets/render.h"
#include "core/widgets/trivo_widgets.h"
#include "widgets/serve.h"

namespace {

using namespace trivo;
using namespace trivo::widgets;

// A refusal: one sentence on standard error and an exit code.
struct Refusal {
  std::string message;
  int exitCode = 1;
};

WidgetInfo widgetOfKind(const std::string& kind) {
  if (auto info = TrivoWidgets::widget(kind)) return *info;
  throw Refusal{"There is no widget of kind \"" + kind +
                "\"; run `trivo-widgets list` to see the kinds."};
}

ViewContext contextNow(const Clock& clock, WidgetSize size, Instant now) {
  return {now, DayDate::pinnedToday().value_or(DayDate::fromInstant(now, clock)), size};
}

int list(bool asJson) {
  if (asJson) {
    Json all = Json::array();
    for (const auto& w : TrivoWidgets::widgets()) {
      Json j = Json::object();
      j["type"] = w.type;
      j["kind"] = w.kind;
      j["name"] = w.name.text();
      j["description"] = w.description.text();
      j["cardKey"] = w.cardKey ? Json(*w.cardKey) : Json(nullptr);
      all.push_back(std::move(j));
    }
    std::cout << all.dump(2) << '\n';
    return 0;
  }
  std::size_t width = 0;
  for (const auto& w : TrivoWidgets::widgets()) width = std::max(width, w.kind.size());
  for (const auto& w : TrivoWidgets::widgets()) {
    std::cout << w.kind << std::string(width - w.kind.size() + 2, ' ') << w.name.text() << ": "
              << w.description.text() << '\n';
  }
  return 0;
}

int show(const std::string& kind, WidgetSize size) {
  const auto widget = widgetOfKind(kind);
  const Clock& clock = SystemClock::shared();
  const auto timeline = FocusProvider(clock).getTimeline(size);
  const auto& entry = timeline.entries.front();
  const bool colour = isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR");
  std::cout << terminalText(render(widget, entry.state, contextNow(clock, size, entry.date)),
                            colour);
  return 0;
}

// Watches the live-state folders for a new "live.json".
class LiveWatch {
 public:
  LiveWatch() : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (fd_ < 0) return;
    for (const auto& folder : LiveState::places()) {
      inotify_add_watch(fd_, folder.c_str(),
                        IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_ONLYDIR);
    }
  }
  ~LiveWatch() {
    if (fd_ >= 0) close(fd_);
  }
  LiveWatch(const LiveWatch&) = delete;
  LiveWatch& operator=(const LiveWatch&) = delete;

  // Waits up to `timeoutMs`; true when "live.json" changed meanwhile.
  bool wait(int timeoutMs) {
    pollfd p{fd_, POLLIN, 0};
    if (fd_ < 0) {
      poll(nullptr, 0, timeoutMs);
      return false;
    }
    if (poll(&p, 1, timeoutMs) <= 0) return false;
    bool changed = false;
    alignas(inotify_event) std::array<char, 4096> buffer{};
    for (;;) {
      const ssize_t n = read(fd_, buffer.data(), buffer.size());
      if (n <= 0) break;
      for (std::size_t at = 0; at < static_cast<std::size_t>(n);) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char* name = buffer.data() + at + sizeof event;
        if (event.len > 0 && std::string(name) == "live.json") changed = true;
        // An overflow may have hidden the change.
        if (event.mask & IN_Q_OVERFLOW) changed = true;
        at += sizeof event + event.len;
      }
    }
    return changed;
  }

 private:
  int fd_;
};

int bar(const std::string& kind, WidgetSize size, bool once) {
  const auto widget = widgetOfKind(kind);
  const Clock& clock = SystemClock::shared();
  LiveWatch watch;
  std::string last;
  bool reloadDue = true;
  for (;;) {
    const auto timeline = FocusProvider(clock).getTimeline(size);
    const auto& entry = timeline.entries.front();
    const auto line = barLine(render(widget, entry.state, contextNow(clock, size, entry.date)));
    // The app rewrites its record every few seconds with only a new stamp; a bar needs a line
    // when something it shows changed, or when the timeline says so.
    if (reloadDue || line != last) {
      std::cout << line << std::endl;
      if (!std::cout) return 1;
      last = line;
    }
    if (once) return 0;
    reloadDue = false;
    for (;;) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(timeline.reloadAfter - clock.now());
      if (left.count() <= 0) {
        reloadDue = true;
        break;
      }
      const int timeout = static_cast<int>(std::min<std::int64_t>(left.count(), INT_MAX));
      if (watch.wait(timeout)) break;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"trivo-widgets: shows Trivo's widgets from the live state.", "trivo-widgets"};
  app.set_version_flag("--version", std::string("trivo-widgets ") + trivo::versionString());
  app.require_subcommand(0, 1);

  bool listJson = false;
  auto* listCmd = app.add_subcommand("list", "List the widgets: kind, name and description.");
  listCmd->add_flag("--json", listJson, "Print the list as JSON.");

  std::string kind;
  std::string sizeName = "medium";
  auto* showCmd = app.add_subcommand("show", "Draw one widget in the terminal.");
  showCmd->add_option("KIND", kind, "The widget's kind, such as TrivoFocus.")->required();
  showCmd->add_option("--size", sizeName, "small, medium or large.")
      ->check(CLI::IsMember({"small", "medium", "large"}));

  bool once = false;
  auto* barCmd = app.add_subcommand(
      "bar", "Print status-bar JSON lines for one widget, a new one whenever it changes.");
  barCmd->add_option("KIND", kind, "The widget's kind, such as TrivoFocus.")->required();
  barCmd->add_option("--size", sizeName, "small, medium or large.")
      ->check(CLI::IsMember({"small", "medium", "large"}));
  barCmd->add_flag("--once", once, "Print one line and exit.");

  int port = 0;
  auto* serveCmd = app.add_subcommand(
      "serve", "Serve all nine widgets as one web page on 127.0.0.1 (read-only).");
  serveCmd->add_option("--port", port, "The port to listen on; 0 picks a free one.")
      ->check(CLI::Range(0, 65535));

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::CallForAllHelp&) {
    std::cout << app.help("", CLI::AppFormatMode::All);
    return 0;
  } catch (const CLI::CallForVersion&) {
    std::cout << app.version() << "\n";
    return 0;
  } catch (const CLI::ParseError& e) {
    std::cerr << "trivo-widgets: " << e.what() << "\n";
    std::cerr << "usage: trivo-widgets list | show KIND [--size SIZE] | bar KIND [--once] | serve "
                 "[--port N]\n";
    return 2;
  }
  const auto size = widgetSizeFromName(sizeName).value_or(WidgetSize::medium);
  try {
    if (*listCmd) return list(listJson);
    if (*showCmd) return show(kind, size);
    if (*barCmd) return bar(kind, size, once);
    if (*serveCmd) return serveBoard(port);
  } catch (const Refusal& refusal) {
    std::cerr << "trivo-widgets: " << refusal.message << '\n';
    return refusal.exitCode;
  } catch (const std::exception& e) {
    std::cerr << "trivo-widgets: " << e.what() << '\n';
    return 1;
  }
  std::cout << app.help();
  return 0;
}

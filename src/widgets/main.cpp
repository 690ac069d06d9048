// Entry point of `trivo-widgets`, the widget host that draws the day from the live state.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "core/version.h"
#include "core/widgets/bar_feed.h"
#include "core/widgets/focus_provider.h"
#include "core/widgets/render.h"
#include "core/widgets/trivo_widgets.h"
#include "widgets/live_watch.h"
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

int bar(const std::string& kind, WidgetSize size, BarFormat format, bool once) {
  const auto widget = widgetOfKind(kind);
  const Clock& clock = SystemClock::shared();
  const BarFeed feed(clock, widget, size, format);
  if (once) {
    std::cout << feed.line(LiveState::read(), clock.now()) << std::endl;
    return std::cout ? 0 : 1;
  }
  LiveWatch watch(clock);
  // A bar that has gone away closes the pipe: stop then instead of writing into nothing.
  feed.run([] { return LiveState::read(); }, watch, [](const std::string& line) {
    std::cout << line << std::endl;
    return static_cast<bool>(std::cout);
  });
  return 1;
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
  std::string formatName = "waybar";
  auto* barCmd = app.add_subcommand(
      "bar",
      "Print status-bar lines for one widget: one now, a new one whenever it changes, each "
      "minute of a running session and each second of its last minute.");
  barCmd->add_option("KIND", kind, "The widget's kind, such as TrivoFocus.")->required();
  barCmd->add_option("--size", sizeName, "small, medium or large.")
      ->check(CLI::IsMember({"small", "medium", "large"}));
  barCmd->add_option("--format", formatName, "waybar (JSON, the default), i3blocks, polybar or tmux.")
      ->check(CLI::IsMember({"waybar", "i3blocks", "polybar", "tmux"}));
  barCmd->add_flag("--once", once, "Print one line and exit.");

  int port = 0;
  double requestTimeout = 5;
  auto* serveCmd = app.add_subcommand(
      "serve", "Serve all nine widgets as one live web page on 127.0.0.1 (read-only).");
  serveCmd->add_option("--port", port, "The port to listen on; 0 picks a free one.")
      ->check(CLI::Range(0, 65535));
  serveCmd
      ->add_option("--request-timeout", requestTimeout,
                   "Seconds a client has to send its whole request (default 5).")
      ->check(CLI::Range(0.1, 300.0));

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
    std::cerr << "usage: trivo-widgets list | show KIND [--size SIZE] | bar KIND [--size SIZE] "
                 "[--format FORMAT] [--once] | serve [--port N] [--request-timeout SECONDS]\n";
    return 2;
  }
  const auto size = widgetSizeFromName(sizeName).value_or(WidgetSize::medium);
  try {
    if (*listCmd) return list(listJson);
    if (*showCmd) return show(kind, size);
    if (*barCmd) {
      return bar(kind, size, barFormatFromName(formatName).value_or(BarFormat::waybar), once);
    }
    if (*serveCmd) {
      BoardServerLimits limits;
      limits.requestTimeout = std::chrono::milliseconds(static_cast<long>(requestTimeout * 1000));
      return serveBoard(port, limits);
    }
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

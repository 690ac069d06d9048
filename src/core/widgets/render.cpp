// Text renderings of the widgets.
#include "core/widgets/render.h"

#include "core/widgets/printable.h"

namespace trivo::widgets {
namespace {

using Style = TextLine::Style;

std::string phaseClass(LiveState::Phase phase) {
  return std::string(kLiveStatePhaseNames[static_cast<std::size_t>(phase)]);
}

void add(Rendering& r, Style style, std::string text) {
  r.lines.push_back({style, std::move(text)});
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
  std::string result;
  for (const auto& part : parts) {
    if (part.empty()) continue;
    if (!result.empty()) result += separator;
    result += part;
  }
  return result;
}

Rendering renderFocus(const LiveState& state, const ViewContext& context) {
  const auto view = focusView(state, context);
  Rendering r;
  add(r, Style::title, view.title);
  std::string status = view.clock ? *view.clock + " left" : "";
  if (view.label) status = joined({view.label->text(), status}, " · ");
  if (status.empty()) status = "No session";
  add(r, Style::plain, status);
  if (view.sliceLine)
    add(r, Style::plain, joined({*view.sliceLine, view.breakLine.value_or("")}, ", "));
  add(r, Style::plain, "Today: " + view.todayLine + " · " + view.minutesLine + " focused");
  for (const auto& line : view.outcomes) {
    add(r, Style::plain, "  " + std::string(line.state == "done" ? "[x] " : "[ ] ") + line.text);
  }
  for (const auto& button : view.buttons) {
    add(r, Style::link, "[" + button.title.text() + "] " + button.link);
  }
  add(r, Style::link, view.link);
  if (state.phase == LiveState::Phase::idle) {
    r.barText = view.todayLine + " · " + view.minutesLine;
  } else {
    r.barText =
        joined({view.label ? view.label->text() : "", view.clock.value_or(""), view.title}, " ");
  }
  r.barClass = phaseClass(state.phase);
  return r;
}

Rendering renderKeys(const LiveState& state, const ViewContext& context) {
  const auto view = keysView(state, context);
  Rendering r;
  std::vector<std::string> bar;
  for (const auto& tile : view.tiles) {
    const std::string text = joined({tile.title.text(), tile.clock.value_or("")}, " ");
    add(r, Style::plain, text + "  " + tile.link);
    bar.push_back(text);
  }
  r.barText = joined(bar, " · ");
  r.barClass = phaseClass(state.phase);
  return r;
}

Rendering renderAgenda(const LiveState& state, const ViewContext& context) {
  const auto view = agendaView(state, context);
  Rendering r;
  add(r, Style::title, view.title.text());
  if (view.emptyText) add(r, Style::quiet, view.emptyText->text());
  for (const auto& row : view.rows) {
    std::string marks = row.late ? " (late)" : "";
    if (row.predicted) marks += " (predicted)";
    add(r, row.done ? Style::quiet : Style::plain,
        std::string(row.done ? "[x] " : "[ ] ") + joined({row.day, row.time, row.text}, " ") +
            marks);
  }
  add(r, Style::link, view.link);
  if (!view.rows.empty() && view.rows.front().today) {
    r.barText = joined({view.rows.front().time, view.rows.front().text}, " ");
  } else {
    r.barText = view.emptyText ? view.emptyText->text() : "";
  }
  r.barClass = view.emptyText ? "empty" : "filled";
  return r;
}

Rendering renderDrafts(const LiveState& state, const ViewContext& context) {
  const auto view = draftsView(state, context);
  Rendering r;
  add(r, Style::title, view.title.text());
  if (view.emptyText) add(r, Style::quiet, view.emptyText->text());
  for (const auto& row : view.rows) {
    add(r, Style::plain, joined({row.title, row.preview}, ": "));
    add(r, Style::link, "  " + row.link);
  }
  add(r, Style::link, view.link);
  r.barText = view.rows.empty() ? view.emptyText->text() : view.rows.front().title;
  r.barClass = view.emptyText ? "empty" : "filled";
  return r;
}

Rendering renderWeek(const LiveState& state, const ViewContext& context) {
  const auto view = weekView(state, context);
  Rendering r;
  add(r, Style::title, view.title.text());
  for (const auto& day : view.days) {
    add(r, day.today ? Style::title : Style::plain,
        std::string(day.today ? "> " : "  ") + day.label + " " + day.day + "  " + day.minutes);
  }
  add(r, Style::plain, "Total: " + view.total);
  add(r, Style::link, view.link);
  r.barText = view.total;
  r.barClass = view.days.empty() ? "empty" : "filled";
  return r;
}

Rendering renderOutcomeLines(const LiveState& state, const std::string& key,
                         const ViewContext& context) {
  const auto view = outcomesView(state, key, context);
  Rendering r;
  add(r, Style::title, view.title);
  if (!view.subtitle.empty()) add(r, Style::quiet, view.subtitle);
  if (view.emptyText) add(r, Style::quiet, view.emptyText->text());
  std::size_t done = 0;
  for (const auto& row : view.rows) {
    if (row.state == "done") ++done;
    add(r, Style::plain,
        std::string(row.state == "done"      ? "[x] "
                    : row.state == "blocked" ? "[-] "
                                             : "[ ] ") +
            row.text);
  }
  add(r, Style::link, view.link);
  r.barText = view.rows.empty() ? view.emptyText->text()
                                : view.title + " " + std::to_string(done) + "/" +
                                      std::to_string(view.rows.size());
  r.barClass = view.emptyText ? "empty" : "filled";
  return r;
}

Rendering renderAny(const WidgetInfo& widget, const LiveState& state, const ViewContext& context) {
  if (widget.cardKey) return renderOutcomeLines(state, *widget.cardKey, context);
  if (widget.type == "KeysWidget") return renderKeys(state, context);
  if (widget.type == "AgendaWidget") return renderAgenda(state, context);
  if (widget.type == "DraftsWidget") return renderDrafts(state, context);
  if (widget.type == "WeekWidget") return renderWeek(state, context);
  return renderFocus(state, context);
}

}  // namespace

Rendering render(const WidgetInfo& widget, const LiveState& state, const ViewContext& context) {
  auto r = renderAny(widget, state, context);
  // Every text came from another process's file: nothing in it may steer the terminal or bar
  // that prints it.
  for (auto& line : r.lines) line.text = printableText(line.text);
  r.barText = printableText(r.barText);
  return r;
}

std::string terminalText(const Rendering& rendering, bool colour) {
  std::string out;
  for (const auto& line : rendering.lines) {
    const char* on = "";
    if (colour) {
      switch (line.style) {
        case Style::title:
          on = "\x1b[1m";
          break;
        case Style::quiet:
          on = "\x1b[2m";
          break;
        case Style::link:
          on = "\x1b[36m";
          break;
        case Style::plain:
          break;
      }
    }
    out += on;
    out += line.text;
    if (*on) out += "\x1b[0m";
    out += '\n';
  }
  return out;
}

}  // namespace trivo::widgets

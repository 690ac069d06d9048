// The widgets' view models.
#include "core/widgets/widget_views.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "core/calendar/periods.h"
#include "core/links/deep_link.h"
#include "core/util/printf.h"
#include "core/widgets/words.h"

namespace trivo::widgets {
namespace {

using Phase = LiveState::Phase;
using ViewSeconds = std::chrono::duration<double>;

std::string widgetLink(DeepLink::Payload payload) { return DeepLink{std::move(payload)}.url(); }

std::string widgetLink(DeepLink::WidgetKey key) { return widgetLink(DeepLink::Widget{key}); }

std::string screenLink(Destination::Screen screen) {
  return widgetLink(DeepLink::Open{Destination::screen(screen)});
}

std::string loweredText(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

std::string stateSymbol(std::string_view state) {
  if (state == "done") return "checkmark.circle.fill";
  if (state == "blocked") return "xmark.circle";
  return "circle";
}

}  // namespace

std::size_t agendaRoom(WidgetSize size) {
  switch (size) {
    case WidgetSize::small:
      return 3;
    case WidgetSize::medium:
      return 4;
    case WidgetSize::large:
      return 10;
  }
  return 4;
}

std::size_t draftsRoom(WidgetSize size) {
  switch (size) {
    case WidgetSize::small:
      return 2;
    case WidgetSize::medium:
      return 3;
    case WidgetSize::large:
      return 8;
  }
  return 3;
}

std::optional<std::string> sessionClock(const LiveState& state, Instant now) {
  if ((state.phase != Phase::running && state.phase != Phase::onBreak) || !state.ends) {
    return std::nullopt;
  }
  const double left = *state.ends > now ? ViewSeconds(*state.ends - now).count() : 0.0;
  return Words::clock(left);
}

bool isTodayLine(const LiveState::AgendaLine& line) {
  return line.day.empty() || loweredText(line.day) == "today";
}

std::string periodLink(const std::string& key, const DayDate& today) {
  std::optional<EntryKey> page;
  if (key == "day") page = EntryKey::day(today);
  if (key == "week") page = EntryKey::week(today.isoWeek());
  if (key == "month") page = EntryKey::month(today.yearMonth());
  if (key == "year") page = EntryKey::year(today.year);
  return page ? widgetLink(DeepLink::Open{Destination::page(*page)})
              : screenLink(Destination::Screen::focus);
}

FocusWidgetView focusView(const LiveState& state, const ViewContext& context) {
  FocusWidgetView view;
  view.phase = state.phase;
  view.title = state.phase != Phase::idle && state.subject && !state.subject->empty()
                   ? *state.subject
                   : "Trivo";
  view.clock = sessionClock(state, context.now);
  if (state.phase == Phase::paused) {
    view.label = LocalizedText{"ui.widget.paused", "Paused"};
    view.symbol = "metronome";
  } else if (state.phase == Phase::onBreak) {
    view.label = LocalizedText{"ui.widget.break", "Break"};
    view.symbol = "metronome";
  }
  if (state.pomodoro) {
    view.sliceLine = stringPrintf("Slice %lld of %lld", static_cast<long long>(state.slice),
                                  static_cast<long long>(state.slices));
    if (state.breakMinutes > 0) {
      view.breakLine =
          stringPrintf("then %lld min break", static_cast<long long>(state.breakMinutes));
    }
  }
  view.todayLine = stringPrintf("%lld of %lld", static_cast<long long>(state.done),
                                static_cast<long long>(state.set));
  view.minutesLine = Words::minutes(state.todayMinutes);
  if (context.size == WidgetSize::large) {
    if (auto day = state.card("day")) view.outcomes = day->outcomes;
  }
  view.link = screenLink(Destination::Screen::focus);
  if (context.size != WidgetSize::small) {
    const Button start{{"", state.phase == Phase::idle ? "Start" : "Resume"},
                       "play.fill",
                       widgetLink(DeepLink::WidgetKey::start)};
    const Button hold{{"", "Hold"}, "pause.fill", widgetLink(DeepLink::WidgetKey::hold)};
    const Button stop{{"", "Stop"}, "stop.fill", widgetLink(DeepLink::WidgetKey::stop)};
    switch (state.phase) {
      case Phase::idle:
        view.buttons = {start};
        break;
      case Phase::running:
        view.buttons = {hold, stop};
        break;
      case Phase::paused:
      case Phase::onBreak:
        view.buttons = {start, stop};
        break;
    }
  }
  return view;
}

KeysWidgetView keysView(const LiveState& state, const ViewContext& context) {
  KeysWidgetView view;
  view.tiles = {
      {{"title.inbox", "Inbox"}, "tray", widgetLink(DeepLink::WidgetKey::capture), std::nullopt},
      {{"ui.common.journal", "Journal"},
       "book.closed",
       widgetLink(DeepLink::WidgetKey::journal),
       std::nullopt},
      {{"ui.common.focus", "Focus"},
       "metronome",
       widgetLink(DeepLink::WidgetKey::focus),
       sessionClock(state, context.now)},
  };
  return view;
}

AgendaWidgetView agendaView(const LiveState& state, const ViewContext& context) {
  AgendaWidgetView view;
  view.title = {"ui.agendas.title", "Agenda"};
  // The agenda widget has always opened the short word; the app reads it as the agendas screen.
  view.link = "trivo://open?page=agenda";
  std::vector<AgendaRow> today;
  std::vector<AgendaRow> later;
  for (const auto& line : state.agenda) {
    AgendaRow row{line.text,         line.day,
                  line.time,         line.done,
                  line.late,         line.predicted,
                  isTodayLine(line), line.done ? "checkmark.square.fill" : "square"};
    (row.today ? today : later).push_back(std::move(row));
  }
  std::size_t room = agendaRoom(context.size);
  if (today.empty()) {
    view.emptyText = LocalizedText{"ui.agendas.day_empty", "Nothing on this day."};
    // The empty text takes one row's room.
    room = room > 1 ? room - 1 : 0;
  }
  for (auto* part : {&today, &later}) {
    for (auto& row : *part) {
      if (view.rows.size() >= room) break;
      view.rows.push_back(std::move(row));
    }
  }
  return view;
}

DraftsWidgetView draftsView(const LiveState& state, const ViewContext& context) {
  DraftsWidgetView view;
  view.title = {"ui.drafts.title", "Drafts"};
  view.link = screenLink(Destination::Screen::drafts);
  for (const auto& draft : state.drafts) {
    if (view.rows.size() >= draftsRoom(context.size)) break;
    view.rows.push_back({draft.title, draft.preview, widgetLink(DeepLink::OpenDraft{draft.title})});
  }
  if (state.drafts.empty()) {
    view.emptyText = LocalizedText{"ui.widget.drafts_empty", "Pin a draft and it waits here."};
  }
  return view;
}

WeekWidgetView weekView(const LiveState& state, const ViewContext& /*context*/) {
  WeekWidgetView view;
  view.title = {"ui.focus.the_week", "The week"};
  view.link = screenLink(Destination::Screen::focus);
  const LocalizedText unit{"ui.stats.minutes_short", "min"};
  std::int64_t total = 0;
  for (const auto& day : state.week) {
    view.days.push_back({day.label, std::to_string(day.day),
                         std::to_string(std::max<std::int64_t>(day.minutes, 0)) + " " + unit.text(),
                         day.today});
    if (day.minutes > 0 && total <= INT64_MAX - day.minutes) total += day.minutes;
  }
  view.total = Words::minutes(total);
  return view;
}

OutcomesWidgetView outcomesView(const LiveState& state, const std::string& key,
                                const ViewContext& context) {
  OutcomesWidgetView view;
  view.key = key;
  view.link = periodLink(key, context.today);
  if (auto card = state.card(key)) {
    view.title = card->title;
    view.subtitle = card->subtitle;
    for (const auto& line : card->outcomes) {
      view.rows.push_back({line.text, line.state, stateSymbol(line.state)});
    }
  }
  if (view.title.empty()) {
    for (const auto& info : TrivoWidgets::widgets()) {
      if (info.cardKey == key) view.title = info.name.text();
    }
  }
  if (view.rows.empty()) view.emptyText = LocalizedText{"", "No outcomes set."};
  return view;
}

}  // namespace trivo::widgets

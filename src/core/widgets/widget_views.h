// What each widget shows, computed from the live state alone: the texts, symbols and links that a
// renderer (terminal, status bar, browser) lays out for a given size.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/focus/live_state.h"
#include "core/widgets/trivo_widgets.h"

namespace trivo::widgets {

// The moment a view is drawn for: the entry's date and the local day it falls on.
struct ViewContext {
  Instant now;
  DayDate today;
  WidgetSize size = WidgetSize::medium;
};

// A tappable control: a title, a symbol name and the "trivo://" link it opens.
struct Button {
  LocalizedText title;
  std::string symbol;
  std::string link;
  bool operator==(const Button&) const = default;
};

struct FocusWidgetView {
  LiveState::Phase phase = LiveState::Phase::idle;
  std::string title;  // the session's subject, else "Trivo"
  // Minutes and seconds left ("%d:%02d") while running or on a break with an end.
  std::optional<std::string> clock;
  // "Paused" or "Break", shown with the symbol "metronome".
  std::optional<LocalizedText> label;
  std::optional<std::string> symbol;
  std::optional<std::string> sliceLine;   // "Slice 2 of 4"
  std::optional<std::string> breakLine;   // "then 5 min break"
  std::string todayLine;                  // "1 of 3"
  std::string minutesLine;                // focus minutes today, "1 h 15 min"
  std::vector<LiveState::Line> outcomes;  // the day card's lines (large only)
  std::string link;                       // a tap on the widget
  std::vector<Button> buttons;            // none in the small size
  bool operator==(const FocusWidgetView&) const = default;
};

struct KeyTile {
  LocalizedText title;
  std::string symbol;
  std::string link;
  std::optional<std::string> clock;  // the Focus tile's countdown while a session is under way
  bool operator==(const KeyTile&) const = default;
};

struct KeysWidgetView {
  std::vector<KeyTile> tiles;  // Inbox, Journal, Focus
  bool operator==(const KeysWidgetView&) const = default;
};

struct AgendaRow {
  std::string text;
  std::string day;
  std::string time;
  bool done = false;
  bool late = false;
  bool predicted = false;
  bool today = false;
  std::string symbol;  // "checkmark.square.fill" when done, else "square"
  bool operator==(const AgendaRow&) const = default;
};

struct AgendaWidgetView {
  LocalizedText title;
  std::vector<AgendaRow> rows;  // today's lines first, as many as the size holds
  // "Nothing on this day." when today has no lines; shown above the later days.
  std::optional<LocalizedText> emptyText;
  std::string link;
  bool operator==(const AgendaWidgetView&) const = default;
};

struct DraftRow {
  std::string title;
  std::string preview;
  std::string link;  // opens this draft
  bool operator==(const DraftRow&) const = default;
};

struct DraftsWidgetView {
  LocalizedText title;
  std::vector<DraftRow> rows;
  std::optional<LocalizedText> emptyText;  // when there are no drafts
  std::string link;
  bool operator==(const DraftsWidgetView&) const = default;
};

struct WeekColumn {
  std::string label;
  std::string day;      // day of the month
  std::string minutes;  // "25 min"
  bool today = false;
  bool operator==(const WeekColumn&) const = default;
};

struct WeekWidgetView {
  LocalizedText title;
  std::vector<WeekColumn> days;  // in the record's order: today last
  std::string total;             // the minutes of the seven days together
  std::string link;
  bool operator==(const WeekWidgetView&) const = default;
};

struct OutcomeRow {
  std::string text;
  std::string state;
  std::string symbol;  // by state: done, blocked, otherwise open
  bool operator==(const OutcomeRow&) const = default;
};

struct OutcomesWidgetView {
  std::string key;    // the card key: "day", "week", "month" or "year"
  std::string title;  // the card's title, else the widget's name
  std::string subtitle;
  std::vector<OutcomeRow> rows;            // the card's lines in their order
  std::optional<LocalizedText> emptyText;  // when the card is missing or has no lines
  std::string link;                        // the period's page
  bool operator==(const OutcomesWidgetView&) const = default;
};

// How many list rows a size holds.
std::size_t agendaRoom(WidgetSize size);
std::size_t draftsRoom(WidgetSize size);

FocusWidgetView focusView(const LiveState& state, const ViewContext& context);
KeysWidgetView keysView(const LiveState& state, const ViewContext& context);
AgendaWidgetView agendaView(const LiveState& state, const ViewContext& context);
DraftsWidgetView draftsView(const LiveState& state, const ViewContext& context);
WeekWidgetView weekView(const LiveState& state, const ViewContext& context);
OutcomesWidgetView outcomesView(const LiveState& state, const std::string& key,
                                const ViewContext& context);

// The countdown of the session under way ("%d:%02d"): while running or on a break with an end.
std::optional<std::string> sessionClock(const LiveState& state, Instant now);
// Whether an agenda line belongs to today: the app writes today's lines with an empty "day" or
// the word "Today".
bool isTodayLine(const LiveState::AgendaLine& line);
// "trivo://open?page=" and the page key of the card's period on the given day ("day:2026-09-16",
// "week:2026-W38", "month:2026-09", "year:2026"); "trivo://open?page=focus" for other keys.
std::string periodLink(const std::string& key, const DayDate& today);

}  // namespace trivo::widgets

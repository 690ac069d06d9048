// The widget bundle's table.
#include "core/widgets/trivo_widgets.h"

namespace trivo::widgets {

std::optional<WidgetSize> widgetSizeFromName(std::string_view name) {
  if (name == "small") return WidgetSize::small;
  if (name == "medium") return WidgetSize::medium;
  if (name == "large") return WidgetSize::large;
  return std::nullopt;
}

WidgetInfo TrivoWidgets::outcomesConfiguration(std::string type, std::string kind,
                                               std::string cardKey, std::string name) {
  return {std::move(type),
          std::move(kind),
          {"", std::move(name)},
          {"ui.widget.outcomes_about", "The three that carry this scope."},
          std::move(cardKey)};
}

const std::vector<WidgetInfo>& TrivoWidgets::widgets() {
  static const std::vector<WidgetInfo> all = {
      {"FocusWidget",
       "TrivoFocus",
       {"", "Trivo"},
       {"ui.widget.about", "The session under way, and today's three."},
       std::nullopt},
      {"KeysWidget",
       "TrivoKeys",
       {"ui.widget.keys", "Inbox, Journal, Focus"},
       {"ui.widget.keys_about", "Capture a thought, write a line, hold your trivo."},
       std::nullopt},
      {"AgendaWidget",
       "TrivoAgenda",
       {"ui.agendas.title", "Agenda"},
       {"ui.widget.agenda_about", "What is next: today, then the days after."},
       std::nullopt},
      {"DraftsWidget",
       "TrivoDrafts",
       {"ui.drafts.title", "Drafts"},
       {"ui.widget.drafts_about", "The drafts you pinned."},
       std::nullopt},
      {"WeekWidget",
       "TrivoWeek",
       {"ui.focus.the_week", "The week"},
       {"ui.widget.week_about", "Seven days of held time, today last."},
       std::nullopt},
      outcomesConfiguration("DayOutcomesWidget", "TrivoDay", "day", "Daily Outcomes"),
      // "TrivoWeek" already names the seven-day strip.
      outcomesConfiguration("WeekOutcomesWidget", "TrivoWeekOutcomes", "week", "Weekly Outcomes"),
      outcomesConfiguration("MonthOutcomesWidget", "TrivoMonth", "month", "Monthly Outcomes"),
      outcomesConfiguration("YearOutcomesWidget", "TrivoYear", "year", "Yearly Outcomes"),
  };
  return all;
}

std::optional<WidgetInfo> TrivoWidgets::widget(std::string_view kind) {
  for (const auto& info : widgets()) {
    if (info.kind == kind) return info;
  }
  return std::nullopt;
}

}  // namespace trivo::widgets

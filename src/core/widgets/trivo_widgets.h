// The widget bundle: the nine widgets in their order, with the kinds that identify placed widgets
// and the names and descriptions that the widget gallery shows.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trivo::widgets {

// A text the user sees: its localisation key (empty when the text is never translated) and the
// English text used while the key has no translation.
struct LocalizedText {
  std::string key;
  std::string english;

  [[nodiscard]] const std::string& text() const { return english; }
  bool operator==(const LocalizedText&) const = default;
};

// The room a widget is drawn in.
enum class WidgetSize { small, medium, large };

std::optional<WidgetSize> widgetSizeFromName(std::string_view name);

struct WidgetInfo {
  std::string type;  // "FocusWidget", "KeysWidget", …
  // Identifies a placed widget; never changes once shipped.
  std::string kind;
  LocalizedText name;
  LocalizedText description;
  // The card an outcomes widget shows ("day", "week", "month", "year"); none for the others.
  std::optional<std::string> cardKey;

  bool operator==(const WidgetInfo&) const = default;
};

struct TrivoWidgets {
  // FocusWidget, KeysWidget, AgendaWidget, DraftsWidget, WeekWidget, then the day, week, month
  // and year outcome widgets.
  static const std::vector<WidgetInfo>& widgets();
  // The widget of a kind, or nothing.
  static std::optional<WidgetInfo> widget(std::string_view kind);
  // The one configuration shared by the four outcome widgets.
  static WidgetInfo outcomesConfiguration(std::string type, std::string kind, std::string cardKey,
                                          std::string name);
};

}  // namespace trivo::widgets

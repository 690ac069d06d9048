// Draws a widget's view model as plain text: lines for a terminal, and the short text, tooltip
// and class of a status-bar line (bar_format.h writes them in each bar's dialect).
#pragma once

#include <string>
#include <vector>

#include "core/widgets/focus_provider.h"
#include "core/widgets/widget_views.h"

namespace trivo::widgets {

struct TextLine {
  enum class Style { title, plain, quiet, link };
  Style style = Style::plain;
  std::string text;
};

struct Rendering {
  std::vector<TextLine> lines;  // the full widget, one element per line
  std::string barText;          // one short line for a status bar
  std::string barClass;         // a CSS class for the status bar
};

// Every text of the result is printable (printableText): the record may come from anyone.
Rendering render(const WidgetInfo& widget, const LiveState& state, const ViewContext& context);

// The lines as terminal text, with ANSI styles when `colour` is set.
std::string terminalText(const Rendering& rendering, bool colour);

}  // namespace trivo::widgets

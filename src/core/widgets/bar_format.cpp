// Status-bar line formats.
#include "core/widgets/bar_format.h"

#include "core/util/json_fields.h"
#include "core/widgets/board.h"

namespace trivo::widgets {
namespace {

// Doubles every `mark`: polybar reads "%{...}" and tmux "#[...]" and "#(...)" as formatting and
// commands, and a doubled mark is their way of writing it literally.
std::string doubled(std::string_view text, char mark) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    out.push_back(c);
    if (c == mark) out.push_back(c);
  }
  return out;
}

// Waybar reads text and tooltip as Pango markup, which knows the same entities as HTML.
std::string waybarLine(const Rendering& rendering) {
  std::string tooltip;
  for (const auto& line : rendering.lines) {
    if (!tooltip.empty()) tooltip += '\n';
    tooltip += line.text;
  }
  Json j = Json::object();
  j["text"] = htmlEscape(rendering.barText);
  j["tooltip"] = htmlEscape(tooltip);
  j["class"] = rendering.barClass;
  // Replace rather than throw on bytes that are not UTF-8: a bar line must always come out.
  return j.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

std::optional<BarFormat> barFormatFromName(std::string_view name) {
  if (name == "waybar") return BarFormat::waybar;
  if (name == "i3blocks") return BarFormat::i3blocks;
  if (name == "polybar") return BarFormat::polybar;
  if (name == "tmux") return BarFormat::tmux;
  return std::nullopt;
}

std::string formatBarLine(const Rendering& rendering, BarFormat format) {
  switch (format) {
    case BarFormat::waybar:
      return waybarLine(rendering);
    case BarFormat::i3blocks:
      return rendering.barText;
    case BarFormat::polybar:
      return doubled(rendering.barText, '%');
    case BarFormat::tmux:
      return doubled(rendering.barText, '#');
  }
  return rendering.barText;
}

void markStale(Rendering& rendering, std::string_view writtenAt) {
  rendering.lines.insert(rendering.lines.begin(),
                         {TextLine::Style::quiet, "Trivo has not updated this since " +
                                                      std::string(writtenAt) +
                                                      "; it may be out of date."});
  rendering.barText += " (stale)";
  rendering.barClass = "stale";
}

}  // namespace trivo::widgets

// The line formats of `trivo-widgets bar`: one line per update, in the dialect of the status bar
// that reads it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/widgets/render.h"

namespace trivo::widgets {

enum class BarFormat {
  waybar,    // JSON {"text","tooltip","class"}; text and tooltip are Pango markup
  i3blocks,  // the short text alone, for a block with interval=persist
  polybar,   // the short text, '%' doubled, for a custom/script module with tail = true
  tmux,      // the short text, '#' doubled, for #(...) in status-left or status-right
};

// "waybar", "i3blocks", "polybar" or "tmux"; nothing for other names.
std::optional<BarFormat> barFormatFromName(std::string_view name);

// One line without its newline. The texts are taken as printable (see render()); each format
// escapes what its bar would read as markup or as a command.
std::string formatBarLine(const Rendering& rendering, BarFormat format);

// Marks a rendering whose record's writer has gone quiet since `writtenAt` (a local "HH:MM"):
// the short text ends in " (stale)", the class becomes "stale" and the tooltip opens with a line
// saying since when.
void markStale(Rendering& rendering, std::string_view writtenAt);

}  // namespace trivo::widgets

// The named events of the focus timer: what the app announces, mirrors to other devices and
// hands to its cue sounds when the timer changes course.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace trivo {

enum class FocusEvent { start, pause, resume, finish, stop, breakStart, breakEnd, sliceNext };

inline constexpr std::array<std::string_view, 8> kFocusEventRawValues = {
    "start", "pause", "resume", "finish", "stop", "breakStart", "breakEnd", "sliceNext"};

// The raw value, the case name ("breakStart").
std::string_view rawValue(FocusEvent event);
// The event name, dotted ("focus.break.start").
std::string_view eventName(FocusEvent event);
// The event of a raw value; nothing for an unknown text.
std::optional<FocusEvent> focusEventFromRawValue(std::string_view raw);

}  // namespace trivo

// Raw values and dotted names of the focus timer's events.
#include "core/focus/focus_event.h"

#include <cstddef>

#include "core/util/json_fields.h"

namespace trivo {
namespace {

constexpr std::array<std::string_view, 8> kEventNames = {
    "focus.start", "focus.pause",       "focus.resume",    "focus.finish",
    "focus.stop",  "focus.break.start", "focus.break.end", "focus.slice.next"};

}  // namespace

std::string_view rawValue(FocusEvent event) {
  return kFocusEventRawValues[static_cast<std::size_t>(event)];
}

std::string_view eventName(FocusEvent event) {
  return kEventNames[static_cast<std::size_t>(event)];
}

std::optional<FocusEvent> focusEventFromRawValue(std::string_view raw) {
  return json::enumFromString<FocusEvent>(raw, kFocusEventRawValues);
}

}  // namespace trivo

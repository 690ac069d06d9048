// A keyboard shortcut chosen in the settings: a hardware key code and a set of modifiers, with
// its printed form and the warning shown when it collides with a key the system keeps for itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/util/json_fields.h"

namespace trivo {

struct KeyShortcut {
  // A bit set, serialised as its integer raw value.
  struct Modifiers {
    std::int64_t rawValue = 0;
    static constexpr std::int64_t control = 1;
    static constexpr std::int64_t option = 2;
    static constexpr std::int64_t shift = 4;
    static constexpr std::int64_t command = 8;
    [[nodiscard]] bool contains(std::int64_t bits) const { return (rawValue & bits) == bits; }
    bool operator==(const Modifiers&) const = default;
  };

  std::int64_t keyCode = 0;  // the hardware key code (the keyboard layout's positions)
  Modifiers modifiers;

  // The shortcut as printed in menus: modifier symbols in the order ⌃⌥⇧⌘, then the key name.
  [[nodiscard]] std::string display() const;
  // The printed name of the key: "A"…"Z", "0"…"9", "Space", "⇥", "↩", "F1"…, or "Key N".
  [[nodiscard]] std::string keyName() const;
  // The warning for a shortcut that the operating system already uses, else nothing.
  [[nodiscard]] std::optional<std::string> systemReservedNote() const;

  // The defaults of the six configurable actions.
  static KeyShortcut quickCaptureDefault();
  static KeyShortcut focusToggleDefault();
  static KeyShortcut journalNoteDefault();
  static KeyShortcut askAIDefault();
  static KeyShortcut captureJournalDefault();
  static KeyShortcut captureDraftDefault();

  bool operator==(const KeyShortcut&) const = default;
};

void to_json(Json& j, const KeyShortcut& s);
void from_json(const Json& j, KeyShortcut& s);

}  // namespace trivo

// Printing keyboard shortcuts and recognising the ones the system keeps.
#include "core/config/key_shortcut.h"

#include <array>
#include <string_view>
#include <utility>

#include "core/util/json_integers.h"

namespace trivo {
namespace {

using Mods = KeyShortcut::Modifiers;

constexpr std::int64_t kControl = Mods::control;
constexpr std::int64_t kOption = Mods::option;
constexpr std::int64_t kShift = Mods::shift;
constexpr std::int64_t kCommand = Mods::command;

// Key codes are positions on the keyboard, named after the US layout.
constexpr std::array<std::pair<std::int64_t, std::string_view>, 70> kKeyNames = {{
    {0, "A"},    {1, "S"},    {2, "D"},     {3, "F"},     {4, "H"},     {5, "G"},    {6, "Z"},
    {7, "X"},    {8, "C"},    {9, "V"},     {11, "B"},    {12, "Q"},    {13, "W"},   {14, "E"},
    {15, "R"},   {16, "Y"},   {17, "T"},    {18, "1"},    {19, "2"},    {20, "3"},   {21, "4"},
    {22, "6"},   {23, "5"},   {24, "="},    {25, "9"},    {26, "7"},    {27, "-"},   {28, "8"},
    {29, "0"},   {30, "]"},   {31, "O"},    {32, "U"},    {33, "["},    {34, "I"},   {35, "P"},
    {36, "↩"},   {37, "L"},   {38, "J"},    {39, "'"},    {40, "K"},    {41, ";"},   {42, "\\"},
    {43, ","},   {44, "/"},   {45, "N"},    {46, "M"},    {47, "."},    {48, "⇥"},   {49, "Space"},
    {50, "`"},   {51, "⌫"},   {53, "⎋"},    {96, "F5"},   {97, "F6"},   {98, "F7"},  {99, "F3"},
    {100, "F8"}, {101, "F9"}, {103, "F11"}, {109, "F10"}, {111, "F12"}, {118, "F4"}, {120, "F2"},
    {122, "F1"}, {123, "←"},  {124, "→"},   {125, "↓"},   {126, "↑"},   {115, "↖"},  {119, "↘"},
}};

bool is(const KeyShortcut& s, std::int64_t code, std::int64_t mods) {
  return s.keyCode == code && s.modifiers.rawValue == mods;
}

}  // namespace

std::string KeyShortcut::keyName() const {
  for (const auto& [code, name] : kKeyNames) {
    if (code == keyCode) return std::string(name);
  }
  return "Key " + std::to_string(keyCode);
}

std::string KeyShortcut::display() const {
  std::string text;
  if (modifiers.contains(kControl)) text += "⌃";
  if (modifiers.contains(kOption)) text += "⌥";
  if (modifiers.contains(kShift)) text += "⇧";
  if (modifiers.contains(kCommand)) text += "⌘";
  return text + keyName();
}

std::optional<std::string> KeyShortcut::systemReservedNote() const {
  if (is(*this, 3, kControl | kCommand)) return "⌃⌘F is Full Screen.";
  for (std::int64_t code : {12, 13, 4}) {
    if (is(*this, code, kCommand)) return "⌘Q, ⌘H and ⌘W belong to every app.";
  }
  for (std::int64_t code : {20, 21, 22, 23}) {
    if (is(*this, code, kShift | kCommand)) return "⇧⌘3–6 are the macOS screenshot keys.";
  }
  if (is(*this, 48, kCommand) || is(*this, 48, kShift | kCommand)) return "⌘⇥ switches apps.";
  if (is(*this, 49, kCommand) || is(*this, 49, kOption | kCommand)) return "⌘Space is Spotlight.";
  if (is(*this, 49, kControl) || is(*this, 49, kControl | kOption)) {
    return "Used by macOS to switch the input source.";
  }
  return std::nullopt;
}

// ⌃⌥ plus a letter (on Linux keyboards Ctrl+Alt): none of them is a reserved key above, and
// ⇧ is added where a desktop already uses the plain pair (Ctrl+Alt+D shows the desktop).
KeyShortcut KeyShortcut::quickCaptureDefault() { return {8, {kControl | kOption}}; }  // ⌃⌥C
KeyShortcut KeyShortcut::focusToggleDefault() { return {3, {kControl | kOption}}; }   // ⌃⌥F
KeyShortcut KeyShortcut::journalNoteDefault() { return {38, {kControl | kOption}}; }  // ⌃⌥J
KeyShortcut KeyShortcut::askAIDefault() { return {0, {kControl | kOption}}; }         // ⌃⌥A
KeyShortcut KeyShortcut::captureJournalDefault() {
  return {38, {kControl | kOption | kShift}};  // ⌃⌥⇧J
}
KeyShortcut KeyShortcut::captureDraftDefault() {
  return {2, {kControl | kOption | kShift}};  // ⌃⌥⇧D
}

void to_json(Json& j, const KeyShortcut& s) {
  j = Json::object();
  json::put(j, "keyCode", s.keyCode);
  json::put(j, "modifiers", s.modifiers.rawValue);
}

void from_json(const Json& j, KeyShortcut& s) {
  json::requireObject(j, "KeyShortcut");
  json::takeInteger(j, "keyCode", s.keyCode);
  json::takeInteger(j, "modifiers", s.modifiers.rawValue);
}

}  // namespace trivo

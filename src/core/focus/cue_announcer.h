// Announces a focus cue the three ways a cue can ask for: its sound, a desktop notification, and
// its words spoken aloud. Each way is optional at run time: no session bus means no notification,
// no speech program means silence, and neither is an error.
#pragma once

#include <optional>
#include <string>

#include "core/config/vault_config.h"
#include "core/focus/tick_player.h"

namespace trivo {

class CueAnnouncer {
 public:
  // `player` may be null (no sound).
  explicit CueAnnouncer(TickPlayer* player) : player_(player) {}

  // Plays the cue's sound (an empty sound plays nothing) and, when the cue asks for them, shows
  // `text` as a notification and speaks it. Sound errors are swallowed: a missing cue sound must
  // not stop a focus session.
  void announce(const Cue& cue, const std::string& text, double volume);

  // Shows a desktop notification; false when no notification service answers.
  static bool notify(const std::string& summary, const std::string& body);
  // Says the text with speech-dispatcher's `spd-say`, else `espeak-ng`, without waiting for it;
  // false when neither is installed.
  static bool speak(const std::string& text);
  // The speech program found on PATH.
  static std::optional<std::string> speechCommand();

 private:
  TickPlayer* player_;
};

}  // namespace trivo

// The service of one vault: it owns the store with its file watcher, the settings, the focus
// timer, the live state, widget commands, sessions shared with other devices and inbox alerts,
// and runs one loop until it is stopped. `trivo app` runs it for good; `trivo focus start`
// runs it in the foreground for a single session when no service is up.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "core/focus/audio_sink.h"
#include "core/focus/live_state.h"
#include "core/focus/timer_model.h"
#include "core/platform/clock.h"
#include "core/platform/device_identity.h"
#include "core/service/inbox_alerts.h"

namespace trivo {

class VaultStore;

class VaultService {
 public:
  struct Options {
    std::filesystem::path root;
    // Service time (the timer, the day, alerts); null: the system clock.
    const Clock* clock = nullptr;
    // Real time, for what other processes judge by their own clocks (the live state's stamp,
    // the age of a command); null: the system clock.
    const Clock* realClock = nullptr;
    // Private folder for this vault's timer snapshot and alert record.
    std::filesystem::path stateFolder;
    // One line per thing worth telling (a damaged file, a refused write); null: nowhere.
    std::ostream* log = nullptr;
    DeviceIdentity device;
    bool alerts = true;
    // Take widget commands from "command.json".
    bool commands = true;
    // Block SIGINT and SIGTERM and stop on them (from the thread that makes the service, before
    // any other thread starts).
    bool handleSignals = true;
    // Run one session: return once the timer is idle again; a signal ends the session early
    // and logs it.
    bool foreground = false;
    // Asked in the foreground when a signal ends a session early, with the session stopped:
    // true logs what was focused, false discards it. Null: always logged.
    std::function<bool(const TimerModel&)> keepEndedEarly;
    // Called after every tick of a session under way (the foreground progress line).
    std::function<void(const TimerModel&)> onTick;
    // How often the live state is restamped when nothing changes, so readers know the service
    // is up; real time.
    std::chrono::milliseconds heartbeat{4000};
    // Opens the sound output when a sound is first needed; null or returning null: silence.
    std::function<std::unique_ptr<AudioSink>()> openSound;
    // Where alerts and cue notifications go; null: the desktop.
    Notifier* notifier = nullptr;
    // The cache folder of the search index, which the service keeps up to date as pages change
    // (so that a search finds nothing left to read); empty: no index is kept.
    std::filesystem::path searchCache;
    // How long the pages must be quiet before the index reads what changed.
    std::chrono::milliseconds searchQuiet{2000};
  };

  // Opens the vault (its settings, store and watcher) and restores the timer from its snapshot.
  // Throws std::runtime_error with one sentence when the vault folder is missing.
  explicit VaultService(Options options);
  ~VaultService();
  VaultService(const VaultService&) = delete;
  VaultService& operator=(const VaultService&) = delete;

  // Runs until a signal (0), or until the vault folder disappears (1), or in the foreground
  // until the session is over (0). On the way out it logs an ended foreground session, saves
  // the timer's snapshot and flushes the store.
  int run();

  // Asks `run()` to stop as a signal would. Thread-safe; may come before `run()`.
  void requestStop();

  // The timer, to set up a foreground session before `run()`. Not thread-safe.
  TimerModel& timer();

  // The vault's store, for a front end in the same process that edits pages while `run()`
  // goes on in another thread (the store is thread-safe). Lives as long as the service.
  VaultStore& store();

  // Obeys one widget order as the loop does (tests and the foreground runner).
  void obey(const LiveState::Order& order);

  // The live state the service would write now (its stamp aside).
  [[nodiscard]] LiveState liveState();

  // File names inside the state folder.
  static constexpr const char* kSnapshotFile = "focus-snapshot.json";
  static constexpr const char* kAlertsFile = "alerts.json";

  // The lock that makes one service the widgets' source ("widgets.lock" in the first place of
  // the live state); nothing when there is no such place.
  static std::optional<std::filesystem::path> widgetFeedFile();

  // The private state folder of a vault: $XDG_STATE_HOME/trivo/vaults/<tag> (default
  // ~/.local/state/trivo/...), where the tag is a digest of the vault's real path.
  static std::filesystem::path stateFolderFor(const std::filesystem::path& root);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace trivo

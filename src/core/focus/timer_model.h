// The focus timer: one session at a time through running, pauses and breaks, a grace window
// after the planned end, continuing a finished session, and logging it into the day's sessions.
// Time comes from the injected clock and moves only through `tick()`: no threads, no sleeping.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/config/vault_config.h"
#include "core/focus/focus_event.h"
#include "core/focus/live_session.h"
#include "core/focus/live_state.h"
#include "core/focus/session_log.h"
#include "core/platform/clock.h"
#include "core/records/reflection.h"
#include "core/util/json_fields.h"

namespace trivo {

// Not thread-safe: every call comes from the thread that owns the model (the app's main loop),
// which also calls `tick()` about once a second. Seconds are wall-clock seconds as doubles.
class TimerModel {
 public:
  enum class Phase { idle, running, paused, finished };

  // What was last handed to the session log.
  struct Logged {
    std::string id;  // a fresh UUID
    Instant start;
    Instant end;
    std::int64_t minutes = 0;
    std::string outcome;
    std::optional<FocusSession::Quality> quality;
    bool operator==(const Logged&) const = default;
  };

  // A session in progress as it is kept across a relaunch. In JSON the optional fields are left
  // out when unset (not written as null), so older snapshots without them still read.
  struct Snapshot {
    std::int64_t minutes = 25;
    std::optional<std::int64_t> planned;
    std::optional<std::int64_t> outcomeSlot;
    std::optional<std::string> subject;
    std::optional<std::string> subjectPage;
    Instant startedAt;
    Instant sessionEnd;
    double focusedSeconds = 0;
    bool paused = false;
    std::optional<Instant> pauseEnd;
    std::int64_t pauseMinutes = 5;
    double remaining = 0;
    std::optional<bool> rest;              // the pause is a break, not a pause within focus
    std::optional<bool> finished;          // the session has ended and waits to be logged
    std::optional<bool> breakBeforeSlice;  // the break opens a slice that starts after it
    std::optional<bool> breakOnly;         // the break has no slice after it
    bool operator==(const Snapshot&) const = default;

    // Replaces the file with the snapshot, private to this user, creating its folder; false on
    // failure.
    bool save(const std::filesystem::path& file) const;
    // The snapshot in the file; nothing when it is missing, unreadable or not a snapshot.
    static std::optional<Snapshot> load(const std::filesystem::path& file);
  };

  struct PauseSpan {
    Instant start;
    std::optional<Instant> end;  // the open pause has none
    bool operator==(const PauseSpan&) const = default;
  };

  static constexpr std::int64_t minMinutes = 1;
  static constexpr std::int64_t maxMinutes = 120;
  static constexpr std::int64_t step = 1;
  static constexpr std::array<std::int64_t, 4> pauseChoices = {3, 5, 10, 15};
  static constexpr std::array<std::int64_t, 3> cueMarks = {60, 30, 15};
  static constexpr double continueWindow = 15.0;
  static constexpr double autoLogDelay = 10.0;
  // The cue `tick()` returns when the grace window after the planned end begins.
  static constexpr std::int64_t softWindowCue = -1;

  // `log` may be null (sessions are then not written anywhere); it and `clock` must outlive the
  // model.
  TimerModel(SessionLog* log, DayDate today, const Clock& clock);
  TimerModel(const TimerModel&) = delete;
  TimerModel& operator=(const TimerModel&) = delete;

  // Copies the vault's focus settings: automatic logging, the warning marks of the cue set (in
  // seconds, largest first; none when cues are off), the grace window, the minute ticks and
  // whether sessions count as pomodoro slices. The ticking sound stays with the sound player.
  void applySettings(const Focus& focus);

  // Called with every event the timer goes through, after its state has changed. Continuing a
  // finished session reports `resume`; the end of an opening break reports `breakEnd`.
  void setEventHandler(std::function<void(FocusEvent)> handler) { onEvent_ = std::move(handler); }
  // Called once after an operation, setter or tick that changed any stored property (the user
  // interface redraws then); not called when nothing changed.
  void setChangeHandler(std::function<void()> handler) { onChange_ = std::move(handler); }

  // Operations. Each acts only in the phases it names and otherwise does nothing.

  // Any phase but running: begins a session of `minutes()`. A finished session that was not
  // logged is dropped.
  void start();
  // As `start()`, begun the given seconds ago (0 to 24 hours).
  void start(double secondsAgo);
  // Any phase but running: a session that opens with a timed break of `breakMinutes` (an open
  // one below 1 minute); the session's own time starts when the break ends.
  void startAfterBreak(std::int64_t breakMinutes);
  // A timed break; with `thenNextSlice` false it returns to idle when it ends.
  void startBreak(std::int64_t breakMinutes, bool thenNextSlice);
  // An open-ended break; the next slice starts on `resume()`. While paused it turns the current
  // pause into an open break without touching the session.
  void holdBreakThenSlice();
  // Running: pauses. Without minutes, or with fewer than 1, the pause runs until resumed;
  // otherwise it ends by itself after the minutes (at most 120). A pause without minutes, or
  // one marked `informal`, counts as informal.
  void pause(std::optional<std::int64_t> minutes = std::nullopt, bool informal = false);
  // Paused: runs on, or returns to idle after a break with no slice after it.
  void resume();
  // Paused on a break: ends it early and starts the slice.
  void startSliceNow();
  // Finished: logs the session, then starts the next one at the planned length.
  void startNextSlice();
  // Running: ends the session now, counting it as run to its planned end.
  void finishNow();
  // Running or paused: ends the session early with the time actually focused; it waits in
  // finished to be logged or discarded.
  void stop();
  // Running or paused: adds (or with a negative value takes away) minutes, keeping the length
  // within 1…120; the end moves by what was actually applied.
  void adjust(std::int64_t minutes);
  // Paused with a set end: lengthens or shortens the pause or break by the minutes, keeping its
  // length within 1…120.
  void adjustBreak(std::int64_t minutes);
  // Finished: runs on for `minutes` (1…120) more, first crediting `creditingSeconds` of the gap
  // since the end as focused (in whole minutes, at most 360); the length is capped at 120.
  void continueFor(std::int64_t minutes, double creditingSeconds = 0);
  // Finished: writes the session (when it holds at least one focused minute) and returns to
  // idle.
  void logFinished();
  // Finished: drops the session and returns to idle.
  void discard();
  // Any phase: back to idle, clearing every field of the run (length, subject and settings
  // stay; the rating goes with the session).
  void reset();
  // Advances the timer to the clock's now. Returns a warning mark (seconds before the end) the
  // first time it is reached, at most one per tick, or `softWindowCue` when the grace window
  // begins; otherwise nothing.
  std::optional<std::int64_t> tick();
  // The minute cue waiting since the last tick, cleared by reading it.
  std::optional<std::int64_t> consumeMinuteCue();
  // The slices already logged today, as counted from the vault.
  void restoreSlices(std::int64_t slices);
  // The session in progress; nothing when idle.
  [[nodiscard]] std::optional<Snapshot> snapshot() const;
  // Rebuilds the session from a snapshot, as of the clock's now. Apply the settings first: a
  // session whose end passed while the app was away finishes by the grace window they give.
  void restore(const Snapshot& snapshot);

  // This device's session as other devices see it, stamped now; nothing when idle.
  [[nodiscard]] std::optional<LiveSession> liveSession(std::string device,
                                                       std::string deviceName) const;
  // Fills the timer's part of the widgets' record: phase (a finished session waiting to be
  // logged shows as idle), subject, start, the end of the run or of a timed break, planned
  // minutes, and the slice under way when sessions count as slices.
  void describe(LiveState& state) const;

  // Settings and choices made in the user interface.
  // Idle only (a session under way changes through `adjust`), clamped to 1…120.
  void setMinutes(std::int64_t minutes);
  // Seconds before the end, in the order they are checked (largest first hands out the earlier
  // warning first when ticks come late).
  void setWarnMarks(std::vector<std::int64_t> marks);
  void setSoftWindow(double seconds);
  void setMinuteTickEvery(std::int64_t minutes);
  void setAutoLogEnabled(bool enabled);
  void setCountsSlices(bool counts);
  void setSubject(std::optional<std::string> subject);
  void setSubjectPage(std::optional<std::string> page);
  // Serves one of the day's outcomes (0-based slot): the session is logged under its text.
  void serveOutcome(std::int64_t slot, std::string text);
  void setQuality(std::optional<FocusSession::Quality> quality);
  // Finished: the user dismissed the automatic log; the session waits for them.
  void dismissAutoLog();
  // Finished: starts the automatic log's countdown again from now.
  void rearmAutoLog();

  // Stored state.
  [[nodiscard]] const std::vector<std::int64_t>& warnMarks() const { return warnMarks_; }
  [[nodiscard]] const DayDate& today() const { return today_; }
  [[nodiscard]] std::int64_t minutes() const { return minutes_; }
  [[nodiscard]] std::optional<std::int64_t> outcomeSlot() const { return outcomeSlot_; }
  [[nodiscard]] const std::optional<std::string>& subject() const { return subject_; }
  [[nodiscard]] std::optional<FocusSession::Quality> quality() const { return quality_; }
  [[nodiscard]] const std::optional<Logged>& lastLogged() const { return lastLogged_; }
  [[nodiscard]] const std::optional<std::string>& subjectPage() const { return subjectPage_; }
  [[nodiscard]] Phase phase() const { return phase_; }
  [[nodiscard]] double remaining() const { return remaining_; }
  [[nodiscard]] double softWindow() const { return softWindow_; }
  [[nodiscard]] double overtime() const { return overtime_; }
  [[nodiscard]] std::optional<Instant> softUntil() const { return softUntil_; }
  [[nodiscard]] double pauseRemaining() const { return pauseRemaining_; }
  [[nodiscard]] std::int64_t pauseMinutes() const { return pauseMinutes_; }
  [[nodiscard]] const std::vector<PauseSpan>& pauseSpans() const { return pauseSpans_; }
  [[nodiscard]] std::optional<Instant> sessionEnd() const { return sessionEnd_; }
  [[nodiscard]] std::optional<Instant> pauseEnd() const { return pauseEnd_; }
  [[nodiscard]] std::optional<Instant> startedAt() const { return startedAt_; }
  [[nodiscard]] double focusedSeconds() const { return focusedSeconds_; }
  [[nodiscard]] std::optional<Instant> segmentStart() const { return segmentStart_; }
  [[nodiscard]] std::optional<Instant> finishedAt() const { return finishedAt_; }
  [[nodiscard]] bool autoLogHidden() const { return autoLogHidden_; }
  [[nodiscard]] std::optional<Instant> autoLogArmedAt() const { return autoLogArmedAt_; }
  [[nodiscard]] bool autoLogEnabled() const { return autoLogEnabled_; }
  [[nodiscard]] bool breakOnly() const { return breakOnly_; }
  [[nodiscard]] std::int64_t slicesToday() const { return slicesToday_; }
  [[nodiscard]] bool countsSlices() const { return countsSlices_; }
  [[nodiscard]] const std::set<std::int64_t>& firedCues() const { return firedCues_; }
  [[nodiscard]] bool informalPause() const { return informalPause_; }
  [[nodiscard]] std::int64_t minuteTickEvery() const { return minuteTickEvery_; }
  [[nodiscard]] const std::set<std::int64_t>& firedMinuteCues() const { return firedMinuteCues_; }
  [[nodiscard]] std::optional<std::int64_t> pendingMinuteCue() const { return pendingMinuteCue_; }
  [[nodiscard]] double autoLogRemaining() const { return autoLogRemaining_; }
  [[nodiscard]] std::optional<Instant> endedAt() const { return endedAt_; }
  [[nodiscard]] double continueRemaining() const { return continueRemaining_; }
  [[nodiscard]] std::int64_t plannedMinutes() const { return plannedMinutes_; }

  // Derived values, as of the clock's now.
  [[nodiscard]] double total() const { return static_cast<double>(minutes_) * 60.0; }
  // Focused seconds so far, the running segment included.
  [[nodiscard]] double elapsed() const;
  // The planned end while running; nothing otherwise.
  [[nodiscard]] std::optional<Instant> endsAt() const;
  // elapsed ÷ total, within 0…1.
  [[nodiscard]] double progress() const;
  [[nodiscard]] bool inSoftWindow() const;
  // True while paused in a break (an opening break or one with no slice after it) rather than
  // a pause within focused time.
  [[nodiscard]] bool onBreak() const;
  // Seconds since the current pause or break began; 0 when not paused.
  [[nodiscard]] double breakElapsed() const;
  // Whole minutes the session would log now: what finished holds, or what has been focused.
  [[nodiscard]] std::int64_t pendingMinutes() const;
  // The focused seconds credited if the running segment runs to the planned end, never more
  // than the planned length; time in the grace window is counted as overtime instead.
  [[nodiscard]] double creditedAtEnd() const;

 private:
  class Publish;
  [[nodiscard]] auto observed() const;
  Instant now() const { return clock_.now(); }
  void begin(Instant at);
  void enterPause(std::optional<std::int64_t> minutes, bool informal);
  void openBreak(std::optional<std::int64_t> minutes, bool breakOnly);
  void finish(Instant at);
  void refreshCountdowns();
  void log();
  void emit(FocusEvent event);

  std::vector<std::int64_t> warnMarks_{60};
  SaveChain saveChain_;
  DayDate today_;
  const Clock& clock_;
  std::function<void(FocusEvent)> onEvent_;
  std::function<void()> onChange_;
  int publishDepth_ = 0;

  std::int64_t minutes_ = 25;
  std::optional<std::int64_t> outcomeSlot_;
  std::optional<std::string> subject_;
  std::optional<FocusSession::Quality> quality_;
  std::optional<Logged> lastLogged_;
  std::optional<std::string> subjectPage_;
  Phase phase_ = Phase::idle;
  double remaining_ = 0;
  double softWindow_ = 0;
  double overtime_ = 0;
  std::optional<Instant> softUntil_;
  double pauseRemaining_ = 0;
  std::int64_t pauseMinutes_ = 5;
  std::vector<PauseSpan> pauseSpans_;
  std::optional<Instant> sessionEnd_;
  std::optional<Instant> pauseEnd_;
  std::optional<Instant> startedAt_;
  double focusedSeconds_ = 0;
  std::optional<Instant> segmentStart_;
  std::optional<Instant> finishedAt_;
  bool autoLogHidden_ = false;
  std::optional<Instant> autoLogArmedAt_;
  bool autoLogEnabled_ = true;
  bool breakOnly_ = false;
  std::int64_t slicesToday_ = 0;
  bool countsSlices_ = false;
  std::set<std::int64_t> firedCues_;
  bool informalPause_ = false;
  std::int64_t minuteTickEvery_ = 0;
  std::set<std::int64_t> firedMinuteCues_;
  std::optional<std::int64_t> pendingMinuteCue_;
  double autoLogRemaining_ = 0;
  std::optional<Instant> endedAt_;
  double continueRemaining_ = 0;
  std::int64_t plannedMinutes_ = 25;
  // The pause is the break a session opened with; its time is not the session's.
  bool openingBreak_ = false;
};

void to_json(Json& j, const TimerModel::Snapshot& s);
void from_json(const Json& j, TimerModel::Snapshot& s);

}  // namespace trivo

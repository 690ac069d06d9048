// When a status-bar line is due without the record changing, and when a record's writer counts
// as gone.
#pragma once

#include <chrono>

#include "core/focus/live_state.h"

namespace trivo::widgets {

struct BarSchedule {
  // The app rewrites the record every few seconds while it runs; a record that claims a session
  // and is older than this has lost its writer. Six missed rewrites, so that a busy machine or a
  // laptop waking up does not make the bar flicker.
  static constexpr std::chrono::seconds staleAfter{30};

  // Whether `state` claims a session (running, paused or on a break) and was written more than
  // `staleAfter` before `now`. An idle record never goes stale: nothing in it ages.
  static bool isStale(const LiveState& state, Instant now);

  // The first moment after `now` at which the line may change though the record does not,
  // whichever comes first: the next whole minute left on the countdown of a running session or
  // break (every second in its last minute, so the bar reads "12:00", "11:00", …, "0:59", …,
  // "0:00"), the moment the record turns stale, and the widget timeline's reload.
  static Instant nextTick(const LiveState& state, Instant now);

  // The moment whose countdown the bar shows at `now`: the last step at or before `now`, so that
  // a wake for another reason (a stale check, an unrelated change) draws the same whole minute
  // rather than an odd "11:37". `now` itself when nothing counts down.
  static Instant shownAt(const LiveState& state, Instant now);
};

}  // namespace trivo::widgets

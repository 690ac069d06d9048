// The status bar's schedule.
#include "core/widgets/bar_schedule.h"

#include <algorithm>

#include "core/widgets/focus_provider.h"

namespace trivo::widgets {
namespace {

using BarPhase = LiveState::Phase;

bool claimsSession(const LiveState& state) { return state.phase != BarPhase::idle; }

bool counts(const LiveState& state) {
  return (state.phase == BarPhase::running || state.phase == BarPhase::onBreak) && state.ends;
}

// A minute while more than a minute is left, then a second.
Instant::duration stepFor(Instant::duration left) {
  if (left > std::chrono::minutes(1)) return std::chrono::minutes(1);
  return std::chrono::seconds(1);
}

}  // namespace

bool BarSchedule::isStale(const LiveState& state, Instant now) {
  return claimsSession(state) && now - state.stamp > staleAfter;
}

Instant BarSchedule::nextTick(const LiveState& state, Instant now) {
  Instant next = FocusProvider::timeline(state, now).reloadAfter;
  if (counts(state) && *state.ends > now) {
    // The countdown is drawn rounded up, so it reads a whole minute (or second) exactly at the
    // moments that lie a whole number of steps before the end.
    const auto left = *state.ends - now;
    const auto step = stepFor(left);
    const auto stepsBefore = (left - Instant::duration(1)) / step;
    next = std::min(next, *state.ends - stepsBefore * step);
  }
  if (claimsSession(state) && !isStale(state, now)) {
    next = std::min(next, state.stamp + staleAfter + Instant::duration(1));
  }
  return std::max(next, now + Instant::duration(1));
}

Instant BarSchedule::shownAt(const LiveState& state, Instant now) {
  if (!counts(state) || *state.ends <= now) return now;
  const auto left = *state.ends - now;
  const auto step = stepFor(left);
  // Whole steps left, rounded up: the countdown is drawn rounded up too.
  const auto steps = (left + step - Instant::duration(1)) / step;
  return *state.ends - steps * step;
}

}  // namespace trivo::widgets

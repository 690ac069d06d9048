// The widgets' timeline.
#include "core/widgets/focus_provider.h"

#include <algorithm>

namespace trivo::widgets {

FocusEntry FocusProvider::placeholder(WidgetSize /*size*/) const {
  const Instant now = clock_.now();
  LiveState sample;
  sample.phase = LiveState::Phase::running;
  sample.subject = "Trivo";
  sample.ends = now + std::chrono::seconds(1500);
  sample.todayMinutes = 75;
  sample.done = 1;
  sample.set = 3;
  return {now, std::move(sample)};
}

FocusEntry FocusProvider::getSnapshot(WidgetSize /*size*/) const {
  return {clock_.now(), LiveState::read()};
}

FocusTimeline FocusProvider::getTimeline(WidgetSize /*size*/) const {
  return timeline(LiveState::read(), clock_.now());
}

FocusTimeline FocusProvider::timeline(LiveState state, Instant now) {
  const Instant refresh = state.ends ? *state.ends : now + idleReload;
  const Instant reload = std::max(now + minimumReload, refresh);
  FocusTimeline result;
  result.entries.push_back({now, std::move(state)});
  result.reloadAfter = reload;
  return result;
}

}  // namespace trivo::widgets

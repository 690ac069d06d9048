// The timeline provider of all nine widgets: one entry holding the live state, and the moment
// after which the widgets ask for a new one.
#pragma once

#include <vector>

#include "core/focus/live_state.h"
#include "core/platform/clock.h"
#include "core/widgets/trivo_widgets.h"

namespace trivo::widgets {

struct FocusEntry {
  Instant date;
  LiveState state;
  bool operator==(const FocusEntry&) const = default;
};

struct FocusTimeline {
  std::vector<FocusEntry> entries;
  // Ask for a new timeline after this moment.
  Instant reloadAfter;
  bool operator==(const FocusTimeline&) const = default;
};

class FocusProvider {
 public:
  // Never more often than this…
  static constexpr std::chrono::seconds minimumReload{60};
  // …and this often when no session runs.
  static constexpr std::chrono::seconds idleReload{900};

  explicit FocusProvider(const Clock& clock) : clock_(clock) {}

  // A fixed sample shown while a widget is being placed: a running session on "Trivo" ending in
  // 25 minutes, 75 minutes today, one of three outcomes done.
  [[nodiscard]] FocusEntry placeholder(WidgetSize size) const;
  // An entry dated now holding the live state as it reads now.
  [[nodiscard]] FocusEntry getSnapshot(WidgetSize size) const;
  // One entry dated now, reloaded after the later of now + 60 s and the end of the running
  // session (now + 900 s when none runs).
  [[nodiscard]] FocusTimeline getTimeline(WidgetSize size) const;

  // The timeline for a given record and moment.
  static FocusTimeline timeline(LiveState state, Instant now);

 private:
  const Clock& clock_;
};

}  // namespace trivo::widgets

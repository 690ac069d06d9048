// The loop behind `trivo-widgets bar`: a line now, and a new one whenever the record or the
// clock changes what the widget shows.
#pragma once

#include <functional>
#include <string>

#include "core/focus/live_state.h"
#include "core/platform/clock.h"
#include "core/widgets/bar_format.h"
#include "core/widgets/trivo_widgets.h"

namespace trivo::widgets {

// What the feed sleeps on between lines.
class LiveSignal {
 public:
  virtual ~LiveSignal() = default;
  // Waits until the record may have changed (true) or until `deadline` on the feed's clock has
  // come (false), whichever is first. May return early; the feed then waits again.
  virtual bool waitUntil(Instant deadline) = 0;
};

class BarFeed {
 public:
  BarFeed(const Clock& clock, WidgetInfo widget, WidgetSize size, BarFormat format)
      : clock_(clock), widget_(std::move(widget)), size_(size), format_(format) {}

  // The line for `state` at `now`, marked stale when its writer has gone quiet.
  [[nodiscard]] std::string line(const LiveState& state, Instant now) const;

  // Gives `emit` the line for the record that `read` returns now, then sleeps on `signal` and
  // gives a new line whenever it differs from the last one: after a change of the record, at
  // each step of a countdown and when the record turns stale. Never wakes for anything else.
  // Returns when `emit` returns false.
  void run(const std::function<LiveState()>& read, LiveSignal& signal,
           const std::function<bool(const std::string&)>& emit) const;

 private:
  const Clock& clock_;
  WidgetInfo widget_;
  WidgetSize size_;
  BarFormat format_;
};

}  // namespace trivo::widgets

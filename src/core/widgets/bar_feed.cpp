// The status-bar loop.
#include "core/widgets/bar_feed.h"

#include <optional>

#include "core/calendar/day_date.h"
#include "core/util/printf.h"
#include "core/widgets/bar_schedule.h"
#include "core/widgets/render.h"

namespace trivo::widgets {

std::string BarFeed::line(const LiveState& state, Instant now) const {
  const ViewContext context{BarSchedule::shownAt(state, now),
                            DayDate::pinnedToday().value_or(DayDate::fromInstant(now, clock_)),
                            size_};
  auto rendering = render(widget_, state, context);
  if (BarSchedule::isStale(state, now)) {
    const auto written = clock_.local(state.stamp);
    markStale(rendering, stringPrintf("%02lld:%02lld", static_cast<long long>(written.hour),
                                      static_cast<long long>(written.minute)));
  }
  return formatBarLine(rendering, format_);
}

void BarFeed::run(const std::function<LiveState()>& read, LiveSignal& signal,
                  const std::function<bool(const std::string&)>& emit) const {
  std::optional<std::string> last;
  for (;;) {
    const LiveState state = read();
    const Instant now = clock_.now();
    std::string text = line(state, now);
    if (text != last) {
      if (!emit(text)) return;
      last = std::move(text);
    }
    const Instant tick = BarSchedule::nextTick(state, now);
    while (clock_.now() < tick) {
      if (signal.waitUntil(tick)) break;
    }
  }
}

}  // namespace trivo::widgets

// When the status bar draws without a new record: countdown steps and stale records.
#include "core/widgets/bar_schedule.h"

#include <gtest/gtest.h>

#include "core/widgets/widget_views.h"

namespace trivo::widgets {
namespace {

using namespace std::chrono_literals;
using Phase = LiveState::Phase;

const Instant kNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

LiveState session(Phase phase, std::optional<Instant> ends, Instant stamp) {
  LiveState s;
  s.phase = phase;
  s.ends = ends;
  s.stamp = stamp;
  return s;
}

TEST(BarSchedule, CountdownStepsOnWholeMinutesThenEverySecondOfTheLastMinute) {
  // 3 min 20.5 s left: the first step lands on "3:00", whatever the fraction.
  const Instant ends = kNoon + 200s + 500ms;
  std::vector<std::string> shown;
  std::vector<Instant::duration> gaps;
  Instant now = kNoon;
  // A writer that never goes quiet: no stale checks in between.
  const auto running = session(Phase::running, ends, ends);
  while (now < ends) {
    const Instant next = BarSchedule::nextTick(running, now);
    // Between steps the bar keeps showing the last step.
    if (!shown.empty()) {
      EXPECT_EQ(sessionClock(running, BarSchedule::shownAt(running, now + (next - now) / 2)),
                shown.back());
    }
    gaps.push_back(next - now);
    now = next;
    shown.push_back(*sessionClock(running, now));
  }
  ASSERT_EQ(shown.size(), 3u + 60u);
  EXPECT_EQ(gaps.front(), 20s + 500ms);
  EXPECT_EQ(std::vector<std::string>(shown.begin(), shown.begin() + 5),
            (std::vector<std::string>{"3:00", "2:00", "1:00", "0:59", "0:58"}));
  EXPECT_EQ(shown.back(), "0:00");
  EXPECT_EQ(gaps[1], 60s);
  EXPECT_EQ(gaps[3], 1s);
  EXPECT_EQ(now, ends);

  // A break counts down too; a pause does not.
  EXPECT_EQ(BarSchedule::nextTick(session(Phase::onBreak, kNoon + 90s, kNoon), kNoon),
            kNoon + 30s);
  EXPECT_EQ(BarSchedule::nextTick(session(Phase::paused, kNoon + 90s, kNoon), kNoon),
            kNoon + BarSchedule::staleAfter + Instant::duration(1));
}

TEST(BarSchedule, ARecordClaimingASessionIsStaleOnceItsWriterIsQuietTooLong) {
  for (const auto phase : {Phase::running, Phase::paused, Phase::onBreak}) {
    EXPECT_FALSE(BarSchedule::isStale(session(phase, kNoon + 1h, kNoon - 30s), kNoon));
    EXPECT_TRUE(BarSchedule::isStale(session(phase, kNoon + 1h, kNoon - 31s), kNoon));
  }
  // Nothing in an idle record ages, however old it is.
  EXPECT_FALSE(BarSchedule::isStale(LiveState{}, kNoon));
  // A stamp from a clock ahead of ours is not a quiet writer.
  EXPECT_FALSE(BarSchedule::isStale(session(Phase::running, kNoon + 1h, kNoon + 1h), kNoon));
}

TEST(BarSchedule, WakesWhenTheRecordTurnsStaleAndOtherwiseRarely) {
  // Twenty minutes left, written 10 s ago: next is the stale moment, not the countdown step.
  const auto running = session(Phase::running, kNoon + 20min, kNoon - 10s);
  EXPECT_EQ(BarSchedule::nextTick(running, kNoon), kNoon + 20s + Instant::duration(1));
  // Once stale it only keeps the countdown.
  const auto quiet = session(Phase::running, kNoon + 20min + 5s, kNoon - 1h);
  EXPECT_EQ(BarSchedule::nextTick(quiet, kNoon), kNoon + 5s);
  // Idle: the widgets' own reload, fifteen minutes away.
  EXPECT_EQ(BarSchedule::nextTick(LiveState{}, kNoon), kNoon + 900s);
  // A session that ran past its end waits for the writer; at most a minute.
  EXPECT_EQ(BarSchedule::nextTick(session(Phase::running, kNoon - 5s, kNoon - 1h), kNoon),
            kNoon + 60s);
}

}  // namespace
}  // namespace trivo::widgets

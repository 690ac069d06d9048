// When the status bar draws without a new record: countdown steps and stale records.
#include "core/widgets/bar_schedule.h"

#include <gtest/gtest.h>

#include "core/widgets/widget_views.h"

namespace trivo::widgets {
namespace {

using namespace std::chrono_literals;
using BarPhase = LiveState::Phase;

const Instant kBarNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

LiveState barSession(BarPhase phase, std::optional<Instant> ends, Instant stamp) {
  LiveState s;
  s.phase = phase;
  s.ends = ends;
  s.stamp = stamp;
  return s;
}

TEST(BarSchedule, CountdownStepsOnWholeMinutesThenEverySecondOfTheLastMinute) {
  // 3 min 20.5 s left: the first step lands on "3:00", whatever the fraction.
  const Instant ends = kBarNoon + 200s + 500ms;
  std::vector<std::string> shown;
  std::vector<Instant::duration> gaps;
  Instant now = kBarNoon;
  // A writer that never goes quiet: no stale checks in between.
  const auto running = barSession(BarPhase::running, ends, ends);
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
  EXPECT_EQ(BarSchedule::nextTick(barSession(BarPhase::onBreak, kBarNoon + 90s, kBarNoon), kBarNoon),
            kBarNoon + 30s);
  EXPECT_EQ(BarSchedule::nextTick(barSession(BarPhase::paused, kBarNoon + 90s, kBarNoon), kBarNoon),
            kBarNoon + BarSchedule::staleAfter + Instant::duration(1));
}

TEST(BarSchedule, ARecordClaimingASessionIsStaleOnceItsWriterIsQuietTooLong) {
  for (const auto phase : {BarPhase::running, BarPhase::paused, BarPhase::onBreak}) {
    EXPECT_FALSE(BarSchedule::isStale(barSession(phase, kBarNoon + 1h, kBarNoon - 30s), kBarNoon));
    EXPECT_TRUE(BarSchedule::isStale(barSession(phase, kBarNoon + 1h, kBarNoon - 31s), kBarNoon));
  }
  // Nothing in an idle record ages, however old it is.
  EXPECT_FALSE(BarSchedule::isStale(LiveState{}, kBarNoon));
  // A stamp from a clock ahead of ours is not a quiet writer.
  EXPECT_FALSE(BarSchedule::isStale(barSession(BarPhase::running, kBarNoon + 1h, kBarNoon + 1h), kBarNoon));
}

TEST(BarSchedule, WakesWhenTheRecordTurnsStaleAndOtherwiseRarely) {
  // Twenty minutes left, written 10 s ago: next is the stale moment, not the countdown step.
  const auto running = barSession(BarPhase::running, kBarNoon + 20min, kBarNoon - 10s);
  EXPECT_EQ(BarSchedule::nextTick(running, kBarNoon), kBarNoon + 20s + Instant::duration(1));
  // Once stale it only keeps the countdown.
  const auto quiet = barSession(BarPhase::running, kBarNoon + 20min + 5s, kBarNoon - 1h);
  EXPECT_EQ(BarSchedule::nextTick(quiet, kBarNoon), kBarNoon + 5s);
  // Idle: the widgets' own reload, fifteen minutes away.
  EXPECT_EQ(BarSchedule::nextTick(LiveState{}, kBarNoon), kBarNoon + 900s);
  // A barSession that ran past its end waits for the writer; at most a minute.
  EXPECT_EQ(BarSchedule::nextTick(barSession(BarPhase::running, kBarNoon - 5s, kBarNoon - 1h), kBarNoon),
            kBarNoon + 60s);
}

}  // namespace
}  // namespace trivo::widgets

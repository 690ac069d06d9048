// The focus timer driven by a fake clock: logging, pauses, breaks, cues, the grace window,
// continuing, the automatic log and snapshots.
#include "core/focus/timer_model.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
using Phase = TimerModel::Phase;

// 2026-09-16 09:00:00 UTC, a Wednesday.
Instant nineOClock() { return *parseIsoInstant("2026-09-16T09:00:00Z"); }

class TimerTest : public ::testing::Test {
 protected:
  TimerTest() : clock(nineOClock()), timer(&log, DayDate{2026, 9, 16}, clock) {}

  // Moves the clock on and ticks once, as a late timer would.
  std::optional<std::int64_t> tickAfter(std::chrono::system_clock::duration d) {
    clock.advance(d);
    return timer.tick();
  }
  // Ticks every second for the given number of seconds; returns every cue given.
  std::vector<std::int64_t> tickEverySecond(int seconds) {
    std::vector<std::int64_t> cues;
    for (int i = 0; i < seconds; ++i) {
      if (auto cue = tickAfter(1s)) cues.push_back(*cue);
    }
    return cues;
  }
  std::vector<FocusSession> logged() const { return log.sessions(DayDate{2026, 9, 16}); }

  testing::FakeClock clock;
  MemorySessionLog log;
  TimerModel timer;
};

TEST_F(TimerTest, SessionUnderAMinuteLeavesNoTraceAndOneOverLogsOneMinute) {
  struct Case {
    std::chrono::seconds run;
    std::size_t sessions;
  };
  for (auto [run, sessions] : {Case{59s, 0}, Case{61s, 1}}) {
    timer.start();
    clock.advance(run);
    timer.stop();
    EXPECT_EQ(timer.phase(), Phase::finished) << run.count();
    timer.logFinished();
    EXPECT_EQ(timer.phase(), Phase::idle) << run.count();
    EXPECT_EQ(logged().size(), sessions) << run.count();
  }
  ASSERT_EQ(logged().size(), 1u);
  EXPECT_EQ(logged()[0].minutes, 1);
  EXPECT_EQ(logged()[0].end, (ClockTime{9, 2}));
  ASSERT_TRUE(timer.lastLogged());
  EXPECT_EQ(timer.lastLogged()->minutes, 1);
}

TEST_F(TimerTest, PauseTimeIsNotCountedAndMovesTheEnd) {
  timer.start();
  tickAfter(5min);
  timer.pause();
  EXPECT_TRUE(timer.informalPause());
  tickAfter(10min);
  EXPECT_EQ(timer.phase(), Phase::paused);  // an informal pause never ends by itself
  timer.resume();
  EXPECT_EQ(*timer.endsAt(), nineOClock() + 35min);
  tickEverySecond(20 * 60 - 1);
  EXPECT_EQ(timer.phase(), Phase::running);
  tickAfter(1s);
  EXPECT_EQ(timer.phase(), Phase::finished);
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 25 * 60);
  EXPECT_EQ(*timer.endedAt(), nineOClock() + 35min);
  ASSERT_EQ(timer.pauseSpans().size(), 1u);
  EXPECT_EQ(timer.pauseSpans()[0].end, nineOClock() + 15min);
  timer.logFinished();
  ASSERT_EQ(logged().size(), 1u);
  EXPECT_EQ(logged()[0].minutes, 25);
  EXPECT_EQ(logged()[0].end, (ClockTime{9, 35}));
}

TEST_F(TimerTest, TimedPauseEndsByItself) {
  timer.start();
  tickAfter(2min);
  timer.pause(3);
  EXPECT_DOUBLE_EQ(timer.pauseRemaining(), 180);
  tickAfter(2min);
  EXPECT_DOUBLE_EQ(timer.pauseRemaining(), 60);
  timer.adjustBreak(2);  // now 5 minutes long, 3 of them left
  tickAfter(2min);
  EXPECT_EQ(timer.phase(), Phase::paused);
  tickAfter(1min);
  EXPECT_EQ(timer.phase(), Phase::running);
  EXPECT_EQ(*timer.endsAt(), nineOClock() + 7min + 23min);
}

TEST_F(TimerTest, WarningCueIsReturnedOnceEvenWhenTicksAreLate) {
  timer.setWarnMarks({60});
  timer.start();
  EXPECT_EQ(tickAfter(23min + 50s), std::nullopt);
  EXPECT_EQ(tickAfter(40s), 60);  // late: only 30 s were left
  EXPECT_TRUE(tickEverySecond(20).empty());

  // Several marks passed by one late tick come out one per tick, largest first.
  timer.reset();
  timer.setWarnMarks({60, 30, 15});
  timer.start();
  EXPECT_EQ(tickAfter(24min + 50s), 60);
  EXPECT_EQ(timer.tick(), 30);
  EXPECT_EQ(timer.tick(), 15);
  EXPECT_EQ(timer.tick(), std::nullopt);
}

TEST_F(TimerTest, LengtheningARunSoundsItsWarningAgain) {
  timer.setWarnMarks({60});
  timer.start();
  EXPECT_EQ(tickAfter(24min + 10s), 60);
  timer.adjust(5);
  EXPECT_EQ(tickAfter(1s), std::nullopt);
  EXPECT_EQ(tickAfter(4min + 40s), std::nullopt);
  EXPECT_EQ(tickAfter(10s), 60);
}

TEST_F(TimerTest, AdjustKeepsTheLengthWithinLimitsAndMovesTheEndByWhatWasApplied) {
  timer.start();
  timer.adjust(200);
  EXPECT_EQ(timer.minutes(), 120);
  EXPECT_EQ(*timer.endsAt(), nineOClock() + 120min);
  timer.adjust(-500);
  EXPECT_EQ(timer.minutes(), 1);
  EXPECT_EQ(*timer.endsAt(), nineOClock() + 1min);
  timer.reset();
  timer.adjust(10);  // idle: nothing happens
  EXPECT_EQ(timer.minutes(), 1);
}

TEST_F(TimerTest, GraceWindowCreditsThePlannedLengthAndCountsTheRestAsOvertime) {
  timer.setSoftWindow(30);
  timer.start();
  EXPECT_EQ(tickAfter(25min), TimerModel::softWindowCue);
  EXPECT_TRUE(timer.inSoftWindow());
  EXPECT_EQ(tickAfter(20s), std::nullopt);
  EXPECT_DOUBLE_EQ(timer.overtime(), 20);
  EXPECT_EQ(timer.phase(), Phase::running);
  tickAfter(10s);
  EXPECT_EQ(timer.phase(), Phase::finished);
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 25 * 60);
  EXPECT_EQ(*timer.endedAt(), nineOClock() + 25min);

  // Stopped inside the window, it never credits more than planned.
  timer.reset();
  timer.start();
  tickAfter(25min);
  clock.advance(20s);
  timer.stop();
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 25 * 60);
}

TEST_F(TimerTest, FinishNowCountsTheSessionAsRunToItsEnd) {
  timer.start();
  clock.advance(10min);
  timer.finishNow();
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 25 * 60);
  EXPECT_EQ(*timer.endedAt(), nineOClock() + 10min);
}

TEST_F(TimerTest, ContinuingLongAfterTheEndCreditsAtMostSixHoursAndCapsTheLength) {
  timer.start();
  tickAfter(25min);
  ASSERT_EQ(timer.phase(), Phase::finished);
  timer.dismissAutoLog();
  clock.advance(7h);
  timer.continueFor(5, 7 * 3600.0);
  EXPECT_EQ(timer.phase(), Phase::running);
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 25 * 60 + 360 * 60);
  EXPECT_EQ(timer.minutes(), 120);
  tickAfter(5min);
  ASSERT_EQ(timer.phase(), Phase::finished);
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 120 * 60);
}

TEST_F(TimerTest, ContinuingCreditsWholeMinutesOfTheGapAndSkipsMarksAlreadyInside) {
  timer.setWarnMarks({600, 60});
  timer.start();
  tickEverySecond(25 * 60);  // both marks fire on the way
  ASSERT_EQ(timer.phase(), Phase::finished);
  clock.advance(150s);
  timer.continueFor(3, 150);  // two whole minutes of the gap
  EXPECT_EQ(timer.minutes(), 30);
  EXPECT_DOUBLE_EQ(timer.focusedSeconds(), 27 * 60);
  // 600 lies outside a 3-minute run and is never sounded; 60 sounds near the new end.
  EXPECT_EQ(tickAfter(1min), std::nullopt);
  EXPECT_EQ(tickAfter(1min + 1s), 60);
  tickAfter(1min);
  ASSERT_EQ(timer.phase(), Phase::finished);
  EXPECT_EQ(timer.pendingMinutes(), 30);
}

TEST_F(TimerTest, FinishedSessionIsLoggedByItselfAfterTenSeconds) {
  timer.start();
  tickAfter(25min);
  ASSERT_EQ(timer.phase(), Phase::finished);
  EXPECT_DOUBLE_EQ(timer.autoLogRemaining(), 10);
  EXPECT_DOUBLE_EQ(timer.continueRemaining(), 15);
  tickAfter(9s);
  EXPECT_EQ(timer.phase(), Phase::finished);
  tickAfter(1s);
  EXPECT_EQ(timer.phase(), Phase::idle);
  ASSERT_EQ(logged().size(), 1u);
  EXPECT_EQ(logged()[0].minutes, 25);
}

TEST_F(TimerTest, DismissedAutoLogWaitsForTheUserUntilRearmed) {
  timer.start();
  tickAfter(25min);
  timer.dismissAutoLog();
  EXPECT_DOUBLE_EQ(timer.autoLogRemaining(), 0);
  tickAfter(1min);
  EXPECT_EQ(timer.phase(), Phase::finished);
  EXPECT_TRUE(logged().empty());
  timer.rearmAutoLog();
  tickAfter(10s);
  EXPECT_EQ(logged().size(), 1u);
}

TEST_F(TimerTest, BreakWithoutAFollowingSliceReturnsToIdle) {
  timer.startBreak(5, /*thenNextSlice=*/false);
  EXPECT_EQ(timer.phase(), Phase::paused);
  EXPECT_TRUE(timer.onBreak());
  tickAfter(5min);
  EXPECT_EQ(timer.phase(), Phase::idle);

  timer.startBreak(5, false);
  clock.advance(1min);
  timer.resume();
  EXPECT_EQ(timer.phase(), Phase::idle);
  EXPECT_TRUE(logged().empty());
}

TEST_F(TimerTest, OpeningBreakIsNotPartOfTheSession) {
  timer.startBreak(5, /*thenNextSlice=*/true);
  EXPECT_DOUBLE_EQ(timer.remaining(), 25 * 60);
  tickAfter(5min);
  EXPECT_EQ(timer.phase(), Phase::running);
  EXPECT_EQ(*timer.startedAt(), nineOClock() + 5min);
  EXPECT_EQ(*timer.endsAt(), nineOClock() + 30min);

  // Holding an open break: nothing ends it but the user, who may start the slice early.
  timer.reset();
  timer.holdBreakThenSlice();
  tickAfter(2h);
  EXPECT_EQ(timer.phase(), Phase::paused);
  EXPECT_DOUBLE_EQ(timer.breakElapsed(), 7200);
  timer.startSliceNow();
  EXPECT_EQ(timer.phase(), Phase::running);
  EXPECT_EQ(*timer.startedAt(), nineOClock() + 5min + 2h);
}

TEST_F(TimerTest, StartNextSliceLogsAndStartsAtThePlannedLength) {
  timer.setCountsSlices(true);
  timer.setMinutes(20);
  timer.start();
  tickAfter(20min);
  timer.continueFor(5);
  tickAfter(5min);
  ASSERT_EQ(timer.phase(), Phase::finished);
  timer.startNextSlice();
  EXPECT_EQ(timer.phase(), Phase::running);
  EXPECT_EQ(timer.minutes(), 20);
  EXPECT_EQ(timer.slicesToday(), 1);
  ASSERT_EQ(logged().size(), 1u);
  EXPECT_EQ(logged()[0].minutes, 25);
  EXPECT_TRUE(logged()[0].pomodoro);
}

TEST_F(TimerTest, MinuteCueWaitsUntilConsumed) {
  timer.setMinuteTickEvery(5);
  timer.start();
  tickEverySecond(5 * 60 + 30);
  EXPECT_EQ(timer.consumeMinuteCue(), 5);
  EXPECT_EQ(timer.consumeMinuteCue(), std::nullopt);
  tickEverySecond(60);
  EXPECT_EQ(timer.consumeMinuteCue(), std::nullopt);
  tickEverySecond(4 * 60);
  EXPECT_EQ(timer.consumeMinuteCue(), 10);
}

TEST_F(TimerTest, EventsFollowTheSession) {
  std::vector<FocusEvent> events;
  timer.setEventHandler([&](FocusEvent e) { events.push_back(e); });
  timer.startBreak(1, true);
  tickAfter(1min);
  timer.pause(1);
  timer.pause(1);  // already paused: nothing
  tickAfter(1min);
  timer.finishNow();
  timer.startNextSlice();
  timer.stop();
  EXPECT_EQ(events,
            (std::vector<FocusEvent>{FocusEvent::breakStart, FocusEvent::breakEnd,
                                     FocusEvent::pause, FocusEvent::resume, FocusEvent::finish,
                                     FocusEvent::sliceNext, FocusEvent::stop}));
  for (FocusEvent e : events) EXPECT_EQ(focusEventFromRawValue(rawValue(e)), e);
}

TEST_F(TimerTest, SettingsBecomeMarksGraceWindowAndAutoLog) {
  Focus focus;
  focus.cueSet.warnMinutes = {1, 5, 0, 1};
  focus.softBreakSeconds = 45;
  focus.minuteTick = 10;
  focus.style = "pomodoro";
  timer.applySettings(focus);
  EXPECT_EQ(timer.warnMarks(), (std::vector<std::int64_t>{300, 60}));
  EXPECT_DOUBLE_EQ(timer.softWindow(), 45);
  EXPECT_EQ(timer.minuteTickEvery(), 10);
  EXPECT_TRUE(timer.countsSlices());

  focus.cues = false;
  focus.softBreak = false;
  focus.autoLog = false;
  timer.applySettings(focus);
  EXPECT_TRUE(timer.warnMarks().empty());
  EXPECT_DOUBLE_EQ(timer.softWindow(), 0);
  timer.start();
  tickAfter(25min);
  tickAfter(1h);
  EXPECT_EQ(timer.phase(), Phase::finished);
}

FocusSession sessionOf(std::int64_t minutes) {
  FocusSession s;
  s.minutes = minutes;
  return s;
}

// A log that writes a second session from inside the first write, and fails once.
class ReentrantLog final : public SessionLog {
 public:
  void append(const DayDate& day, const FocusSession& session) override {
    ++depth;
    maxDepth = std::max(maxDepth, depth);
    if (failNext) {
      failNext = false;
      --depth;
      throw std::runtime_error("disk full");
    }
    if (chain && session.minutes == 1) chain->enqueue(day, sessionOf(2));
    inner.append(day, session);
    --depth;
  }
  std::vector<FocusSession> sessions(const DayDate& day) const override {
    return inner.sessions(day);
  }
  MemorySessionLog inner;
  SaveChain* chain = nullptr;
  int depth = 0;
  int maxDepth = 0;
  bool failNext = false;
};

TEST(SaveChain, WritesOneAtATimeAndAFailureDoesNotStopTheNext) {
  ReentrantLog log;
  SaveChain chain(&log);
  log.chain = &chain;
  DayDate day{2026, 9, 16};
  chain.enqueue(day, sessionOf(1));
  EXPECT_EQ(log.maxDepth, 1);
  ASSERT_EQ(log.sessions(day).size(), 2u);
  EXPECT_EQ(log.sessions(day)[1].minutes, 2);

  log.failNext = true;
  chain.enqueue(day, sessionOf(3));
  chain.enqueue(day, sessionOf(4));
  ASSERT_EQ(log.sessions(day).size(), 3u);
  EXPECT_EQ(log.sessions(day)[2].minutes, 4);
}

TEST_F(TimerTest, RunningSnapshotRestoresWithTheTimeAwayCounted) {
  timer.serveOutcome(1, "Essay");
  timer.start();
  tickAfter(10min);
  auto snap = timer.snapshot();
  ASSERT_TRUE(snap);
  EXPECT_EQ(Json(*snap).get<TimerModel::Snapshot>(), *snap);

  clock.advance(2min);
  TimerModel relaunched(&log, DayDate{2026, 9, 16}, clock);
  relaunched.restore(*snap);
  EXPECT_EQ(relaunched.phase(), Phase::running);
  EXPECT_EQ(relaunched.subject(), "Essay");
  EXPECT_DOUBLE_EQ(relaunched.elapsed(), 12 * 60);
  EXPECT_DOUBLE_EQ(relaunched.remaining(), 13 * 60);
  clock.advance(13min);
  relaunched.tick();
  relaunched.logFinished();
  EXPECT_EQ(logged(), (std::vector<FocusSession>{
                          {{9, 0}, ClockTime{9, 25}, 25, "Essay", {}, {}, std::nullopt, false}}));
}

TEST_F(TimerTest, SessionThatEndedWhileAwayFinishesAtItsEndOnRestore) {
  timer.start();
  clock.advance(20min);
  auto snap = *timer.snapshot();
  for (auto away : {std::chrono::seconds(5min + 10s), std::chrono::seconds(1h)}) {
    clock.set(nineOClock() + 20min + away);
    TimerModel relaunched(&log, DayDate{2026, 9, 16}, clock);
    relaunched.setSoftWindow(30);
    relaunched.restore(snap);
    // No fresh grace window: it opened at the end, while the app was away.
    EXPECT_EQ(relaunched.tick(), std::nullopt) << away.count();
    if (away < 1h) {
      EXPECT_TRUE(relaunched.inSoftWindow());
      EXPECT_DOUBLE_EQ(relaunched.overtime(), 10);
      clock.advance(20s);
      relaunched.tick();
    }
    EXPECT_EQ(relaunched.phase(), Phase::finished) << away.count();
    EXPECT_EQ(relaunched.endedAt(), nineOClock() + 25min) << away.count();
    EXPECT_DOUBLE_EQ(relaunched.focusedSeconds(), 25 * 60) << away.count();
  }
}

TEST_F(TimerTest, ChangesArePublishedOncePerOperationAndOnlyWhenSomethingChanged) {
  int published = 0;
  timer.setChangeHandler([&] { ++published; });
  timer.tick();
  timer.setSubject(std::nullopt);
  EXPECT_EQ(published, 0);
  timer.start();
  EXPECT_EQ(published, 1);
  timer.tick();  // the same instant: nothing moved
  EXPECT_EQ(published, 1);
  tickAfter(1s);
  EXPECT_EQ(published, 2);
  timer.finishNow();
  timer.startNextSlice();  // logs, resets and starts: one change
  EXPECT_EQ(published, 4);
}

TEST_F(TimerTest, PausedBreakAndFinishedSnapshotsRestore) {
  timer.startBreak(5, true);
  clock.advance(1min);
  auto breakSnap = timer.snapshot();
  ASSERT_TRUE(breakSnap);
  TimerModel other(&log, DayDate{2026, 9, 16}, clock);
  other.restore(*breakSnap);
  EXPECT_TRUE(other.onBreak());
  EXPECT_DOUBLE_EQ(other.pauseRemaining(), 4 * 60);
  clock.advance(4min);
  other.tick();
  EXPECT_EQ(other.phase(), Phase::running);
  EXPECT_EQ(*other.startedAt(), nineOClock() + 5min);

  clock.advance(3min);
  other.stop();
  auto doneSnap = other.snapshot();
  ASSERT_TRUE(doneSnap);
  TimerModel third(&log, DayDate{2026, 9, 16}, clock);
  third.restore(*doneSnap);
  EXPECT_EQ(third.phase(), Phase::finished);
  third.logFinished();
  ASSERT_EQ(logged().size(), 1u);
  EXPECT_EQ(logged()[0].minutes, 3);
  EXPECT_EQ(logged()[0].end, (ClockTime{9, 8}));

  EXPECT_EQ(third.snapshot(), std::nullopt);  // idle has nothing to keep
}

TEST_F(TimerTest, LiveRecordsFollowThePhase) {
  LiveState state;
  timer.describe(state);
  EXPECT_EQ(state.phase, LiveState::Phase::idle);
  EXPECT_EQ(timer.liveSession("mac", "Mac"), std::nullopt);

  timer.setCountsSlices(true);
  timer.restoreSlices(2);
  timer.startBreak(5, true);
  clock.advance(1min);
  timer.describe(state);
  EXPECT_EQ(state.phase, LiveState::Phase::onBreak);
  EXPECT_EQ(state.ends, nineOClock() + 5min);
  EXPECT_EQ(state.slice, 3);
  auto onBreak = timer.liveSession("mac", "Mac");
  ASSERT_TRUE(onBreak);
  EXPECT_EQ(onBreak->phase, LiveSession::Phase::onBreak);
  EXPECT_DOUBLE_EQ(onBreak->left(clock.now()), 4 * 60);

  tickAfter(4min);
  clock.advance(10min);
  auto running = timer.liveSession("mac", "Mac");
  ASSERT_TRUE(running);
  EXPECT_EQ(running->phase, LiveSession::Phase::running);
  // Another device reading the record later extrapolates the focused time.
  EXPECT_DOUBLE_EQ(running->focusedSeconds(clock.now() + 5min), 15 * 60);

  timer.pause();
  timer.describe(state);
  EXPECT_EQ(state.phase, LiveState::Phase::paused);
  EXPECT_EQ(state.ends, std::nullopt);
  EXPECT_EQ(timer.liveSession("mac", "Mac")->phase, LiveSession::Phase::paused);
}

TEST(TimerSnapshot, LeavesUnsetKeysOutAndReadsSnapshotsWithoutThem) {
  TimerModel::Snapshot s;
  s.startedAt = nineOClock();
  s.sessionEnd = nineOClock() + 25min;
  EXPECT_EQ(Json(s).dump(),
            R"({"minutes":25,"startedAt":"2026-09-16T09:00:00.000Z",)"
            R"("sessionEnd":"2026-09-16T09:25:00.000Z","focusedSeconds":0.0,"paused":false,)"
            R"("pauseMinutes":5,"remaining":0.0})");
  auto old = Json::parse(R"({"minutes":30,"startedAt":"2026-09-16T09:00:00Z",)"
                         R"("sessionEnd":"2026-09-16T09:30:00Z","focusedSeconds":12.5,)"
                         R"("paused":true,"pauseMinutes":5,"remaining":100})")
                 .get<TimerModel::Snapshot>();
  EXPECT_EQ(old.minutes, 30);
  EXPECT_TRUE(old.paused);
  EXPECT_EQ(old.rest, std::nullopt);
  EXPECT_EQ(old.planned, std::nullopt);
}

TEST(TimerSnapshot, SavesToAFileAndLoadsBackNothingForMissingOrBrokenFiles) {
  testing::TempDir dir;
  TimerModel::Snapshot s;
  s.subject = "Essay";
  s.finished = true;
  auto file = dir.path() / "state" / "focus.json";
  ASSERT_TRUE(s.save(file));
  EXPECT_EQ(TimerModel::Snapshot::load(file), s);
  EXPECT_EQ(TimerModel::Snapshot::load(dir.path() / "missing.json"), std::nullopt);
  for (const char* broken : {"{", "[]", R"({"minutes":"many"})"}) {
    dir.write("state/focus.json", broken);
    EXPECT_EQ(TimerModel::Snapshot::load(file), std::nullopt) << broken;
  }
}

}  // namespace
}  // namespace trivo

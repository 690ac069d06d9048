// Sessions shared between devices: when a record counts as current or quiet, what it shows, and
// the liveSession, ask and ended files in a vault.
#include "core/focus/live_session.h"

#include <gtest/gtest.h>

#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
using SessionPhase = LiveSession::Phase;
using testing::TempDir;

const Instant kSessionNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

LiveSession liveSession(SessionPhase phase, std::string device = "mac-1") {
  LiveSession s;
  s.device = std::move(device);
  s.deviceName = "Desk";
  s.phase = phase;
  s.stamp = kSessionNoon;
  return s;
}

TEST(LiveSessionViews, HeldSessionsStayCurrentForTwelveHoursAfterTheirStamp) {
  for (SessionPhase phase : {SessionPhase::paused, SessionPhase::finished, SessionPhase::onBreak}) {
    const auto s = liveSession(phase);
    EXPECT_TRUE(s.isCurrent(kSessionNoon + 11h)) << static_cast<int>(phase);
    EXPECT_FALSE(s.isCurrent(kSessionNoon + 13h)) << static_cast<int>(phase);
  }
}

TEST(LiveSessionViews, TimedSessionsStayCurrentUntilFiveMinutesPastTheirEnd) {
  for (SessionPhase phase : {SessionPhase::running, SessionPhase::onBreak}) {
    auto s = liveSession(phase);
    s.ends = kSessionNoon;
    EXPECT_TRUE(s.isCurrent(kSessionNoon + 4min)) << static_cast<int>(phase);
    EXPECT_FALSE(s.isCurrent(kSessionNoon + 6min)) << static_cast<int>(phase);
  }
  // A running record without an end cannot be trusted at all.
  EXPECT_FALSE(liveSession(SessionPhase::running).isCurrent(kSessionNoon));
}

TEST(LiveSessionViews, QuietWhenTheOwnerHasNotWrittenForThreeMinutes) {
  EXPECT_FALSE(liveSession(SessionPhase::running).isQuiet(kSessionNoon + 180s));
  EXPECT_TRUE(liveSession(SessionPhase::running).isQuiet(kSessionNoon + 181s));
  EXPECT_TRUE(liveSession(SessionPhase::paused).isQuiet(kSessionNoon + 10min));
  EXPECT_FALSE(liveSession(SessionPhase::onBreak).isQuiet(kSessionNoon + 10min));
  EXPECT_FALSE(liveSession(SessionPhase::finished).isQuiet(kSessionNoon + 10min));
}

TEST(LiveSessionViews, LeftShownAndFocusedFollowThePhase) {
  auto running = liveSession(SessionPhase::running);
  running.minutes = 25;
  running.ends = kSessionNoon + 10min;
  running.focused = 900;
  EXPECT_DOUBLE_EQ(running.left(kSessionNoon + 4min), 360);
  EXPECT_DOUBLE_EQ(running.left(kSessionNoon + 20min), 0);  // never below zero
  EXPECT_DOUBLE_EQ(running.shown(kSessionNoon + 4min), 360);
  EXPECT_DOUBLE_EQ(running.focusedSeconds(kSessionNoon + 4min), 900 + 240);
  EXPECT_DOUBLE_EQ(running.focusedSeconds(kSessionNoon + 30min), 900 + 600);  // not past the end
  EXPECT_EQ(running.meaning(), "Focusing");
  running.subject = "Essay";
  EXPECT_EQ(running.meaning(), "Focusing on Essay");

  auto paused = liveSession(SessionPhase::paused);
  paused.minutes = 25;
  paused.remaining = 300;
  EXPECT_DOUBLE_EQ(paused.left(kSessionNoon + 1h), 300);
  EXPECT_DOUBLE_EQ(paused.focusedSeconds(kSessionNoon + 1h),
                   1200);  // no "focused": planned less left

  auto openBreak = liveSession(SessionPhase::onBreak);
  openBreak.breakStarted = kSessionNoon - 2min;
  EXPECT_TRUE(openBreak.isOpenBreak());
  EXPECT_DOUBLE_EQ(openBreak.shown(kSessionNoon + 1min), 180);  // counts up
  openBreak.ends = kSessionNoon + 5min;
  EXPECT_FALSE(openBreak.isOpenBreak());
  EXPECT_DOUBLE_EQ(openBreak.shown(kSessionNoon + 1min), 240);  // counts down
}

TEST(LiveSessionJson, RoundTripsAndReadsLeniently) {
  auto s = liveSession(SessionPhase::onBreak);
  s.subject = "Essay";
  s.outcomeSlot = 2;
  s.started = kSessionNoon - 25min;
  s.ends = kSessionNoon + 5min;
  s.remaining = 12.5;
  s.minutes = 25;
  s.focused = 1500;
  s.breakOffer = 5;
  s.restEnds = kSessionNoon + 5min;
  s.autoAt = kSessionNoon + 10s;
  s.graceEnds = kSessionNoon + 1min;
  s.breakStarted = kSessionNoon;
  EXPECT_EQ(Json::parse(Json(s).dump()).get<LiveSession>(), s);
  EXPECT_EQ(Json(s)["phase"], "onBreak");

  const auto partial = Json::parse(R"({"device": "d", "phase": "paused"})").get<LiveSession>();
  EXPECT_EQ(partial.phase, SessionPhase::paused);
  EXPECT_EQ(partial.stamp, distantPast());
  EXPECT_THROW((void)Json::parse(R"({"remaining": "lots"})").get<LiveSession>(), RecordError);

  LiveAsk ask{"id-1", LiveAsk::Action::takeBreak, 5, "Essay", 1, "phone", kSessionNoon};
  EXPECT_EQ(Json::parse(Json(ask).dump()).get<LiveAsk>(), ask);
  LiveEnded ended{kSessionNoon - 25min, "phone", kSessionNoon, true};
  EXPECT_EQ(Json::parse(Json(ended).dump()).get<LiveEnded>(), ended);
}

TEST(LiveSessionFiles, DeviceIdentifiersBecomeSafeFileNames) {
  EXPECT_EQ(LiveSession::fileStem("mac-1_A"), "mac-1_A");
  EXPECT_EQ(LiveSession::fileStem("a/b.ask"), "a%2Fb%2Eask");
  EXPECT_EQ(LiveSession::fileStem(".."), "%2E%2E");
}

TEST(LiveSessionFiles, OthersListsCurrentSessionsOfOtherDevicesOnly) {
  TempDir vault;
  auto mine = liveSession(SessionPhase::paused, "mine");
  auto fresh = liveSession(SessionPhase::paused, "b-device");
  auto stale = liveSession(SessionPhase::paused, "c-device");
  stale.stamp = kSessionNoon - 13h;
  auto also = liveSession(SessionPhase::finished, "a/device");
  for (const auto& s : {mine, fresh, stale, also}) LiveSession::publish(s, s.device, vault.path());
  LiveSession::send(LiveAsk{}, "b-device", vault.path());
  mine.markEnded("b-device", vault.path(), std::nullopt, kSessionNoon);
  vault.write(".trivo/live/broken.json", "{");

  const auto others = LiveSession::others(vault.path(), "mine", kSessionNoon);
  ASSERT_EQ(others.size(), 2u);
  EXPECT_EQ(others[0], also);  // "a%2Fdevice.json" sorts first
  EXPECT_EQ(others[1], fresh);

  EXPECT_EQ(LiveSession::own("mine", vault.path(), kSessionNoon), mine);
  EXPECT_EQ(LiveSession::own("c-device", vault.path(), kSessionNoon), std::nullopt);
  LiveSession::publish(std::nullopt, "mine", vault.path());
  EXPECT_EQ(LiveSession::own("mine", vault.path(), kSessionNoon), std::nullopt);
}

TEST(LiveSessionFiles, AnAskIsTakenOnceAndDroppedAfterTenMinutes) {
  TempDir vault;
  LiveAsk ask{"id-1",       LiveAsk::Action::pause, std::nullopt,
              std::nullopt, std::nullopt,           "phone",
              kSessionNoon};
  LiveSession::send(ask, "mac", vault.path());
  EXPECT_EQ(LiveSession::takeAsk("phone", vault.path(), kSessionNoon), std::nullopt);
  EXPECT_EQ(LiveSession::takeAsk("mac", vault.path(), kSessionNoon + 599s), ask);
  EXPECT_EQ(LiveSession::takeAsk("mac", vault.path(), kSessionNoon + 599s), std::nullopt);

  LiveSession::send(ask, "mac", vault.path());
  EXPECT_EQ(LiveSession::takeAsk("mac", vault.path(), kSessionNoon + 601s), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(LiveSession::folder(vault.path()) / "mac.ask.json"));

  vault.write(".trivo/live/mac.ask.json", R"({"id": "x"})");  // no action: broken
  EXPECT_EQ(LiveSession::takeAsk("mac", vault.path(), kSessionNoon), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(LiveSession::folder(vault.path()) / "mac.ask.json"));
}

TEST(LiveSessionFiles, EndedNotesAreReportedOnlyWhenNewerThanAsked) {
  TempDir vault;
  auto s = liveSession(SessionPhase::running, "mac");
  s.started = kSessionNoon - 10min;
  s.markEnded("phone", vault.path(), true, kSessionNoon);
  const auto note = LiveSession::endedElsewhere("mac", vault.path(), kSessionNoon - 1s);
  ASSERT_TRUE(note.has_value());
  EXPECT_EQ(*note, (LiveEnded{kSessionNoon - 10min, "phone", kSessionNoon, true}));
  EXPECT_EQ(LiveSession::endedElsewhere("mac", vault.path(), kSessionNoon), std::nullopt);
  LiveSession::clearEnded("mac", vault.path());
  EXPECT_EQ(LiveSession::endedElsewhere("mac", vault.path(), kSessionNoon - 1h), std::nullopt);
}

TEST(LiveSessionLog, AnotherDevicesSessionIsLoggedInWholeMinutesFromOneMinuteOn) {
  const testing::FakeClock clock(kSessionNoon);
  LiveSession ended;
  ended.phase = LiveSession::Phase::finished;
  ended.subject = "Ship the report";
  ended.started = kSessionNoon - std::chrono::minutes(30);
  MemorySessionLog log;
  ended.focused = 59;
  ended.log(log, kSessionNoon, clock);
  EXPECT_TRUE(log.days().empty());

  ended.focused = 25 * 60 + 59;
  ended.log(log, kSessionNoon, clock);
  const auto logged = log.sessions(DayDate{2026, 9, 16});
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_EQ(logged[0].minutes, 25);
  EXPECT_EQ(logged[0].start, *ClockTime::make(11, 30));
  EXPECT_EQ(logged[0].end, *ClockTime::make(12, 0));
  EXPECT_EQ(logged[0].outcome, "Ship the report");

  LiveSession neverStarted = ended;
  neverStarted.started.reset();
  neverStarted.log(log, kSessionNoon, clock);
  EXPECT_EQ(log.sessions(DayDate{2026, 9, 16}).size(), 1u);
}

}  // namespace
}  // namespace trivo

// The status-bar loop on a fake clock: which lines it prints, when, and how often it wakes.
#include "core/widgets/bar_feed.h"

#include <gtest/gtest.h>

#include "core/util/json_fields.h"
#include "core/widgets/bar_schedule.h"
#include "testing/fake_clock.h"

namespace trivo::widgets {
namespace {

using namespace std::chrono_literals;

const Instant kFeedNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

// Sleeps by moving the fake clock; reports a change of the record at the scripted moments.
class ScriptedSignal final : public LiveSignal {
 public:
  ScriptedSignal(testing::FakeClock& clock, std::vector<Instant> changes)
      : clock_(clock), changes_(std::move(changes)) {}
  bool waitUntil(Instant deadline) override {
    ++waits;
    for (auto it = changes_.begin(); it != changes_.end(); ++it) {
      if (*it > clock_.now() && *it <= deadline) {
        clock_.set(*it);
        changes_.erase(it);
        return true;
      }
    }
    clock_.set(deadline);
    return false;
  }
  int waits = 0;

 private:
  testing::FakeClock& clock_;
  std::vector<Instant> changes_;
};

struct Printed {
  Instant at;
  std::string line;
};

std::vector<Printed> runFeed(testing::FakeClock& clock, BarFormat format, ScriptedSignal& signal,
                             const std::function<LiveState()>& read, Instant until) {
  const BarFeed feed(clock, *TrivoWidgets::widget("TrivoFocus"), WidgetSize::medium, format);
  std::vector<Printed> printed;
  feed.run(read, signal, [&](const std::string& line) {
    printed.push_back({clock.now(), line});
    return clock.now() < until;
  });
  return printed;
}

TEST(BarFeed, CountdownPrintsEachMinuteThenEachSecondAndNothingInBetween) {
  testing::FakeClock clock(kFeedNoon);
  LiveState s;
  s.phase = LiveState::Phase::running;
  s.subject = "Essay";
  s.ends = kFeedNoon + 150s;
  ScriptedSignal signal(clock, {});
  // The app is alive: every read carries a fresh stamp, and nothing else changes.
  const auto printed = runFeed(clock, BarFormat::i3blocks, signal, [&] {
    auto live = s;
    live.stamp = clock.now();
    return live;
  }, kFeedNoon + 150s);

  ASSERT_EQ(printed.size(), 3u + 60u);
  // Minutes are counted up: "3:00" until two minutes are left.
  EXPECT_EQ(printed[0].line, "3:00 Essay");
  EXPECT_EQ(printed[1].at, kFeedNoon + 30s);
  EXPECT_EQ(printed[1].line, "2:00 Essay");
  EXPECT_EQ(printed[2].line, "1:00 Essay");
  EXPECT_EQ(printed[3].at, kFeedNoon + 91s);
  EXPECT_EQ(printed[3].line, "0:59 Essay");
  EXPECT_EQ(printed.back().line, "0:00 Essay");
  // About one sleep per line (and one stale check that found the writer alive): never polling.
  EXPECT_LE(signal.waits, static_cast<int>(printed.size()) + 1);
}

TEST(BarFeed, AQuietWriterTurnsTheLineStaleAndANewRecordClearsIt) {
  testing::FakeClock clock(kFeedNoon);
  LiveState paused;
  paused.phase = LiveState::Phase::paused;
  paused.subject = "Essay";
  paused.stamp = kFeedNoon;
  // The writer comes back after five minutes.
  ScriptedSignal signal(clock, {kFeedNoon + 5min});
  const auto printed = runFeed(clock, BarFormat::waybar, signal, [&] {
    auto live = paused;
    if (clock.now() >= kFeedNoon + 5min) live.stamp = clock.now();
    return live;
  }, kFeedNoon + 5min);

  ASSERT_EQ(printed.size(), 3u);
  EXPECT_EQ(Json::parse(printed[0].line)["class"], "paused");
  EXPECT_EQ(printed[1].at, kFeedNoon + BarSchedule::staleAfter + Instant::duration(1));
  const Json stale = Json::parse(printed[1].line);
  EXPECT_EQ(stale["class"], "stale");
  EXPECT_EQ(stale["text"], "Paused Essay (stale)");
  EXPECT_EQ(stale["tooltip"].get<std::string>().rfind("Trivo has not updated this since 12:00;", 0),
            0u);
  EXPECT_EQ(printed[2].at, kFeedNoon + 5min);
  EXPECT_EQ(Json::parse(printed[2].line)["class"], "paused");
  // Stale and idle lines need no clock: two sleeps for three lines.
  EXPECT_EQ(signal.waits, 2);
}

}  // namespace
}  // namespace trivo::widgets

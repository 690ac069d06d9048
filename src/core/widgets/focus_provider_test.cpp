// The widget bundle's table and the timeline's reload moments.
#include "core/widgets/focus_provider.h"

#include <gtest/gtest.h>

#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo::widgets {
namespace {

using namespace std::chrono_literals;

const Instant kProviderNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

TEST(TrivoWidgetsBundle, NineWidgetsInOrderWithStableKindsFoundByExactName) {
  std::vector<std::string> kinds;
  for (const auto& w : TrivoWidgets::widgets()) kinds.push_back(w.kind);
  EXPECT_EQ(kinds, (std::vector<std::string>{"TrivoFocus", "TrivoKeys", "TrivoAgenda",
                                             "TrivoDrafts", "TrivoWeek", "TrivoDay",
                                             "TrivoWeekOutcomes", "TrivoMonth", "TrivoYear"}));
  EXPECT_EQ(TrivoWidgets::widget("TrivoWeek")->cardKey, std::nullopt);
  EXPECT_EQ(TrivoWidgets::widget("TrivoWeekOutcomes")->cardKey, "week");
  EXPECT_EQ(TrivoWidgets::widget("TrivoWeekOutcomes")->name.text(), "Weekly Outcomes");
  EXPECT_EQ(TrivoWidgets::widget("trivofocus"), std::nullopt);
}

TEST(FocusTimeline, ReloadsAtTheLaterOfAMinuteAndTheSessionEnd) {
  LiveState state;
  state.phase = LiveState::Phase::running;
  const struct {
    std::optional<std::chrono::seconds> endsIn;
    std::chrono::seconds reloadIn;
  } cases[] = {
      {30s, 60s},            // never more often than once a minute
      {600s, 600s},          // at the end of the session
      {-120s, 60s},          // an end already past
      {std::nullopt, 900s},  // nothing runs: every fifteen minutes
  };
  for (const auto& c : cases) {
    state.ends = c.endsIn ? std::optional<Instant>(kProviderNoon + *c.endsIn) : std::nullopt;
    const auto timeline = FocusProvider::timeline(state, kProviderNoon);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0], (FocusEntry{kProviderNoon, state}));
    EXPECT_EQ(timeline.reloadAfter, kProviderNoon + c.reloadIn)
        << (c.endsIn ? c.endsIn->count() : -1);
  }
}

TEST(FocusTimeline, PlaceholderIsAFixedRunningSampleAndSnapshotsReadTheLiveState) {
  testing::FakeClock clock(kProviderNoon);
  const FocusProvider provider(clock);
  const auto sample = provider.placeholder(WidgetSize::small);
  LiveState expected;
  expected.phase = LiveState::Phase::running;
  expected.subject = "Trivo";
  expected.ends = kProviderNoon + 1500s;
  expected.todayMinutes = 75;
  expected.done = 1;
  expected.set = 3;
  EXPECT_EQ(sample, (FocusEntry{kProviderNoon, expected}));

  testing::TempDir group;
  testing::TempDir state;
  testing::ScopedEnv groupEnv("TRIVO_GROUP_DIR", group.path().c_str());
  testing::ScopedEnv stateEnv("XDG_STATE_HOME", state.path().c_str());
  EXPECT_EQ(provider.getSnapshot(WidgetSize::small), (FocusEntry{kProviderNoon, LiveState{}}));
  LiveState::write(expected);
  EXPECT_EQ(provider.getSnapshot(WidgetSize::small), (FocusEntry{kProviderNoon, expected}));
  EXPECT_EQ(provider.getTimeline(WidgetSize::large).reloadAfter, kProviderNoon + 1500s);
}

}  // namespace
}  // namespace trivo::widgets

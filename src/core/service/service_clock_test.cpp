#include "core/service/service_clock.h"

#include <gtest/gtest.h>

#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

Instant clockAt(const char* text) { return *parseIsoInstant(text); }

TEST(ScaledClock, ReadsTheTestSetting) {
  struct Case {
    const char* text;
    ScaledClock::Setting setting;
  };
  const Case accepted[] = {
      {"", {}},
      {",,", {}},
      {",60", {std::nullopt, 60, std::nullopt}},
      {"2026-09-16T17:29:00Z", {clockAt("2026-09-16T17:29:00Z"), 1, std::nullopt}},
      {"2026-09-16T17:29:00Z,0.5,2026-01-01T00:00:00Z",
       {clockAt("2026-09-16T17:29:00Z"), 0.5, clockAt("2026-01-01T00:00:00Z")}},
  };
  for (const auto& c : accepted) EXPECT_EQ(ScaledClock::parse(c.text), c.setting) << c.text;
  for (const char* text : {",0", ",-2", ",fast", ",60x", "yesterday", ",1,later", ",1,,", "a,b,c,d"}) {
    EXPECT_EQ(ScaledClock::parse(text), std::nullopt) << text;
  }
}

TEST(ScaledClock, RunsFromItsStartAtItsScaleAndAgreesAcrossProcessesWithOneAnchor) {
  testing::FakeClock real(clockAt("2026-01-01T10:00:00Z"));
  const ScaledClock::Setting setting{clockAt("2026-09-16T09:00:00Z"), 60, clockAt("2026-01-01T10:00:00Z")};
  ScaledClock first(setting, real);
  real.advance(2s);
  EXPECT_EQ(first.now(), clockAt("2026-09-16T09:02:00Z"));
  // A clock made later (a restarted service) with the same anchor reads the same time.
  ScaledClock second(setting, real);
  EXPECT_EQ(second.now(), first.now());
}

TEST(InstantOfLocal, FindsTheInstantOfALocalTimeInTheClocksZone) {
  testing::FakeClock plusTwo(Instant{}, 2h);
  EXPECT_EQ(instantOfLocal(plusTwo, 2026, 9, 16, 17, 30), clockAt("2026-09-16T15:30:00Z"));
  testing::FakeClock minusFive(Instant{}, -5h);
  // Past midnight in UTC, and across a year's end.
  EXPECT_EQ(instantOfLocal(minusFive, 2026, 12, 31, 22, 0), clockAt("2027-01-01T03:00:00Z"));
}

}  // namespace
}  // namespace trivo

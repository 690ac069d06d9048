// Finished sessions land in the day page beside what the person wrote there.
#include "core/focus/day_page_session_log.h"

#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(DayPageSessionLog, SessionsAreAddedToTheDayPageAndKeepItsText) {
  testing::TempDir dir;
  const Vault vault{dir.path(), VaultFormat::markdown, "en", {}};
  dir.write(
      "days/2026-09-16.md",
      "---\ndate: 2026-09-16\n---\n# Wednesday\n\n## Notes\nBought bread.\n\n## Errands\n- post\n");
  testing::FakeClock clock(Instant{} + std::chrono::hours(1000));
  VaultStore::Options options;
  options.debounce = std::chrono::hours(1);
  options.clock = &clock;
  options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
  const DayDate day{2026, 9, 16};
  FocusSession first;
  first.start = *ClockTime::make(9, 30);
  first.end = *ClockTime::make(9, 55);
  first.minutes = 25;
  first.outcome = "Ship the report";
  FocusSession second = first;
  second.start = *ClockTime::make(10, 0);
  second.end = *ClockTime::make(10, 25);
  {
    VaultStore store(vault, options);
    DayPageSessionLog log(store);
    log.append(day, first);
    log.append(day, second);
    EXPECT_EQ(log.sessions(day), (std::vector<FocusSession>{first, second}));
    store.flush();
  }
  const std::string page = dir.read("days/2026-09-16.md");
  EXPECT_NE(page.find("Bought bread."), std::string::npos) << page;
  EXPECT_NE(page.find("## Errands\n- post"), std::string::npos) << page;
  EXPECT_NE(page.find("## Sessions"), std::string::npos) << page;

  VaultStore reopened(vault, options);
  EXPECT_EQ(DayPageSessionLog(reopened).sessions(day), (std::vector<FocusSession>{first, second}));
  EXPECT_TRUE(DayPageSessionLog(reopened).sessions(DayDate{2026, 9, 17}).empty());
}

}  // namespace
}  // namespace trivo

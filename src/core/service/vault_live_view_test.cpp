#include "core/service/vault_live_view.h"

#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

InboxItem item(std::string text, std::optional<DayDate> due, std::optional<ClockTime> time,
               bool done = false) {
  InboxItem i = InboxItem::make(std::move(text));
  i.due = due;
  i.time = time;
  i.done = done;
  return i;
}

TEST(AgendaLines, TodayByTimeThenEarlierOpenItemsAsLate) {
  const DayDate today{2026, 9, 16};
  Inbox inbox;
  inbox.items = {
      item("Untimed today", today, std::nullopt),
      item("Tomorrow", today.adding(1), ClockTime{9, 0}),
      item("Evening call", today, ClockTime{18, 0}),
      item("Standup", today, ClockTime{9, 30}, true),
      item("Overdue", today.adding(-2), ClockTime{8, 0}),
      item("Done last week", today.adding(-7), std::nullopt, true),
      item("No due day", std::nullopt, std::nullopt),
      item("Missed lunch", today, ClockTime{12, 0}),
  };
  const auto lines = agendaLines(inbox, today, ClockTime{14, 0});
  std::vector<std::string> texts;
  for (const auto& l : lines) texts.push_back(l.text);
  EXPECT_EQ(texts, (std::vector<std::string>{"Standup", "Missed lunch", "Evening call",
                                             "Untimed today", "Overdue"}));
  EXPECT_EQ(lines[0], (LiveState::AgendaLine{"Standup", "", "09:30", true, false, false}));
  EXPECT_TRUE(lines[1].late);   // its time has passed
  EXPECT_FALSE(lines[2].late);  // still ahead
  EXPECT_FALSE(lines[3].late);  // no time: due all day
  EXPECT_EQ(lines[4], (LiveState::AgendaLine{"Overdue", "2026-09-14", "08:00", false, true, false}));
}

TEST(VaultLiveView, CountsTodaysOutcomesAndBuildsCardsAndTheWeekStripFromThePages) {
  testing::TempDir dir;
  dir.write("days/2026-09-16.md",
            "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday, 16 September 2026\n\n"
            "## Outcomes\n- [x] Ship\n- [ ] Write\n- [ ]\n\n"
            "## Sessions\n- 09:00–09:25 · 25m · Write\n- 10:00–10:10 · 10m · Write\n");
  dir.write("days/2026-09-14.md",
            "---\ndate: 2026-09-14\ntype: day\n---\n# Monday, 14 September 2026\n\n"
            "## Sessions\n- 09:00–09:45 · 45m · Read\n");
  dir.write("weeks/2026-W38.md",
            "---\nweek: 2026-W38\ntype: week\n---\n# Week 38\n\n## Outcomes\n- [ ] Launch\n");
  const Vault vault{dir.path(), VaultFormat::markdown, "en", std::nullopt};
  VaultStore::Options options;
  options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
  VaultStore store(vault, options);

  const auto view = VaultLiveView::read(store, DayDate{2026, 9, 16}, ClockTime{11, 0});
  EXPECT_EQ(view.set, 2);
  EXPECT_EQ(view.done, 1);
  EXPECT_EQ(view.todayMinutes, 35);
  ASSERT_EQ(view.week.size(), 7u);
  EXPECT_EQ(view.week[6], (LiveState::Day{"Wed", 16, 35, 2, true}));
  EXPECT_EQ(view.week[4], (LiveState::Day{"Mon", 14, 45, 1, false}));
  EXPECT_EQ(view.week[0].label, "Thu");
  ASSERT_EQ(view.cards.size(), 4u);
  EXPECT_EQ(view.cards[0].key, "day");
  EXPECT_EQ(view.cards[0].subtitle, "16 September");
  EXPECT_EQ(view.cards[1],
            (LiveState::Card{"week", "Week 38", "2026-W38", {{"Launch", "planned"}}}));
  EXPECT_EQ(view.cards[3].key, "year");
  EXPECT_TRUE(view.cards[3].outcomes.empty());
}

}  // namespace
}  // namespace trivo

// What each widget shows for a few hand-made live states, the default one included.
#include "core/widgets/widget_views.h"

#include <gtest/gtest.h>

#include "core/links/deep_link.h"
#include "core/widgets/words.h"

namespace trivo::widgets {
namespace {

using namespace std::chrono_literals;
using ViewPhase = LiveState::Phase;

const Instant kViewNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z
const DayDate kViewToday{2026, 9, 16};

ViewContext context(WidgetSize size = WidgetSize::medium) { return {kViewNoon, kViewToday, size}; }

LiveState running() {
  LiveState s;
  s.phase = ViewPhase::running;
  s.subject = "Essay";
  s.ends = kViewNoon + 754s;
  s.todayMinutes = 75;
  s.done = 1;
  s.set = 3;
  s.cards = {{"day", "Wednesday", "16 September", {{"Write", "done"}, {"Call", "planned"}}},
             {"week", "Week 38", "", {{"Ship", "blocked"}, {"Rest", "planned"}, {"Read", "done"}}}};
  return s;
}

TEST(Words, MinutesAndClockTexts) {
  EXPECT_EQ(Words::minutes(0), "0 min");
  EXPECT_EQ(Words::minutes(-5), "0 min");
  EXPECT_EQ(Words::minutes(45), "45 min");
  EXPECT_EQ(Words::minutes(60), "1 h");
  EXPECT_EQ(Words::minutes(75), "1 h 15 min");
  EXPECT_EQ(Words::clock(1500), "25:00");
  EXPECT_EQ(Words::clock(59.2), "1:00");  // a countdown rounds up
  EXPECT_EQ(Words::clock(0.0), "0:00");
  EXPECT_EQ(Words::clock(-3), "0:00");
  EXPECT_EQ(Words::clock(7200), "120:00");
}

TEST(FocusWidgetView, TheDefaultRecordShowsAnIdleTimerWithAStartButton) {
  const auto view = focusView(LiveState{}, context());
  EXPECT_EQ(view.title, "Trivo");
  EXPECT_EQ(view.clock, std::nullopt);
  EXPECT_EQ(view.label, std::nullopt);
  EXPECT_EQ(view.todayLine, "0 of 0");
  EXPECT_EQ(view.link, "trivo://open?page=focus");
  ASSERT_EQ(view.buttons.size(), 1u);
  EXPECT_EQ(view.buttons[0].link, "trivo://widget/start");
  EXPECT_TRUE(focusView(LiveState{}, context(WidgetSize::small)).buttons.empty());
}

TEST(FocusWidgetView, ARunningSessionCountsDownWithHoldAndStop) {
  const auto view = focusView(running(), context(WidgetSize::large));
  EXPECT_EQ(view.title, "Essay");
  EXPECT_EQ(view.clock, "12:34");
  EXPECT_EQ(view.todayLine, "1 of 3");
  EXPECT_EQ(view.minutesLine, "1 h 15 min");
  EXPECT_EQ(view.outcomes, running().cards[0].outcomes);
  std::vector<std::string> links;
  for (const auto& b : view.buttons) links.push_back(b.link);
  EXPECT_EQ(links, (std::vector<std::string>{"trivo://widget/hold", "trivo://widget/stop"}));
  EXPECT_TRUE(focusView(running(), context(WidgetSize::medium)).outcomes.empty());
  EXPECT_EQ(view.sliceLine, std::nullopt);
}

TEST(FocusWidgetView, PausesAndBreaksAreLabelledAndPomodorosShowTheirSlice) {
  LiveState s = running();
  s.phase = ViewPhase::paused;
  s.ends.reset();
  auto view = focusView(s, context());
  EXPECT_EQ(view.label, (LocalizedText{"ui.widget.paused", "Paused"}));
  EXPECT_EQ(view.symbol, "metronome");
  EXPECT_EQ(view.clock, std::nullopt);
  EXPECT_EQ(view.buttons.front().link, "trivo://widget/start");

  s.phase = ViewPhase::onBreak;
  s.ends = kViewNoon + 300s;
  s.pomodoro = true;
  s.slice = 2;
  s.slices = 4;
  s.breakMinutes = 5;
  view = focusView(s, context());
  EXPECT_EQ(view.label, (LocalizedText{"ui.widget.break", "Break"}));
  EXPECT_EQ(view.clock, "5:00");
  EXPECT_EQ(view.sliceLine, "Slice 2 of 4");
  EXPECT_EQ(view.breakLine, "then 5 min break");
  s.breakMinutes = 0;
  EXPECT_EQ(focusView(s, context()).breakLine, std::nullopt);
}

TEST(KeysWidgetView, ThreeTilesAndAClockOnFocusWhileASessionRuns) {
  const auto idle = keysView(LiveState{}, context());
  ASSERT_EQ(idle.tiles.size(), 3u);
  EXPECT_EQ(idle.tiles[0],
            (KeyTile{{"title.inbox", "Inbox"}, "tray", "trivo://widget/capture", std::nullopt}));
  EXPECT_EQ(idle.tiles[1], (KeyTile{{"ui.common.journal", "Journal"},
                                    "book.closed",
                                    "trivo://widget/journal",
                                    std::nullopt}));
  EXPECT_EQ(
      idle.tiles[2],
      (KeyTile{{"ui.common.focus", "Focus"}, "metronome", "trivo://widget/focus", std::nullopt}));
  EXPECT_EQ(keysView(running(), context()).tiles[2].clock, "12:34");
}

TEST(AgendaWidgetView, TodayFirstAsManyAsFitAndAnEmptyTextWhenTodayHasNone) {
  LiveState s;
  s.agenda = {{"Dentist", "Thu", "14:00", false, true, false},
              {"Standup", "", "09:30", true, false, false},
              {"Review", "Today", "15:00", false, false, true},
              {"Trip", "Fri", "", false, false, false},
              {"Call", "Sat", "10:00", false, false, false}};
  auto view = agendaView(s, context(WidgetSize::small));
  ASSERT_EQ(view.rows.size(), 3u);
  EXPECT_EQ(view.rows[0].text, "Standup");
  EXPECT_EQ(view.rows[0].symbol, "checkmark.square.fill");
  EXPECT_EQ(view.rows[1].text, "Review");
  EXPECT_TRUE(view.rows[1].predicted);
  EXPECT_EQ(view.rows[2].text, "Dentist");
  EXPECT_TRUE(view.rows[2].late);
  EXPECT_EQ(view.emptyText, std::nullopt);
  EXPECT_EQ(agendaView(s, context(WidgetSize::large)).rows.size(), 5u);

  s.agenda.erase(s.agenda.begin() + 1, s.agenda.begin() + 3);
  view = agendaView(s, context(WidgetSize::small));
  EXPECT_EQ(view.emptyText, (LocalizedText{"ui.agendas.day_empty", "Nothing on this day."}));
  ASSERT_EQ(view.rows.size(), 2u);
  EXPECT_EQ(view.rows[0].text, "Dentist");
  EXPECT_TRUE(agendaView(LiveState{}, context()).rows.empty());
}

TEST(DraftsWidgetView, EachDraftOpensByItsTitleAndNoneShowsTheHint) {
  LiveState s;
  s.drafts = {{"Idea & more", "first"}, {"B", ""}, {"C", ""}};
  const auto view = draftsView(s, context(WidgetSize::small));
  ASSERT_EQ(view.rows.size(), 2u);
  EXPECT_EQ(view.rows[0].link, "trivo://open?page=drafts&name=Idea%20%26%20more");
  EXPECT_EQ(view.rows[0].preview, "first");
  EXPECT_EQ(view.emptyText, std::nullopt);
  const auto none = draftsView(LiveState{}, context());
  EXPECT_EQ(none.emptyText,
            (LocalizedText{"ui.widget.drafts_empty", "Pin a draft and it waits here."}));
  EXPECT_EQ(none.link, "trivo://open?page=drafts");
}

TEST(WeekWidgetView, SevenDaysInOrderWithMinutesAndTodayMarked) {
  LiveState s;
  for (int i = 0; i < 7; ++i) {
    s.week.push_back({"D" + std::to_string(i), 10 + i, i * 10, i, i == 6});
  }
  const auto view = weekView(s, context());
  ASSERT_EQ(view.days.size(), 7u);
  EXPECT_EQ(view.days[0], (WeekColumn{"D0", "10", "0 min", false}));
  EXPECT_EQ(view.days[6], (WeekColumn{"D6", "16", "60 min", true}));
  EXPECT_EQ(view.total, "3 h 30 min");
  EXPECT_TRUE(weekView(LiveState{}, context()).days.empty());
}

TEST(OutcomesWidgetView, ShowsItsCardInOrderAndOpensThePeriodPage) {
  const auto week = outcomesView(running(), "week", context());
  EXPECT_EQ(week.title, "Week 38");
  ASSERT_EQ(week.rows.size(), 3u);
  EXPECT_EQ(week.rows[0], (OutcomeRow{"Ship", "blocked", "xmark.circle"}));
  EXPECT_EQ(week.rows[1].symbol, "circle");
  EXPECT_EQ(week.rows[2].symbol, "checkmark.circle.fill");
  EXPECT_EQ(week.emptyText, std::nullopt);
  EXPECT_EQ(week.link, "trivo://open?page=week:2026-W38");
  EXPECT_EQ(outcomesView(running(), "day", context()).subtitle, "16 September");

  // Without a card: the scope's own title, an empty text, and today's page of that scope.
  const auto month = outcomesView(LiveState{}, "month", context());
  EXPECT_EQ(month.title, "Monthly Outcomes");
  EXPECT_TRUE(month.emptyText.has_value());
  EXPECT_EQ(month.link, "trivo://open?page=month:2026-09");
  EXPECT_EQ(outcomesView(LiveState{}, "year", context()).link, "trivo://open?page=year:2026");
}

TEST(WidgetLinks, EveryLinkAWidgetShowsIsOneTheAppReads) {
  LiveState s = running();
  s.drafts = {{"Plan / ideas?", ""}};
  const auto ctx = context(WidgetSize::large);
  std::vector<std::string> links;
  const auto focus = focusView(s, ctx);
  links.push_back(focus.link);
  for (const auto& b : focus.buttons) links.push_back(b.link);
  for (const auto& b : focusView(LiveState{}, ctx).buttons) links.push_back(b.link);
  for (const auto& t : keysView(s, ctx).tiles) links.push_back(t.link);
  links.push_back(agendaView(s, ctx).link);
  const auto drafts = draftsView(s, ctx);
  links.push_back(drafts.link);
  links.push_back(drafts.rows.at(0).link);
  links.push_back(weekView(s, ctx).link);
  for (const char* key : {"day", "week", "month", "year"}) {
    links.push_back(outcomesView(s, key, ctx).link);
  }
  for (const auto& link : links) {
    EXPECT_TRUE(DeepLink::parse(link).has_value()) << link;
  }
  const auto draft = DeepLink::parse(drafts.rows.at(0).link);
  ASSERT_TRUE(draft.has_value());
  EXPECT_EQ(draft->payload, DeepLink::Payload(DeepLink::OpenDraft{"Plan / ideas?"}));
}

}  // namespace
}  // namespace trivo::widgets

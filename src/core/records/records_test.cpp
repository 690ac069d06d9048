// Outcome sets, reflections, step trees, done stamps, outline lines and journal tasks.
#include <gtest/gtest.h>

#include "core/records/carry_item.h"
#include "core/records/done_stamp.h"
#include "core/records/journal_entry.h"
#include "core/records/note_line.h"
#include "core/records/period_entries.h"
#include "testing/fake_clock.h"

namespace trivo {
namespace {

TEST(OutcomeSet, NormalisesToThreeNumberedOutcomes) {
  const OutcomeSet empty(Scope::week);
  ASSERT_EQ(empty.outcomes.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(empty.outcomes[i].order, static_cast<std::int64_t>(i + 1));
    EXPECT_EQ(empty.outcomes[i].state, OutcomeState::planned);
    EXPECT_TRUE(empty.outcomes[i].isBlank());
  }
  std::vector<Outcome> five;
  for (const char* text : {"a", "b", "c", "d", "e"}) five.push_back(Outcome::make(text));
  five[0].order = 9;
  const OutcomeSet kept(Scope::day, five);
  ASSERT_EQ(kept.outcomes.size(), 3u);
  EXPECT_EQ(kept.outcomes[2].text, "c");
  EXPECT_EQ(kept.outcomes[0].order, 1);
  EXPECT_EQ(kept.outcomes[2].order, 3);
}

TEST(OutcomeSet, BlankMeansOnlyWhitespaceAndNewlines) {
  OutcomeSet set(Scope::day, {Outcome::make("  "), Outcome::make("\n\t"), Outcome::make("")});
  EXPECT_TRUE(set.isBlank());
  set.outcomes[1].text = " x ";
  EXPECT_FALSE(set.isBlank());
}

TEST(Reflection, BlankAnswersRemoveAndTextIsKeptAsTyped) {
  Reflection r;
  EXPECT_TRUE(r.isEmpty());
  r.set("well", "  Shipped it \n");
  EXPECT_EQ(r["well"], "  Shipped it \n");
  r.set("well", " \n ");
  EXPECT_EQ(r["well"], std::nullopt);
  EXPECT_TRUE(r.isEmpty());
  r.ratings["how_did_i_do"] = 4;
  EXPECT_FALSE(r.isEmpty());
}

TEST(RecordJson, EveryFieldTravelsAndMissingKeysTakeDefaults) {
  WeekEntry week;
  week.week = {2026, 38};
  week.targetFriday = {2026, 9, 18};
  week.outcomes = OutcomeSet(Scope::week, {Outcome::make("Ship", OutcomeState::done, 2)});
  week.outcomes.outcomes[0].comments = {"went fine"};
  week.outcomes.outcomes[0].orgKeyword = OrgKeyword{"SHIPPED", OutcomeState::done};
  week.outcomes.outcomes[1].trailingLines = {"  raw line"};
  week.checklist = {{"Call", true, {"c"}, CarryItem::Fate::today, "2026-09-16 10:00", {}}};
  week.reflection.set("well", "a lot");
  week.reflection.ratings["how_did_i_do"] = 3;
  week.hotspots = {"Health"};
  week.passthrough.preamble = "intro";
  week.passthrough.sectionTails["outcomes"] = "tail";
  week.passthrough.unknownSections = {{"outcomes", "## Mine\ntext"}};
  week.passthrough.frontmatterExtras = {{"mood", "calm"}};
  week.passthrough.headingTags["outcomes"] = {"work"};
  const Json j = week;
  EXPECT_EQ(j.get<WeekEntry>(), week);
  std::vector<std::string> keys;
  for (const auto& item : j.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"week", "targetFriday", "outcomes", "checklist",
                                            "reflection", "hotspots", "passthrough"}));

  const auto sparse =
      Json::parse(R"({"year": 2027, "outcomes": {"outcomes": [{"text": "x"}]}})").get<YearEntry>();
  EXPECT_EQ(sparse.year, 2027);
  EXPECT_EQ(sparse.outcomes.outcomes.size(), 3u);
  EXPECT_EQ(sparse.outcomes.outcomes[0].text, "x");
  EXPECT_TRUE(sparse.passthrough.isEmpty());

  FocusSession session{
      {9, 5}, ClockTime{9, 55}, 50, "Essay", {"good"}, {}, FocusSession::Quality::flow, true};
  EXPECT_EQ(Json(session).get<FocusSession>(), session);
}

TEST(RecordJson, WrongTypesAreErrorsNotCrashes) {
  const char* bad[] = {
      R"({"outcomes": {"outcomes": [{"order": 1.5}]}})",
      R"({"outcomes": {"outcomes": [{"state": "maybe"}]}})",
      R"({"outcomes": {"scope": 3}})",
      R"({"reflection": {"ratings": {"x": "high"}}})",
      R"({"passthrough": []})",
      R"({"year": 1e300})",
      R"({"year": 18446744073709551615})",
  };
  for (const char* text : bad) {
    EXPECT_THROW((void)Json::parse(text).get<YearEntry>(), RecordError) << text;
  }
}

std::vector<TaskStep> sampleTree() {
  // a (a1 (a1x), a2), b, c
  TaskStep a1x{"a1x", false, std::nullopt, {}, {}};
  TaskStep a1{"a1", false, std::nullopt, {}, {a1x}};
  TaskStep a2{"a2", false, std::nullopt, {}, {}};
  return {{"a", false, std::nullopt, {}, {a1, a2}},
          {"b", false, std::nullopt, {}, {}},
          {"c", false, std::nullopt, {}, {}}};
}

TEST(TaskStep, NestAndPlaceMoveSubtreesAndAccountForTheGap) {
  auto tree = sampleTree();
  // Nest "a" (with its subtree) under "c": "c" shifts from index 2 to 1 once "a" is out.
  ASSERT_TRUE(TaskStep::nest(tree, {0}, {2}));
  ASSERT_EQ(tree.size(), 2u);
  EXPECT_EQ(tree[1].text, "c");
  ASSERT_EQ(tree[1].steps.size(), 1u);
  EXPECT_EQ(tree[1].steps[0].steps[0].steps[0].text, "a1x");

  tree = sampleTree();
  ASSERT_TRUE(TaskStep::place(tree, {0, 0, 0}, {2}, /*after=*/true));
  EXPECT_EQ(tree.back().text, "a1x");
  EXPECT_TRUE(tree[0].steps[0].steps.empty());

  tree = sampleTree();
  ASSERT_TRUE(TaskStep::place(tree, {2}, {0}, /*after=*/false));
  EXPECT_EQ(tree[0].text, "c");
  EXPECT_EQ(tree[1].text, "a");
}

TEST(TaskStep, RefusedMovesLeaveTheTreeAlone) {
  const auto original = sampleTree();
  auto tree = original;
  EXPECT_FALSE(TaskStep::nest(tree, {0}, {0, 0}));  // under its own child
  EXPECT_FALSE(TaskStep::nest(tree, {0}, {0}));     // under itself
  EXPECT_FALSE(TaskStep::nest(tree, {5}, {0}));
  EXPECT_FALSE(TaskStep::nest(tree, {0}, {0, 9}));
  EXPECT_FALSE(TaskStep::place(tree, {0}, {0, 1}, true));
  EXPECT_FALSE(TaskStep::place(tree, {}, {0}, true));
  EXPECT_EQ(TaskStep::remove(tree, {1, 0}), std::nullopt);
  EXPECT_EQ(tree, original);
  EXPECT_EQ(TaskStep::remove(tree, {0, 1})->text, "a2");
}

TEST(CarryItem, ReopenedClearsDoneMarksAndCommentsAtEveryDepth) {
  TaskStep deep{"deep", true, "2026-09-16 10:00", {"note"}, {}};
  TaskStep mid{"mid", true, "2026-09-16 09:00", {"why"}, {deep}};
  const auto fresh = CarryItem::reopened({mid});
  ASSERT_EQ(fresh.size(), 1u);
  EXPECT_EQ(fresh[0],
            (TaskStep{"mid", false, std::nullopt, {}, {{"deep", false, std::nullopt, {}, {}}}}));
}

TEST(CarryItem, NestTurnsAnItemIntoAStepOfAnother) {
  std::vector<CarryItem> items = {
      {"a", false, {}, std::nullopt, std::nullopt, {}},
      {"b", true, {"c"}, std::nullopt, "2026-09-16 08:00", {{"b1", false, std::nullopt, {}, {}}}},
      {"c", false, {}, std::nullopt, std::nullopt, {}}};
  ASSERT_TRUE(CarryItem::nest(items, 1, 2));
  ASSERT_EQ(items.size(), 2u);
  ASSERT_EQ(items[1].steps.size(), 1u);
  EXPECT_EQ(items[1].steps[0].text, "b");
  EXPECT_TRUE(items[1].steps[0].done);
  EXPECT_EQ(items[1].steps[0].steps[0].text, "b1");
  EXPECT_FALSE(CarryItem::nest(items, 0, 0));
  EXPECT_FALSE(CarryItem::nest(items, 0, 7));
}

TEST(DoneStamp, JoinsSplitsAndReadsStamps) {
  using namespace std::chrono;
  testing::FakeClock clock(sys_days(year{2026} / 9 / 16) + 10h + 5min);
  DoneStamp::clock = &clock;
  EXPECT_EQ(DoneStamp::now(), "2026-09-16 10:05");
  DoneStamp::clock = nullptr;

  EXPECT_EQ(DoneStamp::join("Call Ana", "2026-09-16 10:05"), "Call Ana [2026-09-16 10:05]");
  const auto [text, at] = DoneStamp::split("Call Ana [2026-09-16 10:05]");
  EXPECT_EQ(text, "Call Ana");
  EXPECT_EQ(at, "2026-09-16 10:05");
  EXPECT_EQ(DoneStamp::split("Read [2026-09-16]").second, "2026-09-16");
  for (const char* notStamp : {"See [notes]", "Array [1]", "x [2026-13-01]", "x [2026-09-16 25:00]",
                               "x [2026-09-16 10:05", "plain"}) {
    EXPECT_EQ(DoneStamp::split(notStamp).first, notStamp) << notStamp;
    EXPECT_EQ(DoneStamp::split(notStamp).second, std::nullopt) << notStamp;
  }
  EXPECT_EQ(DoneStamp::day("2026-09-16 10:05"), (DayDate{2026, 9, 16}));
  EXPECT_EQ(DoneStamp::time("2026-09-16 10:05"), (ClockTime{10, 5}));
  EXPECT_EQ(DoneStamp::time("2026-09-16"), std::nullopt);
}

TEST(NoteLine, IndentationLevelsAndSubtreeMoves) {
  EXPECT_EQ(NoteLine::split("    - x"), (NoteLine::Parts{2, "- x"}));
  EXPECT_EQ(NoteLine::split("\t  - x"), (NoteLine::Parts{2, "- x"}));
  EXPECT_EQ(NoteLine::split("   - x"), (NoteLine::Parts{1, "- x"}));
  EXPECT_EQ(NoteLine::join("- y", std::string("2026-09-16 10:05"), 1), "  - y [2026-09-16 10:05]");
  EXPECT_EQ(NoteLine::reword("  - [x] old [2026-09-16 10:05]", "- [x] new"),
            "  - [x] new [2026-09-16 10:05]");

  std::vector<std::string> lines = {"- a", "  - a1", "    - a1x", "- b", "  - b1"};
  EXPECT_EQ(NoteLine::subtreeEnd(lines, 0), 3u);
  EXPECT_EQ(NoteLine::subtreeEnd(lines, 3), 5u);
  ASSERT_TRUE(NoteLine::sink(lines, 3));  // b goes under a, with b1
  EXPECT_EQ(lines, (std::vector<std::string>{"- a", "  - a1", "    - a1x", "  - b", "    - b1"}));
  ASSERT_TRUE(NoteLine::lift(lines, 1));  // a1 and a1x come out one level
  EXPECT_EQ(lines[1], "- a1");
  EXPECT_EQ(lines[2], "  - a1x");
  EXPECT_FALSE(NoteLine::lift(lines, 0));
  EXPECT_FALSE(NoteLine::sink(lines, 0));
  EXPECT_FALSE(NoteLine::sink(lines, 2));  // nothing at its depth before it to nest under
}

TEST(JournalEntry, ReadsTaskTreesAndRewritesThemInPlace) {
  JournalEntry entry{{9, 30},
                     "Morning pages\n- [ ] Write intro\n  - [x] Outline [2026-09-16 09:40]\n"
                     "a note line\n- [X] Send draft"};
  const auto tail = entry.tail();
  ASSERT_EQ(tail.size(), 3u);
  EXPECT_EQ(tail[1], JournalEntry::TailItem::note("a note line"));
  const auto tasks = entry.tasks();
  ASSERT_EQ(tasks.size(), 2u);
  EXPECT_EQ(tasks[0].steps[0].closedAt, "2026-09-16 09:40");
  EXPECT_TRUE(tasks[1].done);

  entry.editSteps([](std::vector<TaskStep>& steps) {
    steps[0].done = true;
    steps.erase(steps.begin() + 1);
    steps.push_back({"New one", false, std::nullopt, {}, {}});
  });
  // The new task takes the place where the removed last task stood, after the note.
  EXPECT_EQ(entry.text,
            "Morning pages\n- [x] Write intro\n  - [x] Outline [2026-09-16 09:40]\n"
            "a note line\n- [ ] New one");
  JournalEntry untouched{{8, 0}, "Only text\nwith - [ not a task"};
  const std::string before = untouched.text;
  untouched.editSteps([](std::vector<TaskStep>&) {});
  EXPECT_EQ(untouched.text, before);
}

}  // namespace
}  // namespace trivo

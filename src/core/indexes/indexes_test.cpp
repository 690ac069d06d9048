// The tag list, the statuses of journal tasks and the days "on this day" looks back on.
#include <gtest/gtest.h>

#include "core/indexes/on_this_day.h"
#include "core/indexes/tag_index.h"
#include "core/indexes/task_index.h"
#include "core/search/search_lines.h"

namespace trivo {
namespace {

TEST(TagsInLine, HashWordsAndOrgHeadingTags) {
  using V = std::vector<std::string>;
  const std::vector<std::tuple<std::string, VaultFormat, V>> rows = {
      {"Met Ana #friends #deep-work.", VaultFormat::markdown, V{"friends", "deep-work"}},
      {"#café au lait", VaultFormat::markdown, V{"café"}},
      {"# Title", VaultFormat::markdown, V{}},
      {"## Outcomes #work", VaultFormat::markdown, V{"work"}},
      {"Ship it → #2", VaultFormat::markdown, V{}},
      {"see page#anchor and (#x)", VaultFormat::markdown, V{}},
      {"#+title: Day", VaultFormat::org, V{}},
      {"** TODO Ship :work:deep:", VaultFormat::org, V{"work", "deep"}},
      {"** TODO Ship :work:deep:", VaultFormat::markdown, V{}},
      {"Time 10:30: ok :x:", VaultFormat::org, V{}},
      {"* Heading #inline :a:", VaultFormat::org, V{"inline", "a"}},
      {"trailing #tag-", VaultFormat::markdown, V{"tag"}},
  };
  for (const auto& [line, syntax, tags] : rows) {
    EXPECT_EQ(tagsInLine(line, syntax), tags) << line;
  }
}

TEST(SearchLines, SectionsGiveKindsAndHeadingsLendTheirTags) {
  const std::string page =
      "---\ndate: 2026-09-16\n---\n# Day\n## Outcomes #work\n- [ ] ship\n```\n## Journal\n```\n"
      "## Journal\n- 09:00 — x\n### Sub #deep\nunder sub\n## Mine\nown\n";
  const auto lines =
      searchLines(page, VaultFormat::markdown, EntryKey::day(*DayDate::make(2026, 9, 16)));
  std::vector<std::string> got;
  for (const SearchLine& l : lines) {
    std::string tags;
    for (const auto& t : l.tags) tags += " " + t;
    got.push_back(std::to_string(l.number) + " " +
                  std::string(kSearchKindNames[static_cast<std::size_t>(l.kind)]) + tags);
  }
  EXPECT_EQ(got,
            (std::vector<std::string>{
                "1 other", "2 other", "3 other", "4 other", "5 outcomes work", "6 outcomes work",
                "7 outcomes work", "8 outcomes work", "9 outcomes work", "10 journal", "11 journal",
                "12 journal deep", "13 journal deep", "14 other", "15 other"}));
  const auto week = searchLines("## Reflection\n### What went well\nran\n", VaultFormat::markdown,
                                EntryKey::week(ISOWeek{2026, 38}));
  EXPECT_EQ(week.back().kind, SearchKind::reflections);
  EXPECT_EQ(searchLines("- [ ] x\n", VaultFormat::org, EntryKey::inbox()).back().kind,
            SearchKind::inbox);
}

TEST(TagIndex, CountsLinesFoldsSpellingsAndPutsPinsFirst) {
  TagIndex index;
  index.add("#Work and #work again\n#café\n#Cafe\n#home\n", VaultFormat::markdown);
  index.add("* Plan :work:\n", VaultFormat::org);
  const auto tags = index.list({"#home", "unused"}, {{"Work", "blue"}});
  ASSERT_EQ(tags.size(), 4u);
  EXPECT_EQ(tags[0], (TagCount{"home", 1, true, std::nullopt}));
  EXPECT_EQ(tags[1], (TagCount{"unused", 0, true, std::nullopt}));
  // Equal counts go by name.
  EXPECT_EQ(tags[2], (TagCount{"café", 2, false, std::nullopt}));
  EXPECT_EQ(tags[3], (TagCount{"Work", 2, false, "blue"}));
}

TEST(TaskIndex, StatusFromTickKeywordAndSteps) {
  auto task = [](std::string text, bool done, std::vector<TaskStep> steps = {}) {
    TaskStep s;
    s.text = std::move(text);
    s.done = done;
    s.steps = std::move(steps);
    return s;
  };
  EXPECT_EQ(TaskIndex::statusOf(task("call Ana", false)), TaskStatus::todo);
  EXPECT_EQ(TaskIndex::statusOf(task("call Ana", true)), TaskStatus::done);
  EXPECT_EQ(TaskIndex::statusOf(task("WAITING on Ana", false)), TaskStatus::waiting);
  EXPECT_EQ(TaskIndex::statusOf(task("STARTED the draft", false)), TaskStatus::inprocess);
  EXPECT_EQ(TaskIndex::statusOf(task("Waiting for nobody", false)), TaskStatus::todo);
  EXPECT_EQ(
      TaskIndex::statusOf(task("draft", false, {task("outline", false, {task("notes", true)})})),
      TaskStatus::inprocess);
}

TEST(OnThisDay, SameDateInEarlierYearsThenSameWeekday) {
  const DayDate day = *DayDate::make(2028, 2, 29);
  std::vector<std::string> got;
  for (const DayDate& d : OnThisDay::days(day, *DayDate::make(2019, 6, 1), 2)) {
    got.push_back(d.isoString());
  }
  EXPECT_EQ(got,
            (std::vector<std::string>{"2024-02-29", "2020-02-29", "2028-02-22", "2028-02-15"}));
  // Nothing before the earliest journal.
  EXPECT_TRUE(OnThisDay::days(day, day, 10).empty());
}

}  // namespace
}  // namespace trivo

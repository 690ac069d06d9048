// The inline marks of task words: priority, due day, time and alerts.
#include "core/format/task_marks.h"

#include <gtest/gtest.h>

#include <utility>

namespace trivo {
namespace {

using Parts = TaskMarks::Parts;

TEST(TaskMarks, TakesMarksOutOfTheWords) {
  const std::pair<const char*, Parts> cases[] = {
      {"Call Bob", {std::nullopt, "Call Bob", std::nullopt, std::nullopt, {}}},
      {"[#A] Call  Bob due:2026-09-16 @14:30 alert:15m",
       {Priority::a, "Call  Bob", DayDate{2026, 9, 16}, ClockTime{14, 30}, {AlertOffset{-15}}}},
      {"Pay due:2026-10-01 rent [#c]",
       {Priority::c, "Pay rent", DayDate{2026, 10, 1}, std::nullopt, {}}},
      {"Meet @9:05 alert:1h,0 alert:+10m",
       {std::nullopt, "Meet", std::nullopt, ClockTime{9, 5}, {{-60}, {0}, {10}}}},
      {"alert:1d", {std::nullopt, "", std::nullopt, std::nullopt, {{-1440}}}},
      {"Mail @home due:tomorrow [#Z] alert:soon @25:00",
       {std::nullopt,
        "Mail @home due:tomorrow [#Z] alert:soon @25:00",
        std::nullopt,
        std::nullopt,
        {}}},
      {"Two due:2026-01-01 due:2026-01-02 @9:00 [#A] @10:00 [#B]",
       {Priority::a, "Two due:2026-01-01 @9:00 [#B]", DayDate{2026, 1, 2}, ClockTime{10, 0}, {}}},
      {"Ratio @1:2", {std::nullopt, "Ratio @1:2", std::nullopt, std::nullopt, {}}},
      {"Huge alert:9999999m",
       {std::nullopt, "Huge alert:9999999m", std::nullopt, std::nullopt, {}}},
  };
  for (const auto& [text, parts] : cases) EXPECT_EQ(TaskMarks::parse(text), parts) << text;
}

TEST(TaskMarks, RenderedMarksReadBack) {
  const Parts parts{Priority::b, "Plan the trip", DayDate{2026, 9, 30}, ClockTime{8, 0},
                    {{0}, {-5}, {-90}, {-120}, {-2880}, {30}}};
  const std::string text = TaskMarks::render(parts);
  EXPECT_EQ(text,
            "[#B] Plan the trip due:2026-09-30 @08:00 alert:0 alert:5m alert:90m alert:2h "
            "alert:2d alert:+30m");
  EXPECT_EQ(TaskMarks::parse(text), parts);
  EXPECT_EQ(TaskMarks::render(Parts{}), "");
  // Marks left in the words must not take the place of the ones written after them.
  const Parts doubled = TaskMarks::parse("[#A] x due:2026-09-01 [#B] due:2026-09-02 @9:00 @10:00");
  EXPECT_EQ(TaskMarks::parse(TaskMarks::render(doubled)), doubled);
  EXPECT_EQ(TaskMarks::alertText(AlertOffset{INT64_MIN}), std::to_string(INT64_MIN) + "m");
}

}  // namespace
}  // namespace trivo

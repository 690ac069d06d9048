// The inline marks a person types among a task's words: a priority cookie "[#A]", a due day
// "due:2026-09-16", a time "@14:30" and reminders "alert:15m" (15 minutes before the due
// time; "alert:0" at it, "alert:+10m" after it, units m, h and d).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/alert_offset.h"
#include "core/records/priority.h"

namespace trivo {

struct TaskMarks {
  struct Parts {
    std::optional<Priority> priority;
    std::string words;
    std::optional<DayDate> due;
    std::optional<ClockTime> time;
    std::vector<AlertOffset> alerts;
    bool operator==(const Parts&) const = default;
  };

  // Takes the marks out of a task's words. A mark is a whole word; the first priority and the
  // last due day and time count (the others stay in the words, so nothing is lost), alerts
  // may repeat or be listed with commas ("alert:15m,1h"). A word that only looks like a mark
  // ("due:tomorrow", "@home", "[#Z]") stays in the words. The words keep their own spacing.
  // With `dueMarks` false, due and time marks are words like any other (for tasks that keep
  // their due day elsewhere).
  static Parts parse(std::string_view text, bool dueMarks = true);
  // The words with the marks after them in a fixed order: "[#A] words due:… @… alert:…".
  static std::string render(const Parts& parts);

  // "15m", "1h", "2d", "0", "+10m": the text of one alert after "alert:".
  static std::string alertText(const AlertOffset& alert);
  static std::optional<AlertOffset> parseAlert(std::string_view text);
};

}  // namespace trivo

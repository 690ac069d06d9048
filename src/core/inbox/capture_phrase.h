// Reading scheduling out of a captured line: "call mum friday at 6pm" is the text "call mum",
// due on the coming Friday at 18:00.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/alert_offset.h"
#include "core/records/priority.h"
#include "core/records/repeat.h"
#include "core/util/json_fields.h"

namespace trivo {

// What a captured line says: its remaining text and the scheduling words read out of it.
//
// The rule that keeps a person's words from being taken for dates: a phrase is read only when
// every word of it, compared without regard to case, is one of the phrase's own words, and a
// word counts only as a whole (words are split at blanks; "Friday's" is not "friday", "6pm-ish"
// is not "6pm"). A single trailing ",", ".", ";", "!" or "?" may end a phrase and goes with it.
// Words that are dates only in company are read only in that company: a month name only beside
// a day number ("12 dec", "dec 12"), a bare number only after "at" ("at 9"), so "march on" and
// "may call" stay text. Each kind of thing is read once: a second day, time, repeat or priority
// in the same line stays text. When nothing but scheduling words would remain, the whole line
// stays text, since a line such as "tomorrow" is more likely a note than a task with no name.
struct CapturePhrase {
  std::string text;  // the line without the phrases read, blanks between words collapsed
  std::optional<DayDate> due;
  std::optional<ClockTime> time;
  std::optional<Repeat> repeats;
  std::optional<Priority> priority;
  bool someday = false;
  bool waiting = false;
  std::vector<AlertOffset> alerts;

  // Reads a line captured on `today`. Days without a year ("12 dec") and weekdays ("friday")
  // are the next such day on or after today; "next monday" is the Monday of the following
  // week. A repeat without a day is due on its first date on or after today; a time without a
  // day is due today. A day written in full ("2026-01-05") is kept even when it has passed:
  // the caller decides whether a past day is acceptable. Never throws.
  static CapturePhrase read(std::string_view line, const DayDate& today);

  bool operator==(const CapturePhrase&) const = default;
};

void to_json(Json& j, const CapturePhrase& p);

}  // namespace trivo

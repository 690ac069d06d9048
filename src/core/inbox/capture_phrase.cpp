// Reading due days, times, repeats, priorities, flags and reminders out of a captured line.
//
// The line is split into words at blanks. At each word every phrase grammar below is tried and
// the longest phrase that reads wins; its words leave the text. A grammar only ever compares
// whole words with its own vocabulary, so it cannot take part of a word ("Friday's") or a word
// it does not know. The inline marks of tasks ("[#A]", "due:2026-09-16", "@14:30",
// "alert:15m") are read first, as the page itself reads them.
#include "core/inbox/capture_phrase.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "core/calendar/periods.h"
#include "core/format/task_marks.h"

namespace trivo {
namespace {

struct Word {
  std::string_view raw;  // as typed
  std::string core;      // lower case, one trailing sentence mark off
  bool marked = false;   // a trailing sentence mark was taken off
};

// What one phrase says; exactly one of the fields is set by a grammar.
struct Found {
  std::optional<DayDate> due;
  std::optional<ClockTime> time;
  std::optional<Repeat> repeats;
  std::optional<Priority> priority;
  bool someday = false;
  bool waiting = false;
  std::optional<AlertOffset> alert;
};

constexpr std::size_t kLongestPhrase = 14;
constexpr std::int64_t kLongestStep = 999;

std::vector<Word> split(std::string_view line) {
  std::vector<Word> words;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    const std::size_t start = i;
    while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    if (i == start) break;
    Word w{line.substr(start, i - start), {}, false};
    w.core.reserve(w.raw.size());
    for (char c : w.raw) w.core += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (w.core.size() > 1 && std::string_view(",.;!?").find(w.core.back()) != std::string::npos) {
      w.core.pop_back();
      w.marked = true;
    }
    words.push_back(std::move(w));
  }
  return words;
}

// A number written with digits only, at most `maxDigits` of them.
std::optional<std::int64_t> digitsNumber(std::string_view text, std::size_t maxDigits) {
  if (text.empty() || text.size() > maxDigits) return std::nullopt;
  if (text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  return detail::parseInteger(text);
}

// "12" or "12th" (the suffix must be the right one: "12st" is not a day).
std::optional<std::int64_t> dayOfMonth(std::string_view text) {
  std::string_view digits = text;
  if (text.size() > 2) {
    const std::string_view suffix = text.substr(text.size() - 2);
    if (suffix == "st" || suffix == "nd" || suffix == "rd" || suffix == "th") {
      digits = text.substr(0, text.size() - 2);
      const auto n = digitsNumber(digits, 2);
      if (!n) return std::nullopt;
      const std::int64_t last = *n % 10;
      const bool teen = *n % 100 >= 11 && *n % 100 <= 13;
      const std::string_view right = teen        ? "th"
                                     : last == 1 ? "st"
                                     : last == 2 ? "nd"
                                     : last == 3 ? "rd"
                                                 : "th";
      if (suffix != right) return std::nullopt;
      if (*n < 1 || *n > 31) return std::nullopt;
      return n;
    }
  }
  const auto n = digitsNumber(digits, 2);
  if (!n || *n < 1 || *n > 31) return std::nullopt;
  return n;
}

struct MonthName {
  std::string_view word;
  std::int64_t month;
  bool everyday;  // also an everyday English word, read as a month only when nothing else fits
};

constexpr std::array<MonthName, 24> kCaptureMonthNames = {{
    {"january", 1, false},   {"jan", 1, false},    {"february", 2, false},  {"feb", 2, false},
    {"march", 3, true},      {"mar", 3, true},     {"april", 4, false},     {"apr", 4, false},
    {"may", 5, true},        {"june", 6, false},   {"jun", 6, false},       {"july", 7, false},
    {"jul", 7, false},       {"august", 8, false}, {"aug", 8, false},       {"september", 9, false},
    {"sep", 9, false},       {"sept", 9, false},   {"october", 10, false},  {"oct", 10, false},
    {"november", 11, false}, {"nov", 11, false},   {"december", 12, false}, {"dec", 12, false},
}};

const MonthName* captureMonthName(std::string_view word) {
  for (const auto& m : kCaptureMonthNames) {
    if (m.word == word) return &m;
  }
  return nullptr;
}

constexpr std::array<std::string_view, 7> kWeekdayShort = {"mon", "tue", "wed", "thu",
                                                           "fri", "sat", "sun"};

// Full weekday names always; the short ones ("sat", "sun" are words too) only where the words
// before them already say a day follows.
std::optional<Weekday> captureWeekdayWord(std::string_view word, bool shortToo) {
  if (auto w = weekdayFromCaseName(word)) return w;
  if (shortToo) {
    for (std::size_t i = 0; i < kWeekdayShort.size(); ++i) {
      if (kWeekdayShort[i] == word) return weekdayAt(static_cast<std::int64_t>(i));
    }
  }
  return std::nullopt;
}

DayDate onOrAfter(const DayDate& today, Weekday w) {
  const auto ahead = detail::floorMod(weekdayIndex(w) - weekdayIndex(today.weekday()), 7);
  return today.adding(ahead);
}

DayDate addingMonths(const DayDate& day, std::int64_t months) {
  const std::int64_t n = detail::checkedAdd(day.year * 12 + day.month - 1, months);
  const std::int64_t year = detail::floorDiv(n, 12);
  const std::int64_t month = detail::floorMod(n, 12) + 1;
  return DayDate{year, month, std::min(day.day, DayDate::daysIn(month, year))};
}

// The calendar stays within years that every date operation handles.
bool sensibleYear(std::int64_t year) { return year >= 1 && year <= 9999; }

class Reader {
 public:
  Reader(const std::vector<Word>& words, const DayDate& today) : w_(words), today_(today) {}

  // The longest phrase at word i, as the number of words it takes; 0 when none reads.
  std::size_t longest(std::size_t i, Found& found) const {
    std::size_t best = 0;
    auto consider = [&](std::size_t n, const Found& f) {
      if (n > best && wordsCanJoin(i, n)) {
        best = n;
        found = f;
      }
    };
    Found f;
    if (std::size_t n = dayPhrase(i, f)) consider(n, f);
    f = {};
    if (std::size_t n = timePhrase(i, f)) consider(n, f);
    f = {};
    if (std::size_t n = repeatPhrase(i, f)) consider(n, f);
    f = {};
    if (std::size_t n = flagOrPriority(i, f)) consider(n, f);
    f = {};
    if (std::size_t n = reminder(i, f)) consider(n, f);
    return best;
  }

 private:
  [[nodiscard]] bool has(std::size_t i) const { return i < w_.size(); }
  [[nodiscard]] std::string_view at(std::size_t i) const {
    return i < w_.size() ? std::string_view(w_[i].core) : std::string_view();
  }
  // A sentence mark may end a phrase, not break one.
  [[nodiscard]] bool wordsCanJoin(std::size_t i, std::size_t n) const {
    for (std::size_t k = i; k + 1 < i + n; ++k) {
      if (w_[k].marked) return false;
    }
    return true;
  }

  // ---- days

  std::size_t dayPhrase(std::size_t i, Found& f) const {
    const std::string_view first = at(i);
    if (first == "on" || first == "by" || first == "due") {
      if (std::size_t n = bareDay(i + 1, true, f)) return n + 1;
      return 0;
    }
    return bareDay(i, false, f);
  }

  std::size_t bareDay(std::size_t i, bool announced, Found& f) const {
    const std::string_view word = at(i);
    if (word.empty()) return 0;
    if (word == "today") return set(f, today_, 1);
    if (word == "tomorrow") return set(f, today_.adding(1), 1);
    if (auto d = DayDate::parse(word); d && word.size() == 10 && sensibleYear(d->year)) {
      return set(f, *d, 1);
    }
    if (auto w = captureWeekdayWord(word, announced)) return set(f, onOrAfter(today_, *w), 1);
    if (word == "this") {
      if (auto w = captureWeekdayWord(at(i + 1), true)) return set(f, onOrAfter(today_, *w), 2);
      if (at(i + 1) == "weekend") return set(f, weekend(), 2);
      return 0;
    }
    if (word == "weekend" && announced) return set(f, weekend(), 1);
    if (word == "next") {
      const DayDate nextMonday = today_.isoWeek().next().monday();
      if (auto w = captureWeekdayWord(at(i + 1), true)) {
        return set(f, nextMonday.adding(weekdayIndex(*w)), 2);
      }
      if (at(i + 1) == "week") return set(f, nextMonday, 2);
      if (at(i + 1) == "month") return set(f, today_.yearMonth().next().firstDay(), 2);
      return 0;
    }
    if (word == "in") return relativeDay(i + 1, f);
    if (word == "end") return endOf(i, f);
    return monthDay(i, announced, f);
  }

  [[nodiscard]] DayDate weekend() const {
    return today_.weekday() == Weekday::sunday ? today_ : onOrAfter(today_, Weekday::saturday);
  }

  // "in 3 days", "in a week", "in 2 months".
  std::size_t relativeDay(std::size_t i, Found& f) const {
    const std::string_view count = at(i);
    std::optional<std::int64_t> n =
        count == "a" || count == "an" || count == "one" ? 1 : digitsNumber(count, 4);
    if (!n) return 0;
    const std::string_view unit = at(i + 1);
    const bool one = *n == 1;
    auto is = [&](std::string_view singular) {
      return one ? unit == singular : unit == std::string(singular) + "s";
    };
    // "in a day" reads oddly but harmlessly; "in 0 days" is today.
    if (is("day")) return set(f, today_.adding(*n), 3);
    if (is("week")) return set(f, today_.adding(*n * 7), 3);
    if (is("month")) return set(f, addingMonths(today_, *n), 3);
    if (is("year")) return set(f, addingMonths(today_, *n * 12), 3);
    return 0;
  }

  // "end of month", "end of the week", "end of year".
  std::size_t endOf(std::size_t i, Found& f) const {
    if (at(i + 1) != "of") return 0;
    std::size_t k = i + 2;
    if (at(k) == "the" || at(k) == "this") ++k;
    const std::string_view unit = at(k);
    const std::size_t n = k + 1 - i;
    if (unit == "week") return set(f, today_.isoWeek().sunday(), n);
    if (unit == "month") return set(f, today_.yearMonth().lastDay(), n);
    if (unit == "year") return set(f, DayDate{today_.year, 12, 31}, n);
    return 0;
  }

  // "12 dec", "12th of december", "dec 12", "december 12th 2027". Words that are also everyday
  // English ("may", "march") count as months only when "on", "by" or "due" came before them or
  // a year follows.
  std::size_t monthDay(std::size_t i, bool announced, Found& f) const {
    std::int64_t day = 0;
    const MonthName* month = nullptr;
    std::size_t k = i;
    if (auto d = dayOfMonth(at(k))) {
      day = *d;
      ++k;
      if (at(k) == "of") ++k;
      month = captureMonthName(at(k));
      if (!month) return 0;
      ++k;
    } else if ((month = captureMonthName(at(k)))) {
      auto after = dayOfMonth(at(k + 1));
      if (!after) return 0;
      day = *after;
      k += 2;
    } else {
      return 0;
    }
    std::optional<std::int64_t> year;
    // A number after the day is its year only when it is a plausible one ("12 dec 2027"), so
    // "dec 12 1000 times" keeps its count.
    if (auto y = digitsNumber(at(k), 4);
        y && at(k).size() == 4 && *y >= today_.year - 100 && *y <= today_.year + 100) {
      year = y;
      ++k;
    }
    if (month->everyday && !announced && !year) return 0;
    if (year) {
      auto date = DayDate::make(*year, month->month, day);
      return date ? set(f, *date, k - i) : 0;
    }
    // Without a year, the next such day: this year's when it is still ahead, else next year's.
    // 29 February waits for the next leap year.
    for (std::int64_t y = today_.year; y <= today_.year + 8; ++y) {
      auto date = DayDate::make(y, month->month, day);
      if (date && *date >= today_) return set(f, *date, k - i);
    }
    return 0;
  }

  static std::size_t set(Found& f, const DayDate& d, std::size_t n) {
    f.due = d;
    return n;
  }

  // ---- times

  // "6pm", "6:30 pm", "18:30", "noon", and after "at" also a bare hour ("at 9").
  std::size_t timePhrase(std::size_t i, Found& f) const {
    if (at(i) == "at") {
      if (std::size_t n = bareTime(i + 1, true, f)) return n + 1;
      return 0;
    }
    return bareTime(i, false, f);
  }

  std::size_t bareTime(std::size_t i, bool announced, Found& f) const {
    std::string_view word = at(i);
    if (word.empty()) return 0;
    if (word == "noon" || word == "midday") return setTime(f, 12, 0, 1);
    if (word == "midnight") return setTime(f, 0, 0, 1);
    std::string_view half;  // "am" or "pm"
    std::size_t n = 1;
    if (word.ends_with("am") || word.ends_with("pm")) {
      half = word.substr(word.size() - 2);
      word = word.substr(0, word.size() - 2);
    } else if (at(i + 1) == "am" || at(i + 1) == "pm") {
      half = at(i + 1);
      n = 2;
    }
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    const std::size_t colon = word.find(':');
    if (colon != std::string_view::npos) {
      auto h = digitsNumber(word.substr(0, colon), 2);
      auto m = digitsNumber(word.substr(colon + 1), 2);
      if (!h || !m || word.size() - colon != 3) return 0;
      // "John 3:16" is a verse, not a time: a one-digit hour needs "at" or am/pm.
      if (colon == 1 && half.empty() && !announced) return 0;
      hour = *h;
      minute = *m;
    } else {
      auto h = digitsNumber(word, 2);
      // A bare number is a time only after "at", or with am/pm.
      if (!h || (half.empty() && !announced)) return 0;
      hour = *h;
    }
    if (!half.empty()) {
      if (hour < 1 || hour > 12) return 0;
      hour = hour % 12 + (half == "pm" ? 12 : 0);
    }
    if (hour > 23 || minute > 59) return 0;
    return setTime(f, hour, minute, n);
  }

  static std::size_t setTime(Found& f, std::int64_t hour, std::int64_t minute, std::size_t n) {
    f.time = ClockTime::make(hour, minute);
    return f.time ? n : 0;
  }

  // ---- repeats

  std::size_t repeatPhrase(std::size_t i, Found& f) const {
    const std::string_view word = at(i);
    if (word == "daily") return setRepeat(f, Repeat::daily(), 1);
    if (word == "weekly") return setRepeat(f, Repeat::weekly(), 1);
    if (word == "monthly") return setRepeat(f, Repeat::monthly(), 1);
    if (word == "yearly" || word == "annually") return setRepeat(f, Repeat::yearly(), 1);
    if (word != "every") return 0;
    std::size_t best = 0;
    // The rule as the page writes it ("every 2 weeks on Monday and Thursday", "every month on
    // the 31st", "every day after completion"), longest first.
    const std::size_t last = std::min(w_.size(), i + kLongestPhrase);
    for (std::size_t end = last; end >= i + 2 && best == 0; --end) {
      if (!wordsCanJoin(i, end - i)) continue;
      std::string phrase;
      for (std::size_t k = i; k < end; ++k) phrase += (k == i ? "" : " ") + w_[k].core;
      if (auto rule = Repeat::fromPhrase(phrase); rule && reachable(*rule)) {
        best = setRepeat(f, *rule, end - i);
      }
    }
    Found own;
    if (std::size_t n = everyShorthand(i + 1, own); n > 0 && n + 1 > best) {
      f = own;
      best = n + 1;
    }
    return best;
  }

  // A rule with a first date from today and a step a person would mean: "every 99999 years"
  // is a number typed by mistake, and the step must stay far from the calendar's limits.
  [[nodiscard]] bool reachable(const Repeat& rule) const {
    return rule.every >= 1 && rule.every <= kLongestStep && rule.firstDate(today_).has_value();
  }

  // What follows "every" in the shorter forms people type: "every monday and thursday",
  // "every weekend", "every last friday", "every 2nd tuesday", "every 15th".
  std::size_t everyShorthand(std::size_t i, Found& f) const {
    if (at(i) == "weekend") {
      return setRepeat(f, Repeat::weekly(1, {Weekday::saturday, Weekday::sunday}), 1);
    }
    if (captureWeekdayWord(at(i), true)) {
      std::vector<Weekday> days;
      std::size_t k = i;
      while (auto w = captureWeekdayWord(at(k), true)) {
        days.push_back(*w);
        if (at(k + 1) != "and" || !captureWeekdayWord(at(k + 2), true)) {
          ++k;
          break;
        }
        k += 2;
      }
      std::sort(days.begin(), days.end());
      days.erase(std::unique(days.begin(), days.end()), days.end());
      return setRepeat(f, Repeat::weekly(1, days), k - i);
    }
    std::optional<std::int64_t> ordinal;
    if (at(i) == "last") {
      ordinal = -1;
    } else if (auto n = ordinalWord(at(i))) {
      ordinal = n;
    }
    if (!ordinal) return 0;
    const std::string_view kind = at(i + 1);
    if (auto w = captureWeekdayWord(kind, true)) {
      return setRepeat(f, Repeat::monthly(1, {}, Repeat::OnThe{*ordinal, Repeat::Kind::of(*w)}), 2);
    }
    if (kind == "workday" || kind == "weekday") {
      return setRepeat(f, Repeat::monthly(1, {}, Repeat::OnThe{*ordinal, Repeat::Kind::workday()}),
                       2);
    }
    if (kind == "day" && *ordinal < 0) return setRepeat(f, Repeat::monthly(1, {*ordinal}), 2);
    // "every 15th": a day of the month, written as an ordinal with digits only.
    if (*ordinal > 0 && !at(i).empty() && std::isdigit(static_cast<unsigned char>(at(i)[0]))) {
      return setRepeat(f, Repeat::monthly(1, {*ordinal}), 1);
    }
    return 0;
  }

  static std::optional<std::int64_t> ordinalWord(std::string_view word) {
    static constexpr std::array<std::string_view, 5> words = {"first", "second", "third", "fourth",
                                                              "fifth"};
    for (std::size_t k = 0; k < words.size(); ++k) {
      if (words[k] == word) return static_cast<std::int64_t>(k + 1);
    }
    if (word.size() > 2 && dayOfMonth(word) && !digitsNumber(word, 2)) return dayOfMonth(word);
    return std::nullopt;
  }

  static std::size_t setRepeat(Found& f, const Repeat& rule, std::size_t n) {
    f.repeats = rule;
    return n;
  }

  // ---- flags, priority and reminders

  std::size_t flagOrPriority(std::size_t i, Found& f) const {
    const std::string_view word = at(i);
    if (word == "someday") {
      f.someday = true;
      return 1;
    }
    if (word == "waiting") {
      f.waiting = true;
      return 1;
    }
    // "!1" (highest) to "!4", beside the Org cookie "[#A]" that the page itself reads.
    if (word.size() == 2 && word[0] == '!' && word[1] >= '1' && word[1] <= '4') {
      f.priority = static_cast<Priority>(word[1] - '1');
      return 1;
    }
    return 0;
  }

  // "remind 30m before", "remind me 1 hour before", "remind 10 minutes after", "remind me at
  // due time".
  std::size_t reminder(std::size_t i, Found& f) const {
    if (at(i) != "remind") return 0;
    std::size_t k = i + 1;
    if (at(k) == "me") ++k;
    if (at(k) == "at" && at(k + 1) == "due" && at(k + 2) == "time") {
      f.alert = AlertOffset{0};
      return k + 3 - i;
    }
    std::optional<std::int64_t> amount;
    std::int64_t unit = 0;
    if (auto n = digitsNumber(at(k), 6)) {
      amount = n;
      unit = unitMinutes(at(k + 1), *n == 1);
      k += 2;
    } else {
      // "30m", "1h", "2d": the number and its unit in one word.
      const std::string_view word = at(k);
      std::size_t digits = 0;
      while (digits < word.size() && std::isdigit(static_cast<unsigned char>(word[digits]))) {
        ++digits;
      }
      amount = digitsNumber(word.substr(0, digits), 6);
      if (amount) unit = unitMinutes(word.substr(digits), *amount == 1);
      k += 1;
    }
    if (!amount || unit == 0) return 0;
    const std::int64_t minutes = *amount * unit;
    if (at(k) == "before") {
      f.alert = AlertOffset{-minutes};
    } else if (at(k) == "after") {
      f.alert = AlertOffset{minutes};
    } else {
      return 0;
    }
    return k + 1 - i;
  }

  static std::int64_t unitMinutes(std::string_view unit, bool one) {
    if (unit == "m" || unit == "min" || unit == "mins") return 1;
    if (unit == "h" || unit == "hr" || unit == "hrs") return 60;
    if (unit == "d") return 1440;
    if (unit == (one ? "minute" : "minutes")) return 1;
    if (unit == (one ? "hour" : "hours")) return 60;
    if (unit == (one ? "day" : "days")) return 1440;
    return 0;
  }

  const std::vector<Word>& w_;
  DayDate today_;
};

// Whether the phrase says something the reading has not been told yet; a second day, time,
// repeat or priority (or a flag twice) stays text.
bool fits(const CapturePhrase& p, const Found& f) {
  if (f.due) return !p.due;
  if (f.time) return !p.time;
  if (f.repeats) return !p.repeats;
  if (f.priority) return !p.priority;
  if (f.someday) return !p.someday;
  if (f.waiting) return !p.waiting;
  return f.alert.has_value();
}

void take(CapturePhrase& p, const Found& f) {
  if (f.due) p.due = f.due;
  if (f.time) p.time = f.time;
  if (f.repeats) p.repeats = f.repeats;
  if (f.priority) p.priority = f.priority;
  p.someday = p.someday || f.someday;
  p.waiting = p.waiting || f.waiting;
  if (f.alert) p.alerts.push_back(*f.alert);
}

std::string joinedWords(const std::vector<Word>& words, const std::vector<bool>& keep) {
  std::string text;
  for (std::size_t k = 0; k < words.size(); ++k) {
    if (!keep[k]) continue;
    if (!text.empty()) text += ' ';
    text += words[k].raw;
  }
  return text;
}

}  // namespace

CapturePhrase CapturePhrase::read(std::string_view line, const DayDate& today) {
  const TaskMarks::Parts marks = TaskMarks::parse(line);
  const std::vector<Word> words = split(marks.words);

  CapturePhrase reading;
  reading.due = marks.due;
  reading.time = marks.time;
  reading.priority = marks.priority;
  reading.alerts = marks.alerts;
  const CapturePhrase fromMarks = reading;

  std::vector<bool> keep(words.size(), true);
  const Reader reader(words, today);
  for (std::size_t i = 0; i < words.size();) {
    Found found;
    const std::size_t n = reader.longest(i, found);
    if (n == 0 || !fits(reading, found)) {
      ++i;
      continue;
    }
    take(reading, found);
    std::fill(keep.begin() + static_cast<std::ptrdiff_t>(i),
              keep.begin() + static_cast<std::ptrdiff_t>(i + n), false);
    i += n;
  }
  reading.text = joinedWords(words, keep);
  if (reading.text.empty()) {
    // Only scheduling words: the line is a note that happens to be a date, and stays text.
    reading = fromMarks;
    reading.text = joinedWords(words, std::vector<bool>(words.size(), true));
    return reading;
  }
  if (reading.repeats && !reading.due) reading.due = reading.repeats->firstDate(today);
  if (reading.time && !reading.due) reading.due = today;
  return reading;
}

void to_json(Json& j, const CapturePhrase& p) {
  j = Json::object();
  json::put(j, "text", p.text);
  json::put(j, "due", p.due);
  json::put(j, "time", p.time);
  json::put(j, "repeats", p.repeats);
  json::put(j, "priority", p.priority);
  json::put(j, "someday", p.someday);
  json::put(j, "waiting", p.waiting);
  json::put(j, "alerts", p.alerts);
}

}  // namespace trivo

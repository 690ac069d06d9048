// A recurrence rule as an English phrase ("every month on the last Friday") and back.
#include <algorithm>
#include <cctype>

#include "core/calendar/day_date.h"
#include "core/records/repeat.h"

namespace trivo {
namespace {

constexpr std::array<std::string_view, 5> kOrdinalWords = {"first", "second", "third", "fourth",
                                                           "fifth"};
constexpr std::array<Weekday, 5> kWorkdays = {Weekday::monday, Weekday::tuesday, Weekday::wednesday,
                                              Weekday::thursday, Weekday::friday};

constexpr std::string_view kAfterCompletion = " after completion";
constexpr std::string_view kSkippingMissed = ", skipping missed ones";

std::uint64_t magnitude(std::int64_t n) {
  return n < 0 ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
}

// "1st", "2nd", "3rd", "11th", "22nd".
std::string numericOrdinal(std::uint64_t n) {
  std::string_view suffix = "th";
  if (n % 100 < 11 || n % 100 > 13) {
    if (n % 10 == 1) suffix = "st";
    if (n % 10 == 2) suffix = "nd";
    if (n % 10 == 3) suffix = "rd";
  }
  return std::to_string(n) + std::string(suffix);
}

// "first" … "fifth", then "6th" and on.
std::string wordOrdinal(std::uint64_t n) {
  if (n >= 1 && n <= kOrdinalWords.size()) return std::string(kOrdinalWords[n - 1]);
  return numericOrdinal(n);
}

std::string joinList(const std::vector<std::string>& items) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += i + 1 == items.size() ? " and " : ", ";
    text += items[i];
  }
  return text;
}

std::string monthDayPiece(std::int64_t n) {
  if (n >= 0) return "the " + numericOrdinal(magnitude(n));
  if (n == -1) return "the last day";
  return "the " + numericOrdinal(magnitude(n)) + " to last day";
}

std::string onThePiece(const Repeat::OnThe& rule) {
  std::string text = "the ";
  if (rule.ordinal > 0) {
    text += wordOrdinal(magnitude(rule.ordinal));
  } else if (rule.ordinal == -1) {
    text += "last";
  } else if (rule.ordinal < 0) {
    text += wordOrdinal(magnitude(rule.ordinal)) + " to last";
  } else {
    text += "0th";
  }
  switch (rule.kind.which) {
    case Repeat::Kind::Case::weekday:
      return text + " " + std::string(weekdayName(rule.kind.weekday));
    case Repeat::Kind::Case::day:
      return text + " day";
    case Repeat::Kind::Case::workday:
      return text + " workday";
    case Repeat::Kind::Case::weekend:
      return text + " weekend day";
  }
  return text;
}

// Month days in calendar order: counted from the start, then counted from the end.
std::string dayPart(const Repeat& rule) {
  std::vector<std::int64_t> numbers = rule.monthDays;
  std::sort(numbers.begin(), numbers.end(), [](std::int64_t a, std::int64_t b) {
    if ((a < 0) != (b < 0)) return b < 0;
    return a < b;
  });
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  std::vector<std::string> pieces;
  for (std::int64_t n : numbers) pieces.push_back(monthDayPiece(n));
  if (rule.onThe) pieces.push_back(onThePiece(*rule.onThe));
  if (pieces.empty()) return "";
  return " on " + joinList(pieces);
}

std::string lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> out;
  std::string current;
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == ',') {
      if (!current.empty()) out.push_back(std::move(current));
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) out.push_back(std::move(current));
  return out;
}

std::optional<Weekday> weekdayWord(const std::string& word) { return weekdayFromCaseName(word); }

std::optional<std::int64_t> monthWord(const std::string& word) {
  for (std::int64_t month = 1; month <= 12; ++month) {
    if (lower(englishMonthName(month)) == word) return month;
  }
  return std::nullopt;
}

std::optional<std::int64_t> positiveNumber(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  return detail::parseInteger(text);
}

// "1st", "22nd" and so on, and the words "first" … "fifth".
std::optional<std::int64_t> ordinalWord(const std::string& word, bool allowWords) {
  if (allowWords) {
    for (std::size_t i = 0; i < kOrdinalWords.size(); ++i) {
      if (kOrdinalWords[i] == word) return static_cast<std::int64_t>(i + 1);
    }
  }
  if (word.size() < 3) return std::nullopt;
  const std::string suffix = word.substr(word.size() - 2);
  if (suffix != "st" && suffix != "nd" && suffix != "rd" && suffix != "th") return std::nullopt;
  return positiveNumber(std::string_view(word).substr(0, word.size() - 2));
}

// One "the …" item of a day list, without its "the". Adds a month day or sets the ordinal rule.
bool readDayItem(const std::vector<std::string>& item, Repeat& rule) {
  if (item.size() == 1) {
    if (auto n = ordinalWord(item[0], false)) {
      rule.monthDays.push_back(*n);
      return true;
    }
  }
  std::size_t i = 0;
  std::int64_t ordinal = 0;
  if (i < item.size() && item[i] == "last") {
    ordinal = -1;
    ++i;
  } else if (i < item.size()) {
    auto n = ordinalWord(item[i], true);
    if (!n) return false;
    ordinal = *n;
    ++i;
    if (i + 1 < item.size() && item[i] == "to" && item[i + 1] == "last") {
      ordinal = -ordinal;
      i += 2;
    }
  }
  std::vector<std::string> rest(item.begin() + static_cast<std::ptrdiff_t>(i), item.end());
  std::optional<Repeat::Kind> kind;
  if (rest == std::vector<std::string>{"day"}) kind = Repeat::Kind::anyDay();
  if (rest == std::vector<std::string>{"workday"}) kind = Repeat::Kind::workday();
  if (rest == std::vector<std::string>{"weekend", "day"}) kind = Repeat::Kind::weekend();
  if (rest.size() == 1) {
    if (auto w = weekdayWord(rest[0])) kind = Repeat::Kind::of(*w);
  }
  if (!kind || ordinal == 0) return false;
  if (*kind == Repeat::Kind::anyDay() && ordinal < 0) {
    rule.monthDays.push_back(ordinal);
    return true;
  }
  if (rule.onThe) return false;
  rule.onThe = Repeat::OnThe{ordinal, *kind};
  return true;
}

bool readDayItems(const std::vector<std::string>& tokens, std::size_t i, Repeat& rule) {
  if (i >= tokens.size()) return false;
  while (i < tokens.size()) {
    if (tokens[i] != "the") return false;
    std::vector<std::string> item;
    for (++i; i < tokens.size() && tokens[i] != "the"; ++i) {
      if (tokens[i] != "and") item.push_back(tokens[i]);
    }
    if (item.empty() || !readDayItem(item, rule)) return false;
  }
  return true;
}

}  // namespace

std::string Repeat::phrase() const {
  static constexpr std::string_view unitWords[] = {"day", "week", "month", "year"};
  const std::int64_t step = every < 1 ? 1 : every;
  const std::string_view unitWord = unitWords[static_cast<std::size_t>(unit)];
  std::vector<Weekday> days = weekdays;
  std::sort(days.begin(), days.end());
  days.erase(std::unique(days.begin(), days.end()), days.end());

  std::string text = "every ";
  if (unit == Unit::week && step == 1 &&
      std::equal(days.begin(), days.end(), kWorkdays.begin(), kWorkdays.end())) {
    text += "weekday";
  } else {
    text += step == 1 ? std::string(unitWord)
                      : std::to_string(step) + " " + std::string(unitWord) + "s";
    switch (unit) {
      case Unit::day:
        break;
      case Unit::week: {
        std::vector<std::string> names;
        for (Weekday w : days) names.emplace_back(weekdayName(w));
        if (!names.empty()) text += " on " + joinList(names);
        break;
      }
      case Unit::month:
        text += dayPart(*this);
        break;
      case Unit::year: {
        std::vector<std::int64_t> chosen = months;
        std::sort(chosen.begin(), chosen.end());
        chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
        std::vector<std::string> names;
        for (std::int64_t m : chosen) {
          if (m >= 1 && m <= 12) names.emplace_back(englishMonthName(m));
        }
        if (!names.empty()) text += " in " + joinList(names);
        text += dayPart(*this);
        break;
      }
    }
  }
  if (from == From::done) text += kAfterCompletion;
  if (from == From::catchUp) text += kSkippingMissed;
  return text;
}

std::optional<Repeat> Repeat::fromPhrase(std::string_view text) {
  std::string body = lower(text);
  while (!body.empty() && std::isspace(static_cast<unsigned char>(body.back()))) body.pop_back();
  Repeat rule;
  auto stripSuffix = [&body](std::string_view suffix) {
    if (!body.ends_with(suffix)) return false;
    body.erase(body.size() - suffix.size());
    return true;
  };
  if (stripSuffix(kAfterCompletion)) {
    rule.from = From::done;
  } else if (stripSuffix(kSkippingMissed) || stripSuffix(" skipping missed ones")) {
    rule.from = From::catchUp;
  }

  const std::vector<std::string> tokens = words(body);
  if (tokens.size() < 2 || tokens[0] != "every") return std::nullopt;
  std::size_t i = 1;
  if (tokens[i] == "weekday" && tokens.size() == 2) {
    rule.unit = Unit::week;
    rule.weekdays.assign(kWorkdays.begin(), kWorkdays.end());
    return rule;
  }
  if (tokens[i] == "other") {
    rule.every = 2;
    ++i;
  } else if (auto n = positiveNumber(tokens[i])) {
    if (*n < 1) return std::nullopt;
    rule.every = *n;
    ++i;
  }
  if (i >= tokens.size()) return std::nullopt;
  static constexpr std::string_view unitWords[] = {"day", "week", "month", "year"};
  bool knownUnit = false;
  for (std::size_t u = 0; u < 4; ++u) {
    if (tokens[i] == unitWords[u] || tokens[i] == std::string(unitWords[u]) + "s") {
      rule.unit = static_cast<Unit>(u);
      knownUnit = true;
    }
  }
  if (!knownUnit) return std::nullopt;
  ++i;
  if (i == tokens.size()) return rule;

  switch (rule.unit) {
    case Unit::day:
      return std::nullopt;
    case Unit::week:
      if (tokens[i] != "on" || i + 1 == tokens.size()) return std::nullopt;
      for (++i; i < tokens.size(); ++i) {
        if (tokens[i] == "and") continue;
        auto w = weekdayWord(tokens[i]);
        if (!w) return std::nullopt;
        rule.weekdays.push_back(*w);
      }
      return rule;
    case Unit::month:
      if (tokens[i] != "on" || !readDayItems(tokens, i + 1, rule)) return std::nullopt;
      return rule;
    case Unit::year:
      if (tokens[i] == "in") {
        for (++i; i < tokens.size() && tokens[i] != "on"; ++i) {
          if (tokens[i] == "and") continue;
          auto m = monthWord(tokens[i]);
          if (!m) return std::nullopt;
          rule.months.push_back(*m);
        }
        if (rule.months.empty()) return std::nullopt;
        if (i == tokens.size()) return rule;
      }
      if (tokens[i] != "on" || !readDayItems(tokens, i + 1, rule)) return std::nullopt;
      return rule;
  }
  return std::nullopt;
}

}  // namespace trivo

// Reading and writing the inline marks of a task.
#include "core/format/task_marks.h"

#include "core/format/text_util.h"

namespace trivo {

namespace {

std::optional<Priority> priorityCookie(std::string_view word) {
  if (word.size() != 4 || !word.starts_with("[#") || word[3] != ']') return std::nullopt;
  return priorityFromRaw(text::lower(word.substr(2, 1)));
}

std::optional<std::vector<AlertOffset>> alertList(std::string_view word) {
  if (!word.starts_with("alert:")) return std::nullopt;
  std::vector<AlertOffset> alerts;
  std::string_view rest = word.substr(6);
  while (true) {
    const std::size_t comma = rest.find(',');
    auto alert = TaskMarks::parseAlert(rest.substr(0, comma));
    if (!alert) return std::nullopt;
    alerts.push_back(*alert);
    if (comma == std::string_view::npos) return alerts;
    rest = rest.substr(comma + 1);
  }
}

}  // namespace

std::optional<AlertOffset> TaskMarks::parseAlert(std::string_view text) {
  if (text == "0") return AlertOffset{0};
  bool after = false;
  if (text.starts_with('+')) {
    after = true;
    text.remove_prefix(1);
  } else if (text.starts_with('-')) {
    text.remove_prefix(1);  // "-15m" reads as the same "15 minutes before"
  }
  if (text.size() < 2) return std::nullopt;
  std::int64_t unit = 0;
  switch (text.back()) {
    case 'm':
      unit = 1;
      break;
    case 'h':
      unit = 60;
      break;
    case 'd':
      unit = 1440;
      break;
    default:
      return std::nullopt;
  }
  const std::string_view digits = text.substr(0, text.size() - 1);
  // Six digits are more than a year in minutes; longer numbers are not reminders.
  if (digits.size() > 6 || digits.find_first_not_of("0123456789") != std::string_view::npos) {
    return std::nullopt;
  }
  const auto amount = detail::parseInteger(digits);
  if (!amount) return std::nullopt;
  return AlertOffset{(after ? 1 : -1) * *amount * unit};
}

std::string TaskMarks::alertText(const AlertOffset& alert) {
  if (alert.minutes == 0) return "0";
  const bool after = alert.minutes > 0;
  // Negating the most negative value would overflow; such an offset is written in minutes.
  const std::int64_t size =
      alert.minutes == INT64_MIN ? 0 : (after ? alert.minutes : -alert.minutes);
  std::string amount;
  if (size == 0) {
    amount = std::to_string(alert.minutes) + "m";
  } else if (size % 1440 == 0) {
    amount = std::to_string(size / 1440) + "d";
  } else if (size % 60 == 0) {
    amount = std::to_string(size / 60) + "h";
  } else {
    amount = std::to_string(size) + "m";
  }
  return (after ? "+" : "") + amount;
}

namespace {

std::optional<ClockTime> timeMark(std::string_view word) {
  if (!word.starts_with('@') || word.find(':') == std::string_view::npos) return std::nullopt;
  const std::string_view clock = word.substr(1);
  // Only "H:MM" or "HH:MM": "@1:2" is too loose to be meant as a time.
  if (clock.size() < 4 || clock[clock.size() - 3] != ':') return std::nullopt;
  return ClockTime::parse(clock);
}

std::optional<DayDate> dueMark(std::string_view word) {
  if (!word.starts_with("due:")) return std::nullopt;
  return DayDate::parse(word.substr(4));
}

// The words of a text with where each one starts.
std::vector<std::pair<std::size_t, std::string_view>> wordsOf(std::string_view text) {
  std::vector<std::pair<std::size_t, std::string_view>> out;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && text::isSpace(text[i])) ++i;
    const std::size_t start = i;
    while (i < text.size() && !text::isSpace(text[i])) ++i;
    if (start == i) break;
    out.emplace_back(start, text.substr(start, i - start));
  }
  return out;
}

}  // namespace

TaskMarks::Parts TaskMarks::parse(std::string_view text, bool dueMarks) {
  Parts parts;
  const auto words = wordsOf(text);
  // The priority written first and the due day and time written last count: that is where
  // `render` puts them, so that marks left in the words never take their place on a later read.
  std::optional<std::size_t> priorityAt, dueAt, timeAt;
  for (std::size_t w = 0; w < words.size(); ++w) {
    const auto word = words[w].second;
    if (auto p = priorityCookie(word); p && !priorityAt) {
      parts.priority = p;
      priorityAt = w;
    }
    if (auto d = dueMarks ? dueMark(word) : std::nullopt) {
      parts.due = d;
      dueAt = w;
    }
    if (auto t = dueMarks ? timeMark(word) : std::nullopt) {
      parts.time = t;
      timeAt = w;
    }
  }
  std::string kept;
  std::size_t copied = 0;  // the text before this position is already in `kept` or dropped
  for (std::size_t w = 0; w < words.size(); ++w) {
    const auto [start, word] = words[w];
    bool mark = true;
    if (w == priorityAt || w == dueAt || w == timeAt) {
      // read in the first pass
    } else if (auto alerts = alertList(word)) {
      parts.alerts.insert(parts.alerts.end(), alerts->begin(), alerts->end());
    } else {
      mark = false;
    }
    if (!mark) continue;
    // Drop the mark with the white space before it; the words keep their own spacing.
    std::size_t cut = start;
    while (cut > copied && text::isSpace(text[cut - 1])) --cut;
    kept.append(text.substr(copied, cut - copied));
    copied = start + word.size();
  }
  kept.append(text.substr(copied));
  parts.words = std::string(text::trim(kept));
  return parts;
}

std::string TaskMarks::render(const Parts& parts) {
  std::string out;
  auto add = [&out](std::string_view piece) {
    if (piece.empty()) return;
    if (!out.empty()) out += ' ';
    out += piece;
  };
  if (parts.priority) add("[#" + text::upper(rawValue(*parts.priority)) + "]");
  add(parts.words);
  if (parts.due) add("due:" + parts.due->isoString());
  if (parts.time) add("@" + parts.time->description());
  for (const auto& alert : parts.alerts) add("alert:" + alertText(alert));
  return out;
}

}  // namespace trivo

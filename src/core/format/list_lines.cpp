// Checkbox lines, numbered lines and the serves mark.
#include "core/format/list_lines.h"

#include "core/calendar/day_date.h"
#include "core/format/text_util.h"

namespace trivo {

std::string CheckboxLine::render(std::string_view mark, std::string_view text) {
  std::string out = "- [" + std::string(mark) + "]";
  if (!text.empty()) out += " " + std::string(text);
  return out;
}

std::optional<CheckboxLine> CheckboxLine::parse(std::string_view line) {
  if (!line.starts_with("- [") || line.size() < 5) return std::nullopt;
  const std::size_t markLength = text::charLength(line, 3);
  const std::size_t close = 3 + markLength;
  if (close >= line.size() || line[close] != ']' || line[3] == ']') return std::nullopt;
  std::string_view rest = line.substr(close + 1);
  if (rest.starts_with(' ')) rest.remove_prefix(1);
  return CheckboxLine{std::string(line.substr(3, markLength)), std::string(text::trimBreaks(rest))};
}

std::string_view CheckboxLine::markFor(OutcomeState state) {
  switch (state) {
    case OutcomeState::planned:
      return " ";
    case OutcomeState::done:
      return "x";
    case OutcomeState::blocked:
      return "-";
  }
  return " ";
}

std::optional<OutcomeState> CheckboxLine::stateFor(std::string_view mark) {
  if (mark == " ") return OutcomeState::planned;
  if (mark == "x" || mark == "X") return OutcomeState::done;
  if (mark == "-") return OutcomeState::blocked;
  return std::nullopt;
}

std::string NumberedLine::render(std::int64_t number, std::string_view text) {
  std::string out = std::to_string(number) + ".";
  if (!text.empty()) out += " " + std::string(text);
  return out;
}

std::optional<NumberedLine> NumberedLine::parse(std::string_view line) {
  std::size_t digits = 0;
  while (digits < line.size() && line[digits] >= '0' && line[digits] <= '9') ++digits;
  // Eighteen digits always fit a signed 64-bit number; longer runs are not list numbers.
  if (digits == 0 || digits > 18 || digits >= line.size() || line[digits] != '.') {
    return std::nullopt;
  }
  const std::string_view rest = line.substr(digits + 1);
  if (!rest.empty() && rest[0] != ' ') return std::nullopt;
  auto number = detail::parseInteger(line.substr(0, digits));
  if (!number) return std::nullopt;
  return NumberedLine{*number, std::string(text::trimBreaks(rest))};
}

namespace {

std::optional<std::int64_t> position(std::string_view digits) {
  digits = text::trimEnd(digits);
  if (digits.size() != 1 || digits[0] < '1' || digits[0] > '3') return std::nullopt;
  return digits[0] - '0';
}

}  // namespace

ServesLink ServesLink::split(std::string_view text) {
  for (std::string_view mark : {marker, asciiMarker}) {
    const std::string_view bare = mark.substr(1);
    if (text.starts_with(bare)) {
      if (auto n = position(text.substr(bare.size()))) return ServesLink{"", n};
    }
    const std::size_t at = text.rfind(mark);
    if (at == std::string_view::npos) continue;
    if (auto n = position(text.substr(at + mark.size()))) {
      return ServesLink{std::string(text::trimBreaks(text.substr(0, at))), n};
    }
  }
  return ServesLink{std::string(text), std::nullopt};
}

std::string ServesLink::join(std::string_view text, std::optional<std::int64_t> serves) {
  if (!serves) return std::string(text);
  if (text.empty()) return std::string(marker.substr(1)) + std::to_string(*serves);
  return std::string(text) + std::string(marker) + std::to_string(*serves);
}

}  // namespace trivo

// Done stamps.
#include "core/records/done_stamp.h"

#include "core/util/printf.h"

namespace trivo::DoneStamp {

const Clock* clock = nullptr;

std::string now() {
  const Clock& c = clock ? *clock : SystemClock::shared();
  const LocalReading r = c.local(c.now());
  return stringPrintf("%04lld-%02lld-%02lld %02lld:%02lld", static_cast<long long>(r.year),
                      static_cast<long long>(r.month), static_cast<long long>(r.day),
                      static_cast<long long>(r.hour), static_cast<long long>(r.minute));
}

std::string join(std::string_view text, std::string_view at) {
  std::string out(text);
  out += " [";
  out += at;
  out += "]";
  return out;
}

std::optional<DayDate> day(std::string_view stamp) {
  if (stamp.size() < 10) return std::nullopt;
  return DayDate::parse(stamp.substr(0, 10));
}

std::optional<ClockTime> time(std::string_view stamp) {
  if (stamp.size() <= 11 || stamp[10] != ' ') return std::nullopt;
  return ClockTime::parse(stamp.substr(11));
}

std::pair<std::string, std::optional<std::string>> split(std::string_view text) {
  if (!text.empty() && text.back() == ']') {
    const auto open = text.rfind('[');
    if (open != std::string_view::npos) {
      const std::string_view inside = text.substr(open + 1, text.size() - open - 2);
      const bool isStamp = day(inside) && (inside.size() == 10 || time(inside));
      if (isStamp) {
        std::string_view before = text.substr(0, open);
        while (!before.empty() && before.back() == ' ') before.remove_suffix(1);
        return {std::string(before), std::string(inside)};
      }
    }
  }
  return {std::string(text), std::nullopt};
}

}  // namespace trivo::DoneStamp

// Short display texts for counts and clocks shared by the widgets.
#pragma once

#include <cstdint>
#include <string>

namespace trivo::widgets {

struct Words {
  // A minute count for display: "0 min", "45 min", "1 h", "1 h 15 min". Negative counts show as 0.
  static std::string minutes(std::int64_t count);
  // A count of seconds as "%d:%02d" minutes and seconds ("25:00", "0:59", "120:00"), rounded up
  // so that a countdown shows "0:00" only when it is over. Negative counts show as "0:00".
  static std::string clock(double seconds);
};

}  // namespace trivo::widgets

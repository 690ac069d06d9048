// Why the today model refused a change: one sentence for the person, and nothing saved.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

namespace trivo {

class TodayError : public std::runtime_error {
 public:
  // slot: an outcome or list position that does not exist; serves: a served position outside
  // 1–3, or on a page with nothing above it; item: an inbox item or carry-over item that is not
  // there; page: a page that has no outcomes (the inbox); text: an entry with no words.
  enum class Kind { slot, serves, item, page, text };

  TodayError(Kind kind, const std::string& sentence) : std::runtime_error(sentence), kind_(kind) {}
  [[nodiscard]] Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

inline constexpr std::array<std::string_view, 5> kTodayErrorNames = {"slot", "serves", "item",
                                                                     "page", "text"};

}  // namespace trivo

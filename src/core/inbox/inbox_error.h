// The inbox model's refusals: each names what was asked and is worded by the front end.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "core/calendar/day_date.h"

namespace trivo {

class InboxError : public std::runtime_error {
 public:
  enum class Kind {
    emptyText,    // a capture with no words
    pastDay,      // a due day or hide day before today
    unknownItem,  // no item has that number
    unknownList,  // no list has that name
  };

  static InboxError emptyText();
  static InboxError pastDay(const DayDate& day, const DayDate& today);
  static InboxError unknownItem(std::int64_t number);
  static InboxError unknownList(const std::string& name);

  [[nodiscard]] Kind kind() const { return kind_; }

 private:
  InboxError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  Kind kind_;
};

}  // namespace trivo

// The inbox model's refusals.
#include "core/inbox/inbox_error.h"

namespace trivo {

InboxError InboxError::emptyText() { return {Kind::emptyText, "the captured line is empty"}; }

InboxError InboxError::pastDay(const DayDate& day, const DayDate& today) {
  return {Kind::pastDay, day.isoString() + " is before today, " + today.isoString()};
}

InboxError InboxError::unknownItem(std::int64_t number) {
  return {Kind::unknownItem, "the inbox has no item " + std::to_string(number)};
}

InboxError InboxError::unknownList(const std::string& name) {
  return {Kind::unknownList, "the inbox has no list \"" + name + "\""};
}

}  // namespace trivo

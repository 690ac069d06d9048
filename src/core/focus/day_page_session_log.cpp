// Sessions into day pages and back.
#include "core/focus/day_page_session_log.h"

namespace trivo {

void DayPageSessionLog::append(const DayDate& day, const FocusSession& session) {
  DayEntry entry = store_->dayForEditing(day);
  entry.sessions.push_back(session);
  store_->save(entry);
}

std::vector<FocusSession> DayPageSessionLog::sessions(const DayDate& day) const {
  return store_->peekDay(day).sessions;
}

}  // namespace trivo

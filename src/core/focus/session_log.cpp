// The in-memory session log and the chain of session writes.
#include "core/focus/session_log.h"

#include <exception>

namespace trivo {

void MemorySessionLog::append(const DayDate& day, const FocusSession& session) {
  days_[day].push_back(session);
}

std::vector<FocusSession> MemorySessionLog::sessions(const DayDate& day) const {
  auto it = days_.find(day);
  return it == days_.end() ? std::vector<FocusSession>{} : it->second;
}

void SaveChain::enqueue(const DayDate& day, FocusSession session) {
  if (log_ == nullptr) return;
  queue_.emplace_back(day, std::move(session));
  if (writing_) return;  // the write under way drains the queue when it is done
  writing_ = true;
  while (!queue_.empty()) {
    auto [d, s] = std::move(queue_.front());
    queue_.pop_front();
    try {
      log_->append(d, s);
    } catch (const std::exception&) {
      // A session that cannot be written is lost, but it must not stop the timer or the
      // writes behind it.
    }
  }
  writing_ = false;
}

}  // namespace trivo

// Where the focus timer leaves finished sessions: a day-by-day log of `FocusSession`s, and the
// chain that hands sessions to it one at a time.
#pragma once

#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/records/reflection.h"

namespace trivo {

// The sessions of each day. In a vault they live in the day pages; `MemorySessionLog` keeps
// them in memory (tests, and programs without a vault). Called on the timer's thread only.
class SessionLog {
 public:
  virtual ~SessionLog() = default;
  // Adds a session to the end of the day's sessions. May throw when the day cannot be written.
  virtual void append(const DayDate& day, const FocusSession& session) = 0;
  // The day's sessions in the order they were logged; empty for a day without any.
  [[nodiscard]] virtual std::vector<FocusSession> sessions(const DayDate& day) const = 0;
};

// A log that only lives in memory.
class MemorySessionLog final : public SessionLog {
 public:
  void append(const DayDate& day, const FocusSession& session) override;
  [[nodiscard]] std::vector<FocusSession> sessions(const DayDate& day) const override;
  // Every day that has sessions, earliest first.
  [[nodiscard]] const std::map<DayDate, std::vector<FocusSession>>& days() const { return days_; }

 private:
  std::map<DayDate, std::vector<FocusSession>> days_;
};

// Hands sessions to a log strictly one after another. A write asked for while another is under
// way (the log calling back into the timer, say) waits until that one is done, so two writes of
// the same day page never interleave. A failed write is dropped quietly; the next one still
// runs. A null log drops everything.
class SaveChain {
 public:
  explicit SaveChain(SessionLog* log) : log_(log) {}
  void enqueue(const DayDate& day, FocusSession session);
  // Writes waiting behind the one under way.
  [[nodiscard]] std::size_t waiting() const { return queue_.size(); }

 private:
  SessionLog* log_;
  std::deque<std::pair<DayDate, FocusSession>> queue_;
  bool writing_ = false;
};

}  // namespace trivo

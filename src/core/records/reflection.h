// The answers to a period's reflection questions, and the focus sessions logged on a day.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/records/task_step.h"
#include "core/util/json_fields.h"

namespace trivo {

struct Reflection {
  std::map<std::string, std::string> answers;   // question key → answer
  std::map<std::string, std::int64_t> ratings;  // question key → rating

  // The answer to a question, or nothing.
  [[nodiscard]] std::optional<std::string> operator[](const std::string& key) const;
  // Stores the answer as given (the page keeps what the user typed), or removes it when it is
  // empty after trimming whitespace and newlines.
  void set(const std::string& key, std::string answer);
  [[nodiscard]] bool isEmpty() const { return answers.empty() && ratings.empty(); }

  bool operator==(const Reflection&) const = default;
};

struct FocusSession {
  enum class Quality { distracted, good, focused, flow };

  ClockTime start;
  std::optional<ClockTime> end;  // absent while running or when unknown
  std::int64_t minutes = 0;      // focused minutes
  std::string outcome;           // what the session served; empty when nothing
  std::vector<std::string> comments;
  std::vector<TaskStep> steps;
  std::optional<Quality> quality;
  bool pomodoro = false;

  bool operator==(const FocusSession&) const = default;
};

inline constexpr std::array<std::string_view, 4> kFocusQualityNames = {"distracted", "good",
                                                                       "focused", "flow"};

void to_json(Json& j, const Reflection& r);
void from_json(const Json& j, Reflection& r);
void to_json(Json& j, const FocusSession::Quality& q);
void from_json(const Json& j, FocusSession::Quality& q);
void to_json(Json& j, const FocusSession& s);
void from_json(const Json& j, FocusSession& s);

}  // namespace trivo

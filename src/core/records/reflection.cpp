// Reflections and focus sessions.
#include "core/records/reflection.h"

#include "core/records/outcome.h"

namespace trivo {

std::optional<std::string> Reflection::operator[](const std::string& key) const {
  auto it = answers.find(key);
  if (it == answers.end()) return std::nullopt;
  return it->second;
}

void Reflection::set(const std::string& key, std::string answer) {
  if (trimmedWhitespace(answer).empty()) {
    answers.erase(key);
  } else {
    answers[key] = std::move(answer);
  }
}

void to_json(Json& j, const Reflection& r) {
  j = Json::object();
  json::put(j, "answers", r.answers);
  json::put(j, "ratings", r.ratings);
}

void from_json(const Json& j, Reflection& r) {
  json::requireObject(j, "Reflection");
  Reflection out;
  json::take(j, "answers", out.answers);
  if (auto it = j.find("ratings"); it != j.end() && !it->is_null()) {
    json::requireObject(*it, "Reflection ratings");
    for (const auto& [key, value] : it->items()) {
      out.ratings[key] = json::as<std::int64_t>(value, "ratings");
    }
  }
  r = std::move(out);
}

void to_json(Json& j, const FocusSession::Quality& q) { j = json::enumName(q, kFocusQualityNames); }
void from_json(const Json& j, FocusSession::Quality& q) {
  q = json::enumFromName<FocusSession::Quality>(j, kFocusQualityNames, "FocusSession.Quality");
}

void to_json(Json& j, const FocusSession& s) {
  j = Json::object();
  json::put(j, "start", s.start);
  json::put(j, "end", s.end);
  json::put(j, "minutes", s.minutes);
  json::put(j, "outcome", s.outcome);
  json::put(j, "comments", s.comments);
  json::put(j, "steps", s.steps);
  json::put(j, "quality", s.quality);
  json::put(j, "pomodoro", s.pomodoro);
}

void from_json(const Json& j, FocusSession& s) {
  json::requireObject(j, "FocusSession");
  FocusSession r;
  json::take(j, "start", r.start);
  json::take(j, "end", r.end);
  json::take(j, "minutes", r.minutes);
  json::take(j, "outcome", r.outcome);
  json::take(j, "comments", r.comments);
  json::take(j, "steps", r.steps);
  json::take(j, "quality", r.quality);
  json::take(j, "pomodoro", r.pomodoro);
  s = std::move(r);
}

}  // namespace trivo

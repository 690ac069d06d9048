// Outcomes and the normalised set of three.
#include "core/records/outcome.h"

#include "core/util/json_integers.h"

namespace trivo {

std::string_view trimmedWhitespace(std::string_view text) {
  constexpr std::string_view blanks = " \t\n\r\v\f";
  const auto begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

Outcome Outcome::make(std::string text, OutcomeState state, std::optional<std::int64_t> serves) {
  Outcome o;
  o.text = std::move(text);
  o.state = state;
  o.serves = serves;
  return o;
}

bool Outcome::isBlank() const { return trimmedWhitespace(text).empty(); }

OutcomeSet::OutcomeSet(Scope s, std::vector<Outcome> list)
    : scope(s), outcomes(normalize(std::move(list))) {}

std::vector<Outcome> OutcomeSet::normalize(std::vector<Outcome> list) {
  if (list.size() > 3) list.resize(3);
  list.reserve(3);
  while (list.size() < 3) list.push_back(Outcome{});
  for (std::size_t i = 0; i < list.size(); ++i) list[i].order = static_cast<std::int64_t>(i) + 1;
  return list;
}

bool OutcomeSet::isBlank() const {
  for (const auto& o : outcomes) {
    if (!o.isBlank()) return false;
  }
  return true;
}

void to_json(Json& j, const Scope& s) { j = json::enumName(s, kScopeNames); }
void from_json(const Json& j, Scope& s) { s = json::enumFromName<Scope>(j, kScopeNames, "Scope"); }
void to_json(Json& j, const OutcomeState& s) { j = json::enumName(s, kOutcomeStateNames); }
void from_json(const Json& j, OutcomeState& s) {
  s = json::enumFromName<OutcomeState>(j, kOutcomeStateNames, "OutcomeState");
}

void to_json(Json& j, const OrgKeyword& k) {
  j = Json::object();
  json::put(j, "word", k.word);
  json::put(j, "state", k.state);
}

void from_json(const Json& j, OrgKeyword& k) {
  json::requireObject(j, "OrgKeyword");
  OrgKeyword r;
  json::take(j, "word", r.word);
  json::take(j, "state", r.state);
  k = std::move(r);
}

void to_json(Json& j, const Outcome& o) {
  j = Json::object();
  json::put(j, "text", o.text);
  json::put(j, "state", o.state);
  json::put(j, "comments", o.comments);
  json::put(j, "order", o.order);
  json::put(j, "serves", o.serves);
  json::put(j, "trailingLines", o.trailingLines);
  json::put(j, "orgKeyword", o.orgKeyword);
}

void from_json(const Json& j, Outcome& o) {
  json::requireObject(j, "Outcome");
  Outcome r;
  json::take(j, "text", r.text);
  json::take(j, "state", r.state);
  json::take(j, "comments", r.comments);
  json::takeInteger(j, "order", r.order);
  json::takeInteger(j, "serves", r.serves);
  json::take(j, "trailingLines", r.trailingLines);
  json::take(j, "orgKeyword", r.orgKeyword);
  o = std::move(r);
}

void to_json(Json& j, const OutcomeSet& s) {
  j = Json::object();
  json::put(j, "scope", s.scope);
  json::put(j, "outcomes", s.outcomes);
}

void from_json(const Json& j, OutcomeSet& s) {
  json::requireObject(j, "OutcomeSet");
  Scope scope = Scope::day;
  std::vector<Outcome> outcomes;
  json::take(j, "scope", scope);
  json::take(j, "outcomes", outcomes);
  s = OutcomeSet(scope, std::move(outcomes));
}

}  // namespace trivo

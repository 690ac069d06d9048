// Building the year overview from the pages through the store.
#include "core/planning/outcome_graph.h"

#include "core/records/day_entry.h"
#include "core/store/vault_store.h"

namespace trivo {
namespace {

bool servesInRange(const std::optional<std::int64_t>& serves) {
  return serves && *serves >= 1 && *serves <= 3;
}

std::vector<OutcomeGraph::Node> nodes(const OutcomeSet& set, const ServesProgress::Set& progress) {
  std::vector<OutcomeGraph::Node> out;
  for (std::size_t i = 0; i < set.outcomes.size(); ++i) {
    const auto slot = static_cast<std::int64_t>(i) + 1;
    OutcomeGraph::Node node;
    node.slot = slot;
    node.outcome = set.outcomes[i];
    if (const auto it = progress.slots.find(slot); it != progress.slots.end()) {
      node.serving = it->second;
    }
    out.push_back(std::move(node));
  }
  return out;
}

}  // namespace

OutcomeGraph::Graph OutcomeGraph::graph() const { return Graph{{year(currentYear_)}}; }

OutcomeGraph::Year OutcomeGraph::year(std::int64_t y) const {
  const ServesProgress progress(store_);
  Year out;
  out.year = y;
  out.outcomes = nodes(store_.peekYear(y).outcomes, progress.forYear(y));
  for (std::int64_t q = 1; q <= 4; ++q) out.quarters.push_back(quarter(YearQuarter{y, q}));
  return out;
}

OutcomeGraph::Quarter OutcomeGraph::quarter(const YearQuarter& q) const {
  const ServesProgress progress(store_);
  Quarter out;
  out.quarter = q;
  out.outcomes = nodes(store_.peekQuarter(q).outcomes, progress.forQuarter(q));
  for (const ISOWeek& week : ISOWeek::weeks(q)) out.weekFractions.push_back(weekFraction(week));
  out.months.assign(ServesProgress::monthsOf(q).size(), std::nullopt);
  return out;
}

std::optional<double> OutcomeGraph::weekFraction(const ISOWeek& week) const {
  // A week outcome reaches the quarter when it serves a month outcome (of the week's own month)
  // that in turn serves one of the quarter's outcomes.
  const OutcomeSet month = store_.peekMonth(week.owningMonth()).outcomes;
  const OutcomeSet weekSet = store_.peekWeek(week).outcomes;
  bool reaches[3] = {false, false, false};
  bool any = false;
  for (std::size_t i = 0; i < weekSet.outcomes.size() && i < 3; ++i) {
    const Outcome& w = weekSet.outcomes[i];
    if (w.isBlank() || !servesInRange(w.serves)) continue;
    const auto at = static_cast<std::size_t>(*w.serves - 1);
    if (at >= month.outcomes.size()) continue;
    const Outcome& m = month.outcomes[at];
    reaches[i] = !m.isBlank() && servesInRange(m.serves);
    any = any || reaches[i];
  }
  if (!any) return std::nullopt;
  std::int64_t total = 0;
  std::int64_t done = 0;
  const DayDate monday = week.monday();
  for (std::int64_t d = 0; d < 7; ++d) {
    for (const Outcome& o : store_.peekDay(monday.adding(d)).outcomes.outcomes) {
      if (o.isBlank() || !servesInRange(o.serves) || !reaches[*o.serves - 1]) continue;
      ++total;
      if (o.state == OutcomeState::done) ++done;
    }
  }
  if (total == 0) return std::nullopt;
  return static_cast<double>(done) / static_cast<double>(total);
}

// --- JSON

namespace {

// Lists with gaps: an absent entry is written as null and read back from null.
template <class T>
Json gappedList(const std::vector<std::optional<T>>& list) {
  Json j = Json::array();
  for (const auto& entry : list) j.push_back(entry ? Json(*entry) : Json(nullptr));
  return j;
}

template <class T>
void readGappedList(const Json& j, const char* key, std::vector<std::optional<T>>& list) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  if (!it->is_array()) throw RecordError(std::string("\"") + key + "\" must be a list");
  list.clear();
  for (const Json& entry : *it) {
    list.push_back(entry.is_null() ? std::nullopt : std::optional<T>(json::as<T>(entry, key)));
  }
}

}  // namespace

void to_json(Json& j, const OutcomeGraph::Node& n) {
  j = Json::object();
  json::put(j, "slot", n.slot);
  json::put(j, "outcome", n.outcome);
  json::put(j, "serving", n.serving);
}
void from_json(const Json& j, OutcomeGraph::Node& n) {
  json::requireObject(j, "OutcomeGraph.Node");
  json::take(j, "slot", n.slot);
  json::take(j, "outcome", n.outcome);
  json::take(j, "serving", n.serving);
}

void to_json(Json& j, const OutcomeGraph::MonthCell& c) {
  j = Json::object();
  json::put(j, "month", c.month);
}
void from_json(const Json& j, OutcomeGraph::MonthCell& c) {
  json::requireObject(j, "OutcomeGraph.MonthCell");
  json::take(j, "month", c.month);
}

void to_json(Json& j, const OutcomeGraph::Quarter& q) {
  j = Json::object();
  json::put(j, "quarter", q.quarter);
  json::put(j, "outcomes", q.outcomes);
  j["weekFractions"] = gappedList(q.weekFractions);
  j["months"] = gappedList(q.months);
}
void from_json(const Json& j, OutcomeGraph::Quarter& q) {
  json::requireObject(j, "OutcomeGraph.Quarter");
  json::take(j, "quarter", q.quarter);
  json::take(j, "outcomes", q.outcomes);
  readGappedList(j, "weekFractions", q.weekFractions);
  readGappedList(j, "months", q.months);
}

void to_json(Json& j, const OutcomeGraph::Year& y) {
  j = Json::object();
  json::put(j, "year", y.year);
  json::put(j, "outcomes", y.outcomes);
  json::put(j, "quarters", y.quarters);
}
void from_json(const Json& j, OutcomeGraph::Year& y) {
  json::requireObject(j, "OutcomeGraph.Year");
  json::take(j, "year", y.year);
  json::take(j, "outcomes", y.outcomes);
  json::take(j, "quarters", y.quarters);
}

void to_json(Json& j, const OutcomeGraph::Graph& g) {
  j = Json::object();
  json::put(j, "years", g.years);
}
void from_json(const Json& j, OutcomeGraph::Graph& g) {
  json::requireObject(j, "OutcomeGraph.Graph");
  json::take(j, "years", g.years);
}

}  // namespace trivo

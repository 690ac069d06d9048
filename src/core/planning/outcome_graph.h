// The year overview of the outcome chain: each year's outcomes and each quarter's, with how
// what serves them stands, and for every week of a quarter how far the days' work along the
// whole chain up to the quarter has got.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/calendar/periods.h"
#include "core/planning/serves_progress.h"
#include "core/records/outcome.h"
#include "core/util/json_fields.h"

namespace trivo {

class VaultStore;

class OutcomeGraph {
 public:
  struct Node {
    std::int64_t slot = 1;
    Outcome outcome;
    ServesProgress::Stat serving;
    bool operator==(const Node&) const = default;
  };

  // A month's cell of calendar statistics. The vault keeps no such statistics yet, so every
  // cell is left absent; the list still has one entry per month so that views can lay it out.
  struct MonthCell {
    YearMonth month;
    bool operator==(const MonthCell&) const = default;
  };

  struct Quarter {
    YearQuarter quarter;
    std::vector<Node> outcomes;
    // One per week whose Monday lies in the quarter: of the day outcomes that serve the
    // quarter through the whole chain (a day outcome serving a week outcome that serves a month
    // outcome that serves one of the quarter's), the share that is done. Absent for a week
    // with no such day outcome, so "nothing linked" is not shown as "nothing done".
    std::vector<std::optional<double>> weekFractions;
    std::vector<std::optional<MonthCell>> months;
    bool operator==(const Quarter&) const = default;
  };

  struct Year {
    std::int64_t year = 1970;
    std::vector<Node> outcomes;
    std::vector<Quarter> quarters;
    bool operator==(const Year&) const = default;
  };

  struct Graph {
    std::vector<Year> years;
    bool operator==(const Graph&) const = default;
  };

  OutcomeGraph(VaultStore& store, std::int64_t currentYear)
      : store_(store), currentYear_(currentYear) {}

  [[nodiscard]] VaultStore& store() const { return store_; }
  [[nodiscard]] std::int64_t currentYear() const { return currentYear_; }

  // The graph of the current year.
  [[nodiscard]] Graph graph() const;
  [[nodiscard]] Year year(std::int64_t year) const;
  [[nodiscard]] Quarter quarter(const YearQuarter& quarter) const;
  // The week's entry of `weekFractions`.
  [[nodiscard]] std::optional<double> weekFraction(const ISOWeek& week) const;

 private:
  VaultStore& store_;
  std::int64_t currentYear_;
};

void to_json(Json& j, const OutcomeGraph::Node& n);
void from_json(const Json& j, OutcomeGraph::Node& n);
void to_json(Json& j, const OutcomeGraph::MonthCell& c);
void from_json(const Json& j, OutcomeGraph::MonthCell& c);
void to_json(Json& j, const OutcomeGraph::Quarter& q);
void from_json(const Json& j, OutcomeGraph::Quarter& q);
void to_json(Json& j, const OutcomeGraph::Year& y);
void from_json(const Json& j, OutcomeGraph::Year& y);
void to_json(Json& j, const OutcomeGraph::Graph& g);
void from_json(const Json& j, OutcomeGraph::Graph& g);

}  // namespace trivo

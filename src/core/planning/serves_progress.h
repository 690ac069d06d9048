// How the outcomes of a period stand, counted from what serves them one level below: day
// outcomes and pulled inbox items for a week, week outcomes for a month, month outcomes for a
// quarter, quarter outcomes for a year.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/records/outcome.h"
#include "core/records/task_step.h"
#include "core/util/json_fields.h"
#include "core/vault/entry_key.h"

namespace trivo {

class VaultStore;

// Declared outside ServesProgress so that it is complete (and default-constructible) where
// nested records and the JSON conversions use it; clang would otherwise see it as neither.
// How many items serve one outcome, and how many of them are done or blocked.
struct ServesStat {
  std::int64_t total = 0;
  std::int64_t done = 0;
  std::int64_t blocked = 0;

  // Progress dots for a served outcome in `state`: "●" per done item, "⊘" per blocked one,
  // "○" per open one, scaled down to at most ten dots. With nothing serving, the outcome's own
  // state alone: "●" when done, "⊘" when blocked, nothing when planned.
  [[nodiscard]] std::string dots(OutcomeState state) const;
  bool operator==(const ServesStat&) const = default;
};

class ServesProgress {
 public:
  using Stat = ServesStat;

  // A task that serves: a pulled inbox item, at `index` in its day's pulled items.
  struct Sub {
    std::string text;
    bool done = false;
    std::int64_t index = 0;
    std::vector<std::string> comments;
    std::vector<TaskStep> steps;
    bool operator==(const Sub&) const = default;
  };

  // An outcome of the level below that serves, with the tasks of its day that serve the same
  // outcome. A child with `slot` 0 and no text stands for a day whose pulled items serve an
  // outcome that none of that day's own outcomes serves.
  struct Child {
    std::string text;
    OutcomeState state = OutcomeState::planned;
    EntryKey from;
    std::int64_t slot = 0;
    std::vector<std::string> comments;
    std::vector<Sub> tasks;
    bool operator==(const Child&) const = default;
  };

  // The answer for one period: positions 1–3 are always present, with zero stats and no
  // children where nothing serves.
  struct Set {
    std::map<std::int64_t, Stat> slots;
    std::int64_t unlinked = 0;
    std::map<std::int64_t, std::vector<Child>> children;
    bool operator==(const Set&) const = default;
  };

  explicit ServesProgress(VaultStore& store) : store_(store) {}

  [[nodiscard]] VaultStore& store() const { return store_; }

  [[nodiscard]] Set forWeek(const ISOWeek& week) const;
  [[nodiscard]] Set forMonth(const YearMonth& month) const;
  [[nodiscard]] Set forQuarter(const YearQuarter& quarter) const;
  [[nodiscard]] Set forYear(std::int64_t year) const;

  // Changes the outcome at `slot` (1–3) of the period page `page` and saves the page through
  // the store. False, and nothing saved, for the inbox or a slot outside 1–3.
  bool editOutcome(const EntryKey& page, std::int64_t slot,
                   const std::function<void(Outcome&)>& edit) const;

  // The weeks that count toward a month: those whose Monday lies in it, so a week straddling
  // two months counts once, for the month it starts in.
  static std::vector<ISOWeek> weeksOf(const YearMonth& month);
  // The months of a quarter, in order. A year's quarters are its four quarters. The grouping is
  // the same in both year modes: calendar mode changes how the year page is laid out, not
  // which periods lie below which.
  static std::vector<YearMonth> monthsOf(const YearQuarter& quarter);

 private:
  VaultStore& store_;
};

void to_json(Json& j, const ServesProgress::Stat& s);
void from_json(const Json& j, ServesProgress::Stat& s);
void to_json(Json& j, const ServesProgress::Sub& s);
void from_json(const Json& j, ServesProgress::Sub& s);
void to_json(Json& j, const ServesProgress::Child& c);
void from_json(const Json& j, ServesProgress::Child& c);
void to_json(Json& j, const ServesProgress::Set& s);
void from_json(const Json& j, ServesProgress::Set& s);

}  // namespace trivo

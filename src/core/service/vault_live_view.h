// The part of the live state that comes from the vault's pages: today's outcome count, the
// outcome cards of the day, week, month and year, the agenda lines, and the seven-day strip of
// focused minutes.
#pragma once

#include <optional>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/focus/live_state.h"
#include "core/records/inbox_item.h"
#include "core/store/vault_store.h"

namespace trivo {

struct VaultLiveView {
  std::int64_t todayMinutes = 0;
  std::int64_t done = 0;
  std::int64_t set = 0;
  std::vector<LiveState::Card> cards;
  std::vector<LiveState::AgendaLine> agenda;
  std::vector<LiveState::Day> week;
  bool operator==(const VaultLiveView&) const = default;

  // Reads today's, this week's, month's and year's pages and the inbox through the store (which
  // must read pages as records), as they stand now. Throws what the store throws for a page
  // that cannot be read (PageReadError, SerializerError).
  static VaultLiveView read(VaultStore& store, const DayDate& today, const ClockTime& now);

  // Copies the view into the record's vault fields.
  void fill(LiveState& state) const;
};

// The agenda lines of a day from the inbox: the items due that day (done ones ticked), then the
// open items that were due earlier (marked late), each group by due time, untimed ones last. An
// item due today whose time has passed is marked late too.
std::vector<LiveState::AgendaLine> agendaLines(const Inbox& inbox, const DayDate& day,
                                               const ClockTime& now);

}  // namespace trivo

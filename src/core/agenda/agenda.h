// The agenda: for a run of days, what is due or scheduled on each, gathered from the inbox, the
// outcomes of the period pages and the Org planning lines written on those pages.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/outcome.h"
#include "core/util/json_fields.h"
#include "core/vault/entry_key.h"

namespace trivo {

class VaultStore;
class VaultPaths;

struct AgendaItem {
  enum class Kind { inbox, outcome, planning };
  // How a planning line names its day: the day work starts, or the day it must be done by.
  enum class Planning { scheduled, deadline };

  DayDate day;
  std::optional<ClockTime> time;
  Kind kind = Kind::inbox;
  std::string text;
  // An open inbox item whose due day is before the agenda's first day, shown on that day.
  bool overdue = false;
  std::optional<std::int64_t> number;  // an inbox item's number, as inbox listings print it
  std::optional<EntryKey> page;        // the page an outcome or planning line is written on
  std::optional<Planning> planning;
  // An Org file of the person's own that holds the planning line, relative to the vault root.
  std::optional<std::string> file;

  bool operator==(const AgendaItem&) const = default;
};

inline constexpr std::array<std::string_view, 3> kAgendaKindNames = {"inbox", "outcome",
                                                                     "planning"};
inline constexpr std::array<std::string_view, 2> kAgendaPlanningNames = {"scheduled", "deadline"};

class Agenda {
 public:
  // What is due or scheduled on `from` and the `days` - 1 days after it (at least one day), in
  // day order; within a day timed entries first by time, then the rest as gathered (inbox,
  // outcomes, planning lines). Read as the pages read now, recording nothing in the store.
  //
  // - Inbox: each open item that is not parked for someday on every day its rule falls due
  //   (its due day alone when it does not repeat), except days it is hidden; an item due before
  //   `from` shows once on `from`, marked overdue, and then on its later dates.
  // - Outcomes: the open, non-blank outcomes of each day page on that day, of a week on its
  //   target Friday, of a month, quarter and year on their last day.
  // - Planning lines (Org pages): a heading outside the outcomes section whose planning line
  //   has an active SCHEDULED or DEADLINE stamp, on the stamp's day and its repeats, unless the
  //   heading is done. Only the pages of the days shown and of the weeks, months, quarters and
  //   years holding them are read.
  //
  // Throws what the store's record operations throw for a page that cannot be read.
  static std::vector<AgendaItem> build(VaultStore& store, const DayDate& from, std::int64_t days);

  // The planning entries of one page's text between `from` and `through` inclusive.
  static std::vector<AgendaItem> planningLines(std::string_view text, const EntryKey& page,
                                               const DayDate& from, const DayDate& through);

  // The planning entries between `from` and `through` of the vault's other Org files (those that
  // OrgFiles::list finds, less `skip`), read by OrgFileReader with `keywords` for files that
  // declare none; files named in `pins` first. Unreadable files are passed over.
  static std::vector<AgendaItem> orgFileItems(const VaultPaths& paths,
                                              const std::vector<std::string>& skip,
                                              const std::vector<std::string>& pins,
                                              std::string_view keywords, const DayDate& from,
                                              const DayDate& through);
  // Adds `more` to an agenda built by `build`, keeping its order: by day, timed entries first.
  static void merge(std::vector<AgendaItem>& agenda, std::vector<AgendaItem> more);
};

void to_json(Json& j, const AgendaItem& item);

}  // namespace trivo

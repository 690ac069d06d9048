// Building the live state's vault fields from the pages.
#include "core/service/vault_live_view.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/calendar/periods.h"

namespace trivo {

namespace {

std::string liveMonthName(std::int64_t month) {
  return std::string(englishMonthName(month));
}

LiveState::Card cardOf(std::string key, std::string title, std::string subtitle,
                       const OutcomeSet& set) {
  LiveState::Card card{std::move(key), std::move(title), std::move(subtitle), {}};
  for (const Outcome& outcome : set.outcomes) {
    if (outcome.isBlank()) continue;
    card.outcomes.push_back(
        {outcome.text, std::string(kOutcomeStateNames[static_cast<std::size_t>(outcome.state)])});
  }
  return card;
}

}  // namespace

std::vector<LiveState::AgendaLine> agendaLines(const Inbox& inbox, const DayDate& day,
                                               const ClockTime& now) {
  struct Entry {
    bool earlier;
    std::int64_t minute;
    const InboxItem* item;
  };
  std::vector<Entry> entries;
  for (const InboxItem& item : inbox.items) {
    if (!item.due || item.isHidden(day)) continue;
    const bool today = *item.due == day;
    if (!today && !item.isDue(day)) continue;
    entries.push_back({!today, item.time ? item.time->minutesOfDay() : 24 * 60, &item});
  }
  std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    if (a.earlier != b.earlier) return !a.earlier;
    return a.minute < b.minute;
  });
  std::vector<LiveState::AgendaLine> lines;
  for (const Entry& e : entries) {
    const InboxItem& item = *e.item;
    LiveState::AgendaLine line;
    line.text = item.text;
    line.day = e.earlier ? item.due->isoString() : "";
    line.time = item.time ? item.time->description() : "";
    line.done = item.done;
    line.late = !item.done && (e.earlier || (item.time && item.time->minutesOfDay() <
                                                              now.minutesOfDay()));
    lines.push_back(std::move(line));
  }
  return lines;
}

VaultLiveView VaultLiveView::read(VaultStore& store, const DayDate& today, const ClockTime& now) {
  VaultLiveView view;
  const DayEntry day = store.peekDay(today);
  for (const Outcome& outcome : day.outcomes.outcomes) {
    if (outcome.isBlank()) continue;
    ++view.set;
    if (outcome.state == OutcomeState::done) ++view.done;
  }
  const ISOWeek week = today.isoWeek();
  const YearMonth month{today.year, today.month};
  view.cards.push_back(cardOf("day", std::string(weekdayName(today.weekday())),
                              std::to_string(today.day) + " " + liveMonthName(today.month),
                              day.outcomes));
  view.cards.push_back(cardOf("week", "Week " + std::to_string(week.week), week.id(),
                              store.peekWeek(week).outcomes));
  view.cards.push_back(cardOf("month", liveMonthName(today.month), std::to_string(today.year),
                              store.peekMonth(month).outcomes));
  view.cards.push_back(
      cardOf("year", std::to_string(today.year), "", store.peekYear(today.year).outcomes));
  view.agenda = agendaLines(store.peekInbox(), today, now);

  for (std::int64_t back = 6; back >= 0; --back) {
    const DayDate date = today.adding(-back);
    const auto sessions = back == 0 ? day.sessions : store.peekDay(date).sessions;
    LiveState::Day strip;
    strip.label = std::string(weekdayName(date.weekday()).substr(0, 3));
    strip.day = date.day;
    for (const FocusSession& s : sessions) {
      // A hand-edited page cannot make the strip absurd.
      strip.minutes += std::clamp<std::int64_t>(s.minutes, 0, 1440);
      ++strip.sessions;
    }
    strip.today = back == 0;
    if (back == 0) view.todayMinutes = strip.minutes;
    view.week.push_back(std::move(strip));
  }
  return view;
}

void VaultLiveView::fill(LiveState& state) const {
  state.todayMinutes = todayMinutes;
  state.done = done;
  state.set = set;
  state.cards = cards;
  state.agenda = agenda;
  state.week = week;
}

}  // namespace trivo

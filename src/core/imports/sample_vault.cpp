// The sample vault's content. Texts rotate through small fixed lists, so the same today gives the
// same pages apart from the inbox items' fresh ids (tests and the tour name the texts).
#include "core/imports/sample_vault.h"

#include <array>
#include <set>
#include <string_view>

#include "core/store/vault_store.h"

namespace trivo {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::array kDayOutcomes = {
    "Draft the report's summary"sv, "Run 5 km"sv,           "Answer the supplier's email"sv,
    "Review the budget sheet"sv,    "Call the bank"sv,       "Outline the talk"sv,
    "Fix the bike's brakes"sv,      "Read two chapters"sv,   "Tidy the shared folder"sv,
    "Plan the team meeting"sv,      "Cook for the week"sv,   "Write to grandma"sv,
};
constexpr std::array kWeekOutcomes = {
    "Send the quarterly report"sv, "Train three times"sv,  "Clear the paperwork"sv,
    "Prepare the talk"sv,          "Fix up the flat"sv,    "See friends twice"sv,
};
constexpr std::array kMonthOutcomes = {
    "Close the year's accounts"sv, "Run a 10 km race"sv, "Finish the kitchen shelves"sv,
};
constexpr std::array kQuarterOutcomes = {
    "Grow the team's skills"sv, "Get fit for spring"sv, "A calmer home"sv,
};
constexpr std::array kJournal = {
    "Slow start; coffee on the balcony."sv,
    "Good focus until lunch, then meetings."sv,
    "Walked home through the park."sv,
    "The report finally reads well."sv,
    "Tired, but the list is shorter."sv,
    "Long call with Sam about the move."sv,
    "Rain all day; stayed in and wrote."sv,
};
constexpr std::array kChecklist = {
    "Buy coffee"sv, "Water the plants"sv, "Back up the laptop"sv, "Post the parcel"sv,
};

CarryItem task(std::string text, bool done = false) {
  CarryItem item;
  item.text = std::move(text);
  item.done = done;
  return item;
}

template <std::size_t N>
std::string pick(const std::array<std::string_view, N>& list, std::int64_t index) {
  const auto n = static_cast<std::int64_t>(N);
  return std::string(list[static_cast<std::size_t>(((index % n) + n) % n)]);
}

std::vector<Outcome> outcomes(const std::array<std::string_view, 6>& list, std::int64_t seed,
                              OutcomeState firstState) {
  std::vector<Outcome> out;
  for (std::int64_t i = 0; i < 3; ++i) {
    out.push_back(Outcome::make(pick(list, seed * 3 + i), i == 0 ? firstState
                                                                  : OutcomeState::planned,
                                i + 1));
  }
  return out;
}

// `leftOpen` marks the last day before today: what it leaves unfinished is offered to carry.
DayEntry pastDay(const DayDate& day, bool leftOpen) {
  const std::int64_t n = day.dayNumber();
  DayEntry entry;
  entry.date = day;
  std::vector<Outcome> list;
  for (std::int64_t i = 0; i < 3; ++i) {
    // Most outcomes get done; every fourth stays open and every seventh is blocked.
    const std::int64_t k = n * 3 + i;
    const OutcomeState state = k % 7 == 0   ? OutcomeState::blocked
                               : k % 4 == 0 ? OutcomeState::planned
                                            : OutcomeState::done;
    list.push_back(Outcome::make(pick(kDayOutcomes, k), state, (k % 3) + 1));
  }
  if (leftOpen) list[1].state = OutcomeState::planned;
  entry.outcomes = OutcomeSet(Scope::day, std::move(list));
  CarryItem first = task(pick(kChecklist, n), !leftOpen);
  if (first.done) first.closedAt = day.isoString() + " 17:30";
  entry.checklist.push_back(first);
  entry.journal.push_back(JournalEntry{ClockTime{8, 30 + n % 20}, pick(kJournal, n)});
  if (n % 2 == 0) entry.journal.push_back(JournalEntry{ClockTime{18, 5}, pick(kJournal, n + 3)});
  if (leftOpen) entry.forTomorrow.push_back(task("Ask Lee about the invoice"));
  return entry;
}

DayEntry todayPage(const DayDate& today) {
  DayEntry entry;
  entry.date = today;
  const std::int64_t n = today.dayNumber();
  entry.outcomes = OutcomeSet(
      Scope::day, {Outcome::make(pick(kDayOutcomes, n * 3), OutcomeState::done, 1),
                   Outcome::make(pick(kDayOutcomes, n * 3 + 1), OutcomeState::planned, 2),
                   Outcome::make(pick(kDayOutcomes, n * 3 + 2), OutcomeState::planned, 3)});
  entry.journal.push_back(JournalEntry{ClockTime{7, 45}, "Planned the day over breakfast."});
  return entry;
}

InboxItem item(std::string text, const DayDate& captured) {
  return InboxItem::make(std::move(text), captured);
}

Inbox sampleInbox(const DayDate& today) {
  Inbox inbox;
  InboxItem overdue = item("Renew the passport", today.adding(-10));
  overdue.due = today.adding(-2);
  overdue.priority = Priority::a;
  inbox.items.push_back(overdue);

  InboxItem dentist = item("Call the dentist", today.adding(-3));
  dentist.due = today;
  dentist.time = ClockTime{18, 0};
  inbox.items.push_back(dentist);

  InboxItem gift = item("Buy a present for Alex", today.adding(-1));
  gift.due = today.adding(3);
  inbox.items.push_back(gift);

  InboxItem plants = item("Water the plants", today.adding(-13));
  // The next Monday on or after today.
  plants.due = today.adding((7 - weekdayIndex(today.weekday())) % 7);
  plants.repeats = Repeat::weekly(1, {Weekday::monday});
  plants.doneDates = {plants.due->adding(-7)};
  inbox.items.push_back(plants);

  InboxItem piano = item("Learn a song on the piano", today.adding(-12));
  piano.someday = true;
  inbox.items.push_back(piano);

  InboxItem quote = item("Quote for the new boiler", today.adding(-6));
  quote.waiting = true;
  inbox.items.push_back(quote);

  inbox.items.push_back(item("Read the article Sam sent", today));
  return inbox;
}

}  // namespace

void SampleVault::write(VaultStore& store, const DayDate& today) {
  std::set<ISOWeek> weeks;
  std::set<YearMonth> months;
  for (std::int64_t back = 13; back >= 1; --back) {
    const DayDate day = today.adding(-back);
    weeks.insert(day.isoWeek());
    months.insert(day.isoWeek().owningMonth());
    if (day.weekday() == Weekday::sunday) continue;
    const bool lastBeforeToday =
        back == 1 || (back == 2 && today.weekday() == Weekday::monday);
    store.save(pastDay(day, lastBeforeToday));
  }
  store.save(todayPage(today));
  weeks.insert(today.isoWeek());
  months.insert(today.isoWeek().owningMonth());

  for (const ISOWeek& w : weeks) {
    WeekEntry week;
    week.week = w;
    week.targetFriday = w.friday();
    const bool finished = w.sunday() < today;
    week.outcomes =
        OutcomeSet(Scope::week, outcomes(kWeekOutcomes, w.week,
                                         finished ? OutcomeState::done : OutcomeState::planned));
    week.checklist.push_back(task("Book the train for the weekend", finished));
    if (finished) {
      week.reflection.set("friday.well", "Kept to the three outcomes most days.");
      week.reflection.set("friday.improve", "Start the hardest outcome before email.");
      week.reflection.set("friday.mattered", "The long walk on Wednesday.");
    }
    store.save(week);
  }
  for (const YearMonth& m : months) {
    MonthEntry month;
    month.month = m;
    std::vector<Outcome> list;
    for (std::int64_t i = 0; i < 3; ++i) {
      list.push_back(Outcome::make(pick(kMonthOutcomes, i), OutcomeState::planned, i + 1));
    }
    month.outcomes = OutcomeSet(Scope::month, std::move(list));
    store.save(month);
  }
  QuarterEntry quarter;
  quarter.quarter = today.yearQuarter();
  std::vector<Outcome> list;
  for (std::int64_t i = 0; i < 3; ++i) {
    list.push_back(Outcome::make(pick(kQuarterOutcomes, i)));
  }
  quarter.outcomes = OutcomeSet(Scope::quarter, std::move(list));
  store.save(quarter);

  store.save(sampleInbox(today));
  store.flush();
}

}  // namespace trivo

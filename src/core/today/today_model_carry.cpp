// Carry-over: what the last lived day left unfinished, offered to today and moved into it, with
// what became of each item written on the day it came from.
#include <algorithm>
#include <set>

#include "core/today/today_model.h"

namespace trivo {
namespace {

constexpr std::string_view kCarriedNote = "carried to ";

// An outcome moved on keeps a note of where it went; that note is also what keeps it from being
// offered again, since an outcome has no fate of its own.
bool wasCarried(const Outcome& outcome) {
  return std::any_of(outcome.comments.begin(), outcome.comments.end(),
                     [](const std::string& c) { return c.starts_with(kCarriedNote); });
}

bool isOpen(const CarryItem& item) { return !item.done && !item.fate; }

// What today already holds, by its words, so that an item carried once (or written in by hand)
// is not offered again even when the note on the old day could not be written.
std::set<std::string> carryWordsOf(const DayEntry& day) {
  std::set<std::string> words;
  for (const Outcome& o : day.outcomes.outcomes) {
    if (!o.isBlank()) words.insert(std::string(trimmedWhitespace(o.text)));
  }
  for (const CarryItem& c : day.checklist) words.insert(std::string(trimmedWhitespace(c.text)));
  return words;
}

CarryItem openCopy(const CarryItem& item) {
  return CarryItem{item.text, false, item.comments, std::nullopt, std::nullopt, item.steps};
}

}  // namespace

std::optional<DayDate> TodayModel::carrySource() { return pages_->latestBefore(today()); }

std::vector<TodayModel::CarryOffer> TodayModel::carryOffers() {
  const auto from = carrySource();
  if (!from) return {};
  const DayEntry old = day(*from);
  const std::set<std::string> held = carryWordsOf(page());
  const auto fresh = [&](const std::string& text) {
    return !held.contains(std::string(trimmedWhitespace(text)));
  };
  std::vector<CarryOffer> offers;
  for (std::size_t i = 0; i < old.outcomes.outcomes.size(); ++i) {
    const Outcome& o = old.outcomes.outcomes[i];
    if (o.isBlank() || o.state != OutcomeState::planned || wasCarried(o) || !fresh(o.text)) {
      continue;
    }
    offers.push_back({CarryOffer::Kind::outcome, *from, i, o.text});
  }
  for (std::size_t i = 0; i < old.checklist.size(); ++i) {
    const CarryItem& c = old.checklist[i];
    if (isOpen(c) && fresh(c.text))
      offers.push_back({CarryOffer::Kind::checklist, *from, i, c.text});
  }
  for (std::size_t i = 0; i < old.forTomorrow.size(); ++i) {
    const CarryItem& c = old.forTomorrow[i];
    if (isOpen(c) && fresh(c.text)) {
      offers.push_back({CarryOffer::Kind::forTomorrow, *from, i, c.text});
    }
  }
  return offers;
}

std::vector<TodayModel::CarryOffer> TodayModel::offersForToday() {
  if (hasPlan(page())) return {};
  return carryOffers();
}

std::vector<TodayModel::CarryOffer> TodayModel::carry(const std::vector<std::size_t>& numbers) {
  const std::vector<CarryOffer> offers = carryOffers();
  std::vector<CarryOffer> chosen;
  if (numbers.empty()) {
    chosen = offers;
  } else {
    std::set<std::size_t> seen;
    for (std::size_t n : numbers) {
      if (n < 1 || n > offers.size()) {
        throw TodayError(
            TodayError::Kind::item,
            offers.empty()
                ? "There is nothing to carry over, so there is no item " + std::to_string(n) + "."
                : "There is no carry-over item " + std::to_string(n) +
                      "; the items are numbered 1 to " + std::to_string(offers.size()) + ".");
      }
      if (seen.insert(n).second) chosen.push_back(offers[n - 1]);
    }
  }
  if (chosen.empty()) return {};

  const DayDate to = today();
  DayEntry old = day(chosen.front().from);
  DayEntry entry = page();
  for (const CarryOffer& offer : chosen) {
    switch (offer.kind) {
      case CarryOffer::Kind::outcome: {
        Outcome& was = old.outcomes.outcomes[offer.index];
        auto slot = std::find_if(entry.outcomes.outcomes.begin(), entry.outcomes.outcomes.end(),
                                 [](const Outcome& o) { return o.isBlank(); });
        if (slot != entry.outcomes.outcomes.end()) {
          std::vector<std::string> kept = std::move(slot->trailingLines);
          // What it served is a position in the week's outcomes, so it only holds in that week.
          const bool sameWeek = offer.from.isoWeek() == to.isoWeek();
          *slot =
              Outcome::make(was.text, OutcomeState::planned, sameWeek ? was.serves : std::nullopt);
          slot->comments = was.comments;
          slot->trailingLines = std::move(kept);
        } else {
          entry.checklist.push_back(
              CarryItem{was.text, false, was.comments, std::nullopt, std::nullopt, {}});
        }
        was.comments.push_back(std::string(kCarriedNote) + to.isoString());
        break;
      }
      case CarryOffer::Kind::checklist: {
        CarryItem& was = old.checklist[offer.index];
        entry.checklist.push_back(openCopy(was));
        was.fate = CarryItem::Fate::today;
        break;
      }
      case CarryOffer::Kind::forTomorrow: {
        CarryItem& was = old.forTomorrow[offer.index];
        entry.checklist.push_back(openCopy(was));
        was.fate = CarryItem::Fate::today;
        break;
      }
    }
  }
  save(old);
  save(entry);
  return chosen;
}

}  // namespace trivo

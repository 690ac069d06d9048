// Filtering the cadence engine's offers by what the vault already holds.
#include "core/planning/cadence_offers.h"

#include <algorithm>

namespace trivo {

CadenceEngine::DayPlan openOffers(const CadenceEngine::DayPlan& plan, VaultStore& store) {
  using Offer = CadenceEngine::ReflectionOffer;
  using Next = CadenceEngine::SetNext;
  CadenceEngine::DayPlan open = plan;
  if (open.weeklyOutcomesFirst && !store.peekWeek(open.week).outcomes.isBlank()) {
    open.weeklyOutcomesFirst = false;
  }
  std::erase_if(open.reflections, [&](const Offer& offer) {
    switch (offer.kind) {
      case Offer::Kind::friday:
        return !store.peekWeek(std::get<ISOWeek>(offer.period)).reflection.isEmpty();
      case Offer::Kind::monthly:
        return !store.peekMonth(std::get<YearMonth>(offer.period)).reflection.isEmpty();
      case Offer::Kind::quarterly:
        return !store.peekQuarter(std::get<YearQuarter>(offer.period)).reflection.isEmpty();
      case Offer::Kind::yearly:
        return !store.peekYear(std::get<std::int64_t>(offer.period)).reflection.isEmpty();
    }
    return false;
  });
  std::erase_if(open.setNext, [&](const Next& next) {
    switch (next.kind) {
      case Next::Kind::month:
        return !store.peekMonth(std::get<YearMonth>(next.period)).outcomes.isBlank();
      case Next::Kind::quarter:
        return !store.peekQuarter(std::get<YearQuarter>(next.period)).outcomes.isBlank();
      case Next::Kind::year:
        return !store.peekYear(std::get<std::int64_t>(next.period)).outcomes.isBlank();
    }
    return false;
  });
  return open;
}

}  // namespace trivo

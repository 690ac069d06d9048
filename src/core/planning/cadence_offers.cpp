// Filtering the cadence engine's offers by what the vault already holds.
#include "core/planning/cadence_offers.h"

#include <algorithm>

namespace trivo {

CadenceEngine::DayPlan openOffers(const CadenceEngine::DayPlan& plan, VaultStore& store) {
  using OpenOffer = CadenceEngine::ReflectionOffer;
  using OpenNext = CadenceEngine::SetNext;
  CadenceEngine::DayPlan open = plan;
  if (open.weeklyOutcomesFirst && !store.peekWeek(open.week).outcomes.isBlank()) {
    open.weeklyOutcomesFirst = false;
  }
  std::erase_if(open.reflections, [&](const OpenOffer& offer) {
    switch (offer.kind) {
      case OpenOffer::Kind::friday:
        return !store.peekWeek(std::get<ISOWeek>(offer.period)).reflection.isEmpty();
      case OpenOffer::Kind::monthly:
        return !store.peekMonth(std::get<YearMonth>(offer.period)).reflection.isEmpty();
      case OpenOffer::Kind::quarterly:
        return !store.peekQuarter(std::get<YearQuarter>(offer.period)).reflection.isEmpty();
      case OpenOffer::Kind::yearly:
        return !store.peekYear(std::get<std::int64_t>(offer.period)).reflection.isEmpty();
    }
    return false;
  });
  std::erase_if(open.setNext, [&](const OpenNext& next) {
    switch (next.kind) {
      case OpenNext::Kind::month:
        return !store.peekMonth(std::get<YearMonth>(next.period)).outcomes.isBlank();
      case OpenNext::Kind::quarter:
        return !store.peekQuarter(std::get<YearQuarter>(next.period)).outcomes.isBlank();
      case OpenNext::Kind::year:
        return !store.peekYear(std::get<std::int64_t>(next.period)).outcomes.isBlank();
    }
    return false;
  });
  return open;
}

}  // namespace trivo

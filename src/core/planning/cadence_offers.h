// A day's plan as the vault stands: the reflections not yet written and the periods whose
// outcomes are not yet set.
#pragma once

#include "core/planning/cadence_engine.h"
#include "core/store/vault_store.h"

namespace trivo {

// The plan with what is already done taken out: a reflection with any answer or rating is no
// longer offered, nor a next period whose outcomes are set, and the week's outcomes no longer
// come first once they are set. Reads the pages through the store without recording anything;
// a page that does not read throws as the store's reads do.
CadenceEngine::DayPlan openOffers(const CadenceEngine::DayPlan& plan, VaultStore& store);

}  // namespace trivo

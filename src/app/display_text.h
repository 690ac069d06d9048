// The words the window shows for the library's values and failures, so every screen says them
// the same way.
#pragma once

#include <exception>
#include <string>

#include "core/calendar/day_date.h"
#include "core/planning/cadence_engine.h"
#include "core/records/repeat.h"
#include "core/store/store_errors.h"
#include "core/vault/entry_key.h"

namespace trivo {
class VaultStore;
}

namespace trivo::app {

// "Wednesday 16 September 2026".
std::string longDayText(const DayDate& day);
// A page's id as people write it: "2026-09-16", "2026-W38", "2026-09", "2026-Q3", "2026".
std::string pageId(const EntryKey& key);
// "Wed 16 Sep".
std::string shortDayText(const DayDate& day);
// "Reflect on the week 2026-W38".
std::string reflectionOfferText(const CadenceEngine::ReflectionOffer& offer);
// One sentence for a page that cannot be read: which file, why, and that it stays read-only.
std::string unreadableText(const PageReadError& error, const VaultStore& store);
// One sentence for a change that could not be written, saying that nothing was lost.
std::string failureText(const std::exception& error, const VaultStore& store);

}  // namespace trivo::app

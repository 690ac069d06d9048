// Reads arbitrary text as a recurrence phrase and as an Org repeater. Whatever reads must write
// a text that reads back to the same text, and stepping the rule must end.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/records/repeat.h"

namespace {

void check(const trivo::Repeat& rule) {
  const trivo::DayDate start{2026, 9, 16};
  (void)rule.next(start, start);
  (void)rule.dates(start, trivo::DayDate{2027, 9, 16}, 50);
  const std::string phrase = rule.phrase();
  auto again = trivo::Repeat::fromPhrase(phrase);
  if (!again || again->phrase() != phrase) std::abort();
  auto org = trivo::Repeat::fromOrgRepeater(rule.orgRepeater());
  if (!org || org->orgRepeater() != rule.orgRepeater()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (auto rule = trivo::Repeat::fromPhrase(text)) check(*rule);
  if (auto rule = trivo::Repeat::fromOrgRepeater(text)) check(*rule);
  return 0;
}

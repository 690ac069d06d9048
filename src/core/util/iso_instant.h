// Instants as JSON text: ISO 8601 in UTC with milliseconds ("2026-09-16T09:30:00.000Z"), and
// "the distant past" that stands for "never" in shared records.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/platform/clock.h"
#include "core/util/json_fields.h"

namespace trivo {

// The instant that stands for "long ago". `Instant` counts nanoseconds and cannot reach year 1,
// so a fixed instant, 1900-01-01, takes its place: far enough back that nothing real is older,
// near enough that subtracting it from any instant before 2190 cannot overflow. It is written as
// "0001-01-01T00:00:00.000Z", and every text older than it reads back as it.
Instant distantPast();

// "YYYY-MM-DDTHH:MM:SS.mmmZ" in UTC; the fraction is truncated to whole milliseconds.
std::string isoInstantString(Instant instant);

// Reads "YYYY-MM-DDTHH:MM:SS" followed by an optional fraction of up to nine digits and "Z" or
// an offset "+HH:MM" / "-HH:MM". Nothing for any other text or for a time after year 2261;
// times before `distantPast()` read as it.
std::optional<Instant> parseIsoInstant(std::string_view text);

}  // namespace trivo

// Instants travel in JSON as the text above; json::put / json::take then work for them as for
// any other field. A string that is not such a text throws RecordError.
template <>
struct nlohmann::adl_serializer<trivo::Instant> {
  static void to_json(trivo::Json& j, const trivo::Instant& instant);
  static void from_json(const trivo::Json& j, trivo::Instant& instant);
};

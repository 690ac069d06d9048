// Feeds arbitrary bytes to the live-state and session readers: they must either refuse the
// record or read one whose JSON is stable after one round trip.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/focus/live_session.h"
#include "core/focus/live_state.h"
#include "core/util/iso_instant.h"

namespace {

template <class T>
void roundTrip(const trivo::Json& j) {
  T first;
  try {
    first = j.get<T>();
  } catch (const trivo::RecordError&) {
    return;
  }
  const T second = trivo::Json::parse(trivo::Json(first).dump()).template get<T>();
  const T third = trivo::Json::parse(trivo::Json(second).dump()).template get<T>();
  if (!(second == third)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (auto instant = trivo::parseIsoInstant(text)) {
    auto again = trivo::parseIsoInstant(trivo::isoInstantString(*instant));
    if (!again || trivo::isoInstantString(*again) != trivo::isoInstantString(*instant)) {
      std::abort();
    }
  }
  const trivo::Json j = trivo::Json::parse(text, nullptr, false);
  if (j.is_discarded()) return 0;
  roundTrip<trivo::LiveState>(j);
  roundTrip<trivo::LiveState::Order>(j);
  roundTrip<trivo::LiveSession>(j);
  roundTrip<trivo::LiveAsk>(j);
  roundTrip<trivo::LiveEnded>(j);
  return 0;
}

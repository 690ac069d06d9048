// Instant texts: exact output form, accepted and rejected inputs, and the distant past.
#include "core/util/iso_instant.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

using namespace std::chrono_literals;

Instant instantAt(std::int64_t secondsSinceEpoch) {
  return Instant(std::chrono::seconds(secondsSinceEpoch));
}

TEST(IsoInstant, WritesUtcWithMillisecondsTruncated) {
  EXPECT_EQ(isoInstantString(instantAt(1789551000)), "2026-09-16T09:30:00.000Z");
  EXPECT_EQ(isoInstantString(instantAt(1789551000) + 123'999'999ns), "2026-09-16T09:30:00.123Z");
  EXPECT_EQ(isoInstantString(instantAt(0)), "1970-01-01T00:00:00.000Z");
  // Before the epoch the fraction still counts forward from the whole second.
  EXPECT_EQ(isoInstantString(instantAt(-1) + 500ms), "1969-12-31T23:59:59.500Z");
  EXPECT_EQ(isoInstantString(instantAt(-1) - 1ns), "1969-12-31T23:59:58.999Z");
}

TEST(IsoInstant, ReadsWhatItWritesAndCommonVariants) {
  const struct {
    const char* text;
    Instant expected;
  } cases[] = {
      {"2026-09-16T09:30:00.000Z", instantAt(1789551000)},
      {"2026-09-16T09:30:00Z", instantAt(1789551000)},
      {"2026-09-16T09:30:00.5Z", instantAt(1789551000) + 500ms},
      {"2026-09-16T09:30:00.123456789Z", instantAt(1789551000) + 123456789ns},
      {"2026-09-16T11:30:00+02:00", instantAt(1789551000)},
      {"2026-09-16T04:00:00-05:30", instantAt(1789551000)},
      {"1970-01-01T00:00:00.000Z", instantAt(0)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(parseIsoInstant(c.text), c.expected) << c.text;
  }
  const char* rejected[] = {"",
                            "2026-09-16",
                            "2026-09-16 09:30:00Z",
                            "2026-09-16T09:30:00",
                            "2026-09-16T09:30:00.Z",
                            "2026-09-16T09:30:00.1234567890Z",
                            "2026-13-16T09:30:00Z",
                            "2026-02-30T09:30:00Z",
                            "2026-09-16T24:00:00Z",
                            "2026-09-16T09:60:00Z",
                            "2026-09-16T09:30:00+0200",
                            "2026-09-16T09:30:00ZZ",
                            "9999-01-01T00:00:00Z"};
  for (const char* text : rejected) {
    EXPECT_EQ(parseIsoInstant(text), std::nullopt) << text;
  }
}

TEST(IsoInstant, DistantPastTravelsAsYearOne) {
  EXPECT_EQ(isoInstantString(distantPast()), "0001-01-01T00:00:00.000Z");
  EXPECT_EQ(parseIsoInstant("0001-01-01T00:00:00.000Z"), distantPast());
  EXPECT_EQ(parseIsoInstant("1850-06-01T00:00:00Z"), distantPast());
  // Subtracting it from today must not overflow.
  EXPECT_GT(std::chrono::duration_cast<std::chrono::hours>(instantAt(1789551000) - distantPast()).count(),
            0);
}

TEST(IsoInstant, JsonFieldsUseTheTextAndRejectOthers) {
  Json j = Json::object();
  json::put(j, "at", instantAt(1789551000));
  json::put(j, "none", std::optional<Instant>{});
  EXPECT_EQ(j.dump(), R"({"at":"2026-09-16T09:30:00.000Z","none":null})");
  std::optional<Instant> back;
  json::take(j, "at", back);
  EXPECT_EQ(back, instantAt(1789551000));
  Instant value{};
  EXPECT_THROW(json::take(Json::parse(R"({"at": 5})"), "at", value), RecordError);
  EXPECT_THROW(json::take(Json::parse(R"({"at": "yesterday"})"), "at", value), RecordError);
}

}  // namespace
}  // namespace trivo

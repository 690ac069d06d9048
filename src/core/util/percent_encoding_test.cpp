// Percent-encoding round trips and malformed escapes.
#include "core/util/percent_encoding.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

TEST(PercentEncoding, KeepsUnreservedEncodesTheRestAndRoundTrips) {
  EXPECT_EQ(percentEncode("day:2026-09-16"), "day%3A2026-09-16");
  EXPECT_EQ(percentEncode("day:2026-09-16", ":"), "day:2026-09-16");
  EXPECT_EQ(percentEncode("a b&c=d/é"), "a%20b%26c%3Dd%2F%C3%A9");
  const std::string texts[] = {"", "plain", "a b+c%d", "über/ß?#&=", std::string("\0\x7f\xff", 3)};
  for (const std::string& text : texts) {
    EXPECT_EQ(percentDecode(percentEncode(text)), text) << text;
  }
}

TEST(PercentEncoding, MalformedEscapesYieldNothing) {
  for (const char* bad : {"%", "%4", "a%zz", "%G0", "abc%"}) {
    EXPECT_EQ(percentDecode(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(percentDecode("a+b%2b"), "a+b+");
}

}  // namespace
}  // namespace trivo

// Texts from the live state on their way to a terminal.
#include "core/widgets/printable.h"

#include <gtest/gtest.h>

namespace trivo::widgets {
namespace {

const std::string kBad = "\xEF\xBF\xBD";

TEST(PrintableText, KeepsOrdinaryTextInAnyScript) {
  const std::string text = "Caf\xC3\xA9 \xE2\x98\x95 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\x89 [x] 50% #1";
  EXPECT_EQ(printableText(text), text);
}

TEST(PrintableText, NoControlCharacterSurvives) {
  // CSI, OSC (title change ended by BEL), a C1 CSI written as UTF-8, NUL, DEL and a
  // right-to-left override that would reverse what follows.
  EXPECT_EQ(printableText("\x1b[2Jred"), kBad + "[2Jred");
  EXPECT_EQ(printableText("\x1b]0;owned\x07ok"), kBad + "]0;owned" + kBad + "ok");
  EXPECT_EQ(printableText("a\xC2\x9B" "31mb"), "a" + kBad + "31mb");
  EXPECT_EQ(printableText(std::string("a\0b\x7F", 4)), "a" + kBad + "b" + kBad);
  EXPECT_EQ(printableText("txt.\xE2\x80\xAEgpj"), "txt." + kBad + "gpj");
  // Line breaks and tabs would break a bar line or the layout: they become spaces.
  EXPECT_EQ(printableText("one\ntwo\r\tthree\xE2\x80\xA8" "four"), "one two  three four");
}

TEST(PrintableText, BytesThatAreNotUtf8BecomeReplacementCharacters) {
  // A raw 0x9B is CSI to a terminal in an 8-bit locale.
  EXPECT_EQ(printableText("a\x9B" "b"), "a" + kBad + "b");
  EXPECT_EQ(printableText("\xC0\xAF"), kBad + kBad);          // overlong '/'
  EXPECT_EQ(printableText("\xED\xA0\x80"), kBad + kBad + kBad);  // a surrogate
  EXPECT_EQ(printableText("end\xE2\x82"), "end" + kBad + kBad);  // cut short
}

}  // namespace
}  // namespace trivo::widgets

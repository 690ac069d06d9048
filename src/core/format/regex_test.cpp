// The PCRE2 wrapper: groups, look-behind, replacement and subjects that are not valid UTF-8.
#include "core/format/regex.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace trivo {
namespace {

TEST(Regex, NumberedAndNamedGroupsAreViewsIntoTheSubject) {
  const Regex re(R"((?<day>\d{4}-\d{2}-\d{2})(?: (\w+))?)");
  const std::string subject = "due 2026-09-16, 2026-09-17 Thu";
  auto all = re.findAll(subject);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].group("day"), "2026-09-16");
  EXPECT_EQ(all[0].group(2), std::nullopt);  // did not take part
  EXPECT_EQ(all[0][2], "");
  EXPECT_EQ(all[1][2], "Thu");
  EXPECT_EQ(all[1].group("nope"), std::nullopt);
  EXPECT_EQ(all[1].group(9), std::nullopt);
  EXPECT_EQ(subject.substr(all[1].begin(), all[1].end() - all[1].begin()), "2026-09-17 Thu");
}

TEST(Regex, LookBehindAndGroupReferencesInReplacements) {
  const Regex re(R"((?<!!)\[([^\]]+)\]\(([^)]+)\))");
  EXPECT_EQ(re.replaceAll("see [a](x) and ![b](y) and [c](z)", "[[$2][$1]]"),
            "see [[x][a]] and ![b](y) and [[z][c]]");
  EXPECT_EQ(Regex("b").replaceAll("abcabc", "$$"), "a$ca$c");
  EXPECT_EQ(Regex("(x)?y").replaceAll("y", "<$1>"), "<>");
  // A replacement longer than the subject grows the result.
  EXPECT_EQ(Regex("a").replaceAll("aaaa", "0123456789"),
            "0123456789012345678901234567890123456789");
}

TEST(Regex, WholeMatchEmptyMatchesAndBadPatterns) {
  EXPECT_TRUE(Regex(R"(\d+)").matchWhole("123"));
  EXPECT_FALSE(Regex(R"(\d+)").matchWhole("123a"));
  EXPECT_EQ(Regex("x*").findAll("a→b").size(), 4u);  // before a, before →, before b, at the end
  EXPECT_THROW(Regex("(unclosed"), std::logic_error);
}

TEST(Regex, InvalidUtf8SubjectsNeverFail) {
  const std::string bad = "ok \xFF\xFE [a](b://c) \xC3";
  const Regex re(R"(\[([^\]]+)\]\(([^)\s]+)\))");
  EXPECT_TRUE(re.contains(bad));
  EXPECT_EQ(re.replaceAll(bad, "$2"), "ok \xFF\xFE b://c \xC3");
  EXPECT_FALSE(Regex("x").find(bad, 200));
}

}  // namespace
}  // namespace trivo

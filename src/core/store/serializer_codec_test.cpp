// The store's checks through the serializer: which texts it refuses to read, and the blank
// template it refuses to write over a full page.
#include "core/store/serializer_codec.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

TEST(SerializerCodec, ReportsIdentityAndFrontMatterProblemsOfEveryPageKind) {
  const SerializerCodec codec(MarkdownSerializer(YearMode::quarter, TextSyntax::markdown));
  const auto day = EntryKey::day(*DayDate::make(2026, 9, 16));
  EXPECT_EQ(codec.check(day, "---\ndate: 2026-09-17\n---\n"),
            ReadProblem::identity("2026-09-16", "2026-09-17"));
  EXPECT_EQ(codec.check(day, "---").value_or(ReadProblem{}).kind, ReadProblem::Kind::frontmatter);
  EXPECT_EQ(codec.check(EntryKey::year(2026), "---\nyear: 2025\n---\n"),
            ReadProblem::identity("2026", "2025"));
  for (const auto& key : {day, EntryKey::week(ISOWeek{2026, 38}), EntryKey::month(YearMonth{2026, 9}),
                          EntryKey::quarter(YearQuarter{2026, 3}), EntryKey::year(2026),
                          EntryKey::inbox()}) {
    // A blank template reads as the page it was made for, and carries its identity.
    EXPECT_EQ(codec.check(key, codec.blankText(key)), std::nullopt) << key.description();
    if (!key.isInbox()) {
      EXPECT_NE(codec.blankText(key).find(key.payloadText()), std::string::npos);
    }
  }
}

TEST(SerializerCodec, OrgTemplatesCarryTheKeywordDeclaration) {
  const SerializerCodec codec(MarkdownSerializer(YearMode::quarter, TextSyntax::org));
  const std::string blank = codec.blankText(EntryKey::day(*DayDate::make(2026, 9, 16)));
  EXPECT_TRUE(blank.starts_with("#+title: Wednesday, 16 September 2026\n#+date: 2026-09-16\n"
                                "#+type: day\n#+TODO: TODO NEXT INPROCESS WAITING | DONE CANCELLED\n"))
      << blank;
  EXPECT_NE(blank.find("** TODO\nSCHEDULED: <2026-09-16 Wed>\n"), std::string::npos) << blank;
}

}  // namespace
}  // namespace trivo

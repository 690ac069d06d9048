// Splitting pages into blocks and back, and Markdown front matter.
#include "core/format/outline.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/format/serializer_error.h"

namespace trivo {
namespace {

const TextSyntax mdSyntax = TextSyntax::markdown;
const TextSyntax orgSyntax = TextSyntax::org;

TEST(Outline, SplitThenRenderGivesBackHandEditedTextsByteForByte) {
  const std::pair<TextSyntax, const char*> pages[] = {
      {mdSyntax, ""},
      {mdSyntax, "\n"},
      {mdSyntax, "just a preamble\nwith no headings"},
      {mdSyntax, "# Day\n\n## Outcomes\n- [ ] a\n\n## Notes\n\n## Journal\n- 09:14 — x\n"},
      {mdSyntax, "\xEF\xBB\xBF# Day\r\n\r\n## Outcomes\r\n- [x] done  \r\n\r\n\r\n## Notes\r\n"},
      {mdSyntax, "## Notes   \n\n\n  \ntext with trailing spaces   \n\t\n## Empty\n## Also empty"},
      {mdSyntax, "## Notes\n```\n## not a heading\n~~~\n## still code\n```\n## Journal"},
      {mdSyntax, "## A\r\nmixed\nline ends\r\n"},
      {mdSyntax, "## A\n\n### sub\ntext\n\n\n"},
      {mdSyntax, "\xFF\xFE## broken\n## \xC3 title\n\xE2\x82"},
      {orgSyntax,
       "#+title: Day\n\n* Outcomes\n** TODO a\nSCHEDULED: <2026-09-16 Wed>\n\n* Notes\n"},
      {orgSyntax, "* Notes\n#+BEGIN_SRC sh\n* not a heading\n#+end_src\n* Journal\r\n"},
  };
  for (const auto& [syntax, page] : pages) {
    EXPECT_EQ(Outline::render(Outline::split(page, 2, syntax), 2, syntax), page) << page;
  }
}

TEST(Outline, HeadingsInsideFencesDoNotSplit) {
  const auto split = Outline::split(
      "intro\n\n## Notes\n```\n## code\n~~~\n## more\n```\n\n## Journal\nx", 2, mdSyntax);
  EXPECT_EQ(split.preamble, "intro");
  ASSERT_EQ(split.blocks.size(), 2u);
  EXPECT_EQ(split.blocks[0], (Outline::Block{"Notes", "```\n## code\n~~~\n## more\n```"}));
  EXPECT_EQ(split.blocks[1], (Outline::Block{"Journal", "x"}));

  const auto orgSplit = Outline::split("* A\n#+Begin_Quote\n* q\n#+END_QUOTE\n* B", 2, orgSyntax);
  ASSERT_EQ(orgSplit.blocks.size(), 2u);
  EXPECT_EQ(orgSplit.blocks[0].body, "#+Begin_Quote\n* q\n#+END_QUOTE");

  // An unclosed fence hides every later heading rather than splitting code.
  EXPECT_EQ(Outline::split("## A\n```\n## B", 2, mdSyntax).blocks.size(), 1u);
}

TEST(Outline, SplitsOnlyAtTheGivenLevelAndTrimsBodies) {
  const auto split = Outline::split("# T\n## A\n\n### a1\n\n  \n## B\r\n", 2, mdSyntax);
  EXPECT_EQ(split.preamble, "# T");
  EXPECT_EQ(split.blocks, (std::vector<Outline::Block>{{"A", "### a1"}, {"B\r", ""}}));
  // CRLF is only normalised when every line ends so; then titles carry no "\r".
  EXPECT_EQ(Outline::split("## A\r\n## B\r\n", 2, mdSyntax).blocks[1].title, "B");
}

TEST(Outline, BlocksBuiltInCodeRenderWithOneBlankLineBetween) {
  Outline::Split split;
  split.preamble = "# Day";
  split.blocks = {{"Outcomes", "- [ ] a"}, {"Reflection", "### Well\ntext"}, {"Notes", ""}};
  EXPECT_EQ(Outline::render(split, 2, mdSyntax),
            "# Day\n\n## Outcomes\n- [ ] a\n\n## Reflection\n\n### Well\ntext\n\n## Notes");
  EXPECT_EQ((Outline::Block{"Outcomes", "** TODO a"}).render(2, orgSyntax), "* Outcomes\n\n** TODO a");
  EXPECT_EQ((Outline::Block{"Notes", "*bold* start"}).render(2, orgSyntax), "* Notes\n\n*bold* start");
  EXPECT_EQ(Outline::join(std::vector<std::string>{"A", "", "B"}), "A\n\nB");
}

TEST(Outline, TrimBlankLinesKeepsInnerBlankLines) {
  const std::vector<std::string> lines = {"", " \t", "a", "", "b", "  ", ""};
  EXPECT_EQ(Outline::trimBlankLines(lines), "a\n\nb");
  EXPECT_EQ(Outline::trimBlankLines(std::vector<std::string>{" ", ""}), "");
}

TEST(Outline, FrontMatterReadsHandWrittenBlocks) {
  const std::tuple<const char*, std::vector<FrontmatterField>, std::string> cases[] = {
      {"no front matter\n---\n", {}, "no front matter\n---\n"},
      {"---\n---\nbody", {}, "body"},
      {"---\n\ndate :  2026-09-16  \nurl: https://x.org\n---\n",
       {{"date", "2026-09-16"}, {"url", "https://x.org"}},
       ""},
      {"---\ntags:\n  - a: b\n  - https://c\n---", {{"tags", "\n  - a: b\n  - https://c"}}, ""},
      {"---\nnote: one\nwrapped line\n---\nx", {{"note", "one\nwrapped line"}}, "x"},
      {"---\r\ndate: 2026-09-16\r\n---\r\nbody\r\n", {{"date", "2026-09-16"}}, "body\r\n"},
      {"\xEF\xBB\xBF---\ndate: 2026-09-16\n---\nx", {{"date", "2026-09-16"}}, "x"},
  };
  for (const auto& [text, fields, rest] : cases) {
    const auto front = Outline::splitFrontmatter(text);
    EXPECT_EQ(front.fields, fields) << text;
    EXPECT_EQ(front.rest, rest) << text;
  }
}

TEST(Outline, MalformedFrontMatterIsTheOnlyFailure) {
  // A block that never closes is refused too: read leniently it would swallow the whole page
  // (outcomes, journal) as continuation lines of its last field, and the next write would drop
  // them.
  for (const char* text : {"---", "---\n", "---\nno colon here\n---\n", "---\n- item\n---",
                           "---\ndate: 2026-09-16\n",
                           "---\ndate: 2026-09-16\ntype: day\n\n# Wednesday\n\n## Outcomes\n\n"
                           "- [ ] Ship\n"}) {
    try {
      (void)Outline::splitFrontmatter(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const SerializerError& e) {
      EXPECT_EQ(e.kind(), SerializerError::Case::malformedFrontmatter) << text;
    }
  }
  EXPECT_THROW((void)mdSyntax.splitFrontmatter("---"), SerializerError);
  EXPECT_NO_THROW((void)orgSyntax.splitFrontmatter("---"));
}

}  // namespace
}  // namespace trivo

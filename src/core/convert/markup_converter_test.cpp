// Marks in a person's text, converted both ways: each table row is a Markdown line and the Org
// line it becomes, and every row must also come back as it was.
#include "core/convert/markup_converter.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

const std::string kZws = "\xE2\x80\x8B";

struct Row {
  std::string markdown;
  std::string org;
};

TEST(MarkupConverter, MarksConvertBothWaysAndComeBack) {
  const std::vector<Row> rows = {
      {"a **bold** word", "a *bold* word"},
      {"an *italic* word", "an /italic/ word"},
      {"`code` and ~~gone~~", "~code~ and +gone+"},
      {"see [the site](https://example.org/a_b_c)", "see [[https://example.org/a_b_c][the site]]"},
      {"<https://example.org>", "[[https://example.org]]"},
      {"![](media/cat.png)", "[[file:media/cat.png]]"},
      {"![a cat](media/cat.png) here", "[[file:media/cat.png][a cat]] here"},
      {"open [today](trivo://open?page=today).", "open [[trivo://open?page=today][today]]."},
      // Left alone: page links, links without a scheme, addresses, words inside words.
      {"[week](../weeks/2026-W38.md)", "[week](../weeks/2026-W38.md)"},
      {"https://example.org/*x*/_y_", "https://example.org/*x*/_y_"},
      {"snake_case_name and 2*3*4", "snake_case_name and 2*3*4"},
      {"a * b * c", "a * b * c"},
      {"", ""},
      {"Ship it <!-- closed: 2026-09-16 10:02 -->", "Ship it @@trivo:closed: 2026-09-16 10:02@@"},
      // Markdown text that Org would read as a mark is kept from doing so.
      {"mount /usr/local/ first", "mount " + kZws + "/usr/local/ first"},
      {"=x= and ~y~", kZws + "=x= and " + kZws + "~y~"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(MarkupConverter::toOrgMark(row.markdown), row.org) << row.markdown;
    EXPECT_EQ(MarkupConverter::fromOrgMark(row.org), row.markdown) << row.org;
  }
}

TEST(MarkupConverter, OtherSpellingsComeBackInOneForm) {
  EXPECT_EQ(MarkupConverter::toOrgMark("_it_ and __bold__"), "/it/ and *bold*");
  EXPECT_EQ(MarkupConverter::fromOrgMark("/it/ and *bold*"), "*it* and **bold**");
  EXPECT_EQ(MarkupConverter::toOrgMark("![](../media/a.png)"), "[[file:media/a.png]]");
  EXPECT_EQ(MarkupConverter::fromOrgMark("=verbatim="), "`verbatim`");
  // Org's underline has no Markdown form and stays as written.
  EXPECT_EQ(MarkupConverter::fromOrgMark("_under_"), "_under_");
}

TEST(MarkupConverter, WrappedIsBoldOrItalicOfAtLeastThreeCharacters) {
  for (const char* yes : {"*a*", "/ab/", "*a b*"})
    EXPECT_TRUE(MarkupConverter::wrapped(yes)) << yes;
  for (const char* no : {"**", "*a", "**a**", "//a//", "/", "a/b/", "_a_"}) {
    EXPECT_FALSE(MarkupConverter::wrapped(no)) << no;
  }
}

TEST(MarkupConverter, TextsConvertHeadingsBlocksAndListsLineByLine) {
  const std::string markdown =
      "### Part\n"
      "* loose item with **bold**\n"
      "  * nested stays\n"
      "```python\n"
      "x = a_b_c * 2  # **not bold**\n"
      "```\n"
      "~~~\n"
      "/raw/\n"
      "~~~\n"
      "# a top heading stays\n";
  const std::string org =
      "** Part\n"
      "+ loose item with *bold*\n"
      "  * nested stays\n"
      "#+begin_src python\n"
      "x = a_b_c * 2  # **not bold**\n"
      "#+end_src\n"
      "#+begin_example\n"
      "/raw/\n"
      "#+end_example\n"
      "# a top heading stays\n";
  EXPECT_EQ(MarkupConverter::toOrg(markdown), org);
  EXPECT_EQ(MarkupConverter::toMarkdown(org), markdown);
  // Org's upper-case block lines read the same.
  EXPECT_EQ(MarkupConverter::toMarkdown("#+BEGIN_SRC sh\n*x*\n#+END_SRC"), "```sh\n*x*\n```");
}

}  // namespace
}  // namespace trivo

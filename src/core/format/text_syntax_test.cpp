// The markers of both page syntaxes, side by side: headings, stamps, done lines, hidden
// metadata, Org front matter and keywords, titles and tags, and escaping.
#include "core/format/text_syntax.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/format/text_util.h"

namespace trivo {
namespace {

const TextSyntax md = TextSyntax::markdown;
const TextSyntax org = TextSyntax::org;

DayDate syntaxDay(std::int64_t y, std::int64_t m, std::int64_t d) { return *DayDate::make(y, m, d); }

TEST(TextSyntax, OrgHeadingsStartOneLevelHigherBecauseTheTitleIsAKeyword) {
  const std::tuple<int, const char*, const char*> cases[] = {
      {0, "# ", "* "}, {1, "# ", "* "}, {2, "## ", "* "}, {3, "### ", "** "}, {4, "#### ", "*** "},
  };
  for (const auto& [level, markdown, orgMarker] : cases) {
    EXPECT_EQ(md.headingMarker(level), markdown) << level;
    EXPECT_EQ(org.headingMarker(level), orgMarker) << level;
  }
}

TEST(TextSyntax, SplittingHeadingsAreThoseNoDeeperThanTheSectionLevel) {
  const std::tuple<TextSyntax, const char*, int, bool> cases[] = {
      {md, "## Notes", 2, true},    {md, "# Title", 2, true},       {md, "### Part", 2, false},
      {md, "##Notes", 2, false},    {md, "#tag", 2, false},         {md, " ## Notes", 2, false},
      {md, "##\tNotes", 2, true},   {org, "* Notes", 2, true},      {org, "** Outcome", 2, false},
      {org, "** Outcome", 3, true}, {org, "*bold* word", 2, false}, {org, "- * x", 2, false},
  };
  for (const auto& [syntax, line, level, splits] : cases) {
    EXPECT_EQ(syntax.isSplittingHeading(line, level), splits) << line << " @" << level;
  }
}

// Org's state-change note, as Emacs writes it; its day is read back from such notes only.
TEST(TextSyntax, DoneDateIsReadFromStateChangeLinesOnly) {
  EXPECT_EQ(TextSyntax::orgDoneLine(syntaxDay(2026, 9, 12), ClockTime{18, 4}),
            "- State \"DONE\"       from \"TODO\"       [2026-09-12 Sat 18:04]");
  const std::set<std::string, std::less<>> custom = {"FINISHED"};
  const std::pair<std::string, std::optional<DayDate>> cases[] = {
      {TextSyntax::orgDoneLine(syntaxDay(2026, 9, 12), ClockTime{18, 4}), syntaxDay(2026, 9, 12)},
      {"  " + TextSyntax::orgDoneLine(syntaxDay(2026, 2, 28), std::nullopt) + "  ",
       syntaxDay(2026, 2, 28)},
      {"- State \"FINISHED\" from \"NEXT\" [2026-01-05 Mon 10:00]", syntaxDay(2026, 1, 5)},
      {"- State \"WAITING\" from \"TODO\" [2026-01-05 Mon]", std::nullopt},
      {"- State \"DONE\" from \"TODO\"", std::nullopt},
      {"- State \"DONE\" from \"TODO\" [2026-13-05 Mon]", std::nullopt},
      {"- State \"DONE", std::nullopt},
      {"- State DONE [2026-01-05]", std::nullopt},
      {"CLOSED: [2026-01-05 Mon]", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [line, date] : cases)
    EXPECT_EQ(TextSyntax::orgDoneDate(line, custom), date) << line;
}

TEST(TextSyntax, PlanningLinesBelongToTheHeadingAbove) {
  for (const char* line : {"SCHEDULED: <2026-09-16 Wed>", "  DEADLINE: <2026-09-18 Fri>",
                           "CLOSED: [2026-09-12 Sat 18:04]",
                           "CLOSED: [2026-09-11 Fri 10:02] SCHEDULED: <2026-09-11 Fri +1w>"}) {
    EXPECT_TRUE(TextSyntax::isPlanning(line)) << line;
  }
  // Only stamps make a planning line: a sentence after the keyword is the person's text, and
  // reading it as planning once made a page write differently the second time.
  for (const char* line : {"scheduled: <2026-09-16 Wed>", "- SCHEDULED: x", "", "CLOSED",
                           "\tSCHEDULED:", "CLOSED: Hear back from Ana",
                           "DEADLINE: <2026-09-18 Fri> and then some"}) {
    EXPECT_FALSE(TextSyntax::isPlanning(line)) << line;
  }
}

TEST(TextSyntax, HiddenMetadataSplitsOffTheEndOfALine) {
  using Meta = TextSyntax::Meta;
  const std::tuple<TextSyntax, const char*, std::optional<Meta>> cases[] = {
      {md, "Buy milk <!-- captured: 2026-09-06 · closed: 2026-09-12 -->",
       Meta{"Buy milk", "captured: 2026-09-06 · closed: 2026-09-12"}},
      {md, "a <!-- old --> b <!-- new -->  ", Meta{"a <!-- old --> b", "new"}},
      {md, "<!-- captured: 2026-09-06 -->", Meta{"", "captured: 2026-09-06"}},
      {md, "Buy milk", std::nullopt},
      {md, "Buy milk -->", std::nullopt},
      {md, "x<!---->", Meta{"x", ""}},
      {md, "<!-->", std::nullopt},
      {org, "Buy milk @@trivo:captured: 2026-09-06@@", Meta{"Buy milk", "captured: 2026-09-06"}},
      {org, "@@trivo:captured: 2026-09-06@@", Meta{"", "captured: 2026-09-06"}},
      {org, "Buy milk [captured: 2026-09-06 · closed: 2026-09-12]",
       Meta{"Buy milk", "captured: 2026-09-06 · closed: 2026-09-12"}},
      {org, "Call [2026-09-11 Fri 09:14]", std::nullopt},
      {org, "Read [[https://x.org][x]]", std::nullopt},
      {org, "Buy milk @@html:<b>@@", std::nullopt},
      {org, "Buy milk <!-- captured: 2026-09-06 -->", std::nullopt},
      {org, "@@", std::nullopt},
  };
  for (const auto& [syntax, line, meta] : cases) EXPECT_EQ(syntax.splitMeta(line), meta) << line;

  for (TextSyntax s : {md, org}) {
    const std::string line = "Pay rent" + s.meta("captured: 2026-09-06");
    EXPECT_EQ(s.splitMeta(line), (Meta{"Pay rent", "captured: 2026-09-06"})) << line;
  }
}

TEST(TextSyntax, OrgKeywordLines) {
  using Keyword = TextSyntax::Keyword;
  const std::pair<const char*, std::optional<Keyword>> cases[] = {
      {"#+title: Wednesday", Keyword{"title", "Wednesday", "#+title: Wednesday"}},
      {"#+TODO:   TODO | DONE  ", Keyword{"TODO", "TODO | DONE", "#+TODO:   TODO | DONE  "}},
      {"#+filetags:", Keyword{"filetags", "", "#+filetags:"}},
      {"#+begin_src: x", std::nullopt},
      {"#+END_SRC", std::nullopt},
      {"#+: x", std::nullopt},
      {"#+no colon", std::nullopt},
      {"#+two words: x", std::nullopt},
      {"# title: x", std::nullopt},
  };
  for (const auto& [line, keyword] : cases) EXPECT_EQ(TextSyntax::keyword(line), keyword) << line;
}

TEST(TextSyntax, FrontMatterRoundTripsInBothSyntaxes) {
  const std::vector<FrontmatterField> fields = {
      {"date", "2026-09-16"}, {"mood", ""}, {"tags", "\n- work\n- home"}};
  const std::string body = "\n# Wednesday\n\n## Outcomes\n";
  EXPECT_EQ(md.assemble(fields, body),
            "---\ndate: 2026-09-16\nmood:\ntags:\n- work\n- home\n---\n" + body);
  EXPECT_EQ(org.assemble({fields[0], fields[1]}, body), "#+date: 2026-09-16\n#+mood:\n" + body);
  EXPECT_EQ(md.assemble({}, "body"), "body");
  for (TextSyntax s : {md, org}) {
    std::vector<FrontmatterField> written = fields;
    if (s == org) written.pop_back();  // block values are a Markdown thing
    const std::string page = s.assemble(written, body);  // the split's views point into it
    const auto front = s.splitFrontmatter(page);
    EXPECT_EQ(front.fields, written);
    EXPECT_EQ(front.rest, body);
  }
}

TEST(TextSyntax, OrgFrontMatterStopsAtTheFirstOtherLine) {
  const auto front = org.splitFrontmatter("#+title: W\n#+TODO: A | B\n\n#+date: late\n* Outcomes");
  EXPECT_EQ(front.fields, (std::vector<FrontmatterField>{{"title", "W"}, {"TODO", "A | B"}}));
  EXPECT_EQ(front.rest, "\n#+date: late\n* Outcomes");
  EXPECT_EQ(org.splitFrontmatter("#+begin_quote\nx").rest, "#+begin_quote\nx");
  EXPECT_EQ(org.splitFrontmatter("\xEF\xBB\xBF#+title: W\r\nx").fields,
            (std::vector<FrontmatterField>{{"title", "W"}}));
}

TEST(TextSyntax, KeywordFrontDeclaresTheStandardKeywordsOnce) {
  const FrontmatterField standard{"TODO", std::string(TextSyntax::todoDeclaration)};
  const FrontmatterField mine{"SEQ_TODO", "IDEA | DROPPED"};
  EXPECT_EQ(TextSyntax::keywordFront({{"title", "W"}}),
            (std::vector<FrontmatterField>{{"title", "W"}, standard}));
  EXPECT_EQ(TextSyntax::keywordFront({standard, {"title", "W"}, mine, standard}),
            (std::vector<FrontmatterField>{standard, {"title", "W"}, mine}));
}

TEST(TextSyntax, RetitleReplacesOnlyThePageTitle) {
  EXPECT_EQ(md.retitle("---\n# yaml comment\n---\n```\n# code\n```\n# Old\n## Old", "New"),
            "---\n# yaml comment\n---\n```\n# code\n```\n# New\n## Old");
  EXPECT_EQ(md.retitle("# Old\r\nbody", "New"), "# New\r\nbody");
  EXPECT_EQ(md.retitle("## Only sections", "New"), "## Only sections");
  EXPECT_EQ(org.retitle("#+date: x\n#+TITLE: Old\n* Old", "New"), "#+date: x\n#+TITLE: New\n* Old");
  EXPECT_EQ(org.retitle("* Old", "New"), "* Old");
}

TEST(TextSyntax, TagsSplitOffTheEndOfAHeading) {
  using Tagged = TextSyntax::Tagged;
  const std::tuple<TextSyntax, const char*, Tagged> cases[] = {
      {org, "Outcomes   :work:deep:", {"Outcomes", {"work", "deep"}}},
      {org, "Outcomes :work: ", {"Outcomes", {"work"}}},
      {org, "Time 10:30:", {"Time 10:30:", {}}},
      {org, ":work:", {":work:", {}}},
      {org, "Plan :a b:", {"Plan :a b:", {}}},
      {md, "Outcomes #work  #deep-focus", {"Outcomes", {"work", "deep-focus"}}},
      {md, "Ship it → #2", {"Ship it → #2", {}}},
      {md, "C# notes", {"C# notes", {}}},
      {md, "#work", {"#work", {}}},
      {md, "Notes", {"Notes", {}}},
  };
  for (const auto& [syntax, title, tagged] : cases)
    EXPECT_EQ(syntax.splitTags(title), tagged) << title;
  // Tags written by one syntax read back in either.
  for (TextSyntax s : {md, org}) {
    const std::vector<std::string> tags = {"work", "deep"};
    EXPECT_EQ(s.splitTags("Notes " + s.renderTags(tags)), (Tagged{"Notes", tags}));
  }
}

TEST(TextSyntax, EscapingKeepsUserHeadingsInsideTheirSectionAndIsReversible) {
  EXPECT_EQ(md.escape("a\n## b\n### c\n# d\n\\## e", 2), "a\n\\## b\n### c\n\\# d\n\\\\## e");
  EXPECT_EQ(org.escape("* a\n** b\n\\* c", 2), "\\* a\n** b\n\\\\* c");
  EXPECT_EQ(md.escape("```\n## in code\n```\n## out", 2), "```\n## in code\n```\n\\## out");
  EXPECT_EQ(org.escape("#+BEGIN_SRC\n* in\n#+END_SRC\n* out", 2),
            "#+BEGIN_SRC\n* in\n#+END_SRC\n\\* out");

  const char* texts[] = {
      "",
      "plain\n\nlines",
      "## h\n\\## h\n\\\\## h\n\\not a heading\n\\",
      "~~~\n## a\n```\n## b\n~~~\n## c",
      "* x\n** y\n\\* z\n#+begin_quote\n* q\n#+end_quote",
      "## trailing\n",
      "\xFF## \xFE\n## \xC3",
  };
  for (const char* t : texts) {
    for (TextSyntax s : {md, org}) {
      for (int level : {2, 3}) {
        const std::string escaped = s.escape(t, level);
        EXPECT_EQ(s.unescape(escaped, level), t) << t << " @" << level;
        // Outside fences, nothing escaped splits the section it is written in.
        FenceTracker fence(s);
        for (auto line : text::lines(escaped)) {
          const bool inside = fence.inFence();
          if (fence.feed(line) || inside) continue;
          EXPECT_FALSE(s.isSplittingHeading(line, level)) << t << " @" << level << ": " << line;
        }
      }
    }
  }
}

TEST(TextSyntax, TodoWordsFollowTheDeclarationsOfThePage) {
  const auto words = TextSyntax::todoWords({
      {"TODO", "TODO NEXT(n) WAIT(w@/!) | DONE(d) CANCELLED(c)"},
      {"seq_todo", "IDEA SHIPPED"},
      {"title", "NOT A DECLARATION"},
      {"TYP_TODO", "DONE"},  // a later declaration overrides: DONE alone is closed
  });
  const TodoWords expected = {
      {"TODO", OutcomeState::planned},  {"NEXT", OutcomeState::planned},
      {"WAIT", OutcomeState::planned},  {"DONE", OutcomeState::done},
      {"CANCELLED", OutcomeState::done}, {"IDEA", OutcomeState::planned},
      {"SHIPPED", OutcomeState::done},
  };
  EXPECT_EQ(words, expected);
  EXPECT_TRUE(TextSyntax::todoWords({{"TODO", ""}, {"TODO", "|"}}).empty());

  // Shared while pages declare the same words, never handed to a page that declares others.
  const std::vector<FrontmatterField> mine = {{"TODO", "IDEA | SHIPPED"}, {"title", "A"}};
  const std::vector<FrontmatterField> same = {{"title", "B"}, {"TODO", "IDEA | SHIPPED"}};
  const std::vector<FrontmatterField> other = {{"TODO", "IDEA SHIPPED"}};
  const auto first = TextSyntax::sharedTodoWords(mine);
  EXPECT_EQ(*first, TextSyntax::todoWords(mine));
  EXPECT_EQ(TextSyntax::sharedTodoWords(same), first);
  EXPECT_EQ(*TextSyntax::sharedTodoWords(other), TextSyntax::todoWords(other));
  EXPECT_EQ(*TextSyntax::sharedTodoWords(mine), TextSyntax::todoWords(mine));
  EXPECT_EQ(*TextSyntax::sharedTodoWords({}), TodoWords{});
}

TEST(TextSyntax, OrgTaskHeadingsNeedAKeyword) {
  const TodoWords page = {{"IDEA", OutcomeState::planned}, {"SHIPPED", OutcomeState::done},
                          {"BLOCKED", OutcomeState::planned}};
  using Task = TextSyntax::OrgTask;
  using enum OutcomeState;
  // The expected task is built in the loop: a table of optional tasks (strings inside) makes
  // GCC 12 at -O3 warn that the empty ones may be used uninitialized.
  struct Case {
    const char* line;
    const char* keyword;  // null: not a task heading
    OutcomeState state;
    const char* text;
  };
  const Case cases[] = {
      {"** TODO Write the report", "TODO", planned, "Write the report"},
      {"** DONE  Ship  ", "DONE", done, "Ship"},
      {"** CANCELLED Trip", "CANCELLED", blocked, "Trip"},
      {"** CANCELED Trip", "CANCELED", blocked, "Trip"},
      {"** SHIPPED v2", "SHIPPED", done, "v2"},
      {"** BLOCKED on review", "BLOCKED", planned, "on review"},
      {"** WAITING Bob", "WAITING", planned, "Bob"},
      {"*** NEXT deeper", "NEXT", planned, "deeper"},
      {"** TODO", "TODO", planned, ""},
      {"** Todo lower case", nullptr, planned, ""},
      {"** Plain heading", nullptr, planned, ""},
      {"* TODO one star", nullptr, planned, ""},
      {"**TODO no space", nullptr, planned, ""},
      {"** ", nullptr, planned, ""},
      {"- [ ] TODO", nullptr, planned, ""},
  };
  for (const auto& c : cases) {
    std::optional<Task> expected;
    if (c.keyword) expected = Task{c.state, {c.keyword, c.state}, c.text};
    EXPECT_EQ(TextSyntax::orgTask(c.line, page), expected) << c.line;
  }
  EXPECT_EQ(TextSyntax::orgTask("** BLOCKED x")->state, OutcomeState::blocked);
}

TEST(TextSyntax, OrgTaskHeadingsWriteTheOwnKeywordWhileItStillFits) {
  const OrgKeyword next{"NEXT", OutcomeState::planned};
  EXPECT_EQ(TextSyntax::orgTaskHeading(OutcomeState::planned, next, "Call"), "** NEXT Call");
  EXPECT_EQ(TextSyntax::orgTaskHeading(OutcomeState::done, next, "Call"), "** DONE Call");
  EXPECT_EQ(TextSyntax::orgTaskHeading(OutcomeState::blocked, std::nullopt, ""), "** CANCELLED");
  for (OutcomeState state : {OutcomeState::planned, OutcomeState::done, OutcomeState::blocked}) {
    const auto line = TextSyntax::orgTaskHeading(state, std::nullopt, "x");
    EXPECT_EQ(TextSyntax::orgTask(line)->state, state) << line;
  }
}

TEST(TextSyntax, LinksConvertBetweenTheSyntaxesAndBack) {
  struct Case {
    const char* markdown;
    const char* org;
  };
  const Case cases[] = {
      {"![](media/cat.png)", "[[file:media/cat.png]]"},
      {"see ![](../media/a-b.jpg) here", "see [[file:../media/a-b.jpg]] here"},
      {"[the site](https://example.org/a?b=c)", "[[https://example.org/a?b=c][the site]]"},
      {"[mail](mailto://x) and [app](trivo://open/day) ok",
       "[[mailto://x][mail]] and [[trivo://open/day][app]] ok"},
      {"[[page link]] and [x](notes.md)", "[[page link]] and [x](notes.md)"},
      {"![alt](https://x.org/i.png)", "![alt](https://x.org/i.png)"},
      {"→ [ünï](https://x.org/ü)", "→ [[https://x.org/ü][ünï]]"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TextSyntax::orgLinks(c.markdown), c.org) << c.markdown;
    EXPECT_EQ(TextSyntax::markdownLinks(c.org), c.markdown) << c.org;
  }
  EXPECT_EQ(TextSyntax::markdownLinks("[[file:media/a b.png]]"), "[[file:media/a b.png]]");
}

}  // namespace
}  // namespace trivo

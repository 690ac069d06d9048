// Formatting commands of the editor in both syntaxes, with UTF-16 selections.
#include "core/format/text_marks.h"

#include <gtest/gtest.h>

#include <tuple>

namespace trivo {
namespace {

using Mark = TextMarks::Mark;
using Result = TextMarks::Result;

TEST(TextMarks, EmphasisWrapsTheSelectionAndToggles) {
  const TextSyntax md = TextSyntax::markdown;
  const TextSyntax org = TextSyntax::org;
  const std::tuple<Mark, TextSyntax, const char*, TextMarks::Selection, Result> cases[] = {
      {Mark::bold, md, "a big day", {2, 3}, {"a **big** day", {4, 3}}},
      {Mark::bold, md, "a **big** day", {4, 3}, {"a big day", {2, 3}}},
      {Mark::bold, md, "a **big** day", {2, 7}, {"a big day", {2, 3}}},
      {Mark::italic, md, "a big day", {2, 3}, {"a _big_ day", {3, 3}}},
      {Mark::bold, org, "a big day", {2, 3}, {"a *big* day", {3, 3}}},
      {Mark::italic, org, "a big day", {2, 3}, {"a /big/ day", {3, 3}}},
      {Mark::bold, md, "", {0, 0}, {"****", {2, 0}}},
      // "😀" is two UTF-16 units and four bytes.
      {Mark::bold, md, "😀 ok", {3, 2}, {"😀 **ok**", {5, 2}}},
      {Mark::link, md, "see site", {4, 4}, {"see [site](url)", {11, 3}}},
      {Mark::link, org, "see site", {4, 4}, {"see [[url][site]]", {6, 3}}},
      {Mark::bold, md, "clamped", {5, 999}, {"clamp**ed**", {7, 2}}},
      {Mark::bold, md, "neg", {-4, -1}, {"****neg", {2, 0}}},
  };
  for (const auto& [mark, syntax, text, selection, result] : cases) {
    EXPECT_EQ(TextMarks::apply(mark, text, selection, syntax), result) << text;
  }
}

TEST(TextMarks, LineCommandsActOnEveryTouchedLine) {
  const TextSyntax md = TextSyntax::markdown;
  EXPECT_EQ(TextMarks::apply(Mark::list, "one\ntwo\nthree", {1, 4}, md),
            (Result{"- one\n- two\nthree", {0, 11}}));
  EXPECT_EQ(TextMarks::apply(Mark::list, "- one\n- two", {0, 11}, md),
            (Result{"one\ntwo", {0, 7}}));
  EXPECT_EQ(TextMarks::apply(Mark::checklist, "- one\n- [x] two", {0, 3}, md),
            (Result{"- [ ] one\n- [x] two", {0, 9}}));
  EXPECT_EQ(TextMarks::apply(Mark::checklist, "- [ ] one\n- [x] two", {0, 19}, md),
            (Result{"one\ntwo", {0, 7}}));
  EXPECT_EQ(TextMarks::apply(Mark::title, "## Sub\nx", {0, 0}, md), (Result{"# Sub\nx", {0, 5}}));
  EXPECT_EQ(TextMarks::apply(Mark::subtitle, "Sub", {3, 0}, TextSyntax::org),
            (Result{"** Sub", {0, 6}}));
  EXPECT_EQ(TextMarks::apply(Mark::title, "# T", {1, 0}, md), (Result{"T", {0, 1}}));
}

}  // namespace
}  // namespace trivo

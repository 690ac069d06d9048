// Checkbox lines, numbered lines and the serves mark, read and written.
#include "core/format/list_lines.h"

#include <gtest/gtest.h>

#include <utility>

namespace trivo {
namespace {

TEST(CheckboxLine, ParsesBoxesWithAnyOneCharacterMark) {
  const std::pair<const char*, std::optional<CheckboxLine>> cases[] = {
      {"- [ ] Write the report", CheckboxLine{" ", "Write the report"}},
      {"- [x] Done", CheckboxLine{"x", "Done"}},
      {"- [-]   Cancelled  ", CheckboxLine{"-", "Cancelled"}},
      {"- [ ]", CheckboxLine{" ", ""}},
      {"- [ ]    ", CheckboxLine{" ", ""}},
      {"- [>]moved", CheckboxLine{">", "moved"}},
      {"- [✓] unicode mark", CheckboxLine{"✓", "unicode mark"}},
      {"- [x] a → #2", CheckboxLine{"x", "a → #2"}},
      {"- []", std::nullopt},
      {"- [] x", std::nullopt},
      {"- [xx] x", std::nullopt},
      {"- [ x", std::nullopt},
      {"- [", std::nullopt},
      {"  - [ ] indented", std::nullopt},
      {"* [ ] star", std::nullopt},
      {"- [\xE2\x82] cut sequence", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [line, box] : cases) EXPECT_EQ(CheckboxLine::parse(line), box) << line;
}

TEST(CheckboxLine, RenderedLinesReadBack) {
  EXPECT_EQ(CheckboxLine::render(" ", ""), "- [ ]");
  EXPECT_EQ(CheckboxLine::render("x", "Ship"), "- [x] Ship");
  for (OutcomeState state : {OutcomeState::planned, OutcomeState::done, OutcomeState::blocked}) {
    const auto line = CheckboxLine::render(CheckboxLine::markFor(state), "t");
    EXPECT_EQ(CheckboxLine::stateFor(CheckboxLine::parse(line)->mark), state) << line;
  }
  EXPECT_EQ(CheckboxLine::stateFor("X"), OutcomeState::done);
  EXPECT_EQ(CheckboxLine::stateFor(">"), std::nullopt);
}

TEST(NumberedLine, ReadsAndWritesNumberDotText) {
  EXPECT_EQ(NumberedLine::render(2, "Second"), "2. Second");
  EXPECT_EQ(NumberedLine::render(3, ""), "3.");
  const std::pair<const char*, std::optional<NumberedLine>> cases[] = {
      {"2. Second", NumberedLine{2, "Second"}},
      {"10.  spaced ", NumberedLine{10, "spaced"}},
      {"3.", NumberedLine{3, ""}},
      {"3.5 apples", std::nullopt},
      {"2.Second", std::nullopt},
      {". x", std::nullopt},
      {"x. y", std::nullopt},
      {"99999999999999999999. huge", std::nullopt},
      {"7", std::nullopt},
  };
  for (const auto& [line, numbered] : cases) EXPECT_EQ(NumberedLine::parse(line), numbered) << line;
}

TEST(ServesLink, TakesOnlyAFinalMarkWithPositionOneToThree) {
  const std::pair<const char*, ServesLink> cases[] = {
      {"Ship the report → #2", {"Ship the report", 2}},
      {"→ #3", {"", 3}},
      {"Plan → #4", {"Plan → #4", std::nullopt}},
      {"Plan → #2 today", {"Plan → #2 today", std::nullopt}},
      {"Plan → #0", {"Plan → #0", std::nullopt}},
      {"Plan → #", {"Plan → #", std::nullopt}},
      {"Plan → #12", {"Plan → #12", std::nullopt}},
      {"A → #1 → #3", {"A → #1", 3}},
      {"Ship  → #1  ", {"Ship", 1}},
      {"Ship → #1 → #x", {"Ship → #1 → #x", std::nullopt}},
      {"Typed -> #2", {"Typed", 2}},
      {"-> #1", {"", 1}},
      {"Plan→#2", {"Plan→#2", std::nullopt}},
      {"Issue #2", {"Issue #2", std::nullopt}},
      {"", {"", std::nullopt}},
  };
  for (const auto& [text, link] : cases) EXPECT_EQ(ServesLink::split(text), link) << text;
}

TEST(ServesLink, WrittenMarksSplitBack) {
  EXPECT_EQ(ServesLink::join("Ship", 2), "Ship → #2");
  EXPECT_EQ(ServesLink::join("", 3), "→ #3");
  EXPECT_EQ(ServesLink::join("Ship", std::nullopt), "Ship");
  for (const char* text : {"Ship", "", "Plan → #2 today", "x → #9"}) {
    for (std::int64_t n = 1; n <= 3; ++n) {
      EXPECT_EQ(ServesLink::split(ServesLink::join(text, n)), (ServesLink{text, n})) << text << n;
    }
  }
}

}  // namespace
}  // namespace trivo

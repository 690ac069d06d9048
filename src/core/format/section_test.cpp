// Reading a page's sections into known bodies and passthrough, and writing them back in place.
#include <gtest/gtest.h>

#include "core/format/list_lines.h"
#include "core/format/section_reader.h"
#include "core/format/section_writer.h"

namespace trivo {
namespace {

const std::vector<KnownSection> dayKnown = {
    {"outcomes", "Outcomes"}, {"notes", "Notes"}, {"journal", "Journal"}};

const char* handEdited =
    "intro\n"
    "\n"
    "## Before everything\n"
    "x\n"
    "\n"
    "## outcomes  #focus\n"
    "- [ ] a\n"
    "stray\n"
    "\n"
    "- [x] b\n"
    "\n"
    "## Mine\n"
    "kept\n"
    "\n"
    "## Log\n"
    "- 09:14 — hi\n"
    "\n"
    "## Outcomes\n"
    "again\n";

const auto isCheckbox = [](std::string_view line) { return CheckboxLine::parse(line).has_value(); };

TEST(SectionReader, TailsKeepOrderAndOneBlankLineWhereConsumedLinesStood) {
  SectionReader reader(TextSyntax::markdown);
  reader.read("## Notes\n- [ ] a\n\npara one\n- [ ] b\n\n\n- [ ] c\n\npara two\n\n", 2,
              dayKnown);
  EXPECT_EQ(reader.linesCounting("notes", isCheckbox), 3u);
  EXPECT_EQ(reader.pass.sectionTails.at("notes"), "\npara one\n\npara two");
}

// What stands above a section's first item is the heading's own (an Org planning line, a
// note); kept apart from the tail so that it is written back above the items.
TEST(SectionReader, TextAboveTheFirstItemIsTheLead) {
  SectionReader reader(TextSyntax::markdown);
  reader.read("## Notes\n\nnote first\n\n\nsecond\n\n- [ ] a\nafter\n- [ ] b\n## Journal\nonly\n\n",
              2, dayKnown);
  EXPECT_EQ(reader.linesCounting("notes", isCheckbox), 2u);
  EXPECT_EQ(reader.pass.sectionLeads.at("notes"), "note first\n\nsecond\n");
  EXPECT_EQ(reader.pass.sectionTails.at("notes"), "after");

  // With nothing taken, all of it is the lead and there is no tail.
  EXPECT_EQ(reader.linesCounting("journal", isCheckbox), 0u);
  EXPECT_EQ(reader.pass.sectionLeads.at("journal"), "only");
  EXPECT_FALSE(reader.pass.sectionTails.contains("journal"));

  // Reading a section again forgets a lead it no longer has.
  reader.read("## Notes\n- [ ] a\nafter\n", 2, dayKnown);
  reader.linesCounting("notes", isCheckbox);
  EXPECT_FALSE(reader.pass.sectionLeads.contains("notes"));
  EXPECT_EQ(reader.pass.sectionTails.at("notes"), "after");
}

// A hand-edited page sorted into known sections and passthrough, and written back with the
// passthrough where it stood.
TEST(SectionWriter, PutsUnknownSectionsTagsAndTailsBackWhereTheyStood) {
  SectionReader reader(TextSyntax::markdown);
  const std::string preamble = reader.read(handEdited, 2, dayKnown);
  EXPECT_EQ(preamble, "intro");
  EXPECT_EQ(reader.pass.unknownSections,
            (std::vector<UnknownSection>{{"", "## Before everything\nx"},
                                         {"outcomes", "## Mine\nkept"},
                                         {"journal", "## Outcomes\nagain"}}));
  EXPECT_EQ(reader.pass.headingTags.at("outcomes"), std::vector<std::string>{"focus"});
  EXPECT_EQ(reader.body("journal"), "- 09:14 — hi");  // found by its older heading "Log"
  EXPECT_EQ(reader.body("notes"), std::nullopt);
  EXPECT_EQ(reader.linesCounting("outcomes", isCheckbox), 2u);
  EXPECT_EQ(reader.pass.sectionTails.at("outcomes"), "stray");
  EXPECT_EQ(reader.linesCounting("notes", isCheckbox), 0u);
  EXPECT_FALSE(reader.pass.sectionTails.contains("notes"));

  const std::map<std::string, std::string, std::less<>> bodies = {
      {"outcomes", "- [ ] a\n- [x] b"}, {"journal", "- 09:14 — hi"}};
  const std::string page = SectionWriter(TextSyntax::markdown, reader.pass)
                               .write(2, "", dayKnown, bodies, preamble);
  EXPECT_EQ(page,
            "intro\n\n## Before everything\nx\n\n## Outcomes #focus\n- [ ] a\n- [x] b\nstray\n\n"
            "## Mine\nkept\n\n## Notes\n\n## Journal\n- 09:14 — hi\n\n## Outcomes\nagain");

  // Reading what was written keeps the same passthrough: a second round trip changes nothing.
  SectionReader again(TextSyntax::markdown);
  EXPECT_EQ(again.read(page, 2, dayKnown), preamble);
  again.linesCounting("outcomes", isCheckbox);
  EXPECT_EQ(again.pass, reader.pass);
  EXPECT_EQ(SectionWriter(TextSyntax::markdown, again.pass).write(2, "", dayKnown, bodies, preamble),
            page);
}

TEST(SectionWriter, PartsOfASectionUseTheirPathAsPrefix) {
  const std::vector<KnownSection> parts = {{"friday.well", "What went well?"},
                                           {"friday.improve", "What to improve?"}};
  SectionReader reader(TextSyntax::org);
  const std::string body = "intro\n** Extra\nx\n** What to improve? :review:\nless email";
  EXPECT_EQ(reader.read(body, 3, parts, "reflection"), "intro");
  EXPECT_EQ(reader.pass.unknownSections,
            (std::vector<UnknownSection>{{"reflection/", "** Extra\nx"}}));
  EXPECT_EQ(reader.body("reflection/friday.improve"), "less email");
  EXPECT_EQ(reader.pass.headingTags.at("reflection/friday.improve"),
            std::vector<std::string>{"review"});

  const std::map<std::string, std::string, std::less<>> bodies = {{"friday.improve", "less email"}};
  EXPECT_EQ(SectionWriter(TextSyntax::org, reader.pass).write(3, "reflection", parts, bodies, "intro"),
            "intro\n\n** Extra\nx\n\n** What went well?\n\n** What to improve? :review:\nless email");
}

}  // namespace
}  // namespace trivo

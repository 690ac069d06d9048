// A week lived in a fresh vault through the commands alone, in each page syntax: outcomes that
// serve the week, ticks, checklist, journal, captures with dates and a repeating item, carry-over
// across a day without a page, a pulled item and the Friday reflection. Then every page file is
// compared line by line with what a person should find in it (the Org vault once converted to
// Markdown), and the vault reads back clean.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

struct Step {
  const char* day;
  std::vector<std::string> args;
  std::string input = {};
};

// Monday to Friday of week 47; Wednesday has no page, so Thursday carries from Tuesday.
const std::vector<Step> kWeek = {
    {"2026-11-16", {"outcome", "wo", "1", "Ship the release"}},
    {"2026-11-16", {"outcome", "wo", "2", "Run three times"}},
    {"2026-11-16", {"outcome", "wo", "3", "Call the family"}},
    {"2026-11-16", {"outcome", "1", "Fix the last bug", "--serves", "1"}},
    {"2026-11-16", {"outcome", "2", "Run 5 km", "--serves", "2"}},
    {"2026-11-16", {"outcome", "3", "Draft the release notes", "--serves", "1"}},
    {"2026-11-16", {"checklist", "Book the dentist"}},
    {"2026-11-16", {"checklist", "Pay rent"}},
    {"2026-11-16", {"done", "1", "c2"}},
    {"2026-11-16", {"journal", "Found the bug in the parser", "--at", "09:30"}},
    {"2026-11-16", {"journal", "Lunch with Sam", "--at", "12:15"}},
    {"2026-11-16", {"tomorrow", "Buy milk"}},
    {"2026-11-16", {"capture", "call mum friday 6pm remind 30m before"}},
    {"2026-11-16", {"capture", "standup every weekday at 9"}},
    {"2026-11-16", {"capture", "read Dune someday"}},
    {"2026-11-17", {"carry", "--all"}},
    {"2026-11-17", {"done", "1", "i2"}},
    {"2026-11-17", {"journal", "Ran in the rain", "--at", "07:10"}},
    {"2026-11-19", {"carry", "--all"}},
    {"2026-11-19", {"outcome", "3", "Pack for the weekend"}},
    {"2026-11-19", {"pull", "i1", "--slot", "2"}},
    {"2026-11-19", {"done", "1", "p1"}},
    {"2026-11-20", {"outcome", "1", "Celebrate with the team"}},
    {"2026-11-20", {"done", "wo:1", "1"}},
    {"2026-11-20", {"done", "wo:2", "--blocked"}},
    {"2026-11-20", {"journal", "Release is out", "--at", "17:45"}},
    {"2026-11-20", {"reflect", "week"}, "Shipped the release\nMorning runs\nThe family call\n"},
};

// Ids are random and close stamps carry the wall clock's time: both are masked.
std::string masked(const std::string& text) {
  static const std::regex id("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  static const std::regex closed("(closed: [0-9]{4}-[0-9]{2}-[0-9]{2}) [0-9]{2}:[0-9]{2}");
  return std::regex_replace(std::regex_replace(text, id, "ID"), closed, "$1 HH:MM");
}

const std::map<std::string, std::string> kMarkdownPages = {
    {"weeks/2026-W47.md", R"(---
week: 2026-W47
type: week
target_friday: 2026-11-20
---
# Week 47, 2026

## Outcomes
- [x] Ship the release
- [-] Run three times
- [ ] Call the family

## Checklist

## Reflection

### What went well
Shipped the release

### What to improve
Morning runs

### What mattered most
The family call
)"},
    {"days/2026-11-16.md", R"(---
date: 2026-11-16
type: day
---
# Monday, 16 November 2026

## Outcomes
- [x] Fix the last bug → #1
- [ ] Run 5 km → #2
  > carried to 2026-11-17
- [ ] Draft the release notes → #1
  > carried to 2026-11-17

## Checklist
- [ ] Book the dentist <!-- fate: today -->
- [x] Pay rent <!-- fate: done · closed: 2026-11-16 HH:MM -->

## From the inbox

## Notes

## Journal
- 09:30 — Found the bug in the parser
- 12:15 — Lunch with Sam

## For tomorrow
- [ ] Buy milk <!-- fate: today -->

## Sessions
)"},
    {"days/2026-11-17.md", R"(---
date: 2026-11-17
type: day
---
# Tuesday, 17 November 2026

## Outcomes
- [x] Run 5 km → #2
- [ ] Draft the release notes → #1
  > carried to 2026-11-19
- [ ]

## Checklist
- [ ] Book the dentist <!-- fate: today -->
- [ ] Buy milk <!-- fate: today -->

## From the inbox

## Notes

## Journal
- 07:10 — Ran in the rain

## For tomorrow

## Sessions
)"},
    {"days/2026-11-19.md", R"(---
date: 2026-11-19
type: day
---
# Thursday, 19 November 2026

## Outcomes
- [x] Draft the release notes → #1
- [ ]
- [ ] Pack for the weekend

## Checklist
- [ ] Book the dentist
- [ ] Buy milk

## From the inbox
- [x] call mum due:2026-11-20 @18:00 alert:30m → #2 <!-- id: ID · captured: 2026-11-16 · pulled: 2026-11-19 · closed: 2026-11-19 HH:MM -->

## Notes

## Journal

## For tomorrow

## Sessions
)"},
    {"days/2026-11-20.md", R"(---
date: 2026-11-20
type: day
---
# Friday, 20 November 2026

## Outcomes
- [x] Celebrate with the team
- [ ]
- [ ]

## Checklist

## From the inbox

## Notes

## Journal
- 17:45 — Release is out

## For tomorrow

## Sessions
)"},
    {"inbox.md", R"(---
type: inbox
---
# Inbox

- [ ] standup due:2026-11-17 @09:00 <!-- id: ID · captured: 2026-11-16 · repeat: every weekday · done: 2026-11-17 -->
- [ ] read Dune <!-- id: ID · captured: 2026-11-16 · someday -->
)"},
};

class LivedWeek : public ::testing::TestWithParam<bool> {};

TEST_P(LivedWeek, ThePageFilesHoldExactlyTheWeek) {
  const bool org = GetParam();
  testing::TempDir home;
  const std::string vault = (home.path() / "vault").string();
  testing::ProcessOptions options;
  options.env["NO_COLOR"] = "1";
  options.env["TRIVO_TODAY"] = "2026-11-16";
  std::vector<std::string> init = {"init", vault};
  if (org) init.emplace_back("--org");
  ASSERT_EQ(testing::runTrivo(init, options).exitCode, 0);

  for (const Step& step : kWeek) {
    options.env["TRIVO_TODAY"] = step.day;
    options.input = step.input;
    std::vector<std::string> args = {"--vault", vault};
    args.insert(args.end(), step.args.begin(), step.args.end());
    const auto r = testing::runTrivo(args, options);
    ASSERT_EQ(r.exitCode, 0) << step.day << " " << step.args.front() << ": " << r.err;
  }

  const auto check = testing::runTrivo({"--vault", vault, "check", "--roundtrip"}, options);
  EXPECT_EQ(check.exitCode, 0) << check.out << check.err;

  // The Org pages hold the same week: converted to Markdown they are the Markdown pages, line by
  // line. How each record is spelled in Org is the page format's own test.
  if (org) {
    const auto converted =
        testing::runTrivo({"--vault", vault, "convert", "--to", "markdown"}, options);
    ASSERT_EQ(converted.exitCode, 0) << converted.err;
  }
  const auto& expected = kMarkdownPages;
  std::map<std::string, std::string> found;
  for (const auto& e : fs::recursive_directory_iterator(vault)) {
    const std::string rel = fs::relative(e.path(), vault).generic_string();
    if (e.is_regular_file() && !rel.starts_with(".trivo")) found[rel] = "";
  }
  ASSERT_EQ(found.size(), expected.size());
  for (const auto& [file, text] : expected) {
    ASSERT_TRUE(found.contains(file)) << file;
    std::ifstream in(fs::path(vault) / file);
    std::stringstream got;
    got << in.rdbuf();
    // Line by line, so a failure names the first line that differs.
    std::string converted = masked(got.str());
    if (org && file == "weeks/2026-W47.md") {
      // The Org week logged the Friday its outcome was ticked, which a Markdown page has no place
      // for; the conversion keeps the note as a line under the outcome.
      const std::string note = "- State \"DONE\"       from \"TODO\"       [2026-11-20 Fri]\n";
      const std::string outcome = "- [x] Ship the release\n";
      const auto at = converted.find(outcome + note);
      ASSERT_NE(at, std::string::npos) << converted;
      converted.erase(at + outcome.size(), note.size());
    }
    std::istringstream want(text), have(converted);
    std::string w, h;
    for (int line = 1; std::getline(want, w); ++line) {
      ASSERT_TRUE(std::getline(have, h)) << file << " ends before line " << line << ": " << w;
      ASSERT_EQ(h, w) << file << " line " << line;
    }
    EXPECT_FALSE(std::getline(have, h)) << file << " has more lines: " << h;
  }
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, LivedWeek, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& p) { return p.param ? "Org" : "Markdown"; });

}  // namespace
}  // namespace trivo

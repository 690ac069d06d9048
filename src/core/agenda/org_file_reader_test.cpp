// Hand-written Org files read for the agenda: keywords the file declares, planning lines as Org
// reads them, repeaters, and the trees Org's agenda leaves out.
#include "core/agenda/org_file_reader.h"

#include <gtest/gtest.h>

#include "core/agenda/org_files.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

DayDate day(int m, int d) { return *DayDate::make(2027, m, d); }

// "2027-01-05 10:00 scheduled Title" per item, for comparing in one line.
std::vector<std::string> listed(std::string_view text, const DayDate& from, const DayDate& through,
                                std::string_view fallback = {}) {
  std::vector<std::string> out;
  for (const AgendaItem& item : OrgFileReader::items(text, "f.org", from, through, fallback)) {
    EXPECT_EQ(item.file, std::optional<std::string>("f.org"));
    out.push_back(item.day.isoString() + (item.time ? " " + item.time->description() : "") + " " +
                  (item.planning == AgendaItem::Planning::deadline ? "deadline" : "scheduled") +
                  " " + item.text);
  }
  return out;
}

TEST(OrgFileReader, KeywordsComeFromTheFileElseTheFallbackElseOrgsDefault) {
  using KW = OrgFileReader::Keywords;
  const std::vector<std::tuple<std::string, std::string, KW>> rows = {
      {"* x\n", "", KW{{"TODO"}, {"DONE"}}},
      {"#+TODO: NEXT(n) WAIT(w@/!) | DONE(d!) KILL(k)\n", "",
       KW{{"NEXT", "WAIT"}, {"DONE", "KILL"}}},
      {"#+SEQ_TODO: A B C\n#+typ_todo: X | Y\n", "", KW{{"A", "B", "X"}, {"C", "Y"}}},
      {"no declaration\n", "TODO NEXT | DONE", KW{{"TODO", "NEXT"}, {"DONE"}}},
      {"#+TODO: OPEN | SHUT\n", "TODO | DONE", KW{{"OPEN"}, {"SHUT"}}},
  };
  for (const auto& [text, fallback, expected] : rows) {
    EXPECT_EQ(OrgFileReader::keywords(text, fallback), expected) << text;
  }
}

TEST(OrgFileReader, PlanningLinesStampsAndRepeaters) {
  const std::string text = R"(#+TODO: TODO WAITING | DONE CANCELLED
* TODO [#A] Dentist :health:
  SCHEDULED: <2027-01-05 Tue 10:00-11:00>
* WAITING Tax return
DEADLINE: <2027-01-08 Fri -3d> SCHEDULED: <2027-01-04 Mon>
* Water the plants
SCHEDULED: <2027-01-01 Fri +3d>
** TODO Weekly review
   CLOSED: [2027-01-01 Fri 09:00] SCHEDULED: <2026-12-28 Mon .+1w>
* DONE Finished thing
SCHEDULED: <2027-01-05 Tue>
* CANCELLED Dropped thing
DEADLINE: <2027-01-05 Tue>
* TODO A sentence mentions SCHEDULED: <2027-01-05 Tue> in the title
Please SCHEDULED: <2027-01-06 Wed> is body text, not a planning line.
* TODO Inactive stamps are not agenda entries
SCHEDULED: [2027-01-06 Wed]
* TODO Blank line first

SCHEDULED: <2027-01-06 Wed>
)";
  EXPECT_EQ(listed(text, day(1, 4), day(1, 10)), (std::vector<std::string>{
                                                     "2027-01-05 10:00 scheduled Dentist",
                                                     "2027-01-08 deadline Tax return",
                                                     "2027-01-04 scheduled Tax return",
                                                     "2027-01-04 scheduled Water the plants",
                                                     "2027-01-07 scheduled Water the plants",
                                                     "2027-01-10 scheduled Water the plants",
                                                     "2027-01-04 scheduled Weekly review",
                                                 }));
  // Outside the range nothing shows; a repeater never shows before its first day.
  EXPECT_TRUE(listed(text, day(2, 1), day(2, 1)).size() == 1u);
  EXPECT_TRUE(listed(text, *DayDate::make(2026, 12, 1), *DayDate::make(2026, 12, 27)).empty());
}

TEST(OrgFileReader, CommentedAndArchivedTreesAreLeftOut) {
  const std::string text = R"(* COMMENT Drafts
** TODO Hidden under a comment
SCHEDULED: <2027-01-05 Tue>
* Old :ARCHIVE:
** TODO Hidden under an archive
SCHEDULED: <2027-01-05 Tue>
* Shown
** TODO Visible again
SCHEDULED: <2027-01-05 Tue>
)";
  EXPECT_EQ(listed(text, day(1, 1), day(1, 31)),
            std::vector<std::string>{"2027-01-05 scheduled Visible again"});
}

TEST(OrgFileReader, AnyBytesAreReadWithoutFailing) {
  const std::vector<std::string> odd = {"",
                                        "*",
                                        "* ",
                                        "**\n",
                                        "* TODO\nSCHEDULED:",
                                        "* x\nSCHEDULED: <",
                                        "* x\nSCHEDULED: <>",
                                        "* x\nDEADLINE: <2027-02-30 Tue>",
                                        "* x\nSCHEDULED: <2027-01-05 Tue +0d>",
                                        "* x\r\nSCHEDULED: <2027-01-05 Tue>\r\n",
                                        std::string("* \0x\n", 5),
                                        "#+TODO: |\n* | x\n",
                                        "* x\nSCHEDULED: <2027-01-05 Tue +1h>"};
  for (const std::string& text : odd) {
    const auto items = OrgFileReader::items(text, "f.org", day(1, 1), day(12, 31));
    EXPECT_LE(items.size(), 1u) << text;
  }
  // A Windows line end still leaves the planning line readable.
  EXPECT_EQ(listed("* x\r\nSCHEDULED: <2027-01-05 Tue>\r\n", day(1, 1), day(1, 31)),
            std::vector<std::string>{"2027-01-05 scheduled x"});
}

TEST(OrgFiles, SkipEntriesMatchPathsFoldersAndPatterns) {
  const std::vector<std::tuple<std::string, std::string, bool>> rows = {
      {"archive", "archive/old.org", true},
      {"archive/", "archive/2019/old.org", true},
      {"archive", "notes/archive/old.org", true},
      {"*.bak.org", "notes/x.bak.org", true},
      {"notes/x.org", "notes/x.org", true},
      {"./notes/x.org", "notes/x.org", true},
      {"x.org", "notes/x.org", true},
      {"arch", "archive/old.org", false},
      {"notes/y.org", "notes/x.org", false},
      {"", "notes/x.org", false},
  };
  for (const auto& [entry, path, skipped] : rows) {
    EXPECT_EQ(OrgFiles::skips(entry, path), skipped) << entry << " / " << path;
  }
}

TEST(OrgFiles, ListsTheOrgFilesThatAreNoPagesPinnedFirst) {
  testing::TempDir dir;
  for (const char* name :
       {"vault/days/2027-01-05.org", "vault/inbox.org", "vault/b.org", "vault/a.org",
        "vault/projects/c.org", "vault/.trivo/x.org", "vault/media/m.org", "vault/.#a.org",
        "vault/#a.org#", "vault/notes.md", "vault/templates/t.org", "vault/days/notes.org"}) {
    dir.write(name, "* x\n");
  }
  const VaultPaths paths(dir.path() / "vault", VaultFormat::org);
  std::vector<std::string> names;
  for (const OrgFile& f : OrgFiles::list(paths, {"templates"}, {"projects/c.org", "gone.org"})) {
    names.push_back(f.relative + (f.pinned ? " (pinned)" : ""));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"projects/c.org (pinned)", "a.org", "b.org"}));
  // In a Markdown vault an "inbox.org" is the person's own file.
  const VaultPaths markdown(dir.path() / "vault", VaultFormat::markdown);
  EXPECT_EQ(OrgFiles::list(markdown, {"templates"}, {}).size(), 4u);
}

}  // namespace
}  // namespace trivo

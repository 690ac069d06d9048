// Reading journals kept elsewhere: the headings each syntax dates its entries with, what is left
// out (Org's bookkeeping, text above the first entry), what is refused, and writing them back.
#include "core/imports/journal_file.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

using Syntax = JournalFile::Syntax;

ImportedEntry entry(const char* day, int hour, int minute, std::string text) {
  return ImportedEntry{*DayDate::parse(day), *ClockTime::make(hour, minute), std::move(text), {}};
}

struct Case {
  Syntax syntax;
  VaultFormat to;
  std::string text;
  std::vector<ImportedEntry> entries;
};

TEST(JournalFile, ReadsOneEntryPerDatedHeadingInEachSyntax) {
  const std::vector<Case> cases = {
      {Syntax::markdown,
       VaultFormat::markdown,
       "---\ntitle: Diary\n---\n# My diary\n\n## 2026-03-14 09:30 Coffee with *Ana*\nshe moved\n\n"
       "## 2026-03-15\nA quiet day.\n### Evening\nRead.\n\n",
       {entry("2026-03-14", 9, 30, "Coffee with *Ana*\nshe moved"),
        entry("2026-03-15", 0, 0, "A quiet day.\n### Evening\nRead.")}},
      {Syntax::markdown,
       VaultFormat::org,
       "# 2026-03-14 — Walk with **Ben**\n### Later\n",
       {entry("2026-03-14", 0, 0, "Walk with *Ben*\n** Later")}},
      {Syntax::org,
       VaultFormat::markdown,
       "#+title: Journal\n* <2026-03-14 Sat 21:05> Dinner /late/\nCLOSED: [2026-03-14 Sat 22:00]\n"
       ":PROPERTIES:\n:ID: x\n:END:\nGood food.\n** [2026-03-16 Mon] Plain\n",
       {entry("2026-03-14", 21, 5, "Dinner *late*\nGood food."),
        entry("2026-03-16", 0, 0, "Plain")}},
      {Syntax::org,
       VaultFormat::org,
       "* 2026-03-14 7:05 Early\n",
       {entry("2026-03-14", 7, 5, "Early")}},
      {Syntax::plain,
       VaultFormat::markdown,
       "2026-03-14 08:00 Up early\n\nWrote *nothing* down.\n2026-03-15: Rain\n",
       {entry("2026-03-14", 8, 0, "Up early\nWrote *nothing* down."),
        entry("2026-03-15", 0, 0, "Rain")}},
      // A dated heading with nothing under it adds nothing.
      {Syntax::markdown,
       VaultFormat::markdown,
       "## 2026-03-14\n\n## 2026-03-15 Rain\n",
       {entry("2026-03-15", 0, 0, "Rain")}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(JournalFile::read(c.text, c.syntax, c.to, "j").entries, c.entries) << c.text;
  }
  EXPECT_EQ(JournalFile::read("# Title\nintro line\n\n## 2026-03-14 x\n", Syntax::markdown,
                              VaultFormat::markdown, "j")
                .linesBeforeFirst,
            2u);
}

TEST(JournalFile, RefusesWhatIsNotAJournalNamingFileAndLine) {
  const std::vector<std::tuple<Syntax, std::string, std::string>> refused = {
      {Syntax::markdown, "just some notes\n## Not dated\n",
       "j.md holds no dated entries; a journal needs one heading per entry that starts with its "
       "date, such as \"## 2026-03-14 09:30\"."},
      {Syntax::markdown, "## 2026-02-30 Nope\n",
       "j.md:1: 2026-02-30 is not a day of the calendar; correct the heading, then import again."},
      {Syntax::org, "* <2026-03-14 Sat> Fine\nSCHEDULED: <tomorrow>\n",
       "j.md:2: the planning line \"SCHEDULED: <tomorrow>\" does not read as Org stamps; correct "
       "it, then import again."},
      {Syntax::org, "* <2026-03-14 Sat> Fine\ntext\n  DEADLINE: <2026-13-01 Fri>\n",
       "j.md:3: the planning line \"DEADLINE: <2026-13-01 Fri>\" does not read as Org stamps; "
       "correct it, then import again."},
  };
  for (const auto& [syntax, text, message] : refused) {
    try {
      (void)JournalFile::read(text, syntax, VaultFormat::markdown, "j.md");
      ADD_FAILURE() << "read: " << text;
    } catch (const ImportError& e) {
      EXPECT_EQ(e.what(), message) << text;
    }
  }
}

TEST(JournalFile, WrittenJournalsReadBackAsTheSameEntries) {
  const std::vector<ImportedEntry> entries = {
      entry("2026-03-14", 9, 30, "Coffee with Ana\nshe moved\n- [ ] call her"),
      entry("2026-03-14", 21, 0, "Late"), entry("2027-01-01", 0, 0, "New year")};
  for (VaultFormat format : {VaultFormat::markdown, VaultFormat::org}) {
    const std::string text = JournalFile::write(entries, format);
    const Syntax syntax = format == VaultFormat::org ? Syntax::org : Syntax::markdown;
    EXPECT_EQ(JournalFile::read(text, syntax, format, "j").entries, entries) << text;
  }
}

}  // namespace
}  // namespace trivo

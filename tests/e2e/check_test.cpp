// `trivo check` and `trivo fmt` on a vault with hand-edited pages, pages that cannot be read and
// files that are not pages.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

// Hand-edited: no type in the front matter, an unknown section between known ones, odd spacing.
const std::string kHandEdited =
    "---\ndate: 2026-09-16\nmood: sunny\n---\n# My Wednesday\n\n## Outcomes\n"
    "- [x]   Ship the draft → #2\n- [ ] Call Ana\n\n\n## Errands\n- bread\n- stamps\n"
    "## Journal\n- 09:10 Coffee first.\n";
const std::string kOtherDay = "---\ndate: 2026-09-18\n---\n# Friday\n";
const std::string kBadBytes = "caf\xe9\n";
const std::string kBrokenFrontMatter = "---\ndate 2026-09-19\n: :\n---\n# x\n";

class CheckCommand : public ::testing::Test {
 protected:
  CheckCommand() {
    dir.write("vault/.trivo/config.json", "{}");
    dir.write("vault/days/2026-09-16.md", kHandEdited);
    dir.write("vault/days/2026-09-17.md", kOtherDay);
    dir.write("vault/days/2026-09-18.md", kBadBytes);
    dir.write("vault/days/2026-09-19.md", kBrokenFrontMatter);
    // Not pages: the person's own files, a page-like name in the wrong format or place.
    dir.write("vault/days/notes.md", "---\nnot: a page\n");
    dir.write("vault/days/2026-09-20.org", "caf\xe9");
    dir.write("vault/2026-09-21.md", "caf\xe9");
    dir.write("vault/media/days/2026-09-22.md", "caf\xe9");
  }
  testing::ProcessResult trivo(std::vector<std::string> args) {
    testing::ProcessOptions options;
    options.env["TRIVO_VAULT"] = std::nullopt;
    options.env["XDG_CONFIG_HOME"] = (dir.path() / "config").string();
    return testing::runTrivo(args, options);
  }
  [[nodiscard]] std::string vault() const { return (dir.path() / "vault").string(); }
  testing::TempDir dir;
};

const std::string kProblems =
    "days/2026-09-17.md: identity: expected 2026-09-17, found 2026-09-18\n"
    "days/2026-09-18.md: encoding: not valid UTF-8\n"
    "days/2026-09-19.md: frontmatter: The front matter at the top of the page is malformed.\n";

TEST_F(CheckCommand, ReportsEachPageThatCannotBeReadAndSkipsFilesThatAreNotPages) {
  const auto r = trivo({"check", vault()});
  EXPECT_EQ(r.exitCode, 3) << r.err;
  EXPECT_EQ(r.out, kProblems);

  const auto one = trivo({"check", vault() + "/days/2026-09-17.md", vault() + "/days/notes.md"});
  EXPECT_EQ(one.exitCode, 3);
  EXPECT_EQ(one.out, "days/2026-09-17.md: identity: expected 2026-09-17, found 2026-09-18\n");

  const auto good = trivo({"check", vault() + "/days/2026-09-16.md"});
  EXPECT_EQ(good.exitCode, 0) << good.out;
  EXPECT_EQ(good.out, "");

  const auto missing = trivo({"check", vault() + "/nowhere"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.err.find("nowhere"), std::string::npos) << missing.err;

  // Without paths, the located vault is checked.
  testing::ProcessOptions options;
  options.env["TRIVO_VAULT"] = vault();
  EXPECT_EQ(testing::runTrivo({"check"}, options).out, kProblems);
}

TEST_F(CheckCommand, RoundtripShowsWhatWritingBackWouldChangeAsADiff) {
  const auto r = trivo({"check", "--roundtrip", vault()});
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_NE(r.out.find("days/2026-09-16.md: roundtrip: writing the page back would change it\n"
                       "--- days/2026-09-16.md\n+++ days/2026-09-16.md (written back)\n@@ "),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("+type: day\n"), std::string::npos) << r.out;

  const auto json = trivo({"--json", "check", "--roundtrip", vault()});
  const auto reports = Json::parse(json.out);
  ASSERT_EQ(reports.size(), 4u) << json.out;
  EXPECT_EQ(reports[0]["path"], "days/2026-09-16.md");
  EXPECT_EQ(reports[0]["problem"], "roundtrip");
  EXPECT_EQ(reports[1]["problem"], "identity");
}

TEST_F(CheckCommand, FmtRewritesReadablePagesKeepsEveryLineAndLeavesTheOthersByteForByte) {
  const auto r = trivo({"fmt", vault()});
  EXPECT_EQ(r.exitCode, 3) << r.err;
  EXPECT_EQ(r.out, "formatted days/2026-09-16.md\n" + kProblems);
  EXPECT_NE(r.err.find("Formatted 1 of 4 pages; 3 cannot be read."), std::string::npos) << r.err;

  EXPECT_EQ(dir.read("vault/days/2026-09-17.md"), kOtherDay);
  EXPECT_EQ(dir.read("vault/days/2026-09-18.md"), kBadBytes);
  EXPECT_EQ(dir.read("vault/days/2026-09-19.md"), kBrokenFrontMatter);
  EXPECT_EQ(dir.read("vault/days/notes.md"), "---\nnot: a page\n");

  // That no line of it is lost is the page format's rule; here, that fmt wrote it.
  const std::string formatted = dir.read("vault/days/2026-09-16.md");
  EXPECT_NE(formatted, kHandEdited);
  EXPECT_NE(formatted.find("## Errands\n- bread\n- stamps\n"), std::string::npos) << formatted;

  const auto after = trivo({"check", "--roundtrip", vault()});
  EXPECT_EQ(after.exitCode, 3);
  EXPECT_EQ(after.out, kProblems);
  const auto again = trivo({"fmt", vault() + "/days"});
  EXPECT_EQ(again.out, kProblems);
  EXPECT_EQ(dir.read("vault/days/2026-09-16.md"), formatted);
}

// Each of these used to go unmentioned (a folder, a FIFO) or end the whole run (a link that
// loops). Every one is now a line of its own, and the other pages are still checked and written.
TEST_F(CheckCommand, PagesThatAreNotFilesAreReportedAndTheRunGoesOn) {
  const std::filesystem::path days = dir.path() / "vault" / "days";
  std::filesystem::create_directories(days / "2026-09-23.md");
  ASSERT_EQ(::mkfifo((days / "2026-09-24.md").c_str(), 0600), 0);
  std::filesystem::create_symlink("2026-09-25.md", days / "2026-09-25.md");
  // One deleted line: the closing "---" of the front matter. The page must be refused, not
  // rewritten without its outcomes and journal.
  const std::string unclosed = "---\ndate: 2026-09-26\ntype: day\n\n# Saturday\n\n## Outcomes\n\n"
                               "- [ ] Paint the door\n\n## Journal\n\n- 09:00 Up early.\n";
  dir.write("vault/days/2026-09-26.md", unclosed);
  const auto r = trivo({"check", vault()});
  EXPECT_EQ(r.exitCode, 3) << r.err;
  EXPECT_EQ(r.out, kProblems +
                       "days/2026-09-23.md: unreadable: it is a folder, not a file\n"
                       "days/2026-09-24.md: unreadable: it is not a regular file (a FIFO, socket "
                       "or device)\n"
                       "days/2026-09-25.md: unreadable: Too many levels of symbolic links\n"
                       "days/2026-09-26.md: frontmatter: The front matter at the top of the page "
                       "is malformed.\n");
  const auto fmt = trivo({"fmt", vault()});
  EXPECT_EQ(fmt.exitCode, 3) << fmt.err;
  EXPECT_EQ(dir.read("vault/days/2026-09-26.md"), unclosed);
  EXPECT_NE(dir.read("vault/days/2026-09-16.md"), kHandEdited) << "the readable page was written";
}

}  // namespace
}  // namespace trivo

// `trivo reflect` with answers from standard input, and `trivo edit` / `trivo reflect --edit`
// with EDITOR set to small scripts that act as the person's editor.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class PageCommands : public ::testing::TestWithParam<const char*> {
 protected:
  PageCommands() {
    std::vector<std::string> init = {"init", vault().string()};
    if (org()) init.push_back("--org");
    const auto made = trivo(init);
    EXPECT_EQ(made.exitCode, 0) << made.err;
  }
  bool org() const { return std::string(GetParam()) == "org"; }
  std::string ext() const { return org() ? ".org" : ".md"; }
  fs::path vault() const { return dir.path() / "vault"; }
  std::string page(const std::string& relative) const { return dir.read("vault/" + relative); }

  testing::ProcessResult trivo(const std::vector<std::string>& args, std::string input = {},
                               std::optional<std::string> editor = std::nullopt) {
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-11-20";  // the Friday of 2026-W47
    options.env["TRIVO_VAULT"] = vault().string();
    options.env["HOME"] = dir.path().string();
    options.env["XDG_CONFIG_HOME"] = (dir.path() / "config").string();
    options.env["VISUAL"] = std::nullopt;
    options.env["EDITOR"] = editor;
    options.input = std::move(input);
    return testing::runTrivo(args, options);
  }

  // An executable shell script standing in for the editor.
  std::string editorScript(const std::string& body) {
    const auto file = dir.write("editor.sh", "#!/bin/sh\n" + body + "\n");
    chmod(file.c_str(), 0755);
    return file.string();
  }

  testing::TempDir dir;
};

TEST_P(PageCommands, ReflectWritesOneAnswerPerLineAndAnEmptyLineKeepsTheAnswer) {
  auto first = trivo({"reflect"}, "Shipped the report\nStart earlier\nThe team lunch\n");
  ASSERT_EQ(first.exitCode, 0) << first.err;
  EXPECT_EQ(first.out, "Wrote 3 answers to weeks/2026-W47" + ext() + ".\n");
  auto second = trivo({"reflect", "week"}, "\nStart before email\n");
  ASSERT_EQ(second.exitCode, 0) << second.err;
  EXPECT_EQ(second.out, "Wrote 1 answer to weeks/2026-W47" + ext() + ".\n");

  const std::string h = org() ? "** " : "### ";
  const std::string week = page("weeks/2026-W47" + ext());
  EXPECT_NE(week.find(h + "What went well\nShipped the report\n\n" + h +
                      "What to improve\nStart before email\n\n" + h +
                      "What mattered most\nThe team lunch"),
            std::string::npos)
      << week;

  auto json = trivo({"--json", "reflect", "year"}, "Good health\n");
  ASSERT_EQ(json.exitCode, 0) << json.err;
  const Json answer = Json::parse(json.out);
  EXPECT_EQ(answer["path"], "years/2026" + ext());
  EXPECT_EQ(answer["reflection"]["answers"]["gratitude"], "Good health");
  EXPECT_NE(page("years/2026" + ext()).find("Good health"), std::string::npos);

  auto earlier = trivo({"reflect", "month", "2026-10"}, "A calm month\n");
  ASSERT_EQ(earlier.exitCode, 0) << earlier.err;
  EXPECT_NE(page("months/2026-10" + ext()).find("A calm month"), std::string::npos);
  EXPECT_EQ(trivo({"check", "--roundtrip"}).exitCode, 0);
}

TEST_P(PageCommands, ReflectRefusesNoAnswersAWrongPeriodAndAnUnreadablePage) {
  auto none = trivo({"reflect"});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.err,
            "trivo: No answers came on standard input; give one answer per line, or run trivo "
            "reflect on a terminal to be asked.\n");
  EXPECT_FALSE(fs::exists(vault() / ("weeks/2026-W47" + ext())));

  auto wrong = trivo({"reflect", "quarter", "2026-W47"}, "x\n");
  EXPECT_EQ(wrong.exitCode, 1);
  EXPECT_EQ(wrong.err, "trivo: \"2026-W47\" is not a quarter; name one such as 2026-Q4.\n");
  EXPECT_EQ(trivo({"reflect", "decade"}, "x\n").exitCode, 2);

  // A page whose front matter names another week is never written over.
  const std::string foreign = org() ? "#+week: 2026-W12\n#+type: week\n* Notes\nmine\n"
                                    : "---\nweek: 2026-W12\ntype: week\n---\n# Notes\nmine\n";
  dir.write("vault/weeks/2026-W47" + ext(), foreign);
  auto unreadable = trivo({"reflect"}, "x\n");
  EXPECT_EQ(unreadable.exitCode, 3);
  EXPECT_EQ(unreadable.err.rfind("trivo: weeks/2026-W47" + ext() + " cannot be read (", 0), 0u)
      << unreadable.err;
  EXPECT_EQ(page("weeks/2026-W47" + ext()), foreign);
}

TEST_P(PageCommands, EditMakesTheBlankPageThenChecksWhatTheEditorLeft) {
  // The editor appends a journal line to the page it was given.
  const std::string journal = org() ? "- [2026-11-20 Fri 09:15] Wrote in my editor"
                                    : "- 09:15 — Wrote in my editor";
  auto edited = trivo({"edit"}, "", editorScript("echo '" + journal + "' >> \"$1\""));
  ASSERT_EQ(edited.exitCode, 0) << edited.err;
  EXPECT_EQ(edited.out, "");
  const std::string today = page("days/2026-11-20" + ext());
  EXPECT_EQ(today.substr(today.size() - journal.size() - 1), journal + "\n");
  EXPECT_NE(today.find(org() ? "* Outcomes" : "## Outcomes"), std::string::npos) << today;

  // An editor that leaves the page naming another day: reported like trivo check, exit 3.
  auto broken = trivo({"edit", "2026-11-21"}, "",
                      editorScript("sed -i 's/2026-11-21/2026-11-22/' \"$1\""));
  EXPECT_EQ(broken.exitCode, 3);
  EXPECT_EQ(broken.out, "days/2026-11-21" + ext() +
                            ": identity: expected 2026-11-21, found 2026-11-22\n");

  auto failed = trivo({"edit", "inbox"}, "", editorScript("exit 7"));
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_EQ(failed.err, "trivo: The editor (" + (dir.path() / "editor.sh").string() +
                            ") exited with status 7; inbox" + ext() +
                            " is as the editor left it.\n");

  auto noEditor = trivo({"edit"});
  EXPECT_EQ(noEditor.exitCode, 1);
  EXPECT_EQ(noEditor.err,
            "trivo: No editor is set; set VISUAL or EDITOR to the command of your editor (for "
            "example EDITOR=nano) and try again.\n");
  auto view = trivo({"edit", "agenda"}, "", "true");
  EXPECT_EQ(view.exitCode, 1);
  EXPECT_EQ(view.err, "trivo: \"agenda\" names the agenda view, which has no file to edit.\n");
}

TEST_P(PageCommands, ReflectEditOpensTheMonthPageInTheEditor) {
  auto r = trivo({"reflect", "month", "--edit"}, "",
                 editorScript("echo \"$1\" > \"$(dirname \"$0\")/opened\""));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(dir.read("opened"), (vault() / ("months/2026-11" + ext())).string() + "\n");
  EXPECT_NE(page("months/2026-11" + ext()).find("Reflection"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, PageCommands, ::testing::Values("md", "org"));

}  // namespace
}  // namespace trivo

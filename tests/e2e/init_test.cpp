// `trivo init`, the known-vaults default it records, and the texts that lead a new user there:
// the missing-vault sentence, help, unknown commands and the shell completions.
#include <gtest/gtest.h>

#include <fstream>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class InitCommand : public ::testing::Test {
 protected:
  testing::ProcessResult trivo(const std::vector<std::string>& args, std::string input = {}) {
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-11-20";
    options.env["TRIVO_VAULT"] = std::nullopt;
    options.env["HOME"] = dir.path().string();
    options.env["XDG_CONFIG_HOME"] = (dir.path() / "config").string();
    options.cwd = (dir.path() / "elsewhere").string();
    options.input = std::move(input);
    return testing::runTrivo(args, options);
  }
  fs::path path(const char* relative) const { return dir.path() / relative; }
  testing::TempDir dir;
  InitCommand() { fs::create_directories(dir.path() / "elsewhere"); }
};

TEST_F(InitCommand, TheMissingVaultSentenceNamesInitWhichMakesTheDefaultVault) {
  auto missing = trivo({"path", "today"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err,
            "trivo: No vault found: run trivo init DIR to make one (add --sample to try it with "
            "sample pages), pass --vault DIR, or set TRIVO_VAULT.\n");
  // A folder named that does not exist is refused too, rather than started as a new vault.
  for (const auto& args :
       std::vector<std::vector<std::string>>{{"capture", "--vault", "typo", "buy milk"},
                                             {"inbox", "--vault", "typo"},
                                             {"tags", "--vault", "typo"},
                                             {"search", "--vault", "typo", "milk"}}) {
    const auto typo = trivo(args);
    EXPECT_EQ(typo.exitCode, args.front() == "search" ? 2 : 1) << args.front();
    EXPECT_EQ(typo.err, "trivo: There is no vault folder at " + path("elsewhere/typo").string() +
                            "; create it with trivo init or name another with --vault.\n");
  }
  EXPECT_FALSE(fs::exists(path("elsewhere/typo")));

  auto made = trivo({"init", path("planner").string()});
  ASSERT_EQ(made.exitCode, 0) << made.err;
  EXPECT_EQ(made.out, "Made a Markdown vault in " + path("planner").string() +
                          "; it is now the default vault.\n");
  const Json config = Json::parse(dir.read("planner/.trivo/config.json"));
  EXPECT_EQ(config["fileFormat"], "markdown");
  // Found from anywhere now, through the known-vaults list.
  auto found = trivo({"path", "today"});
  EXPECT_EQ(found.exitCode, 0) << found.err;
  EXPECT_EQ(found.out, path("planner").string() + "/days/2026-11-20.md\n");
  EXPECT_EQ(trivo({"check", "--roundtrip"}).exitCode, 0);
}

TEST_F(InitCommand, SampleVaultsInBothSyntaxesRoundTripAndTheLatestIsTheDefault) {
  auto md = trivo({"init", "--sample", "md"});  // relative to the current folder
  ASSERT_EQ(md.exitCode, 0) << md.err;
  EXPECT_EQ(md.out, "Made a Markdown vault in " + path("elsewhere/md").string() +
                        ", with sample pages; it is now the default vault.\n");
  auto org = trivo({"--json", "init", "--org", "--sample", path("org").string()});
  ASSERT_EQ(org.exitCode, 0) << org.err;
  const Json answer = Json::parse(org.out);
  EXPECT_EQ(answer["format"], "org");
  EXPECT_EQ(answer["root"], path("org").string());

  // What the pages hold is the sample's own test; here, that each is in its syntax.
  EXPECT_TRUE(fs::exists(path("elsewhere/md/days/2026-11-19.md")));
  EXPECT_TRUE(fs::exists(path("org/inbox.org")));
  EXPECT_FALSE(fs::exists(path("org/inbox.md")));
  EXPECT_EQ(Json::parse(dir.read("org/.trivo/config.json"))["fileFormat"], "org");

  // Both are clean under the page check; the default is now the Org vault.
  auto checkMd = trivo({"--vault", path("elsewhere/md").string(), "check", "--roundtrip"});
  EXPECT_EQ(checkMd.exitCode, 0) << checkMd.out;
  auto checkOrg = trivo({"check", "--roundtrip"});
  EXPECT_EQ(checkOrg.exitCode, 0) << checkOrg.out;
  EXPECT_EQ(trivo({"path", "inbox"}).out, path("org").string() + "/inbox.org\n");
  const Json list = Json::parse(dir.read("config/trivo/vaults.json"));
  EXPECT_EQ(list["vaults"], Json::array({path("elsewhere/md").string(), path("org").string()}));
}

TEST_F(InitCommand, RefusesFoldersThatHoldAVaultOrOtherFilesAndWritesNothing) {
  ASSERT_EQ(trivo({"init", path("v").string()}).exitCode, 0);
  const std::string config = dir.read("v/.trivo/config.json");

  auto again = trivo({"init", "--org", path("v").string()});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_EQ(again.err, "trivo: \"" + path("v").string() + "\" already holds a vault; use it with "
                           "--vault " + path("v").string() + ", or name a new or empty folder.\n");
  EXPECT_EQ(dir.read("v/.trivo/config.json"), config);

  dir.write("notes/todo.txt", "mine");
  auto full = trivo({"init", path("notes").string()});
  EXPECT_EQ(full.exitCode, 1);
  EXPECT_EQ(full.err, "trivo: \"" + path("notes").string() +
                          "\" is not empty and holds no vault; name a new or empty folder, so "
                          "that no file of yours is mixed into the vault.\n");
  EXPECT_FALSE(fs::exists(path("notes/.trivo")));

  auto inside = trivo({"init", path("v/sub").string()});
  EXPECT_EQ(inside.exitCode, 1);
  EXPECT_EQ(inside.err, "trivo: \"" + path("v/sub").string() + "\" lies inside the vault " +
                            path("v").string() +
                            "; a vault cannot hold another, so name a folder outside it.\n");
  EXPECT_FALSE(fs::exists(path("v/sub")));

  auto file = trivo({"init", path("notes/todo.txt").string()});
  EXPECT_EQ(file.exitCode, 1);
  EXPECT_EQ(dir.read("notes/todo.txt"), "mine");
}

TEST(HelpTexts, HelpExplainsTrivoOrOneCommandAndUnknownWordsAreNamed) {
  auto help = testing::runTrivo({"help"});
  EXPECT_EQ(help.exitCode, 0) << help.err;
  for (const char* command : {"init", "reflect", "edit", "completion", "plan", "check", "help"}) {
    EXPECT_NE(help.out.find("\n  " + std::string(command) + " "), std::string::npos) << command;
  }
  auto one = testing::runTrivo({"help", "init"});
  EXPECT_EQ(one.exitCode, 0) << one.err;
  EXPECT_NE(one.out.find("Usage: trivo init [OPTIONS] [DIR]"), std::string::npos) << one.out;
  EXPECT_NE(one.out.find("--sample"), std::string::npos) << one.out;

  // The list comes from the command registry; it is pinned by its ends and by the commands every
  // version has, so that a new command does not break this test.
  const std::string prefix = "trivo: name a command; ";
  const auto bare = testing::runTrivo({});
  EXPECT_EQ(bare.exitCode, 2);
  ASSERT_EQ(bare.err.rfind(prefix, 0), 0u) << bare.err;
  const std::string list = bare.err.substr(prefix.size(), bare.err.find('\n') + 1 - prefix.size());
  EXPECT_EQ(list.rfind("the commands are plan, path, open, config, ", 0), 0u) << list;
  for (const char* command : {" init,", " reflect,", " edit,", " completion,", " help.\n"}) {
    EXPECT_NE(list.find(command), std::string::npos) << command << " is not listed: " << list;
  }
  const std::string usage =
      "usage: trivo [--vault DIR] [--json] COMMAND ...  (trivo help lists the commands)\n";
  auto unknown = testing::runTrivo({"--json", "frobnicate", "--x"});
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err, "trivo: \"frobnicate\" is not a command; " + list + usage);
  auto unknownTopic = testing::runTrivo({"help", "frobnicate"});
  EXPECT_EQ(unknownTopic.exitCode, 2);
  EXPECT_EQ(unknownTopic.err, "trivo: \"frobnicate\" is not a command; " + list + usage);
  EXPECT_EQ(bare.err, prefix + list + usage);
  // A bad option of a known command is still CLI11's own message.
  auto badOption = testing::runTrivo({"plan", "--nope"});
  EXPECT_EQ(badOption.exitCode, 2);
  EXPECT_EQ(badOption.err.find("A subcommand is required"), std::string::npos) << badOption.err;
}

// Runs the bash completion function as bash would for the words typed so far.
std::string bashComplete(const std::string& script, const std::string& words) {
  testing::TempDir dir;
  const auto file = dir.write("trivo.bash", script);
  const std::string program = "source '" + file.string() + "'; COMP_WORDS=(" + words +
                              "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _trivo; "
                              "printf '%s\\n' \"${COMPREPLY[@]}\"";
  auto r = testing::runExecutable("/bin/bash", {"-c", program});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  return r.out;
}

TEST(Completion, BashCompletesCommandsAndTheirOptionsFromTheRegistry) {
  auto bash = testing::runTrivo({"completion", "bash"});
  ASSERT_EQ(bash.exitCode, 0) << bash.err;
  EXPECT_EQ(bashComplete(bash.out, "trivo refl"), "reflect\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo --vault /tmp ini"), "init\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo init --"), "--org\n--sample\n--help\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo check --r"), "--roundtrip\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo config g"), "get\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo help co"), "config\ncompletion\nconvert\n");
  EXPECT_EQ(bashComplete(bash.out, "trivo --j"), "--json\n");
}

TEST(Completion, ZshAndFishScriptsListEveryCommandAndAnUnknownShellIsRefused) {
  auto zsh = testing::runTrivo({"completion", "zsh"});
  auto fish = testing::runTrivo({"completion", "fish"});
  ASSERT_EQ(zsh.exitCode, 0) << zsh.err;
  ASSERT_EQ(fish.exitCode, 0) << fish.err;
  EXPECT_EQ(zsh.out.rfind("#compdef trivo\n", 0), 0u);
  // zsh reads a colon as the end of a command's name, so summaries escape theirs.
  EXPECT_NE(zsh.out.find("'plan:Show what a day offers\\: its prompt"), std::string::npos);
  EXPECT_NE(zsh.out.find("reflect) _arguments '--edit[Open the page in $VISUAL or $EDITOR "
                         "instead of asking]'"),
            std::string::npos)
      << zsh.out;
  EXPECT_NE(fish.out.find("complete -c trivo -f -n __fish_use_subcommand -a 'init' -d 'Make a "
                          "vault in a new or empty folder and remember it as the default "
                          "vault'\n"),
            std::string::npos)
      << fish.out;
  EXPECT_NE(fish.out.find("complete -c trivo -n '__fish_seen_subcommand_from init' -l org -d"),
            std::string::npos);
  EXPECT_NE(fish.out.find("the vault'\\''s settings"), std::string::npos);

  auto tcsh = testing::runTrivo({"completion", "tcsh"});
  EXPECT_EQ(tcsh.exitCode, 2);
  EXPECT_EQ(tcsh.out, "");
}

}  // namespace
}  // namespace trivo

// `trivo open`: following links from the command line, as the desktop's link handler does.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(TrivoOpen, DryRunPrintsTheLinkAsJson) {
  auto r = testing::runTrivo(
      {"open", "--dry-run", "trivo://focus/start?minutes=25&subject=Deep%20work"});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Json::parse(r.out),
            Json::parse(R"({"case":"focusStart","minutes":25,"subject":"Deep work","slot":null})"));
}

TEST(TrivoOpen, ALinkThatDoesNotParseIsRefusedWithExitOne) {
  for (const char* url : {"trivo://focus/start?minutes=1441", "https://open?page=calendar"}) {
    for (bool dryRun : {true, false}) {
      std::vector<std::string> args = {"open", url};
      if (dryRun) args.insert(args.begin() + 1, "--dry-run");
      auto r = testing::runTrivo(args);
      EXPECT_EQ(r.exitCode, 1) << url;
      EXPECT_EQ(r.err, std::string("not a trivo link: ") + url + "\n");
      EXPECT_EQ(r.out, "");
    }
  }
}

TEST(TrivoOpen, OpensPagesOfTheVaultAndNeverANoteOutsideIt) {
  testing::TempDir dir;
  const auto vault = dir.path() / "vault";
  dir.write("vault/.trivo/config.json", "{}");
  dir.write("vault/notes/a b.md", "x");
  dir.write("secret.md", "x");
  std::filesystem::create_directory_symlink(dir.path(), vault / "out");
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-09-16";

  auto day = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo-app://open?page=yesterday"}, options);
  EXPECT_EQ(day.exitCode, 0) << day.err;
  EXPECT_EQ(day.out,
            "Would open day 2026-09-15: " + (vault / "days/2026-09-15.md").string() + "\n");

  auto note = testing::runTrivo(
      {"--vault", vault.string(), "open", "trivo://open?page=files&file=notes/a%20b.md"}, options);
  EXPECT_EQ(note.exitCode, 0) << note.err;
  EXPECT_EQ(note.out, "Would open the note: " + (vault / "notes/a b.md").string() + "\n");

  for (const std::string file :
       {"../secret.md", "notes/../../secret.md", "/etc/passwd", "out/secret.md"}) {
    auto r = testing::runTrivo(
        {"--vault", vault.string(), "open", "trivo://open?page=files&file=" + file}, options);
    EXPECT_EQ(r.exitCode, 1) << file;
    EXPECT_EQ(r.err, "trivo: \"" + file +
                         "\" is outside the vault; a note link names a file inside the vault.\n");
  }
}

TEST(TrivoOpen, LinksThatActOnTheSessionOrInboxSayTheyAreNotAvailable) {
  auto r = testing::runTrivo({"open", "trivo://capture?text=x"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err, "trivo: Capture links are not available yet.\n");
}

}  // namespace
}  // namespace trivo

// `trivo search`, `trivo tags`, `trivo tasks`, `trivo onthisday`, the find link and the agenda
// with the person's own Org files, run as a person runs them against a temporary vault with
// today pinned and the index in a temporary cache folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/util/json_fields.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

class SearchCommands : public ::testing::Test {
 protected:
  SearchCommands() {
    dir_.write("vault/.trivo/config.json", R"({"fileFormat": "markdown",
      "tagPins": ["family"],
      "orgPins": ["projects/garden.org"],
      "savedSearches": [{"name": "Runs", "words": "run", "tags": [], "kind": "journal", "hide": ["treadmill"]}],
      "savedFilters": {"main": [{"name": "Kin", "tags": ["family", "friends"], "matchAll": false, "words": ""}]}})");
    dir_.write("vault/days/2026-11-25.md", R"(---
date: 2026-11-25
type: day
---
# Wednesday, 25 November 2026

## Outcomes
- [ ] Finish the garden plan #family

## Journal
- 07:30 — Morning run by the river
  - [ ] WAITING for Ana's reply
  - [x] stretch [2026-11-25 07:50]
- 19:00 — Treadmill run, it rained
  - [ ] buy running shoes
)");
    dir_.write("vault/days/2025-11-25.md", R"(## Journal
- 08:00 — Coffee at Café Central with Jo #friends
)");
    dir_.write("vault/days/2026-11-18.md", "## Journal\n- 09:00 — A quiet Wednesday\n");
    dir_.write("vault/projects/garden.org", R"(#+TODO: TODO WAITING | DONE
* TODO Prune the roses :garden:
  SCHEDULED: <2026-11-26 Thu +1w>
* DONE Plant bulbs
  SCHEDULED: <2026-11-26 Thu>
)");
    dir_.write("vault/templates/t.org", "* TODO Template\nSCHEDULED: <2026-11-26 Thu>\n");
  }

  testing::ProcessResult trivo(std::vector<std::string> args) const {
    args.insert(args.begin(), {"--vault", (dir_.path() / "vault").string()});
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-11-25";
    options.env["XDG_CACHE_HOME"] = (dir_.path() / "cache").string();
    options.env["NO_COLOR"] = std::nullopt;
    return testing::runTrivo(args, options);
  }
  std::string ok(const std::vector<std::string>& args) const {
    const auto r = trivo(args);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    return r.out;
  }
  void refused(const std::vector<std::string>& args, int code, const std::string& sentence) const {
    const auto r = trivo(args);
    EXPECT_EQ(r.exitCode, code) << r.out << r.err;
    EXPECT_EQ(r.err, "trivo: " + sentence + "\n");
  }

  testing::TempDir dir_;
};

TEST_F(SearchCommands, SearchPrintsPagesNewestFirstWithNeighbours) {
  EXPECT_EQ(ok({"search", "run", "-treadmill"}),
            "days/2026-11-25.md  Wednesday 2026-11-25\n"
            "   10- ## Journal\n"
            "   11: - 07:30 \xE2\x80\x94 Morning run by the river\n"
            "   12-   - [ ] WAITING for Ana's reply\n"
            "  --\n"
            "   14- - 19:00 \xE2\x80\x94 Treadmill run, it rained\n"
            "   15:   - [ ] buy running shoes\n"
            "\n2 lines in 1 file.\n");

  const std::string cafe = ok({"search", "CAFE", "from:2025-01-01", "to:2025-12-31"});
  EXPECT_TRUE(cafe.starts_with("days/2025-11-25.md")) << cafe;
}

TEST_F(SearchCommands, TheVaultMayBeNamedAfterTheCommand) {
  const std::string expected = ok({"search", "run", "-treadmill"});
  testing::ProcessOptions options;
  options.env["TRIVO_TODAY"] = "2026-11-25";
  options.env["XDG_CACHE_HOME"] = (dir_.path() / "cache").string();
  options.env["TRIVO_VAULT"] = std::nullopt;
  const std::string vault = (dir_.path() / "vault").string();
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"search", "--vault", vault, "run", "-treadmill"},
        std::vector<std::string>{"search", "run", "-treadmill", "--vault=" + vault}}) {
    const auto r = testing::runTrivo(args, options);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, expected);
  }
  const auto r = testing::runTrivo({"search", "run", "--vault"}, options);
  EXPECT_EQ(r.exitCode, 2) << r.out << r.err;
}

TEST_F(SearchCommands, JsonSavedSearchesFiltersAndTheFindLink) {
  const Json found = Json::parse(ok({"--json", "search", "--saved", "Runs"}));
  EXPECT_EQ(found["lines"], 2);
  ASSERT_EQ(found["pages"].size(), 1u);
  EXPECT_EQ(found["pages"][0]["file"], "days/2026-11-25.md");
  EXPECT_EQ(found["pages"][0]["matches"][0]["line"], 11);

  const Json kin = Json::parse(ok({"--json", "search", "--saved", "kin"}));
  std::vector<std::string> files;
  for (const auto& page : kin["pages"]) files.push_back(page["file"]);
  EXPECT_EQ(files, (std::vector<std::string>{"days/2026-11-25.md", "days/2025-11-25.md"}));

  const std::string link = ok({"open", "trivo://find?q=caf%C3%A9%20central"});
  EXPECT_TRUE(link.starts_with("days/2025-11-25.md")) << link;

  // The other Org files are searched when asked (the settings leave them out by default).
  EXPECT_EQ(trivo({"search", "roses"}).exitCode, 1);
  EXPECT_NE(ok({"search", "--org", "roses"}).find("projects/garden.org  pinned Org file"),
            std::string::npos);
}

TEST_F(SearchCommands, RefusalsAreOneSentence) {
  refused({"search", "in:diary"}, 2,
          "\xE2\x80\x9Cin:diary\xE2\x80\x9D names no part of the vault; use in:journal, in:inbox, "
          "in:outcomes, in:reflections or in:other.");
  refused({"search", "--saved", "Nope"}, 2,
          "There is no saved search or filter \"Nope\"; the saved ones are Runs, Kin.");
  refused({"search"}, 2, "Give something to search for, as in: trivo search coffee tag:friends.");
  refused({"tasks", "blocked"}, 1,
          "There is no task status \"blocked\"; the statuses are todo, inprocess, waiting and "
          "done (or all).");
  const auto none = trivo({"search", "zebra"});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.out, "No line matches \"zebra\".\n");
}

TEST_F(SearchCommands, TagsTasksAndOnThisDay) {
  EXPECT_EQ(ok({"tags"}), "     1  #family  pinned\n     1  #friends\n");

  EXPECT_EQ(ok({"tasks"}),
            "todo\n"
            "  2026-11-25 19:00  [ ] buy running shoes  (Treadmill run, it rained)\n"
            "\n"
            "waiting\n"
            "  2026-11-25 07:30  [ ] WAITING for Ana's reply  (Morning run by the river)\n");
  EXPECT_EQ(ok({"tasks", "done"}),
            "done\n  2026-11-25 07:30  [x] stretch  (Morning run by the river)\n");
  EXPECT_EQ(ok({"tasks", "inprocess"}), "No journal task is in process.\n");

  EXPECT_EQ(ok({"onthisday"}),
            "Tuesday 2025-11-25  a year ago\n"
            "  08:00  Coffee at Café Central with Jo #friends\n"
            "\n"
            "Wednesday 2026-11-18  a week ago\n"
            "  09:00  A quiet Wednesday\n");
  EXPECT_EQ(ok({"onthisday", "2026-11-24"}), "No earlier journal falls on this day.\n");
}

TEST_F(SearchCommands, AgendaReadsTheOrgFilesOfTheVault) {
  const std::string out = ok({"agenda", "--days", "9"});
  EXPECT_NE(out.find("Prune the roses  (scheduled, projects/garden.org)"), std::string::npos)
      << out;
  // Which items and days are the reader's rules; the agenda prints what it gives.

  dir_.write("vault/.trivo/config.json", R"({"fileFormat": "markdown", "orgAgenda": false})");
  EXPECT_EQ(ok({"agenda", "--days", "9"}).find("Prune"), std::string::npos);
}

}  // namespace
}  // namespace trivo

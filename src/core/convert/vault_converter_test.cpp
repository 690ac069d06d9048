// A vault converted in place: the old pages kept, the format setting changed, nothing written
// when a page does not read, a conversion cut short finished on the next run, and undo.
#include "core/convert/vault_converter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_locator.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

class ConvertVault : public ::testing::Test {
 protected:
  void SetUp() override {
    write(".trivo/config.json", "{\"fileFormat\": \"markdown\", \"yearMode\": \"quarter\"}\n");
    write("days/2026-09-16.md",
          "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday\n\n## Outcomes\n"
          "- [x] Ship the **report** → #2\n- [ ]\n- [ ]\n\n## Notes\nSee "
          "[the site](https://example.org) and ![](media/cat.png).\n");
    write("weeks/2026-W38.md", "---\nweek: 2026-W38\ntype: week\n---\n\n## Outcomes\n- [ ] Plan\n");
    write("inbox.md",
          "---\ntype: inbox\n---\n# Inbox\n- [ ] Pay rent <!-- captured: 2026-09-06 -->\n");
    write("notes.md", "not a page, left alone\n");
    write("media/cat.png", "PNG");
  }
  void write(const std::string& relative, const std::string& bytes) { dir_.write(relative, bytes); }
  std::string read(const std::string& relative) { return dir_.read(relative); }

  // Every file of the vault outside ".trivo", by relative path.
  Files files() {
    Files out;
    for (auto it = fs::recursive_directory_iterator(root_); it != fs::end(it); ++it) {
      if (it->path().filename() == ".trivo") {
        it.disable_recursion_pending();
        continue;
      }
      if (it->is_regular_file()) {
        out[it->path().lexically_relative(root_).generic_string()] =
            read(it->path().lexically_relative(root_).string());
      }
    }
    return out;
  }

  VaultConverter converter() { return VaultConverter(root_, YearMode::quarter, clock_); }

  testing::TempDir dir_;
  const fs::path root_ = dir_.path();
  testing::ScopedEnv config_{"XDG_CONFIG_HOME", "/nonexistent-trivo-config"};
  testing::FakeClock clock_{Instant(std::chrono::seconds(1789550000))};
};

TEST_F(ConvertVault, ConvertKeepsTheOldPagesAndUndoPutsBackEveryByte) {
  const Files before = files();
  const auto outcome = converter().convert(VaultFormat::org);
  EXPECT_EQ(outcome.plan.pages.size(), 3u);
  EXPECT_TRUE(outcome.plan.incomplete.empty());
  EXPECT_EQ(outcome.kept, root_ / ".trivo" / "converted-20260916-091320");

  const Files after = files();
  EXPECT_EQ(after.count("days/2026-09-16.md"), 0u);
  EXPECT_EQ(after.at("notes.md"), before.at("notes.md"));
  EXPECT_EQ(after.at("media/cat.png"), "PNG");
  EXPECT_NE(after.at("days/2026-09-16.org").find("** DONE Ship the *report* → #2\n"),
            std::string::npos);
  EXPECT_NE(after.at("days/2026-09-16.org")
                .find("See [[https://example.org][the site]] and [[file:media/cat.png]].\n"),
            std::string::npos);
  EXPECT_EQ(detectVaultFormat(root_), VaultFormat::org);
  for (const char* page : {"days/2026-09-16.md", "weeks/2026-W38.md", "inbox.md"}) {
    EXPECT_EQ(Coordinated::read(outcome.kept / page), before.at(page)) << page;
  }

  EXPECT_EQ(converter().undo(), 3u);
  EXPECT_EQ(files(), before);
  EXPECT_EQ(detectVaultFormat(root_), VaultFormat::markdown);
  EXPECT_THROW(converter().undo(), ConversionError);
}

TEST_F(ConvertVault, AnUnreadablePageStopsTheConversionBeforeAnythingIsWritten) {
  write("days/2026-09-17.md", "---\nno colon here\n---\n");
  const Files before = files();
  try {
    (void)converter().convert(VaultFormat::org);
    FAIL() << "converted a vault with a page that does not read";
  } catch (const ConversionError& e) {
    EXPECT_STREQ(e.what(),
                 "days/2026-09-17.md cannot be read: The front matter at the top of the page is "
                 "malformed. Nothing was converted.");
  }
  EXPECT_EQ(files(), before);
  EXPECT_FALSE(fs::exists(root_ / ".trivo" / "converted-20260916-091320"));
  EXPECT_EQ(detectVaultFormat(root_), VaultFormat::markdown);
}

TEST_F(ConvertVault, RefusesWhatWouldOverwriteOrChangeNothing) {
  write("weeks/2026-W38.org", "#+week: 2026-W38\n");
  EXPECT_THROW((void)converter().plan(VaultFormat::org), ConversionError);
  fs::remove(root_ / "weeks/2026-W38.org");
  const Files before = files();
  EXPECT_TRUE(converter().convert(VaultFormat::markdown).plan.pages.empty());
  EXPECT_EQ(files(), before);
}

TEST_F(ConvertVault, UndoRefusesWhenAConvertedPageChangedSince) {
  (void)converter().convert(VaultFormat::org);
  write("weeks/2026-W38.org", read("weeks/2026-W38.org") + "a line written after\n");
  const Files before = files();
  try {
    (void)converter().undo();
    FAIL();
  } catch (const ConversionError& e) {
    EXPECT_STREQ(e.what(),
                 "weeks/2026-W38.org changed after the conversion; undoing would lose that "
                 "change, so nothing was undone (convert the vault again with trivo convert --to "
                 "markdown instead).");
  }
  EXPECT_EQ(files(), before);
}

// The state a kill leaves between replacing two pages: the record unfinished, some pages
// converted, the others (and the setting) as they were. The next run finishes the job.
TEST_F(ConvertVault, AConversionCutShortIsFinishedByTheNextRun) {
  const auto first = converter().convert(VaultFormat::org);
  const Files converted = files();
  Json record = *Coordinated::readJson(first.kept / "conversion.json");
  record["finished"] = false;
  AtomicWrite::write(record.dump(), first.kept / "conversion.json");
  write("weeks/2026-W38.md", Coordinated::read(first.kept / "weeks/2026-W38.md"));
  fs::remove(root_ / "weeks/2026-W38.org");
  write(".trivo/config.json", "{\"fileFormat\": \"markdown\"}\n");

  EXPECT_THROW((void)converter().plan(VaultFormat::markdown), ConversionError);
  EXPECT_THROW((void)converter().undo(), ConversionError);
  EXPECT_EQ(detectVaultFormat(root_), VaultFormat::markdown);
  const auto plan = converter().plan(VaultFormat::org);
  EXPECT_TRUE(plan.resumes);
  ASSERT_EQ(plan.pages.size(), 1u);
  EXPECT_EQ(plan.pages[0].from, "weeks/2026-W38.md");

  (void)converter().convert(VaultFormat::org);
  EXPECT_EQ(files(), converted);
  EXPECT_EQ(detectVaultFormat(root_), VaultFormat::org);
}

}  // namespace
}  // namespace trivo

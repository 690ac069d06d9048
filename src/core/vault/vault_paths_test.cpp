// Page files and their keys, both ways, in both formats and under a perspective.
#include "core/vault/vault_paths.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

namespace fs = std::filesystem;

struct NameCase {
  const char* extension;
  const char* folder;
  const char* name;
  std::optional<EntryKey> key;
};

TEST(VaultPaths, FileNamesGiveTheirKeys) {
  const auto day = EntryKey::day(*DayDate::make(2026, 9, 16));
  const NameCase cases[] = {
      {"md", "days", "2026-09-16.md", day},
      {"org", "days", "2026-09-16.org", day},
      {"md", "days", "2026-09-16.org", std::nullopt},
      {"org", "days", "2026-09-16.md", std::nullopt},
      {"md", "weeks", "2026-W38.md", EntryKey::week({2026, 38})},
      {"md", "months", "2026-09.md", EntryKey::month({2026, 9})},
      {"org", "quarters", "2026-Q3.org", EntryKey::quarter({2026, 3})},
      {"md", "years", "2026.md", EntryKey::year(2026)},
      {"md", "years", "+2026.md", EntryKey::year(2026)},
      {"org", "years", "-44.org", EntryKey::year(-44)},
      {"md", "years", "2026a.md", std::nullopt},
      {"md", "years", " 2026.md", std::nullopt},
      {"md", "years", "+.md", std::nullopt},
      {"md", "years", "99999999999999999999.md", std::nullopt},
      {"md", "days", "2026-9-16.md", std::nullopt},
      {"md", "days", "2026-02-30.md", std::nullopt},
      {"md", "days", "notes.md", std::nullopt},
      {"md", "days", ".md", std::nullopt},
      {"md", "days", "2026-09-16.md.md", std::nullopt},
      {"md", "days", "2026-09-16.MD", std::nullopt},
      {"md", "days", "2026-09-16.sync-conflict-20260916-123456-ABCDEFG.md", std::nullopt},
      {"md", "days", "2026-09-16 (conflicted copy 2026-09-16).md", std::nullopt},
      {"md", "weeks", "2026-09-16.md", std::nullopt},
      {"md", "notes", "2026-09-16.md", std::nullopt},
      {"md", "", "inbox.md", std::nullopt},
  };
  for (const auto& c : cases) {
    const VaultPaths paths("/v", c.extension);
    EXPECT_EQ(paths.key(c.folder, c.name), c.key)
        << c.folder << "/" << c.name << " ." << c.extension;
  }
}

TEST(VaultPaths, KeysRoundTripThroughTheirFilesInBothFormats) {
  std::vector<EntryKey> keys{EntryKey::inbox(), EntryKey::year(2026), EntryKey::year(-1),
                             EntryKey::year(0), EntryKey::year(10000)};
  for (auto d = *DayDate::make(2025, 12, 20); d <= *DayDate::make(2027, 1, 10); d = d.adding(3)) {
    keys.push_back(EntryKey::day(d));
    keys.push_back(EntryKey::week(d.isoWeek()));
    keys.push_back(EntryKey::month(d.yearMonth()));
    keys.push_back(EntryKey::quarter(d.yearQuarter()));
  }
  keys.push_back(EntryKey::week({2026, 53}));  // names parse without consulting the calendar
  for (auto format : {VaultFormat::markdown, VaultFormat::org}) {
    for (const auto& perspective :
         {std::optional<std::string>(), std::optional<std::string>("Work")}) {
      const VaultPaths paths("/home/ada/vault", format, perspective);
      for (const auto& key : keys) {
        const fs::path file = paths.urlFor(key);
        EXPECT_EQ(file.extension(), "." + paths.fileExtension()) << file;
        EXPECT_EQ(paths.keyFor(file), key) << file;
      }
    }
  }
}

TEST(VaultPaths, LayoutOfAMarkdownVault) {
  const VaultPaths paths("/v", VaultFormat::markdown);
  EXPECT_EQ(paths.urlFor(EntryKey::day(*DayDate::make(2026, 9, 16))), "/v/days/2026-09-16.md");
  EXPECT_EQ(paths.urlFor(EntryKey::week({2026, 38})), "/v/weeks/2026-W38.md");
  EXPECT_EQ(paths.urlFor(EntryKey::month({2026, 9})), "/v/months/2026-09.md");
  EXPECT_EQ(paths.urlFor(EntryKey::quarter({2026, 3})), "/v/quarters/2026-Q3.md");
  EXPECT_EQ(paths.urlFor(EntryKey::year(2026)), "/v/years/2026.md");
  EXPECT_EQ(paths.urlFor(EntryKey::inbox()), "/v/inbox.md");
  EXPECT_EQ(paths.media(), "/v/media");
  EXPECT_EQ(paths.config(), "/v/.trivo/config.json");
  EXPECT_EQ(VaultPaths("/v", VaultFormat::org).year(2026), "/v/years/2026.org");
}

TEST(VaultPaths, APerspectiveMovesThePagesButNotTheSettings) {
  const VaultPaths paths("/v", VaultFormat::markdown, "Work");
  EXPECT_EQ(paths.base(), "/v/_perspectives/work");
  EXPECT_EQ(paths.urlFor(EntryKey::day(*DayDate::make(2026, 9, 16))),
            "/v/_perspectives/work/days/2026-09-16.md");
  EXPECT_EQ(paths.inbox(), "/v/_perspectives/work/inbox.md");
  EXPECT_EQ(paths.media(), "/v/_perspectives/work/media");
  EXPECT_EQ(paths.appPrivate(), "/v/.trivo");
  EXPECT_EQ(paths.config(), "/v/.trivo/config.json");
}

TEST(VaultPaths, KeyForAcceptsOnlyFilesDirectlyInBasesPeriodFoldersOrItsInbox) {
  const VaultPaths plain("/v/", VaultFormat::markdown);
  const VaultPaths work("/v", VaultFormat::markdown, "Work");
  const auto day = EntryKey::day(*DayDate::make(2026, 9, 16));
  EXPECT_EQ(plain.keyFor("/v/days/2026-09-16.md"), day);
  EXPECT_EQ(plain.keyFor("/v/./x/../days/2026-09-16.md"), day);
  EXPECT_EQ(plain.keyFor("days/2026-09-16.md"), day);  // relative to base
  EXPECT_EQ(plain.keyFor("/v/inbox.md"), EntryKey::inbox());
  EXPECT_EQ(plain.keyFor("inbox.md"), EntryKey::inbox());
  EXPECT_EQ(plain.keyFor("/v/days/inbox.md"), std::nullopt);
  EXPECT_EQ(plain.keyFor("/v/inbox.org"), std::nullopt);
  EXPECT_EQ(plain.keyFor("/other/days/2026-09-16.md"), std::nullopt);
  EXPECT_EQ(plain.keyFor("/v/archive/days/2026-09-16.md"), std::nullopt);
  EXPECT_EQ(plain.keyFor("/days/2026-09-16.md"), std::nullopt);
  EXPECT_EQ(plain.keyFor("/v/2026-09-16.md"), std::nullopt);
  // The root's pages are outside a perspective's base, and the other way round.
  EXPECT_EQ(work.keyFor("/v/days/2026-09-16.md"), std::nullopt);
  EXPECT_EQ(work.keyFor("/v/_perspectives/work/days/2026-09-16.md"), day);
  EXPECT_EQ(plain.keyFor("/v/_perspectives/work/days/2026-09-16.md"), std::nullopt);
  EXPECT_EQ(VaultPaths(".", "md").keyFor("days/2026-09-16.md"), day);
}

}  // namespace
}  // namespace trivo

// Backups stored by content: unchanged pages cost nothing between snapshots, the oldest
// snapshots and the texts only they held go, and the store's writes keep each page's text from
// before them.
#include "core/backup/backup_store.h"

#include <gtest/gtest.h>

#include <set>

#include "core/backup/sha256.h"
#include "core/store/atomic_write.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "core/util/json_fields.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class Backups : public ::testing::Test {
 protected:
  void SetUp() override {
    vault_.write(".trivo/config.json", "{\"fileFormat\": \"markdown\"}\n");
    vault_.write("days/2026-03-14.md", "---\ndate: 2026-03-14\ntype: day\n---\n\n## Notes\nA\n");
    vault_.write("weeks/2026-W11.md", "---\nweek: 2026-W11\ntype: week\n---\n");
    vault_.write("inbox.md", "---\ntype: inbox\n---\n- [ ] Pay rent\n");
    vault_.write("notes.txt", "not a page\n");
  }

  std::set<std::string> blobs() const {
    std::set<std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(folder_.path() / "blobs")) {
      if (e.is_regular_file()) out.insert(e.path().filename().string());
    }
    return out;
  }
  Json pagesOf(const fs::path& snapshot) const {
    return Coordinated::readJson(snapshot)->at("pages");
  }

  testing::TempDir vault_;
  testing::TempDir folder_;
  testing::FakeClock clock_{Instant(std::chrono::seconds(1789550000))};
  BackupStore backups_{folder_.path(), clock_};
};

TEST_F(Backups, TwoSnapshotsOfAnUnchangedVaultShareEveryText) {
  const auto first = backups_.snapshot(vault_.path(), 3);
  EXPECT_EQ(first.pages, 3u);
  EXPECT_EQ(first.newBlobs, 3u);
  const auto stored = blobs();
  clock_.advance(std::chrono::hours(24));
  const auto second = backups_.snapshot(vault_.path(), 3);
  EXPECT_EQ(second.newBlobs, 0u);
  EXPECT_EQ(blobs(), stored);
  EXPECT_EQ(pagesOf(first.file), pagesOf(second.file));
  EXPECT_EQ(pagesOf(first.file)["inbox.md"], sha256Hex("---\ntype: inbox\n---\n- [ ] Pay rent\n"));
  EXPECT_EQ(backups_.snapshots(), (std::vector<fs::path>{first.file, second.file}));
}

TEST_F(Backups, KeepRemovesTheOldestSnapshotsAndTheTextsOnlyTheyHeld) {
  std::vector<BackupStore::SnapshotResult> taken;
  for (const char* notes : {"A", "B", "C"}) {
    vault_.write("days/2026-03-14.md",
                 std::string("---\ndate: 2026-03-14\ntype: day\n---\n\n## Notes\n") + notes + "\n");
    taken.push_back(backups_.snapshot(vault_.path(), 2));
    clock_.advance(std::chrono::hours(1));
  }
  EXPECT_EQ(taken.back().pruned, 1u);
  EXPECT_EQ(backups_.snapshots(), (std::vector<fs::path>{taken[1].file, taken[2].file}));
  const std::string oldest = sha256Hex("---\ndate: 2026-03-14\ntype: day\n---\n\n## Notes\nA\n");
  EXPECT_EQ(blobs().count(oldest), 0u);
  EXPECT_EQ(blobs().size(), 4u);  // the week, the inbox and the day as B and as C
  const auto versions = backups_.versions("days/2026-03-14.md");
  ASSERT_EQ(versions.size(), 2u);
  EXPECT_EQ(backups_.text(versions[0].blob.substr(0, 6)),
            "---\ndate: 2026-03-14\ntype: day\n---\n\n## Notes\nC\n");
  EXPECT_EQ(backups_.text("zz"), std::nullopt);
}

TEST_F(Backups, EveryWriteOfTheStoreKeepsThePageAsItWasBefore) {
  const Vault vault{vault_.path(), VaultFormat::markdown, "en", std::nullopt};
  VaultStore::Options options;
  options.debounce = std::chrono::hours(24);
  options.clock = &clock_;
  options.keepOnDisk = false;
  options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
  options.wrote = BackupStore::historyHook(std::make_shared<BackupStore>(folder_.path(), clock_),
                                           VaultPaths(vault_.path(), "md"));
  VaultStore store(vault, options);
  const DayDate day = *DayDate::parse("2026-03-14");
  const std::string before = *store.loadText(EntryKey::day(day));
  DayEntry entry = store.day(day);
  entry.notes = "Rewritten";
  store.save(entry);
  store.flush();
  clock_.advance(std::chrono::minutes(5));
  const std::string middle = *store.loadText(EntryKey::day(day));
  entry.notes = "Again";
  store.save(entry);
  store.flush();
  // A page written for the first time had no text before: nothing to keep.
  store.save(store.day(*DayDate::parse("2026-03-15")));
  store.flush();

  const auto versions = backups_.versions("days/2026-03-14.md");
  ASSERT_EQ(versions.size(), 2u);
  EXPECT_EQ(backups_.text(versions[0].blob), middle);
  EXPECT_EQ(backups_.text(versions[1].blob), before);
  EXPECT_EQ(versions[0].source, BackupStore::Version::Source::beforeWrite);
  EXPECT_TRUE(backups_.versions("days/2026-03-15.md").empty());
}

TEST(BackupSettings, ReadLenientlyWithTheDefaults) {
  testing::TempDir vault;
  EXPECT_TRUE(BackupStore::settingsOf(vault.path()).enabled);
  vault.write(".trivo/config.json",
              "{\"backup\": {\"enabled\": false, \"intervalMinutes\": 60, \"keep\": \"x\"}}");
  const auto settings = BackupStore::settingsOf(vault.path());
  EXPECT_FALSE(settings.enabled);
  EXPECT_EQ(settings.intervalMinutes, 60);
  EXPECT_EQ(settings.keep, 3);
  EXPECT_FALSE(BackupStore::historyFor(VaultPaths(vault.path(), "md"), SystemClock::shared()));
}

}  // namespace
}  // namespace trivo

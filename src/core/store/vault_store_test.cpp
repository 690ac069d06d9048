// The store on real folders: debounce, the four refusals, the gone-for-five-seconds rule, undo,
// and change events from real inotify.
#include "core/store/vault_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <thread>

#include "core/store/file_watcher.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

const EntryKey kStoreDay = EntryKey::day(DayDate{2026, 9, 16});

class StoreTest : public ::testing::Test {
 protected:
  // `adjust` sets what a test needs beyond the debounce, the fake clock and a quick watcher.
  std::unique_ptr<VaultStore> open(std::chrono::milliseconds debounce = 1h,
                                   const std::function<void(VaultStore::Options&)>& adjust = {}) {
    VaultStore::Options options;
    if (adjust) adjust(options);
    options.debounce = debounce;
    options.clock = &clock_;
    options.watcherQuiet = 20ms;
    return std::make_unique<VaultStore>(vault(), options);
  }
  Vault vault() const { return Vault{dir_.path(), VaultFormat::markdown, "en", {}}; }
  std::string disk(const EntryKey& key = kStoreDay) const {
    return dir_.read(paths().urlFor(key).lexically_relative(dir_.path()));
  }
  void writeOutside(const std::string& text, const EntryKey& key = kStoreDay) const {
    dir_.write(paths().urlFor(key).lexically_relative(dir_.path()), text);
  }
  VaultPaths paths() const { return VaultPaths(dir_.path(), VaultFormat::markdown); }

  testing::TempDir dir_;
  testing::FakeClock clock_{Instant{} + 1000h};
};

TEST_F(StoreTest, TwoSavesWithinTheDebounceGiveOneWriteOfTheLaterText) {
  auto store = open(100ms);
  store->saveText(kStoreDay, "first");
  store->saveText(kStoreDay, "second");
  for (int i = 0; i < 300 && store->writeCount() == 0; ++i) std::this_thread::sleep_for(10ms);
  std::this_thread::sleep_for(150ms);
  EXPECT_EQ(store->writeCount(), 1);
  EXPECT_EQ(disk(), "second");
}

TEST_F(StoreTest, SavingTheLoadedTextWritesNothingButForceIsStickyUntilWritten) {
  writeOutside("hello");
  auto store = open();
  ASSERT_EQ(store->loadText(kStoreDay), "hello");
  store->saveText(kStoreDay, "hello");
  EXPECT_FALSE(store->hasPendingWrite(kStoreDay));

  writeOutside("edited elsewhere");
  store->saveText(kStoreDay, "mine", /*force=*/true);
  store->saveText(kStoreDay, "mine again");
  store->flush();
  EXPECT_EQ(disk(), "mine again");
}

TEST_F(StoreTest, OutsideEditBetweenLoadAndFlushIsRefusedKeptAndAnnouncedOnce) {
  writeOutside("original");
  auto store = open();
  auto changes = store->changes();
  ASSERT_EQ(store->loadText(kStoreDay), "original");
  writeOutside("theirs");
  store->saveText(kStoreDay, "mine");
  try {
    store->flush();
    FAIL() << "the flush should report the collision";
  } catch (const VaultError& e) {
    EXPECT_EQ(e.kind(), VaultError::Kind::changedOnDisk);
    EXPECT_EQ(e.key(), kStoreDay);
  }
  EXPECT_EQ(disk(), "theirs");
  EXPECT_EQ(store->conflicts(), std::set<EntryKey>{kStoreDay});
  EXPECT_EQ(changes->next(3s), kStoreDay);
  EXPECT_EQ(store->takeRefused(kStoreDay), std::vector<std::string>{"mine"});
  EXPECT_TRUE(store->takeRefused(kStoreDay).empty());
  // Loading again settles the conflict.
  ASSERT_EQ(store->loadText(kStoreDay), "theirs");
  EXPECT_TRUE(store->conflicts().empty());
}

TEST_F(StoreTest, TheSixthRefusalDropsTheOldest) {
  writeOutside("a");
  auto store = open();
  (void)store->loadText(kStoreDay);
  writeOutside("b");
  for (int i = 1; i <= 6; ++i) {
    store->saveText(kStoreDay, "edit " + std::to_string(i));
    EXPECT_THROW(store->flush(), VaultError);
  }
  EXPECT_EQ(store->takeRefused(kStoreDay),
            (std::vector<std::string>{"edit 2", "edit 3", "edit 4", "edit 5", "edit 6"}));
}

TEST_F(StoreTest, BlankTextOverMoreThan300CharactersIsRefusedUnlessEmptying) {
  for (std::size_t length : {300u, 301u}) {
    const std::string full(length, 'x');
    writeOutside(full);
    auto store = open();
    (void)store->loadText(kStoreDay);
    store->saveText(kStoreDay, "");
    if (length == 300) {
      EXPECT_NO_THROW(store->flush());
      EXPECT_EQ(disk(), "");
    } else {
      EXPECT_THROW(store->flush(), VaultError);
      EXPECT_EQ(disk(), full);
      (void)store->loadText(kStoreDay);
      store->saveText(kStoreDay, "", false, /*emptying=*/true);
      EXPECT_NO_THROW(store->flush());
      EXPECT_EQ(disk(), "");
    }
  }
  // Characters, not bytes: 200 two-byte letters are 200 characters.
  std::string accents;
  for (int i = 0; i < 200; ++i) accents += "é";
  writeOutside(accents);
  auto store = open();
  (void)store->loadText(kStoreDay);
  store->saveText(kStoreDay, "");
  EXPECT_NO_THROW(store->flush());
}

TEST_F(StoreTest, AVanishedPageIsBusyForFiveSecondsThenDeleted) {
  writeOutside("here");
  auto store = open();
  (void)store->loadText(kStoreDay);
  fs::remove(paths().urlFor(kStoreDay));
  EXPECT_THROW((void)store->loadText(kStoreDay), VaultError);
  clock_.advance(4900ms);
  EXPECT_THROW((void)store->loadText(kStoreDay), VaultError);
  clock_.advance(100ms);
  EXPECT_EQ(store->loadText(kStoreDay), std::nullopt);
  // A page the store never knew is simply missing.
  EXPECT_EQ(store->loadText(EntryKey::day(DayDate{2026, 9, 17})), std::nullopt);
}

TEST_F(StoreTest, UndoKeepsAHundredStepsAndNeverUndoesAnOutsideEdit) {
  auto store = open();
  // Undoing the write that made a page removes the file.
  const EntryKey fresh = EntryKey::day(DayDate{2026, 9, 17});
  store->saveText(fresh, "new page");
  store->flush();
  ASSERT_EQ(store->undo(), fresh);
  EXPECT_FALSE(fs::exists(paths().urlFor(fresh)));

  for (int i = 1; i <= 101; ++i) {
    store->saveText(kStoreDay, "v" + std::to_string(i));
    store->flush();
  }
  int undone = 0;
  while (store->canUndo()) {
    ASSERT_EQ(store->undo(), kStoreDay);
    ++undone;
  }
  EXPECT_EQ(undone, 100);
  EXPECT_EQ(disk(), "v1");  // the first write fell off the stack
  ASSERT_EQ(store->redo(), kStoreDay);
  EXPECT_EQ(disk(), "v2");

  writeOutside("someone else");
  EXPECT_THROW((void)store->undo(), VaultError);
  EXPECT_EQ(disk(), "someone else");
  EXPECT_TRUE(store->canUndo());
  EXPECT_TRUE(store->canRedo());
}

TEST_F(StoreTest, ReadOnlyStoresWriteNothingAndReadProblemsAreReported) {
  auto store = open(1h, [](auto& o) { o.readOnly = true; });
  store->saveText(kStoreDay, "x");
  store->flush();
  EXPECT_FALSE(fs::exists(paths().urlFor(kStoreDay)));
  writeOutside("bad \xC3\x28 bytes");
  EXPECT_EQ(store->readProblem(kStoreDay)->kind, ReadProblem::Kind::encoding);
  EXPECT_THROW((void)store->loadText(kStoreDay), PageReadError);
  EXPECT_EQ(store->readProblem(EntryKey::day(DayDate{2020, 1, 1})), std::nullopt);
}

TEST_F(StoreTest, APlaceholderIsNeverOverwritten) {
  auto store = open();
  dir_.write("days/.2026-09-16.md.icloud", "placeholder");
  EXPECT_THROW((void)store->loadText(kStoreDay), VaultError);
  store->saveText(kStoreDay, "text", /*force=*/true);
  EXPECT_THROW(store->flush(), VaultError);
  EXPECT_FALSE(fs::exists(paths().urlFor(kStoreDay)));
}

TEST_F(StoreTest, ASaveIsHeldBackWhenAnotherDeviceWroteThePageLater) {
  const DeviceIdentity here{"aaaa", "here"};
  const DeviceIdentity there{"bbbb", "there"};
  writeOutside("old");
  auto store = open(1h, [&](auto& o) {
    o.cloud = std::make_shared<FileCloudSignal>(dir_.path(), here, SystemClock::shared());
  });
  (void)store->loadText(kStoreDay);
  testing::FakeClock later(std::chrono::system_clock::now() + 1min);
  FileCloudSignal(dir_.path(), there, later).touched(paths().urlFor(kStoreDay));
  store->saveText(kStoreDay, "mine");
  EXPECT_THROW(store->flush(), VaultError);
  EXPECT_EQ(disk(), "old");
  // Our own record never holds us back.
  FileCloudSignal(dir_.path(), here, later).touched(paths().urlFor(EntryKey::inbox()));
  writeOutside("inbox", EntryKey::inbox());
  (void)store->loadText(EntryKey::inbox());
  store->saveText(EntryKey::inbox(), "new inbox");
  EXPECT_NO_THROW(store->flush());
}

TEST_F(StoreTest, WatcherSkipsOwnWritesAndReportsOutsideOnes) {
  auto store = open();
  auto changes = store->changes();
  store->saveText(kStoreDay, "ours");
  store->flush();
  EXPECT_EQ(changes->next(400ms), std::nullopt);
  writeOutside("theirs");
  EXPECT_EQ(changes->next(3s), kStoreDay);
  EXPECT_EQ(changes->next(200ms), std::nullopt);
}

TEST_F(StoreTest, WatcherRoutesSettingsToConfigChangesOnly) {
  auto store = open();
  auto changes = store->changes();
  auto config = store->configChanges();
  auto other = store->otherChanges();
  dir_.write(".trivo/config.json", "{}");
  EXPECT_TRUE(config->next(3s));
  EXPECT_EQ(changes->next(200ms), std::nullopt);
  EXPECT_EQ(other->next(10ms), std::nullopt);
  dir_.write("notes/idea.txt", "x");
  EXPECT_EQ(other->next(3s), dir_.path() / "notes/idea.txt");
}

TEST_F(StoreTest, WatcherSeesAnEditorSaveAsOneChangeAndWatchesNewFolders) {
  fs::create_directories(dir_.path() / "days");
  auto store = open();
  auto changes = store->changes();
  // Editor-style: write a backup temporary, then rename it over the page.
  dir_.write("days/.2026-09-16.md.swp", "swap");
  dir_.write("days/2026-09-16.md~", "draft");
  fs::rename(dir_.path() / "days/2026-09-16.md~", paths().urlFor(kStoreDay));
  EXPECT_EQ(changes->next(3s), kStoreDay);
  EXPECT_EQ(changes->next(300ms), std::nullopt);
  // A folder that appears later (weeks/) is watched, and what landed in it first is seen.
  writeOutside("week", EntryKey::week(ISOWeek{2026, 38}));
  EXPECT_EQ(changes->next(3s), EntryKey::week(ISOWeek{2026, 38}));
  writeOutside("week 2", EntryKey::week(ISOWeek{2026, 38}));
  EXPECT_EQ(changes->next(3s), EntryKey::week(ISOWeek{2026, 38}));
}

TEST(WatcherNames, OurScratchFilesAndOtherToolsTemporariesAreIgnored) {
  for (const char* name :
       {".2026-09-16.md.6f9619ff-8b86-d011-b42d-00c04fc964ff.tmp", ".syncthing.2026-09-16.md.tmp",
        ".~lock.notes.odt#", "a.part", ".x.swp", "4913", "2026-09-16.md~"}) {
    EXPECT_TRUE(FileWatcher::isIgnoredName(name)) << name;
  }
  for (const char* name : {"2026-09-16.md", "inbox.org", "config.json", "notes.txt"}) {
    EXPECT_FALSE(FileWatcher::isIgnoredName(name)) << name;
  }
}

TEST(Utf8, ValidityFollowsTheStandard) {
  EXPECT_TRUE(isValidUtf8("plain ascii"));
  EXPECT_TRUE(isValidUtf8("é ß 😀 한"));
  for (std::string bad :
       {std::string("\xC3\x28"), std::string("\xC0\xAF"), std::string("\xED\xA0\x80"),
        std::string("\xF4\x90\x80\x80"), std::string("\xE2\x82"), std::string("\xFF")}) {
    EXPECT_FALSE(isValidUtf8(bad));
  }
}

// A debounced flush on the store's own thread used to swallow its refusal, so a caller that
// flushed afterwards heard nothing and said the text was saved.
TEST_F(StoreTest, ARefusalOnTheStoresOwnThreadReachesTheNextFlush) {
  writeOutside("original\n");
  auto store = open(0ms);
  ASSERT_EQ(store->loadText(kStoreDay), "original\n");
  writeOutside("original\ntheirs\n");
  store->saveText(kStoreDay, "original\nmine\n");
  for (int i = 0; i < 300 && store->hasPendingWrite(kStoreDay); ++i) std::this_thread::sleep_for(5ms);
  ASSERT_FALSE(store->hasPendingWrite(kStoreDay)) << "the debounced flush never ran";
  try {
    store->flush();
    FAIL() << "the refusal was never reported";
  } catch (const VaultError& e) {
    EXPECT_EQ(e.kind(), VaultError::Kind::changedOnDisk);
    EXPECT_EQ(e.key(), kStoreDay);
  }
  EXPECT_NO_THROW(store->flush()) << "reported once";
  EXPECT_EQ(disk(), "original\ntheirs\n");
  EXPECT_EQ(store->takeRefused(kStoreDay), std::vector<std::string>{"original\nmine\n"});
}

TEST_F(StoreTest, RefusedTextsAndUnwritableOnesOutliveTheStore) {
  testing::TempDir data;
  auto keep = std::make_shared<RefusedTexts>(data.path() / "refused", &clock_);
  writeOutside("original\n");
  const EntryKey inbox = EntryKey::inbox();
  // A page whose file is a dangling link cannot be written at all.
  fs::create_symlink(dir_.path() / "nowhere.md", paths().urlFor(inbox));
  {
    auto store = open(1h, [&](auto& o) { o.keep = keep; });
    ASSERT_EQ(store->loadText(kStoreDay), "original\n");
    writeOutside("theirs\n");
    store->saveText(kStoreDay, "mine\n");
    EXPECT_THROW(store->flush(), VaultError);
    store->saveText(inbox, "- [ ] captured\n");
    EXPECT_THROW(store->flush(), FileError);
    EXPECT_TRUE(store->hasPendingWrite(inbox)) << "a failed write stays queued";
  }
  const auto kept = keep->list();
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].page, "day:2026-09-16");
  EXPECT_EQ(kept[0].text, "mine\n");
  EXPECT_EQ(kept[0].base, "original\n");
  EXPECT_EQ(kept[0].reason, "changed on disk");
  EXPECT_EQ(kept[1].page, "inbox");
  EXPECT_EQ(kept[1].text, "- [ ] captured\n");
  EXPECT_EQ(kept[1].reason, "could not be written");
  EXPECT_TRUE(keep->drop(kept[0].id));
  EXPECT_EQ(keep->list().size(), 1u);
}

// A sync tool checks a page for local changes and then puts the other device's text in its place;
// our write can land in between. A page replaced moments after our write, by a text that lacks
// what ours added, keeps ours. A later edit that drops our lines, or a text that has them all,
// keeps nothing.
TEST_F(StoreTest, APageReplacedRightAfterOurWriteKeepsWhatTheWriteAdded) {
  testing::TempDir data;
  auto keep = std::make_shared<RefusedTexts>(data.path() / "refused", &clock_);
  // Wide enough for a slow folder sync between our write and the replacement (sanitizers, load).
  auto owned = open(1h, [&](auto& o) {
    o.keep = keep;
    o.overwrittenWithin = 1s;
  });
  VaultStore& store = *owned;
  auto changes = store.changes();
  const fs::path file = paths().urlFor(kStoreDay);
  // As a sync tool does it: a temporary file dated as the other device wrote it, renamed over.
  const auto replace = [&](const std::string& text, fs::file_time_type written) {
    const fs::path temporary = file.parent_path() / ".syncthing.page.tmp";
    std::ofstream(temporary, std::ios::binary) << text;
    fs::last_write_time(temporary, written);
    fs::rename(temporary, file);
  };
  const auto write = [&](const std::string& text) {
    store.saveText(kStoreDay, text);
    store.flush();
  };

  writeOutside("- one\n");
  ASSERT_EQ(store.loadText(kStoreDay), "- one\n");
  write("- one\n- mine\n");
  replace("- one\n- theirs\n", fs::last_write_time(file) - 2s);
  EXPECT_EQ(changes->next(3s), kStoreDay);
  EXPECT_EQ(store.conflicts(), std::set<EntryKey>{kStoreDay});
  auto kept = keep->list();
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].text, "- one\n- mine\n");
  EXPECT_EQ(kept[0].base, "- one\n") << "the text before our write is the merge's base";
  EXPECT_EQ(kept[0].reason, "replaced by a text made without it");
  EXPECT_EQ(store.takeRefused(kStoreDay), std::vector<std::string>{"- one\n- mine\n"});
  ASSERT_EQ(store.loadText(kStoreDay), "- one\n- theirs\n");
  EXPECT_EQ(keep->list().size(), 1u) << "noticed once";

  // Their text dated after ours (written at the same time, before ours reached them).
  write("- one\n- theirs\n- mine again\n");
  replace("- one\n- theirs\n- also theirs\n", fs::file_time_type::clock::now() + 1s);
  EXPECT_EQ(changes->next(3s), kStoreDay);
  ASSERT_EQ(store.loadText(kStoreDay), "- one\n- theirs\n- also theirs\n");
  EXPECT_EQ(keep->list().size(), 2u);

  write("- one\n- theirs\n- a third\n");
  std::this_thread::sleep_for(1200ms);
  writeOutside("- one\n- theirs\n");
  EXPECT_EQ(changes->next(3s), kStoreDay);
  ASSERT_EQ(store.loadText(kStoreDay), "- one\n- theirs\n");
  EXPECT_EQ(keep->list().size(), 2u) << "a later edit is the person's own";

  write("- one\n- theirs\n- a fourth\n");
  replace("- a fourth\n- one\n- theirs\n", fs::last_write_time(file) - 2s);
  EXPECT_EQ(changes->next(3s), kStoreDay);
  ASSERT_EQ(store.loadText(kStoreDay), "- a fourth\n- one\n- theirs\n");
  EXPECT_EQ(keep->list().size(), 2u);
  EXPECT_TRUE(store.conflicts().empty());
}

}  // namespace
}  // namespace trivo

// Two devices sharing one vault through a real Syncthing on loopback. Each device has its own
// vault folder, its own store and its own device identity, and both add lines to the same day
// page and the inbox while Syncthing carries every change across. When the folders have
// converged, every line either device saved must be on both disks, kept as one of that device's
// refused texts, or in a conflict copy that the refused listing offers: nothing may be lost.
// CI writes for 8 s; TRIVO_SYNC_SECONDS sets another length (`make soak` writes longer).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "core/format/serializer_error.h"
#include "core/platform/device_identity.h"
#include "core/store/cloud_signal.h"
#include "core/store/refused_resolver.h"
#include "core/store/refused_texts.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/scoped_env.h"
#include "testing/syncthing_device.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;
using testing::SyncthingDevice;

const DayDate kSyncDay{2026, 11, 23};

int writingSeconds() {
  if (const char* s = std::getenv("TRIVO_SYNC_SECONDS")) return std::max(1, std::atoi(s));
  return 8;
}

std::string readAll(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Everything Syncthing shares, by relative path: what both sides must agree on once converged.
// Syncthing's own marker and temporary files are not shared.
std::map<std::string, std::string> sharedFiles(const fs::path& root) {
  std::map<std::string, std::string> files;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(root, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name == ".stfolder" || name == ".stversions") {
      it.disable_recursion_pending();
      continue;
    }
    if (name.starts_with(".syncthing.") || name.starts_with("~syncthing~")) continue;
    if (!it->is_regular_file(ec)) continue;
    files[fs::relative(it->path(), root).generic_string()] = readAll(it->path());
  }
  return files;
}

// Waits until both folders hold the same files with the same contents, and still do three
// seconds later (a change still under way on one side would show up by then).
bool waitForConvergence(const fs::path& a, const fs::path& b, std::chrono::seconds bound) {
  const auto deadline = steady_clock::now() + bound;
  std::optional<steady_clock::time_point> sameSince;
  std::map<std::string, std::string> last;
  while (steady_clock::now() < deadline) {
    auto filesA = sharedFiles(a);
    const bool same = filesA == sharedFiles(b);
    if (same && sameSince && filesA == last) {
      if (steady_clock::now() - *sameSince >= std::chrono::seconds(3)) return true;
    } else if (same) {
      sameSince = steady_clock::now();
      last = std::move(filesA);
    } else {
      sameSince.reset();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
  return false;
}

// One device: its vault folder, its identity, and where its store keeps refused texts.
struct Side {
  std::string name;
  fs::path root;
  fs::path kept;
  DeviceIdentity identity;

  [[nodiscard]] Vault vault() const { return Vault{root, VaultFormat::markdown, "en", {}}; }

  [[nodiscard]] std::unique_ptr<VaultStore> open() const {
    VaultStore::Options options;
    options.debounce = std::chrono::hours(1);  // every writeLines is an explicit flush
    options.codec = SerializerCodec::forVault(vault(), YearMode::quarter);
    options.cloud = std::make_shared<FileCloudSignal>(root, identity, SystemClock::shared());
    options.keep = std::make_shared<RefusedTexts>(kept);
    return std::make_unique<VaultStore>(vault(), options);
  }
};

// What one device's writer did.
struct Writing {
  std::vector<std::string> lines;  // every line handed to the store, in order
  int refusals = 0;                // flushes refused because the page changed on disk
  int unreadable = 0;              // pages that did not read as records (must stay 0)
  std::vector<std::string> errors;
};

// Adds a line to the day page or the inbox, alternately, as a person would: the page is read,
// edited for a moment, then saved. The pauses let Syncthing carry some changes across between
// two saves and replace the page in the middle of others, so quiet saves, saves the store must
// refuse and saves Syncthing must resolve with a conflict copy all occur.
Writing writeLines(const Side& side, std::chrono::seconds length, unsigned seed) {
  Writing done;
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> pause(100, 700);
  std::uniform_int_distribution<int> editing(0, 500);
  const auto edit = [&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(editing(random)));
  };
  const auto end = steady_clock::now() + length;
  try {
    const auto store = side.open();
    // The store watches its pages, as the service's does: a write that Syncthing replaces with an
    // older text in the instant after it landed is noticed even if this writer never reads that
    // page again.
    const auto watching = store->changes();
    for (int i = 0; steady_clock::now() < end; ++i) {
      char token[16];
      std::snprintf(token, sizeof token, "%s%04d", side.name.c_str(), i);
      const std::string line = std::string("synced line ") + token;
      try {
        if (i % 2 == 0) {
          DayEntry day = store->day(kSyncDay);
          edit();
          CarryItem item;
          item.text = line;
          day.checklist.push_back(item);
          store->save(day);
        } else {
          Inbox inbox = store->inbox();
          edit();
          InboxItem item;
          item.id = InboxItem::newId();
          item.text = line;
          item.captured = kSyncDay;
          inbox.items.push_back(item);
          store->save(inbox);
        }
        done.lines.push_back(token);
        store->flush();
      } catch (const VaultError& e) {
        if (e.kind() == VaultError::Kind::changedOnDisk) {
          ++done.refusals;
        } else {
          done.errors.push_back(e.what());
        }
      } catch (const SerializerError& e) {
        ++done.unreadable;
        done.errors.push_back(e.what());
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(pause(random)));
    }
    // A window left open a moment after the last save.
    std::this_thread::sleep_for(std::chrono::seconds(1));
  } catch (const std::exception& e) {
    done.errors.push_back(e.what());
  }
  return done;
}

TEST(SyncDevices, EveryLineWrittenOnTwoDevicesIsOnBothKeptOrInAConflictCopy) {
  if (!SyncthingDevice::program()) {
    GTEST_SKIP() << "syncthing is not installed (scripts/install-deps installs it); "
                    "the two-device sync test needs it";
  }
  testing::TempDir dir;
  // Refused texts go under the data home; keep them inside the test's folder.
  testing::ScopedEnv dataHome("XDG_DATA_HOME", (dir.path() / "data").c_str());
  Side a{"a", dir.path() / "vault-a", dir.path() / "kept-a",
         DeviceIdentity::derive("machine-a", "device-a")};
  Side b{"b", dir.path() / "vault-b", dir.path() / "kept-b",
         DeviceIdentity::derive("machine-b", "device-b")};
  ASSERT_NE(a.identity.id, b.identity.id);
  for (const Side* side : {&a, &b}) fs::create_directories(side->root / ".stfolder");

  // The vault starts on device A, as a person's would, and reaches B through Syncthing.
  {
    const auto store = a.open();
    DayEntry day = store->day(kSyncDay);
    CarryItem item;
    item.text = "started on a";
    day.checklist.push_back(item);
    store->save(day);
    Inbox inbox = store->inbox();
    InboxItem first;
    first.id = InboxItem::newId();
    first.text = "captured on a";
    inbox.items.push_back(first);
    store->save(inbox);
    store->flush();
  }

  SyncthingDevice deviceA(dir.path() / "home-a");
  SyncthingDevice deviceB(dir.path() / "home-b");
  deviceA.share("trivo-vault", a.root, deviceB, /*dialPeer=*/true);
  deviceB.share("trivo-vault", b.root, deviceA, /*dialPeer=*/false);
  deviceB.start();
  deviceA.start();
  const auto logs = [&] {
    return "device A's log:\n" + deviceA.logTail() + "device B's log:\n" + deviceB.logTail();
  };
  ASSERT_TRUE(waitForConvergence(a.root, b.root, std::chrono::seconds(40)))
      << "the starting vault never reached device B\n"
      << logs();

  const auto length = std::chrono::seconds(writingSeconds());
  Writing wroteA;
  Writing wroteB;
  std::thread writerA([&] { wroteA = writeLines(a, length, 1); });
  std::thread writerB([&] { wroteB = writeLines(b, length, 2); });
  writerA.join();
  writerB.join();
  EXPECT_TRUE(wroteA.errors.empty()) << "device A: " << wroteA.errors.front();
  EXPECT_TRUE(wroteB.errors.empty()) << "device B: " << wroteB.errors.front();

  ASSERT_TRUE(waitForConvergence(a.root, b.root, std::chrono::seconds(60)))
      << "the two vault folders did not converge\n"
      << logs();
  deviceA.stop();
  deviceB.stop();

  const VaultPaths pathsA(a.root, VaultFormat::markdown);
  const VaultPaths pathsB(b.root, VaultFormat::markdown);
  std::string pagesA;
  std::string pagesB;
  for (const EntryKey& key : {EntryKey::day(kSyncDay), EntryKey::inbox()}) {
    pagesA += readAll(pathsA.urlFor(key));
    pagesB += readAll(pathsB.urlFor(key));
  }
  // What `trivo refused` offers on each side: that side's kept texts, and the conflict copies
  // (which, being shared files, are on both sides alike).
  std::string keptA;
  std::string keptB;
  std::string copies;
  int copyCount = 0;
  int replacedUnseen = 0;  // texts kept because Syncthing put an unseeing text over them
  for (const Side* side : {&a, &b}) {
    for (const auto& entry :
         RefusedResolver(side->vault(), std::make_shared<RefusedTexts>(side->kept)).list()) {
      if (entry.copy) {
        if (side == &a) {
          copies += entry.text;
          ++copyCount;
        }
      } else {
        (side == &a ? keptA : keptB) += entry.text;
        if (entry.reason == "replaced by a text made without it") ++replacedUnseen;
      }
    }
  }

  int written = 0;
  int onDisk = 0;
  int refused = 0;
  int inCopies = 0;
  int lost = 0;
  for (const auto* wrote : {&wroteA, &wroteB}) {
    const std::string& kept = wrote == &wroteA ? keptA : keptB;
    for (const std::string& token : wrote->lines) {
      ++written;
      if (pagesA.find(token) != std::string::npos && pagesB.find(token) != std::string::npos) {
        ++onDisk;
      } else if (kept.find(token) != std::string::npos) {
        ++refused;
      } else if (copies.find(token) != std::string::npos) {
        ++inCopies;
      } else {
        ++lost;
        ADD_FAILURE() << "line " << token << " is on neither disk, kept nor in a conflict copy";
      }
    }
  }
  EXPECT_GT(written, 0);
  EXPECT_EQ(wroteA.unreadable + wroteB.unreadable, 0) << "a synced page did not read";
  EXPECT_EQ(lost, 0);
  std::printf(
      "two devices writing for %d s: lines written %d, on both disks %d, in refused texts %d "
      "(from %d refusals and %d writes replaced right after), in conflict copies %d (%d copies), "
      "lost %d\n",
      writingSeconds(), written, onDisk, refused, wroteA.refusals + wroteB.refusals,
      replacedUnseen, inCopies, copyCount, lost);
  RecordProperty("written", written);
  RecordProperty("onDisk", onDisk);
  RecordProperty("refused", refused);
  RecordProperty("inConflictCopies", inCopies);
  RecordProperty("refusals", wroteA.refusals + wroteB.refusals);
  RecordProperty("replacedRightAfter", replacedUnseen);
  RecordProperty("lost", lost);
}

}  // namespace
}  // namespace trivo

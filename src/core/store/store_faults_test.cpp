// The store against a disk that fails: every system call it makes fails in turn (EIO, ENOSPC,
// EINTR, EACCES, a short write), and power is lost at every moment of a run of saves. In every
// case the page holds its old text or its new one, whole, and a text that is not on disk is still
// queued or kept, with the caller told.
#include <gtest/gtest.h>

#include <set>

#include "core/store/vault_store.h"
#include "testing/fault_file_systems.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using testing::Call;

const EntryKey kFaultDay = EntryKey::day(DayDate{2026, 9, 16});

std::size_t scratchFilesIn(const fs::path& folder) {
  std::size_t n = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (AtomicWrite::isScratchName(entry.path().filename().string())) ++n;
  }
  return n;
}

struct FaultRun {
  std::string disk;
  bool told = false;    // flush threw
  bool queued = false;  // the text is still queued
  bool kept = false;    // the text is among the refused ones
  bool fired = false;   // the fault happened at all
};

// One save of a page that exists ("old") and one of a new page, under one fault.
FaultRun runUnder(const testing::FaultyFileSystem::Fault& fault, bool newPage) {
  testing::TempDir dir;
  const VaultPaths paths(dir.path(), VaultFormat::markdown);
  fs::create_directories(dir.path() / "days");
  if (!newPage) dir.write("days/2026-09-16.md", "old\n");
  testing::FaultyFileSystem faulty(fault);
  FaultRun run;
  {
    VaultStore::Options options;
    options.debounce = std::chrono::hours(1);
    options.keepOnDisk = false;
    options.fileSystem = &faulty;
    VaultStore faultyStore(Vault{dir.path(), VaultFormat::markdown, "en", {}}, options);
    try {
      (void)faultyStore.loadText(kFaultDay);
      faultyStore.saveText(kFaultDay, "new\n");
      faultyStore.flush();
    } catch (const FileError&) {
      run.told = true;
    } catch (const VaultError&) {
      run.told = true;
    } catch (const PageReadError&) {
      run.told = true;  // the load itself failed: nothing was queued
      run.queued = true;
    }
    run.fired = faulty.fired();
    run.queued = run.queued || faultyStore.hasPendingWrite(kFaultDay);
    const auto refused = faultyStore.takeRefused(kFaultDay);
    run.kept = std::find(refused.begin(), refused.end(), "new\n") != refused.end();
    faultyStore.discardPending(kFaultDay);
    // Only a failed unlink may leave a scratch file, for the sweep of stale ones to remove.
    if (fault.call != Call::unlink) {
      EXPECT_EQ(scratchFilesIn(dir.path() / "days"), 0u)
          << "a scratch file was left behind by " << callName(fault.call) << " #" << fault.nth;
    }
  }
  run.disk = fs::exists(paths.urlFor(kFaultDay)) ? dir.read("days/2026-09-16.md") : "";
  return run;
}

TEST(StoreFaults, EveryFailingCallLeavesTheOldOrNewTextAndTellsTheCaller) {
  struct Kind {
    int error;
    bool shortWrite;
    const char* name;
  };
  const Kind kinds[] = {{EIO, false, "EIO"},
                        {ENOSPC, false, "ENOSPC"},
                        {EINTR, false, "EINTR"},
                        {EACCES, false, "EACCES"},
                        {0, true, "short write"}};
  int tried = 0;
  int written = 0;
  int keptOrQueued = 0;
  for (const bool newPage : {false, true}) {
    for (const Call call : testing::kAllCalls) {
      for (const Kind& kind : kinds) {
        if (kind.shortWrite && call != Call::write) continue;
        for (int nth = 1;; ++nth) {
          const auto run = runUnder({call, nth, kind.error, kind.shortWrite}, newPage);
          if (!run.fired) break;  // the scenario makes fewer calls of this kind
          ++tried;
          const std::string where = std::string(callName(call)) + " #" + std::to_string(nth) +
                                    " " + kind.name + (newPage ? " (new page)" : "");
          const std::string old = newPage ? "" : "old\n";
          ASSERT_TRUE(run.disk == old || run.disk == "new\n") << where << ": " << run.disk;
          if (run.disk == "new\n") {
            ++written;
          } else {
            ++keptOrQueued;
            EXPECT_TRUE(run.told) << where << ": the caller was not told";
            EXPECT_TRUE(run.queued || run.kept) << where << ": the text is gone";
          }
        }
      }
    }
  }
  // Every kind of call was reached by the scenario, and most faults were survived by retrying
  // (EINTR, a short write) or reported.
  EXPECT_GT(tried, 60);
  RecordProperty("tried", tried);
  RecordProperty("written", written);
  RecordProperty("keptOrQueued", keptOrQueued);
}

// Power is lost before every change the store makes to the disk over a run of saves of three
// pages; every state the disk could be left in holds, for every page, the last text whose flush
// returned or the one being written, and never a torn, empty or foreign one.
TEST(StoreFaults, PowerLossAtEveryMomentLeavesEveryPageOldOrNew) {
  testing::TempDir dir;
  fs::create_directories(dir.path() / "days");
  fs::create_directories(dir.path() / ".trivo");
  const std::vector<EntryKey> keys = {EntryKey::day(DayDate{2026, 9, 14}),
                                      EntryKey::day(DayDate{2026, 9, 15}), kFaultDay};
  const VaultPaths paths(dir.path(), VaultFormat::markdown);
  std::map<std::string, std::string> acknowledged;  // page path → last text whose flush returned
  std::map<std::string, std::string> inFlight;
  for (const auto& key : keys) {
    const std::string text = "first text of " + key.description() + "\n";
    dir.write(paths.urlFor(key).lexically_relative(dir.path()), text);
    acknowledged[paths.urlFor(key).string()] = text;
  }
  testing::PowerLossFileSystem disk(dir.path());
  int crashPoints = 0;
  int statesChecked = 0;
  std::vector<std::string> failures;
  disk.onMutation = [&] {
    ++crashPoints;
    for (const auto& state : disk.crashStates()) {
      ++statesChecked;
      for (const auto& [path, text] : acknowledged) {
        auto it = state.find(path);
        const bool ok = it != state.end() &&
                        (it->second == text || (inFlight.contains(path) && it->second == inFlight[path]));
        if (!ok && failures.size() < 5) {
          failures.push_back(path + " at crash point " + std::to_string(crashPoints) + " holds " +
                             (it == state.end() ? std::string("nothing") : "\"" + it->second + "\""));
        }
      }
    }
  };
  VaultStore::Options options;
  options.debounce = std::chrono::hours(1);
  options.keepOnDisk = false;
  options.fileSystem = &disk;
  VaultStore store(Vault{dir.path(), VaultFormat::markdown, "en", {}}, options);
  for (int round = 0; round < 200; ++round) {
    const EntryKey& key = keys[static_cast<std::size_t>(round) % keys.size()];
    const std::string path = paths.urlFor(key).string();
    (void)store.loadText(key);
    // Texts of different lengths, so that a torn or mixed file cannot pass for a whole one.
    const std::string text = "round " + std::to_string(round) + " " +
                             std::string(static_cast<std::size_t>(round % 7) * 300, 'x') + "\n";
    store.saveText(key, text);
    inFlight[path] = text;
    store.flush();
    acknowledged[path] = text;
    inFlight.erase(path);
  }
  EXPECT_TRUE(failures.empty()) << failures.front();
  EXPECT_GE(crashPoints, 1000);
  RecordProperty("crashPoints", crashPoints);
  RecordProperty("statesChecked", statesChecked);
}

}  // namespace
}  // namespace trivo

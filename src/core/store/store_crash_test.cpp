// A writer killed at any moment leaves every page whole: the old text or the new, never a torn
// or empty file, and no scratch file is taken for a page.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "core/store/vault_store.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Every text the writer produces: one letter repeated, 20 KiB long, so a torn file shows.
std::string pageOf(char letter) { return std::string(20 * 1024, letter); }

bool isWhole(const std::string& text) {
  return text.size() == 20 * 1024 && text.find_first_not_of(text.front()) == std::string::npos;
}

TEST(StoreCrash, KilledWriterLeavesEveryPageWholeOldOrNew) {
  testing::TempDir dir;
  const Vault vault{dir.path(), VaultFormat::markdown, "en", {}};
  const VaultPaths paths(dir.path(), VaultFormat::markdown);
  std::vector<EntryKey> keys;
  for (int d = 1; d <= 5; ++d) keys.push_back(EntryKey::day(DayDate{2026, 9, d}));
  std::mt19937 random(7);
  for (int round = 0; round < 8; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      VaultStore::Options options;
      options.debounce = std::chrono::hours(1);
      VaultStore store(vault, options);
      for (int i = 0;; ++i) {
        const EntryKey& key = keys[static_cast<std::size_t>(i) % keys.size()];
        (void)store.loadText(key);
        store.saveText(key, pageOf(static_cast<char>('a' + i % 26)));
        try {
          store.flush();
        } catch (const std::exception&) {
          // Another round's killed writer left nothing half-done to collide with; keep going.
        }
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + random() % 40));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    for (const auto& key : keys) {
      const fs::path file = paths.urlFor(key);
      if (!fs::exists(file)) continue;
      const std::string text = dir.read(file.lexically_relative(dir.path()));
      EXPECT_TRUE(isWhole(text)) << key.description() << " is torn after round " << round << " ("
                                 << text.size() << " bytes)";
    }
  }
  // Scratch files of the killed writers are swept once they are old enough not to belong to a
  // writer that is just starting.
  std::size_t left = 0;
  // A writer killed before its first page was written left no folder at all.
  fs::create_directories(dir.path() / "days");
  for (const auto& entry : fs::directory_iterator(dir.path() / "days")) {
    if (!entry.path().filename().string().ends_with(".tmp")) continue;
    ++left;
    fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::minutes(1));
  }
  {
    VaultStore reopened(vault, VaultStore::Options{});
    EXPECT_EQ(reopened.removeStaleScratchFiles(), left);
  }
  for (const auto& entry : fs::directory_iterator(dir.path() / "days")) {
    EXPECT_FALSE(entry.path().filename().string().ends_with(".tmp")) << entry.path();
  }
}

}  // namespace
}  // namespace trivo

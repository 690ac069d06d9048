// A soak of the store against other writers of the same pages: an editor that saves in place,
// by writing a new file and renaming it, and as vim does (a "4913" probe file, a backup, then a
// new file), and a shell loop appending lines without any lock. Every line is counted: none of
// the other writers' lines may be lost, and every line the store was asked to save is on disk or
// among its refused texts. CI runs a few hundred saves; `make soak` runs ten thousand
// (TRIVO_SOAK_SAVES).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <thread>

#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::set<std::string> linesOf(const std::string& text) {
  std::set<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.insert(line);
  return lines;
}

void writeFile(const fs::path& file, const std::string& text, int flags) {
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | flags, 0644);
  if (fd < 0 || ::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    ::_exit(3);
  }
  ::close(fd);
}

// The editor's read-append-save is one step under the vault's lock, so which side must win each
// race is known and nothing at all may be lost; how it saves varies as editors' saves do.
void editorSave(const fs::path& root, const fs::path& file, int edit) {
  Coordinated::Lock lock(root);
  std::string text = Coordinated::readIfExists(file).value_or("");
  text += "editor " + std::to_string(edit) + "\n";
  const fs::path folder = file.parent_path();
  switch (edit % 3) {
    case 0:  // in place
      writeFile(file, text, O_TRUNC);
      break;
    case 1: {  // a new file renamed over the old one
      const fs::path fresh = folder / (file.filename().string() + ".new");
      writeFile(fresh, text, O_TRUNC);
      fs::rename(fresh, file);
      break;
    }
    default: {  // as vim does with backupcopy=no
      writeFile(folder / "4913", "", O_EXCL);
      fs::remove(folder / "4913");
      const fs::path backup = folder / (file.filename().string() + "~");
      fs::rename(file, backup);
      writeFile(file, text, O_TRUNC);
      fs::remove(backup);
      break;
    }
  }
}

int soakSaves() {
  if (const char* n = std::getenv("TRIVO_SOAK_SAVES")) return std::max(1, std::atoi(n));
  return 300;
}

TEST(StoreSoak, NoLineIsLostAgainstEditorsAndAnAppendingShell) {
  testing::TempDir dir;
  const Vault vault{dir.path(), VaultFormat::markdown, "en", {}};
  const VaultPaths paths(dir.path(), VaultFormat::markdown);
  const std::vector<EntryKey> keys = {EntryKey::day(DayDate{2026, 9, 16}),
                                      EntryKey::day(DayDate{2026, 9, 17}), EntryKey::inbox()};
  for (const auto& key : keys) {
    fs::create_directories(paths.urlFor(key).parent_path());
    writeFile(paths.urlFor(key), "start\n", O_TRUNC);
  }
  const int saves = soakSaves();
  const int edits = std::max(1, saves / 3);
  // The editor and the shell never write the same page: a line lost between those two would be
  // their own race (an editor saving what it read before the shell appended), not the store's.
  const auto editorPage = [&](int i) { return paths.urlFor(keys[static_cast<std::size_t>(i) % 2]); };
  const fs::path shellPage = paths.urlFor(keys[2]);

  const pid_t editor = ::fork();
  ASSERT_GE(editor, 0);
  if (editor == 0) {
    for (int i = 0; i < edits; ++i) {
      editorSave(dir.path(), editorPage(i), i);
      std::this_thread::sleep_for(std::chrono::microseconds(200 + (i * 7919) % 1500));
    }
    ::_exit(0);
  }
  // A shell loop: `echo "shell N" >> page`, no lock, no reading.
  const pid_t shell = ::fork();
  ASSERT_GE(shell, 0);
  if (shell == 0) {
    for (int i = 0; i < edits; ++i) {
      writeFile(shellPage, "shell " + std::to_string(i) + "\n", O_APPEND);
      std::this_thread::sleep_for(std::chrono::microseconds(300 + (i * 104729) % 1500));
    }
    ::_exit(0);
  }

  std::set<std::string> asked;
  std::set<std::string> refused;
  int refusals = 0;
  {
    VaultStore::Options options;
    options.debounce = std::chrono::hours(1);
    options.keepOnDisk = false;
    VaultStore store(vault, options);
    for (int i = 0; i < saves; ++i) {
      const EntryKey& key = keys[static_cast<std::size_t>(i) % 3];
      const std::string line = "store " + std::to_string(i);
      asked.insert(line);
      std::optional<std::string> text;
      // A vim save leaves the page missing for a moment.
      for (int attempt = 0; attempt < 1000 && !text; ++attempt) {
        try {
          text = store.loadText(key);
        } catch (const VaultError&) {
          std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
      }
      ASSERT_TRUE(text) << "the page stayed missing";
      store.saveText(key, *text + line + "\n");
      try {
        store.flush();
      } catch (const VaultError& e) {
        ASSERT_EQ(e.kind(), VaultError::Kind::changedOnDisk);
        ++refusals;
      }
      for (const auto& kept : store.takeRefused(key)) {
        const auto lines = linesOf(kept);
        refused.insert(lines.begin(), lines.end());
      }
    }
  }
  for (const pid_t child : {editor, shell}) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  }

  std::set<std::string> onDisk;
  for (const auto& key : keys) {
    const auto lines = linesOf(Coordinated::read(paths.urlFor(key)));
    onDisk.insert(lines.begin(), lines.end());
  }
  int lostOthers = 0;
  for (int i = 0; i < edits; ++i) {
    for (const std::string& line : {"editor " + std::to_string(i), "shell " + std::to_string(i)}) {
      if (onDisk.count(line)) continue;
      ++lostOthers;
      ADD_FAILURE() << line << " was lost";
    }
  }
  int lostOwn = 0;
  for (const auto& line : asked) lostOwn += onDisk.count(line) || refused.count(line) ? 0 : 1;
  EXPECT_EQ(lostOthers, 0) << "lines of the editor or the shell were lost";
  EXPECT_EQ(lostOwn, 0) << "lines the store was asked to save are neither on disk nor kept";
  RecordProperty("saves", saves);
  RecordProperty("otherWrites", 2 * edits);
  RecordProperty("refusals", refusals);
  RecordProperty("lost", lostOthers + lostOwn);
}

}  // namespace
}  // namespace trivo

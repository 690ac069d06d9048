#include "core/store/atomic_write.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <utility>

#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

std::size_t countScratch(const fs::path& folder) {
  std::size_t n = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (AtomicWrite::isScratchName(entry.path().filename().string())) ++n;
  }
  return n;
}

mode_t modeOf(const fs::path& p) {
  struct stat st {};
  EXPECT_EQ(::stat(p.c_str(), &st), 0) << p;
  return st.st_mode & 07777;
}

// A replaced file keeps its permission bits unless a mode is given; a new one gets the umask's,
// with its missing folders made; a link is written through to the real file.
TEST(AtomicWrite, ReplacesContentKeepingModeAndLinks) {
  TempDir dir;
  const fs::path page = dir.write("2026/09/2026-09-16.md", "old text that is longer\n");
  ASSERT_EQ(::chmod(page.c_str(), 0640), 0);
  AtomicWrite::write("new\n", page);
  EXPECT_EQ(dir.read("2026/09/2026-09-16.md"), "new\n");
  EXPECT_EQ(modeOf(page), 0640u);
  AtomicWrite::write("{ }", page, {.mode = 0600, .durable = false});
  EXPECT_EQ(modeOf(page), 0600u);

  const mode_t old = ::umask(027);
  const fs::path fresh = dir.path() / "a" / "b" / "inbox.md";
  AtomicWrite::write("x", fresh);
  ::umask(old);
  EXPECT_EQ(dir.read("a/b/inbox.md"), "x");
  EXPECT_EQ(modeOf(fresh), 0640u);

  const fs::path link = dir.path() / "vault" / "page.md";
  fs::create_directories(link.parent_path());
  fs::create_symlink(page, link);
  AtomicWrite::write("through the link", link);
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(dir.read("2026/09/2026-09-16.md"), "through the link");
  EXPECT_EQ(countScratch(link.parent_path()), 0u);
  EXPECT_EQ(countScratch(page.parent_path()), 0u);
}

// Each refusal names the file and the system's reason, and leaves nothing behind.
TEST(AtomicWrite, RefusalsNameTheFileAndLeaveNothingBehind) {
  TempDir dir;
  const auto refusal = [](const fs::path& file) -> std::optional<FileError> {
    try {
      AtomicWrite::write("text", file);
    } catch (const FileError& e) {
      return e;
    }
    return std::nullopt;
  };
  // A link to nothing is not followed into a new file.
  const fs::path link = dir.path() / "link.md";
  fs::create_symlink(dir.path() / "missing.md", link);
  auto error = refusal(link);
  ASSERT_TRUE(error) << "wrote through a dangling link";
  EXPECT_EQ(error->code(), ENOENT);
  EXPECT_EQ(error->path(), link);
  EXPECT_FALSE(fs::exists(dir.path() / "missing.md"));
  EXPECT_TRUE(fs::is_symlink(link));

  // A folder where the file should be: the rename fails after the scratch file was written.
  fs::create_directories(dir.path() / "page.md" / "inside");
  error = refusal(dir.path() / "page.md");
  ASSERT_TRUE(error) << "replaced a folder";
  EXPECT_EQ(error->code(), EISDIR);
  EXPECT_EQ(std::string(error->what()),
            "Could not write " + (dir.path() / "page.md").string() + ": Is a directory.");
  EXPECT_TRUE(fs::is_directory(dir.path() / "page.md" / "inside"));

  // A file where a folder should be: nothing can be created.
  dir.write("days", "not a folder");
  error = refusal(dir.path() / "days" / "2026-09-16.md");
  ASSERT_TRUE(error) << "wrote under a file";
  EXPECT_EQ(error->code(), ENOTDIR);
  EXPECT_EQ(dir.read("days"), "not a folder");
  EXPECT_EQ(countScratch(dir.path()), 0u);
}

// A new page's file created by another program between our check and our rename is theirs.
TEST(AtomicWrite, ConditionalReplaceNeverClobbersAFileCreatedMeanwhile) {
  TempDir dir;
  const fs::path target = dir.path() / "page.md";
  AtomicWrite::Scratch scratch("ours", target);
  dir.write("page.md", "theirs");
  EXPECT_FALSE(scratch.commitIf(std::nullopt));
  EXPECT_EQ(dir.read("page.md"), "theirs");
}

// The store compares the disk with what it read before it replaces a page; an edit landing
// after that comparison must survive too.
TEST(AtomicWrite, ConditionalReplaceKeepsAnEditMadeAfterTheScratchWasWritten) {
  TempDir dir;
  const fs::path target = dir.write("page.md", "base\n");
  {
    AtomicWrite::Scratch scratch("ours\n", target);
    EXPECT_TRUE(scratch.commitIf("base\n"));
  }
  EXPECT_EQ(dir.read("page.md"), "ours\n");
  {
    AtomicWrite::Scratch scratch("ours again\n", target);
    dir.write("page.md", "ours\ntheirs\n");  // in place, as a shell's >> does
    EXPECT_FALSE(scratch.commitIf("ours\n"));
  }
  EXPECT_EQ(dir.read("page.md"), "ours\ntheirs\n");
  EXPECT_EQ(countScratch(dir.path()), 0u);
  EXPECT_FALSE(AtomicWrite::replaceIf("x", dir.path() / "gone.md", "was here"));
  EXPECT_FALSE(fs::exists(dir.path() / "gone.md"));
}

// Runs `act` once, while the folder is synced after the swap: another writer preempted between
// its open and its write.
struct BeforeFolderSync : FileSystem {
  std::function<void()> act;
  int syncFolder(int fd) override {
    if (act) std::exchange(act, nullptr)();
    return FileSystem::syncFolder(fd);
  }
};

TEST(AtomicWrite, ConditionalReplaceKeepsWhatAnOpenDescriptorWritesIntoTheOldFile) {
  TempDir dir;
  BeforeFolderSync late;
  AtomicWrite::Options options;
  options.fileSystem = &late;
  // A shell's `>>` opened on the old file before the swap: its line is kept after ours.
  const fs::path target = dir.write("page.md", "base\n");
  const int append = ::open(target.c_str(), O_WRONLY | O_APPEND);
  late.act = [&] { EXPECT_EQ(::write(append, "appended late\n", 14), 14); };
  EXPECT_TRUE(AtomicWrite::replaceIf("base\nours\n", target, "base\n", options));
  ::close(append);
  EXPECT_EQ(dir.read("page.md"), "base\nours\nappended late\n");

  // The old file rewritten in place, not extended: theirs goes back, ours is not written.
  const fs::path other = dir.write("other.md", "one\ntwo\n");
  const int rewrite = ::open(other.c_str(), O_WRONLY);
  late.act = [&] { EXPECT_EQ(::pwrite(rewrite, "ONE", 3, 0), 3); };
  EXPECT_FALSE(AtomicWrite::replaceIf("ours\n", other, "one\ntwo\n", options));
  ::close(rewrite);
  EXPECT_EQ(dir.read("other.md"), "ONE\ntwo\n");
  EXPECT_EQ(countScratch(dir.path()), 0u);
}

TEST(AtomicWrite, ScratchNamesAndStaleCleanup) {
  EXPECT_TRUE(AtomicWrite::isScratchName(".page.md.0f8fad5b-d9cb-469f-a165-70867728950e.tmp"));
  for (const char* name :
       {"page.md", ".page.md.tmp", "page.md.0f8fad5b-d9cb-469f-a165-70867728950e.tmp",
        ".page.md.0F8FAD5B-D9CB-469F-A165-70867728950E.tmp",
        ".page.md.0f8fad5b-d9cb-469f-a165-70867728950e.tmpx",
        "..0f8fad5b-d9cb-469f-a165-70867728950e.tmp"}) {
    EXPECT_FALSE(AtomicWrite::isScratchName(name)) << name;
  }
  TempDir dir;
  const auto old = fs::file_time_type::clock::now() - std::chrono::minutes(5);
  const fs::path stale = dir.write(".page.md.0f8fad5b-d9cb-469f-a165-70867728950e.tmp", "half");
  const fs::path young = dir.write(".page.md.1f8fad5b-d9cb-469f-a165-70867728950e.tmp", "new");
  dir.write(".syncthing.page.md.tmp", "theirs");
  dir.write("page.md", "mine");
  const fs::path deeper = dir.write("sub/.x.md.0f8fad5b-d9cb-469f-a165-70867728950e.tmp", "x");
  fs::last_write_time(stale, old);
  fs::last_write_time(deeper, old);
  // A writer that is alive holds its scratch file, however old it looks.
  AtomicWrite::Scratch live("being written", dir.path() / "other.md");
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    if (AtomicWrite::isScratchName(entry.path().filename().string())) {
      fs::last_write_time(entry.path(), old);
    }
  }
  fs::last_write_time(young, fs::file_time_type::clock::now());
  EXPECT_EQ(AtomicWrite::removeStaleScratchFiles(dir.path()), 1u);
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(young));
  EXPECT_TRUE(fs::exists(dir.path() / ".syncthing.page.md.tmp"));
  EXPECT_TRUE(fs::exists(dir.path() / "page.md"));
  EXPECT_TRUE(fs::exists(deeper));
  live.commit();
  EXPECT_EQ(dir.read("other.md"), "being written");
}

// Readers never hang on a FIFO, never read a device, and never take a runaway file whole.
TEST(Coordinated, ReadsRegularFilesOnly) {
  TempDir dir;
  ASSERT_EQ(::mkfifo((dir.path() / "fifo.md").c_str(), 0600), 0);
  fs::create_directories(dir.path() / "folder.md");
  fs::create_symlink("/dev/zero", dir.path() / "zero.md");
  const std::pair<const char*, const char*> cases[] = {
      {"fifo.md", "it is not a regular file (a FIFO, socket or device)"},
      {"folder.md", "it is a folder, not a file"},
      {"zero.md", "it is not a regular file (a FIFO, socket or device)"},
  };
  for (const auto& [name, reason] : cases) {
    try {
      (void)Coordinated::readIfExists(dir.path() / name);
      ADD_FAILURE() << "read " << name;
    } catch (const FileError& e) {
      EXPECT_EQ(std::string(e.what()),
                "Could not read " + (dir.path() / name).string() + ": " + reason + ".");
    }
  }
  const fs::path big = dir.path() / "big.md";
  fs::resize_file(dir.write("big.md", ""), Coordinated::kMaxFileBytes + 1);
  try {
    (void)Coordinated::read(big);
    ADD_FAILURE() << "read a file over the limit";
  } catch (const FileError& e) {
    EXPECT_EQ(e.code(), EFBIG);
  }
}

TEST(Coordinated, ReadsAndComparesWholeFilesAndReportsMissingOnes) {
  TempDir dir;
  // Larger than one read, so the comparison crosses pieces.
  std::string text(50'000, 'a');
  text += "the end";
  const fs::path file = dir.write("page.md", text);
  EXPECT_TRUE(Coordinated::holds(file, text));
  EXPECT_FALSE(Coordinated::holds(file, text.substr(0, text.size() - 1))) << "a prefix";
  EXPECT_FALSE(Coordinated::holds(file, text + "!")) << "longer";
  std::string sameSize = text;
  sameSize[40'000] = 'b';
  EXPECT_FALSE(Coordinated::holds(file, sameSize)) << "one byte differs in a later piece";
  EXPECT_FALSE(Coordinated::holds(dir.path() / "missing.md", ""));
  EXPECT_EQ(Coordinated::readIfExists(dir.path() / "missing.md"), std::nullopt);
  EXPECT_THROW((void)Coordinated::read(dir.path() / "missing.md"), FileError);
  dir.write("nul.md", std::string("a\0b", 3));
  EXPECT_EQ(Coordinated::read(dir.path() / "nul.md"), std::string("a\0b", 3));
  EXPECT_TRUE(Coordinated::holds(dir.write("empty.md", ""), ""));
  fs::create_directories(dir.path() / "folder.md");
  EXPECT_THROW((void)Coordinated::holds(dir.path() / "folder.md", ""), FileError);
}

// Two processes each add to a counter file 200 times under the lock: without mutual exclusion
// read-modify-write cycles would overlap and lose increments.
TEST(Coordinated, LockSerialisesReadModifyWriteAcrossProcesses) {
  TempDir dir;
  const fs::path counter = dir.path() / "counter";
  AtomicWrite::write("0", counter);
  constexpr int kRounds = 200;
  auto work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      Coordinated::Lock lock(dir.path());
      const int n = std::stoi(Coordinated::read(counter));
      AtomicWrite::write(std::to_string(n + 1), counter, {.mode = std::nullopt, .durable = false});
    }
  };
  const pid_t child = testing::runInChild(work);
  ASSERT_GE(child, 0);
  work();
  testing::expectExitedCleanly(child);
  EXPECT_EQ(Coordinated::read(counter), std::to_string(2 * kRounds));
  EXPECT_TRUE(fs::exists(dir.path() / ".trivo" / "write.lock"));
}

}  // namespace
}  // namespace trivo

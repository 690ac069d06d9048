#include "core/store/atomic_write.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

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

TEST(AtomicWrite, ReplacesContentAndKeepsPermissionBits) {
  TempDir dir;
  const fs::path page = dir.write("2026/09/2026-09-16.md", "old text that is longer\n");
  ASSERT_EQ(::chmod(page.c_str(), 0640), 0);
  AtomicWrite::write("new\n", page);
  EXPECT_EQ(dir.read("2026/09/2026-09-16.md"), "new\n");
  EXPECT_EQ(modeOf(page), 0640u);
  EXPECT_EQ(countScratch(page.parent_path()), 0u);
}

TEST(AtomicWrite, NewFileGetsUmaskedModeAndMissingFolders) {
  TempDir dir;
  const mode_t old = ::umask(027);
  const fs::path page = dir.path() / "a" / "b" / "inbox.md";
  AtomicWrite::write("x", page);
  ::umask(old);
  EXPECT_EQ(dir.read("a/b/inbox.md"), "x");
  EXPECT_EQ(modeOf(page), 0640u);
}

TEST(AtomicWrite, ExplicitModeWinsOverExistingBits) {
  TempDir dir;
  const fs::path file = dir.write("live.json", "{}");
  ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
  AtomicWrite::write("{ }", file, {.mode = 0600, .durable = false});
  EXPECT_EQ(modeOf(file), 0600u);
}

TEST(AtomicWrite, WritesThroughSymlinkToTheRealFile) {
  TempDir dir;
  const fs::path real = dir.write("elsewhere/real.md", "old");
  fs::create_directories(dir.path() / "vault");
  const fs::path link = dir.path() / "vault" / "page.md";
  fs::create_symlink(real, link);
  AtomicWrite::write("new", link);
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(dir.read("elsewhere/real.md"), "new");
  EXPECT_EQ(countScratch(dir.path() / "vault"), 0u);
  EXPECT_EQ(countScratch(dir.path() / "elsewhere"), 0u);
}

TEST(AtomicWrite, RefusesDanglingSymlink) {
  TempDir dir;
  const fs::path link = dir.path() / "page.md";
  fs::create_symlink(dir.path() / "missing.md", link);
  try {
    AtomicWrite::write("new", link);
    FAIL() << "wrote through a dangling link";
  } catch (const FileError& e) {
    EXPECT_EQ(e.code(), ENOENT);
    EXPECT_EQ(e.path(), link);
  }
  EXPECT_FALSE(fs::exists(dir.path() / "missing.md"));
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST(AtomicWrite, FailedRenameRemovesScratchAndThrowsErrnoAndPath) {
  TempDir dir;
  // A folder where the file should be: the rename fails after the scratch file was written.
  fs::create_directories(dir.path() / "page.md" / "inside");
  try {
    AtomicWrite::write("text", dir.path() / "page.md");
    FAIL() << "replaced a folder";
  } catch (const FileError& e) {
    EXPECT_EQ(e.code(), EISDIR);
    EXPECT_EQ(e.path(), dir.path() / "page.md");
    EXPECT_EQ(std::string(e.what()),
              "Could not write " + (dir.path() / "page.md").string() + ": Is a directory.");
  }
  EXPECT_EQ(countScratch(dir.path()), 0u);
  EXPECT_TRUE(fs::is_directory(dir.path() / "page.md" / "inside"));

  // A file where a folder should be: nothing can be created, nothing is left behind.
  dir.write("days", "not a folder");
  try {
    AtomicWrite::write("text", dir.path() / "days" / "2026-09-16.md");
    FAIL() << "wrote under a file";
  } catch (const FileError& e) {
    EXPECT_EQ(e.code(), ENOTDIR);
  }
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

// Appends through a descriptor opened on the old file before the swap, landing while the folder
// is synced: a shell's `>>` preempted between its open and its write.
class WriterAfterTheSwap : public FileSystem {
 public:
  WriterAfterTheSwap(const fs::path& page, std::string text)
      : fd_(::open(page.c_str(), O_WRONLY | O_APPEND)),
        text_(std::move(text)) {}
  ~WriterAfterTheSwap() override { ::close(fd_); }
  int syncFolder(int fd) override {
    if (!text_.empty()) {
      EXPECT_EQ(::write(fd_, text_.data(), text_.size()), static_cast<ssize_t>(text_.size()));
      text_.clear();
    }
    return FileSystem::syncFolder(fd);
  }

 private:
  int fd_;
  std::string text_;
};

TEST(AtomicWrite, ConditionalReplaceKeepsWhatAnOpenDescriptorWritesIntoTheOldFile) {
  TempDir dir;
  const fs::path target = dir.write("page.md", "base\n");
  {
    WriterAfterTheSwap shell(target, "appended late\n");
    AtomicWrite::Options options;
    options.fileSystem = &shell;
    EXPECT_TRUE(AtomicWrite::replaceIf("base\nours\n", target, "base\n", options));
  }
  EXPECT_EQ(dir.read("page.md"), "base\nours\nappended late\n");
  {
    // The old file rewritten in place, not extended: theirs goes back, ours is not written.
    const fs::path other = dir.write("other.md", "one\ntwo\n");
    AtomicWrite::Options options;
    int fd = ::open(other.c_str(), O_WRONLY);
    struct Rewriter : FileSystem {
      int fd;
      bool done = false;
      int syncFolder(int folder) override {
        if (!done) {
          EXPECT_EQ(::pwrite(fd, "ONE", 3, 0), 3);
          done = true;
        }
        return FileSystem::syncFolder(folder);
      }
    } rewriter;
    rewriter.fd = fd;
    options.fileSystem = &rewriter;
    EXPECT_FALSE(AtomicWrite::replaceIf("ours\n", other, "one\ntwo\n", options));
    ::close(fd);
    EXPECT_EQ(dir.read("other.md"), "ONE\ntwo\n");
  }
  EXPECT_EQ(countScratch(dir.path()), 0u);
}

TEST(AtomicWrite, ReadOnlyFolderRefusesWithoutLeavingAnything) {
  if (::geteuid() == 0) GTEST_SKIP() << "root ignores folder permissions";
  TempDir dir;
  const fs::path page = dir.write("ro/page.md", "old");
  ASSERT_EQ(::chmod(page.parent_path().c_str(), 0555), 0);
  EXPECT_THROW(AtomicWrite::write("new", page), FileError);
  ::chmod(page.parent_path().c_str(), 0755);
  EXPECT_EQ(dir.read("ro/page.md"), "old");
  EXPECT_EQ(countScratch(page.parent_path()), 0u);
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

TEST(Coordinated, HoldsComparesTheWholeFileWithoutBeingFooledBySizeOrPrefix) {
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
  EXPECT_TRUE(Coordinated::holds(dir.write("empty.md", ""), ""));
  fs::create_directories(dir.path() / "folder.md");
  EXPECT_THROW((void)Coordinated::holds(dir.path() / "folder.md", ""), FileError);
}

TEST(Coordinated, ReadReportsMissingFiles) {
  TempDir dir;
  EXPECT_EQ(Coordinated::readIfExists(dir.path() / "none"), std::nullopt);
  try {
    (void)Coordinated::read(dir.path() / "none");
    FAIL();
  } catch (const FileError& e) {
    EXPECT_EQ(e.code(), ENOENT);
  }
  dir.write("f", std::string("a\0b", 3));
  EXPECT_EQ(Coordinated::read(dir.path() / "f"), std::string("a\0b", 3));
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
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      work();
    } catch (...) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  work();
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(Coordinated::read(counter), std::to_string(2 * kRounds));
  EXPECT_TRUE(fs::exists(dir.path() / ".trivo" / "write.lock"));
}

}  // namespace
}  // namespace trivo

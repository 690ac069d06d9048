// `trivo convert` on a generated month of pages: killed at random points it leaves every page
// either converted or as it was and finishes on the next run; Emacs reads the Org pages' keywords,
// planning and clocks as the Markdown pages had them.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "core/store/atomic_write.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

extern char** environ;

namespace trivo {
namespace {

namespace fs = std::filesystem;
using ConvertedFiles = std::map<std::string, std::string>;

std::optional<fs::path> generator() {
  for (const fs::path& candidate : {fs::path(TRIVO_SOURCE_DIR) / "../shared/tools/genvault.py",
                                    fs::path("/work/shared/tools/genvault.py")}) {
    if (fs::exists(candidate)) return candidate;
  }
  return std::nullopt;
}

ConvertedFiles pagesOf(const fs::path& root) {
  ConvertedFiles out;
  for (auto it = fs::recursive_directory_iterator(root); it != fs::end(it); ++it) {
    if (it->path().filename() == ".trivo") {
      it.disable_recursion_pending();
    } else if (it->is_regular_file() &&
               !AtomicWrite::isScratchName(it->path().filename().string())) {
      // A killed write leaves its scratch file until a later sweep finds it stale: not a page.
      out[it->path().lexically_relative(root).generic_string()] = Coordinated::read(it->path());
    }
  }
  return out;
}

std::string swapExtension(const std::string& path, const std::string& extension) {
  return path.substr(0, path.rfind('.')) + extension;
}

class ConvertCommand : public ::testing::Test {
 protected:
  // The generated vault is made once for the suite and copied for each test.
  static void SetUpTestSuite() {
    if (!generator()) return;
    generated_ = new testing::TempDir();
    const fs::path to = generated_->path() / "vault";
    const auto r = testing::runExecutable(
        "/usr/bin/python3", {generator()->string(), to.string(), "--years", "1", "--format", "md",
                             "--seed", "7", "--inbox-items", "20"});
    if (r.exitCode != 0) {
      ADD_FAILURE() << r.err;
      return;
    }
    // January is enough pages to kill a conversion in the middle of, and keeps the test short.
    for (const auto& [path, text] : pagesOf(to)) {
      const bool january = path.find("2026-01") != std::string::npos ||
                           path.find("2026-W0") != std::string::npos ||
                           path.find("2026-Q1") != std::string::npos ||
                           path.find("2026.md") != std::string::npos || path == "inbox.md";
      if (!january) fs::remove(to / path);
    }
    generated_->write("vault/.trivo/config.json", "{\"fileFormat\": \"markdown\"}\n");
  }
  static void TearDownTestSuite() {
    delete generated_;
    generated_ = nullptr;
  }

  void SetUp() override {
    if (!generated_) GTEST_SKIP() << "shared/tools/genvault.py is not beside the repository";
    source_ = dir_.path() / "source";
    fs::copy(generated_->path() / "vault", source_, fs::copy_options::recursive);
  }

  fs::path copyOf(const std::string& name) {
    const fs::path to = dir_.path() / name;
    fs::copy(source_, to, fs::copy_options::recursive);
    return to;
  }

  testing::ProcessResult trivo(const fs::path& vault, std::vector<std::string> args) {
    args.insert(args.begin(), {"--vault", vault.string()});
    testing::ProcessOptions options;
    options.env["XDG_CONFIG_HOME"] = (dir_.path() / "config").string();
    return testing::runTrivo(args, options);
  }

  static inline testing::TempDir* generated_ = nullptr;
  testing::TempDir dir_;
  fs::path source_;
};

TEST_F(ConvertCommand, AKilledConversionLeavesEveryPageWholeAndTheNextRunFinishes) {
  const ConvertedFiles original = pagesOf(source_);
  const fs::path reference = copyOf("reference");
  const auto started = std::chrono::steady_clock::now();
  ASSERT_EQ(trivo(reference, {"convert", "--to", "org"}).exitCode, 0);
  const auto took = std::chrono::steady_clock::now() - started;
  const ConvertedFiles converted = pagesOf(reference);

  std::mt19937 random(std::random_device{}());
  for (int run = 0; run < 3; ++run) {
    const fs::path vault = copyOf("run" + std::to_string(run));
    const auto delay = std::chrono::microseconds(std::uniform_int_distribution<std::int64_t>(
        0, std::chrono::duration_cast<std::chrono::microseconds>(took).count())(random));
    const std::string program = testing::builtProgram("trivo");
    const std::string vaultArg = vault.string();
    std::vector<const char*> argv = {program.c_str(), "--vault", vaultArg.c_str(), "convert",
                                     "--to",          "org",     nullptr};
    const std::string configHome = "XDG_CONFIG_HOME=" + (dir_.path() / "config").string();
    std::vector<char*> env;
    for (char** e = environ; *e; ++e) env.push_back(*e);
    env.push_back(const_cast<char*>(configHome.c_str()));
    env.push_back(nullptr);
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, program.c_str(), nullptr, nullptr,
                          const_cast<char* const*>(argv.data()), env.data()),
              0);
    std::this_thread::sleep_for(delay);
    ::kill(pid, SIGKILL);
    int status = 0;
    ::waitpid(pid, &status, 0);

    // Each page is there as it was, or converted whole (or, for a moment, both).
    const ConvertedFiles left = pagesOf(vault);
    for (const auto& [path, text] : left) {
      if (path.ends_with(".org")) {
        EXPECT_EQ(text, converted.at(path)) << path << " after " << delay.count() << "µs";
      } else {
        EXPECT_EQ(text, original.at(path)) << path << " after " << delay.count() << "µs";
      }
    }
    for (const auto& [path, text] : original) {
      if (!path.ends_with(".md")) continue;
      EXPECT_TRUE(left.count(path) || left.count(swapExtension(path, ".org")))
          << path << " is gone after " << delay.count() << "µs";
    }

    const auto again = trivo(vault, {"convert", "--to", "org"});
    EXPECT_EQ(again.exitCode, 0) << again.err << " after " << delay.count() << "µs";
    EXPECT_EQ(pagesOf(vault), converted) << "after " << delay.count() << "µs";
  }
}

TEST_F(ConvertCommand, DryRunListsThePagesAndUndoPutsThemBack) {
  const ConvertedFiles original = pagesOf(source_);
  const auto dry = trivo(source_, {"convert", "--to", "org", "--dry-run"});
  EXPECT_EQ(dry.exitCode, 0) << dry.err;
  EXPECT_NE(dry.out.find("days/2026-01-09.md → days/2026-01-09.org\n"), std::string::npos);
  EXPECT_NE(dry.out.find("pages would be converted; nothing was written.\n"), std::string::npos);
  EXPECT_EQ(pagesOf(source_), original);

  EXPECT_EQ(trivo(source_, {"convert", "--to", "org"}).exitCode, 0);
  const auto undo = trivo(source_, {"convert", "--undo"});
  EXPECT_EQ(undo.exitCode, 0) << undo.err;
  EXPECT_EQ(pagesOf(source_), original);

  dir_.write("source/days/2026-01-10.md", "---\nnot a field\n---\n");
  const auto bad = trivo(source_, {"convert", "--to", "org"});
  EXPECT_EQ(bad.exitCode, 3);
  EXPECT_EQ(bad.err,
            "trivo: days/2026-01-10.md cannot be read: The front matter at the top of the page is "
            "malformed. Nothing was converted.\n");
}

// What Emacs's Org reads from a converted page, one line per outcome heading.
std::string emacsReport(const fs::path& page) {
  const auto r = testing::runExecutable(
      "/usr/bin/timeout",
      {"60", "emacs", "--batch", "-Q", "-l",
       std::string(TRIVO_SOURCE_DIR) + "/tests/emacs/org_pages.el", "report", page.string()});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  return r.out;
}

TEST_F(ConvertCommand, EmacsReadsTheOutcomesAsTheMarkdownPagesHadThem) {
  if (testing::runExecutable("/usr/bin/sh", {"-c", "command -v emacs"}).exitCode != 0) {
    GTEST_SKIP() << "emacs is not installed (scripts/install-deps installs emacs-nox)";
  }
  ASSERT_EQ(trivo(source_, {"convert", "--to", "org"}).exitCode, 0);
  // Friday 9 January: two outcomes done, one open, and focus sessions on both done ones.
  const std::string day = emacsReport(source_ / "days/2026-01-09.org");
  for (const char* line :
       {"** TODO Pair with José on the parser → #2 | closed - | scheduled <2026-01-09 Fri> | "
        "deadline - | clocked 0 |",
        "** DONE Fix the flaky sync test → #3 | closed - | scheduled <2026-01-09 Fri> | "
        "deadline - | clocked 45 |",
        "** DONE Fix the leaking kitchen tap | closed - | scheduled <2026-01-09 Fri> | "
        "deadline - | clocked 25 |"}) {
    EXPECT_NE(day.find(line), std::string::npos) << line << "\n" << day;
  }
  // A week's outcomes carry their deadline on its Sunday.
  const std::string week = emacsReport(source_ / "weeks/2026-W02.org");
  for (const char* line : {"** DONE Practise piano for an hour → #1 | closed - | scheduled - | "
                           "deadline <2026-01-11 Sun> |",
                           "** TODO Interview two candidates | closed - | scheduled - | "
                           "deadline <2026-01-11 Sun> |"}) {
    EXPECT_NE(week.find(line), std::string::npos) << line << "\n" << week;
  }
}

}  // namespace
}  // namespace trivo

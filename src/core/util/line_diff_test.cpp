// Unified diffs, compared with what `diff -u` prints for the same texts.
#include "core/util/line_diff.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

// diff -u's hunks (the header lines carry dates, so they are left out).
std::string hunksOfDiffU(const std::string& a, const std::string& b) {
  testing::TempDir dir;
  dir.write("a", a);
  dir.write("b", b);
  const std::string command = "diff -U 2 '" + (dir.path() / "a").string() + "' '" +
                              (dir.path() / "b").string() + "' | tail -n +3";
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  while (std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, n);
  pclose(pipe);
  return out;
}

TEST(LineDiff, HunksMatchDiffU) {
  std::string longText;
  for (int i = 1; i <= 40; ++i) longText += "line " + std::to_string(i) + "\n";
  std::string changed = longText;
  changed.replace(changed.find("line 3\n"), 7, "line three\n");
  changed.replace(changed.find("line 30\n"), 8, "");
  changed += "line 41\n";
  const std::pair<std::string, std::string> cases[] = {
      {"a\nb\nc\n", "a\nB\nc\n"}, {"", "new\n"}, {"old\n", ""},
      {"a\nb\n", "a\nb"},  // the last newline removed
      {longText, changed},
  };
  for (const auto& [a, b] : cases) {
    const std::string ours = unifiedDiff(a, b, "a", "b");
    ASSERT_EQ(ours.rfind("--- a\n+++ b\n", 0), 0u);
    EXPECT_EQ(ours.substr(12), hunksOfDiffU(a, b)) << a << "\n=>\n" << b;
  }
  EXPECT_EQ(unifiedDiff("same\n", "same\n", "a", "b"), "");
}

// Where several least changes exist diff may pick another one; `patch` must still turn the one
// text into the other with ours.
TEST(LineDiff, PatchAppliesOurDiff) {
  const std::pair<std::string, std::string> cases[] = {
      {"x\ny\nz\n", "z\ny\nx\n"},
      {"a\na\nb\na\n", "a\nb\nb\na\na\n"},
      {"one\ntwo\n", "one\ntwo\nthree"},
  };
  for (const auto& [a, b] : cases) {
    testing::TempDir dir;
    dir.write("page.md", a);
    dir.write("change.diff", unifiedDiff(a, b, "page.md", "page.md"));
    const std::string command =
        "cd '" + dir.path().string() + "' && patch -s page.md < change.diff 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << a << "\n=>\n" << b;
    std::ifstream in(dir.path() / "page.md", std::ios::binary);
    const std::string patched((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(patched, b) << a << "\n=>\n" << b;
  }
}

}  // namespace
}  // namespace trivo

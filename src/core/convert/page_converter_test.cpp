// Pages carried from Markdown to Org and back: a generated year of pages and hand-written pages
// with odd content come back as the Markdown they were, apart from the documented rewrites.
#include "core/convert/page_converter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/format/serializer_error.h"
#include "core/store/page_check.h"
#include "core/store/serializer_codec.h"
#include "core/util/line_diff.h"
#include "testing/process.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Org's open keywords other than TODO (NEXT, WAITING …) written as TODO: in Markdown an open
// outcome is an open box, so that is how such an outcome comes back.
std::string withPlainKeywords(std::string text) {
  const std::pair<std::string, std::string> plainWords[] = {{"NEXT", "TODO"},
                                                            {"INPROCESS", "TODO"},
                                                            {"WAITING", "TODO"},
                                                            {"WAIT", "TODO"},
                                                            {"CANCELED", "CANCELLED"}};
  for (const auto& [word, plain] : plainWords) {
    const std::string from = "\n** " + word + " ";
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
      text.replace(at, from.size(), "\n** " + plain + " ");
    }
  }
  return text;
}

// The page each of the hand-edited test pages is, by the start of its file name.
EntryKey keyOfTestPage(const std::string& name) {
  if (name.starts_with("day")) return EntryKey::day(*DayDate::make(2026, 9, 16));
  if (name.starts_with("week")) return EntryKey::week(ISOWeek{2026, 38});
  if (name.starts_with("month")) return EntryKey::month(YearMonth{2026, 9});
  if (name.starts_with("quarter")) return EntryKey::quarter(YearQuarter{2026, 3});
  return EntryKey::inbox();
}

// A day page written by hand, with most of what a person may put in one.
const std::string kOddDay =
    "---\n"
    "date: 2026-09-16\n"
    "type: day\n"
    "mood: *great*\n"
    "---\n"
    "# Wednesday\n"
    "A line before the first section with a [link](https://example.org).\n"
    "\n"
    "## Outcomes\n"
    "- [x] Ship the **report** → #2\n"
    "- [ ] Read about `std::expected` and /usr/lib/\n"
    "- [-] Call [Ana](mailto:ana@example.org)\n"
    "\n"
    "## Notes\n"
    "### A part of my own\n"
    "Some *slanted* and __strong__ words, ![](../media/cat.png) and 2*3*4.\n"
    "* a loose list\n"
    "  * nested\n"
    "```sh\n"
    "ls *.md && echo **done**\n"
    "## not a heading inside code\n"
    "```\n"
    "\\## escaped, not a section\n"
    "\n"
    "## Journal\n"
    "- 09:14 — Coffee with _Ana_ at [the café](https://café.example/menu_a)\n"
    "  she moved to =Lyon=\n"
    "\n"
    "## Things of my own\n"
    "Kept **as** it stands, ~~mostly~~.\n";

TEST(PageConverter, HandWrittenMarkdownComesBackAfterOrg) {
  const PageConverter toOrg(YearMode::quarter, VaultFormat::markdown, VaultFormat::org);
  const PageConverter toMarkdown(YearMode::quarter, VaultFormat::org, VaultFormat::markdown);
  const EntryKey key = EntryKey::day(*DayDate::parse("2026-09-16"));
  const std::string org = toOrg.convert(key, kOddDay);
  for (const char* line :
       {"* Things of my own", "** A part of my own", "#+begin_src sh",
        "Kept *as* it stands, +mostly+.", "+ a loose list", "** DONE Ship the *report* → #2",
        "Some /slanted/ and *strong* words, [[file:media/cat.png]] and 2*3*4.",
        "#+mood: /great/"}) {
    EXPECT_NE(org.find(std::string(line) + "\n"), std::string::npos) << line << "\n" << org;
  }
  const auto codec =
      SerializerCodec::forVault(Vault{"/v", VaultFormat::markdown, "en", {}}, YearMode::quarter);
  std::string expected = codec->rewrite(key, kOddDay);
  // The documented rewrites: one spelling per mark, and media links from the vault's root.
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"__strong__", "**strong**"}, {"_Ana_", "*Ana*"}, {"../media/", "media/"}}) {
    expected.replace(expected.find(from), from.size(), to);
  }
  EXPECT_EQ(toMarkdown.convert(key, org), expected) << org;
}

TEST(PageConverter, PagesThatDoNotReadAreNotConverted) {
  const PageConverter toOrg(YearMode::quarter, VaultFormat::markdown, VaultFormat::org);
  const EntryKey key = EntryKey::day(*DayDate::parse("2026-09-16"));
  EXPECT_THROW((void)toOrg.convert(key, "---\ndate: 2026-09-17\n---\n"), SerializerError);
  EXPECT_THROW((void)toOrg.convert(key, "---\nno colon here\n---\n"), SerializerError);
}

// The hand-edited pages kept for the serializer's tests, there and back. The Org inbox's heading
// items keep drawers and notes that a Markdown list item has no place for: that page is the one
// reported as not coming back.
TEST(PageConverter, HandEditedTestPagesComeBack) {
  std::size_t pages = 0;
  for (const auto& entry :
       fs::directory_iterator(fs::path(TRIVO_SOURCE_DIR) / "tests/data/pages")) {
    const bool org = entry.path().extension() == ".org";
    const VaultFormat from = org ? VaultFormat::org : VaultFormat::markdown;
    const VaultFormat to = org ? VaultFormat::markdown : VaultFormat::org;
    const std::string text = readFile(entry.path());
    const std::string name = entry.path().filename().string();
    const EntryKey key = keyOfTestPage(name);
    const auto codec = SerializerCodec::forVault(Vault{"/v", from, "en", {}}, YearMode::quarter);
    const std::string canonical = withPlainKeywords(codec->rewrite(key, text));
    const std::string converted = PageConverter(YearMode::quarter, from, to).convert(key, text);
    const std::string back = PageConverter(YearMode::quarter, to, from).convert(key, converted);
    const bool comesBack =
        PageConverter(YearMode::quarter, from, to).comesBack(key, text, converted);
    EXPECT_EQ(comesBack, name != "inbox.org") << name;
    ++pages;
    if (name == "inbox.org") continue;
    EXPECT_TRUE(back == canonical) << unifiedDiff(canonical, back, name, "back");
  }
  EXPECT_GE(pages, 8u);
}

class GeneratedVault : public ::testing::Test {
 protected:
  // The shared vault generator lies beside the repository (and CI's clone of it).
  static std::optional<fs::path> generator() {
    for (const fs::path& candidate : {fs::path(TRIVO_SOURCE_DIR) / "../shared/tools/genvault.py",
                                      fs::path("/work/shared/tools/genvault.py")}) {
      if (fs::exists(candidate)) return candidate;
    }
    return std::nullopt;
  }

  void SetUp() override {
    if (!generator()) GTEST_SKIP() << "shared/tools/genvault.py is not beside the repository";
  }

  static fs::path generate(const std::string& format) {
    const fs::path dir =
        fs::temp_directory_path() / ("trivo-convert-" + format + "-" + std::to_string(::getpid()));
    fs::remove_all(dir);
    const auto r = testing::runExecutable(
        "/usr/bin/python3", {generator()->string(), dir.string(), "--years", "1", "--format",
                             format, "--seed", "7", "--inbox-items", "30"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return dir;
  }

  // Every page, there and back: the result equals the page as one read and write leaves it (for
  // Org pages, apart from the in-between keywords that Markdown has no place for).
  static void roundTrip(VaultFormat from, VaultFormat to, const std::string& folder) {
    const fs::path dir = generate(folder);
    const PageConverter there(YearMode::quarter, from, to);
    const PageConverter back(YearMode::quarter, to, from);
    const auto codec =
        SerializerCodec::forVault(Vault{dir, from, "en", std::nullopt}, YearMode::quarter);
    std::size_t pages = 0;
    for (const PageFile& page : findPageFiles({dir})) {
      const std::string text = readFile(page.path);
      const std::string canonical = withPlainKeywords(codec->rewrite(page.key, text));
      const std::string converted = there.convert(page.key, text);
      const std::string again = back.convert(page.key, converted);
      EXPECT_TRUE(again == canonical)
          << unifiedDiff(canonical, again, page.relative, "back");
      ++pages;
    }
    EXPECT_GT(pages, 300u);
    fs::remove_all(dir);
  }
};

TEST_F(GeneratedVault, MarkdownToOrgAndBackGivesEveryPageBack) {
  roundTrip(VaultFormat::markdown, VaultFormat::org, "md");
}

TEST_F(GeneratedVault, OrgToMarkdownAndBackGivesEveryPageBack) {
  roundTrip(VaultFormat::org, VaultFormat::markdown, "org");
}

}  // namespace
}  // namespace trivo

// Texts that could not be written are kept and resolved with `trivo refused`; sync tools'
// conflict copies are listed beside them and never read as pages.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/store/refused_texts.h"
#include "core/store/vault_store.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

class RefusedCommand : public ::testing::Test {
 protected:
  RefusedCommand() { dir.write("vault/.trivo/config.json", "{}"); }
  testing::ProcessResult trivo(std::vector<std::string> args,
                               std::map<std::string, std::optional<std::string>> env = {}) {
    testing::ProcessOptions options;
    options.env = std::move(env);
    options.env["TRIVO_VAULT"] = vault().string();
    options.env["TRIVO_TODAY"] = "2026-09-16";
    return testing::runTrivo(args, options);
  }
  [[nodiscard]] fs::path vault() const { return dir.path() / "vault"; }
  testing::TempDir dir;
};

// A write that fails (here: the inbox is a link to nowhere) used to end in std::terminate with
// the captured line printed nowhere.
TEST_F(RefusedCommand, AFailedWriteSaysSoInOneSentenceAndTheTextIsKept) {
  fs::create_symlink(dir.path() / "nowhere.md", vault() / "inbox.md");
  const auto r = trivo({"open", "trivo://capture?text=Buy%20milk"});
  EXPECT_EQ(r.exitCode, 1) << r.err;
  EXPECT_NE(r.err.find("Could not write"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("trivo refused lists it"), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;

  const auto list = trivo({"refused"});
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_NE(list.out.find("1  inbox.md  could not be written"), std::string::npos) << list.out;
  const auto show = trivo({"refused", "show", "1"});
  EXPECT_NE(show.out.find("Buy milk"), std::string::npos) << show.out;

  fs::remove(vault() / "inbox.md");
  const auto keep = trivo({"refused", "keep", "1"});
  EXPECT_EQ(keep.exitCode, 0) << keep.err;
  EXPECT_NE(dir.read("vault/inbox.md").find("Buy milk"), std::string::npos);
  EXPECT_EQ(trivo({"refused"}).out, "Nothing is waiting: every text Trivo was given is on disk.\n");
  EXPECT_EQ(trivo({"refused", "show", "1"}).exitCode, 1);
}

TEST_F(RefusedCommand, ARefusedEditMergesWithTheOutsideEditInTheEditor) {
  dir.write("vault/days/2026-09-16.md", "a\nb\nc\n");
  {
    VaultStore::Options options;
    options.debounce = std::chrono::hours(1);
    VaultStore store(Vault{vault(), VaultFormat::markdown, "en", {}}, options);
    const EntryKey day = EntryKey::day(DayDate{2026, 9, 16});
    ASSERT_EQ(store.loadText(day), "a\nb\nc\n");
    dir.write("vault/days/2026-09-16.md", "a\nb\nc\nd from the editor\n");
    store.saveText(day, "a\nB from trivo\nc\n");
    EXPECT_THROW(store.flush(), VaultError);
  }
  // A conflict copy from a sync tool: listed, never read as a page.
  dir.write("vault/days/2026-09-16.sync-conflict-20260916-101010-ABCDEFG.md", "other device\n");
  EXPECT_EQ(trivo({"check"}).exitCode, 0);
  const auto list = trivo({"refused", "--json"});
  EXPECT_NE(list.out.find("\"reason\": \"changed on disk\""), std::string::npos) << list.out;
  EXPECT_NE(list.out.find("\"reason\": \"conflict copy\""), std::string::npos) << list.out;

  // An editor that leaves the merge as it is: both changes are kept.
  const auto merge = trivo({"refused", "merge", "1"}, {{"EDITOR", "true"}, {"VISUAL", ""}});
  EXPECT_EQ(merge.exitCode, 0) << merge.err;
  EXPECT_EQ(dir.read("vault/days/2026-09-16.md"), "a\nB from trivo\nc\nd from the editor\n");

  // Merging the copy has no common base: conflict markers, which an editor that does nothing
  // leaves in place, so nothing is written.
  const auto copy = trivo({"refused", "merge", "1"}, {{"EDITOR", "true"}, {"VISUAL", ""}});
  EXPECT_EQ(copy.exitCode, 1);
  EXPECT_NE(copy.err.find("still holds conflict markers"), std::string::npos) << copy.err;
  EXPECT_EQ(trivo({"refused", "drop", "1"}).exitCode, 0);
  EXPECT_FALSE(fs::exists(vault() / "days/2026-09-16.sync-conflict-20260916-101010-ABCDEFG.md"));
}

}  // namespace
}  // namespace trivo

// `trivo import` and `trivo export` on a real vault: a Day One export as a folder and as a zip,
// a text journal, each imported twice adding nothing the second time; export ranges read back by
// import; damaged input refused with nothing written.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "core/store/atomic_write.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using ImportedFiles = std::map<std::string, std::string>;

const fs::path kDayOne = fs::path(TRIVO_SOURCE_DIR) / "tests/data/dayone";

class ImportCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(trivo({"init", vault("a").string()}).exitCode, 0);
    ASSERT_EQ(trivo({"init", vault("b").string(), "--org"}).exitCode, 0);
  }

  fs::path vault(const std::string& name) const { return dir_.path() / name; }

  testing::ProcessResult trivo(const std::vector<std::string>& args) {
    testing::ProcessOptions options;
    options.env["XDG_CONFIG_HOME"] = (dir_.path() / "config").string();
    options.env["TRIVO_TODAY"] = "2026-03-20";
    return testing::runTrivo(args, options);
  }
  testing::ProcessResult in(const std::string& name, std::vector<std::string> args) {
    args.insert(args.begin(), {"--vault", vault(name).string()});
    return trivo(args);
  }

  ImportedFiles filesOf(const std::string& name) const {
    ImportedFiles out;
    for (const auto& entry : fs::recursive_directory_iterator(vault(name))) {
      if (entry.is_regular_file() && entry.path().string().find("/.trivo/") == std::string::npos) {
        out[entry.path().lexically_relative(vault(name)).generic_string()] =
            Coordinated::read(entry.path());
      }
    }
    return out;
  }

  testing::TempDir dir_;
};

TEST_F(ImportCommand, DayOneFolderAndZipImportEachEntryOnce) {
  const auto first = in("a", {"import", "dayone", kDayOne.string()});
  EXPECT_EQ(first.exitCode, 0) << first.err;
  EXPECT_EQ(first.out, "Imported 4 entries into 3 days with 2 photos.\n");
  EXPECT_EQ(first.err, "trivo: 1 photo named by entries is not in the export and was left out.\n");
  const ImportedFiles once = filesOf("a");
  EXPECT_NE(once.at("days/2026-03-15.md")
                .find("- 08:40 — Ramen in Shibuya after the flight #travel #food\n"
                      "  ![](media/2026-03-15-0840-238a3aa138b286f85d133b8e9160d775.png)\n"),
            std::string::npos)
      << once.at("days/2026-03-15.md");
  EXPECT_EQ(once.count("media/2026-03-14-1205-5c57f6092de4146596d869aca134d076.jpeg"), 1u);

  const fs::path zip = dir_.path() / "export.zip";
  ASSERT_EQ(testing::runExecutable("/usr/bin/python3",
                                   {"-c",
                                    "import shutil,sys; shutil.make_archive(sys.argv[1], 'zip', "
                                    "sys.argv[2])",
                                    (dir_.path() / "export").string(), kDayOne.string()})
                .exitCode,
            0);
  const auto again = in("a", {"import", "dayone", zip.string()});
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_EQ(again.out, "Imported 0 entries into 0 days; 4 were there already.\n");
  EXPECT_EQ(filesOf("a"), once);

  // The same export into an Org vault: the text converted, the photos linked the Org way.
  const auto org = in("b", {"import", "dayone", zip.string()});
  EXPECT_EQ(org.exitCode, 0) << org.err;
  EXPECT_NE(filesOf("b")
                .at("days/2026-03-14.org")
                .find("  Lunch: /bacalhau/ at [[https://example.org/ze][Zé da Mouraria]].\n"),
            std::string::npos)
      << filesOf("b").at("days/2026-03-14.org");
}

TEST_F(ImportCommand, JournalsImportOnceAndExportRangesReadBack) {
  dir_.write("diary.md",
             "# My diary\n\n## 2026-03-10 08:00 Run by the river\n5 km, *slow*.\n\n"
             "## 2026-03-11\nRain all day.\n\n## 2026-03-12 21:30\nDinner with "
             "[Ana](https://ana.example).\n");
  const auto first = in("a", {"import", "journal", (dir_.path() / "diary.md").string()});
  EXPECT_EQ(first.exitCode, 0) << first.err;
  EXPECT_EQ(first.out, "Imported 3 entries into 3 days.\n");
  EXPECT_EQ(first.err,
            "trivo: 1 lines above the first dated heading belong to no entry and were not "
            "imported.\n");
  const ImportedFiles once = filesOf("a");
  EXPECT_EQ(in("a", {"import", "journal", (dir_.path() / "diary.md").string()}).out,
            "Imported 0 entries into 0 days; 3 were there already.\n");
  EXPECT_EQ(filesOf("a"), once);

  const auto range = in("a", {"export", "journal", "--from", "2026-03-11", "--to", "2026-03-12"});
  EXPECT_EQ(range.exitCode, 0) << range.err;
  EXPECT_EQ(range.out,
            "## 2026-03-11 00:00\nRain all day.\n\n## 2026-03-12 21:30\nDinner with "
            "[Ana](https://ana.example).\n");
  const auto json = in("a", {"export", "journal", "--to", "2026-03-10", "--format", "json"});
  EXPECT_EQ(Json::parse(json.out), Json::parse(R"([{"date": "2026-03-10", "time": "08:00",
                             "text": "Run by the river\n5 km, *slow*."}])"));

  // An Org export of the whole journal, imported into the Org vault, exports the same again.
  const auto all = in("a", {"export", "journal", "--format", "org"});
  dir_.write("all.org", all.out);
  EXPECT_EQ(in("b", {"import", "journal", (dir_.path() / "all.org").string()}).exitCode, 0);
  EXPECT_EQ(in("b", {"export", "journal"}).out, all.out);
  EXPECT_EQ(in("a", {"export", "journal", "--from", "2026-03-12", "--to", "2026-03-11"}).err,
            "trivo: --to 2026-03-11 comes before --from 2026-03-12; name the first day first.\n");
}

TEST_F(ImportCommand, DamagedInputIsRefusedWithNothingWritten) {
  const ImportedFiles before = filesOf("a");
  dir_.write("broken.zip", std::string("PK\x03\x04", 4) + "cut short");
  const auto zip = in("a", {"import", "dayone", (dir_.path() / "broken.zip").string()});
  EXPECT_EQ(zip.exitCode, 1);
  EXPECT_EQ(zip.err,
            "trivo: broken.zip is not a zip archive that can be read; import Day One's JSON "
            "export (.zip, .json or its unpacked folder).\n");
  dir_.write("tasks.org", "* <2026-03-10 Tue> Call Ana\nSCHEDULED: <2026-03-1 Tue>\n");
  const auto org = in("a", {"import", "journal", (dir_.path() / "tasks.org").string()});
  EXPECT_EQ(org.exitCode, 1);
  EXPECT_EQ(org.err,
            "trivo: tasks.org:2: the planning line \"SCHEDULED: <2026-03-1 Tue>\" does not read "
            "as Org stamps; correct it, then import again.\n");
  // A day page that does not read stops the import before any page or photo is written.
  dir_.write("a/days/2026-03-15.md", "---\nnot a field\n---\n");
  const ImportedFiles withBadPage = filesOf("a");
  const auto bad = in("a", {"import", "dayone", kDayOne.string()});
  EXPECT_EQ(bad.exitCode, 3);
  EXPECT_EQ(bad.err,
            "trivo: days/2026-03-15.md cannot be read: The front matter at the top of the page is "
            "malformed. Nothing was imported.\n");
  EXPECT_EQ(filesOf("a"), withBadPage);
  fs::remove(vault("a") / "days/2026-03-15.md");
  EXPECT_EQ(filesOf("a"), before);
}

}  // namespace
}  // namespace trivo

// Day One exports made by hand after Day One's documented JSON: entries at their local time
// (across midnight in both directions), tags, photos, and the same from a zip and a folder;
// damaged input refused with a sentence naming the file.
#include "core/imports/day_one_export.h"

#include <gtest/gtest.h>
#include <zip.h>

#include "core/store/atomic_write.h"
#include "core/util/iso_instant.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

const fs::path kExport = fs::path(TRIVO_SOURCE_DIR) / "tests/data/dayone";

// Zips the fixture folder as Day One does: the journal at the top, photos/ beside it.
fs::path zipped(const fs::path& to) {
  int error = 0;
  zip_t* archive = zip_open(to.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
  EXPECT_NE(archive, nullptr);
  std::vector<std::string> keep;  // libzip reads the buffers when the archive closes
  keep.reserve(8);
  for (const auto& entry : fs::recursive_directory_iterator(kExport)) {
    if (!entry.is_regular_file()) continue;
    keep.push_back(Coordinated::read(entry.path()));
    zip_source_t* source = zip_source_buffer(archive, keep.back().data(), keep.back().size(), 0);
    zip_file_add(archive, entry.path().lexically_relative(kExport).c_str(), source,
                 ZIP_FL_OVERWRITE);
  }
  EXPECT_EQ(zip_close(archive), 0);
  return to;
}

struct Seen {
  std::string day;
  std::string time;
  std::string text;
  std::size_t media;
  bool operator==(const Seen&) const = default;
};

std::vector<Seen> seen(const DayOneExport::Read& read) {
  std::vector<Seen> out;
  for (const auto& e : read.entries) {
    out.push_back({e.day.isoString(), e.time.description(), e.text, e.media.size()});
  }
  return out;
}

TEST(DayOneExport, EntriesComeAtTheirLocalTimeWithTagsAndPhotos) {
  ZoneInfoFiles zones;
  testing::TempDir scratch;
  const auto folder = DayOneExport::read(kExport, VaultFormat::markdown, zones, scratch.path());
  const std::vector<Seen> expected = {
      {"2026-03-14", "12:05",
       "Tram 28 to Graça #travel #road-trip\n\nRode the old tram up the hill! Views over the "
       "river.\n\n![](dayone-moment://3F2A9C0D1E4B4F6A8B7C6D5E4F3A2B1C)\n\nLunch: *bacalhau* at "
       "[Zé da Mouraria](https://example.org/ze).",
       1},
      // 23:40 UTC is the next morning in Tokyo, 02:15 UTC the evening before in Los Angeles.
      {"2026-03-15", "08:40",
       "Ramen in Shibuya after the flight #travel #food\n\n"
       "![](dayone-moment://7A6B5C4D3E2F1A0B9C8D7E6F5A4B3C2D)",
       1},
      {"2026-03-14", "19:15", "Late call with Mum.\nShe says hi to everyone.", 0},
      {"2026-03-16", "07:00", "Written without a time zone, so in UTC.", 0}};
  EXPECT_EQ(seen(folder), expected);
  EXPECT_EQ(folder.missingPhotos, 1u);  // the .heic the export does not hold
  EXPECT_EQ(folder.entries[0].media[0].file.filename(), "5c57f6092de4146596d869aca134d076.jpeg");

  const fs::path zip = zipped(scratch.path() / "export.zip");
  const auto fromZip =
      DayOneExport::read(zip, VaultFormat::markdown, zones, scratch.path() / "unpacked");
  EXPECT_EQ(seen(fromZip), expected);
  EXPECT_EQ(Coordinated::read(fromZip.entries[1].media[0].file),
            Coordinated::read(folder.entries[1].media[0].file));

  const auto json =
      DayOneExport::read(kExport / "Journal.json", VaultFormat::org, zones, scratch.path());
  EXPECT_EQ(json.entries[0].text.substr(json.entries[0].text.rfind('\n') + 1),
            "Lunch: /bacalhau/ at [[https://example.org/ze][Zé da Mouraria]].");
}

TEST(DayOneExport, RefusesWhatIsNotAnExport) {
  ZoneInfoFiles zones;
  testing::TempDir dir;
  const auto refused = [&](const std::string& name, const std::string& bytes) -> std::string {
    dir.write(name, bytes);
    try {
      (void)DayOneExport::read(dir.path() / name, VaultFormat::markdown, zones,
                               dir.path() / "scratch");
    } catch (const ImportError& e) {
      return e.what();
    }
    return "accepted";
  };
  EXPECT_EQ(refused("broken.zip", "PK\x03\x04 this is not the rest of a zip"),
            "broken.zip is not a zip archive that can be read; import Day One's JSON export "
            "(.zip, .json or its unpacked folder).");
  EXPECT_EQ(refused("notes.json", "{\"notes\": []}"),
            "notes.json is not a Day One export (it has no \"entries\" list); export the journal "
            "from Day One as JSON and import that file.");
  EXPECT_EQ(refused("cut.json", "{\"entries\": [{\"text\": \"x\", \"creationDate\": \"soon\"}]}"),
            "cut.json: entry 1 has no creationDate that reads; nothing was imported.");
}

TEST(ZoneInfoFiles, OffsetsFollowSummerTimeAndRefuseOddNames) {
  ZoneInfoFiles zones;
  const auto at = [](const char* iso) { return *parseIsoInstant(iso); };
  using std::chrono::hours;
  EXPECT_EQ(zones.offset("Europe/Lisbon", at("2026-01-15T12:00:00Z")), hours(0));
  EXPECT_EQ(zones.offset("Europe/Lisbon", at("2026-07-15T12:00:00Z")), hours(1));
  // Summer time in New York begins at 07:00 UTC on 8 March 2026.
  EXPECT_EQ(zones.offset("America/New_York", at("2026-03-08T06:59:00Z")), hours(-5));
  EXPECT_EQ(zones.offset("America/New_York", at("2026-03-08T07:00:00Z")), hours(-4));
  EXPECT_EQ(zones.offset("Australia/Adelaide", at("2026-01-15T12:00:00Z")),
            std::chrono::minutes(630));
  EXPECT_EQ(zones.offset("UTC", at("2026-01-15T12:00:00Z")), hours(0));
  for (const char* name : {"Mars/Olympus_Mons", "../../etc/passwd", "/etc/localtime", "", "a b"}) {
    EXPECT_EQ(zones.offset(name, at("2026-01-15T12:00:00Z")), std::nullopt) << name;
  }
  EXPECT_EQ(ZoneInfoFiles::parse("TZif2 but nothing after it"), std::nullopt);
}

}  // namespace
}  // namespace trivo

#include "core/imports/day_one_export.h"

#include <fmt/format.h>
#include <zip.h>

#include <algorithm>
#include <fstream>
#include <memory>

#include "core/convert/markup_converter.h"
#include "core/platform/shared_library.h"
#include "core/store/atomic_write.h"
#include "core/util/iso_instant.h"
#include "core/util/json_bounded.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Larger members of a zip than these are refused rather than unpacked.
constexpr zip_uint64_t kMaxJournalBytes = zip_uint64_t{512} << 20;
constexpr zip_uint64_t kMaxPhotoBytes = zip_uint64_t{256} << 20;

// Day One escapes Markdown's punctuation in plain words ("Hello\!", "1\. June").
std::string unescaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() &&
        std::string_view(".!-()+#>[]{}").find(text[i + 1]) != std::string_view::npos) {
      continue;
    }
    out += text[i];
  }
  return out;
}

std::string tagWord(std::string_view tag) {
  std::string word = "#";
  for (char c : tag) word += (c == ' ' || c == '\t' || c == '#') ? '-' : c;
  return word;
}

std::string fileText(const fs::path& file, const std::string& shown) {
  try {
    return Coordinated::read(file);
  } catch (const FileError& e) {
    throw ImportError(fmt::format("{} cannot be read ({}).", shown, e.reason()));
  }
}

// The journals of a folder: its top-level JSON files, by name.
std::vector<fs::path> journalsIn(const fs::path& folder) {
  std::vector<fs::path> out;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    if (entry.path().extension() == ".json" && entry.is_regular_file(ec)) {
      out.push_back(entry.path());
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

// libzip is opened when an archive is imported, not by every command: with it come the
// compression and crypto libraries, whose relocations every start would otherwise pay for.
struct Zip {
  decltype(zip_open)* open;
  decltype(zip_discard)* discard;
  decltype(zip_get_num_entries)* numEntries;
  decltype(zip_stat_init)* statInit;
  decltype(zip_stat_index)* statIndex;
  decltype(zip_fopen_index)* fopenIndex;
  decltype(zip_fread)* fread;
  decltype(zip_fclose)* fclose;

  // Throws ImportError when the library cannot be opened.
  static const Zip& api() {
    static SharedLibrary library("libzip.so.4");
    static const Zip zip = [] {
      try {
        return Zip{library.function<decltype(zip_open)>("zip_open"),
                   library.function<decltype(zip_discard)>("zip_discard"),
                   library.function<decltype(zip_get_num_entries)>("zip_get_num_entries"),
                   library.function<decltype(zip_stat_init)>("zip_stat_init"),
                   library.function<decltype(zip_stat_index)>("zip_stat_index"),
                   library.function<decltype(zip_fopen_index)>("zip_fopen_index"),
                   library.function<decltype(zip_fread)>("zip_fread"),
                   library.function<decltype(zip_fclose)>("zip_fclose")};
      } catch (const SharedLibraryError& e) {
        throw ImportError(std::string(e.what()) +
                          " Install libzip4, or import the unpacked folder instead.");
      }
    }();
    return zip;
  }
};

struct ZipCloser {
  void operator()(zip_t* z) const { Zip::api().discard(z); }
};

std::string readMember(zip_t* archive, zip_uint64_t index, zip_uint64_t size,
                       const std::string& shown) {
  const Zip& zip = Zip::api();
  std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(zip.fopenIndex(archive, index, 0),
                                                         zip.fclose);
  if (!file) throw ImportError(fmt::format("{} is damaged: a member cannot be opened.", shown));
  std::string bytes(static_cast<std::size_t>(size), '\0');
  zip_uint64_t got = 0;
  while (got < size) {
    const zip_int64_t n = zip.fread(file.get(), bytes.data() + got, size - got);
    if (n <= 0) throw ImportError(fmt::format("{} is damaged: a member cannot be read.", shown));
    got += static_cast<zip_uint64_t>(n);
  }
  return bytes;
}

}  // namespace

DayOneExport::Read DayOneExport::parse(std::string_view jsonText, const fs::path& photos,
                                       VaultFormat to, ZoneOffsets& zones,
                                       const std::string& name) {
  const Json json = parseJsonFile(jsonText);
  if (json.is_discarded() || !json.is_object() || !json.contains("entries") ||
      !json.at("entries").is_array()) {
    throw ImportError(fmt::format(
        "{} is not a Day One export (it has no \"entries\" list); export the journal from Day "
        "One as JSON and import that file.",
        name));
  }
  Read out;
  std::size_t number = 0;
  for (const Json& e : json.at("entries")) {
    ++number;
    const auto* created =
        e.is_object() && e.contains("creationDate") && e["creationDate"].is_string()
            ? &e["creationDate"].get_ref<const std::string&>()
            : nullptr;
    const auto instant = created ? parseIsoInstant(*created) : std::nullopt;
    if (!instant) {
      throw ImportError(fmt::format(
          "{}: entry {} has no creationDate that reads; nothing was imported.", name, number));
    }
    std::chrono::seconds offset{0};
    if (e.contains("timeZone") && e["timeZone"].is_string()) {
      const std::string& zone = e["timeZone"].get_ref<const std::string&>();
      if (auto known = zones.offset(zone, *instant)) {
        offset = *known;
      } else if (std::find(out.unknownZones.begin(), out.unknownZones.end(), zone) ==
                 out.unknownZones.end()) {
        out.unknownZones.push_back(zone);
      }
    }
    const LocalReading local = readWithOffset(*instant, offset);
    ImportedEntry entry;
    entry.day = *DayDate::make(local.year, local.month, local.day);
    entry.time = *ClockTime::make(local.hour, local.minute);

    std::string text = e.contains("text") && e["text"].is_string()
                           ? unescaped(e["text"].get_ref<const std::string&>())
                           : std::string();
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    const std::size_t start = text.find_first_not_of("\n ");
    text.erase(0, start == std::string::npos ? text.size() : start);
    if (text.starts_with("# ")) text.erase(0, 2);
    if (e.contains("tags") && e["tags"].is_array()) {
      const std::size_t firstEnd = std::min(text.find('\n'), text.size());
      std::string tags;
      for (const Json& tag : e["tags"]) {
        if (tag.is_string() && !tag.get_ref<const std::string&>().empty()) {
          tags += " " + tagWord(tag.get_ref<const std::string&>());
        }
      }
      if (firstEnd == 0 && !tags.empty()) tags.erase(0, 1);
      text.insert(firstEnd, tags);
    }
    if (to == VaultFormat::org) text = MarkupConverter::toOrg(text);
    if (e.contains("photos") && e["photos"].is_array()) {
      for (const Json& photo : e["photos"]) {
        if (!photo.is_object()) continue;
        const std::string md5 = photo.value("md5", std::string());
        const std::string type = photo.value("type", std::string("jpeg"));
        const std::string id = photo.value("identifier", std::string());
        // Only names that stay inside the photos folder.
        const auto plain = [](const std::string& s) {
          return !s.empty() && s.find('/') == std::string::npos &&
                 s.find("..") == std::string::npos;
        };
        const fs::path file = photos / (md5 + "." + type);
        std::error_code ec;
        if (!plain(md5) || !plain(type) || !fs::is_regular_file(file, ec)) {
          ++out.missingPhotos;
          continue;
        }
        entry.media.push_back(
            {file, id.empty() ? std::string() : "![](dayone-moment://" + id + ")"});
      }
    }
    if (text.empty() && entry.media.empty()) continue;
    entry.text = std::move(text);
    out.entries.push_back(std::move(entry));
  }
  return out;
}

DayOneExport::Read DayOneExport::read(const fs::path& source, VaultFormat to, ZoneOffsets& zones,
                                      const fs::path& scratch) {
  const std::string shown = source.filename().string();
  std::error_code ec;
  const auto merge = [](Read& into, Read&& more) {
    into.entries.insert(into.entries.end(), std::make_move_iterator(more.entries.begin()),
                        std::make_move_iterator(more.entries.end()));
    into.missingPhotos += more.missingPhotos;
    for (auto& zone : more.unknownZones) {
      if (std::find(into.unknownZones.begin(), into.unknownZones.end(), zone) ==
          into.unknownZones.end()) {
        into.unknownZones.push_back(std::move(zone));
      }
    }
  };
  Read out;
  if (fs::is_directory(source, ec)) {
    const auto journals = journalsIn(source);
    if (journals.empty()) {
      throw ImportError(
          fmt::format("{} holds no Day One journal (no .json file at its top).", source.string()));
    }
    for (const auto& journal : journals) {
      merge(out, parse(fileText(journal, journal.filename().string()), source / "photos", to, zones,
                       journal.filename().string()));
    }
    return out;
  }
  if (source.extension() == ".json") {
    return parse(fileText(source, shown), source.parent_path() / "photos", to, zones, shown);
  }

  const Zip& zip = Zip::api();
  int error = 0;
  std::unique_ptr<zip_t, ZipCloser> archive(zip.open(source.c_str(), ZIP_RDONLY, &error));
  if (!archive) {
    throw ImportError(fmt::format(
        "{} is not a zip archive that can be read; import Day One's JSON export (.zip, .json or "
        "its unpacked folder).",
        shown));
  }
  const zip_int64_t count = zip.numEntries(archive.get(), 0);
  std::vector<std::pair<std::string, std::string>> journals;
  fs::create_directories(scratch / "photos");
  for (zip_int64_t i = 0; i < count; ++i) {
    zip_stat_t stat;
    zip.statInit(&stat);
    if (zip.statIndex(archive.get(), static_cast<zip_uint64_t>(i), 0, &stat) != 0 ||
        !(stat.valid & ZIP_STAT_NAME) || !(stat.valid & ZIP_STAT_SIZE)) {
      throw ImportError(fmt::format("{} is damaged: its list of members does not read.", shown));
    }
    const std::string member = stat.name;
    const auto slash = member.find('/');
    if (slash == std::string::npos && member.ends_with(".json")) {
      if (stat.size > kMaxJournalBytes) {
        throw ImportError(fmt::format("{}: {} is too large to be a journal.", shown, member));
      }
      journals.emplace_back(
          member, readMember(archive.get(), static_cast<zip_uint64_t>(i), stat.size, shown));
    } else if (member.starts_with("photos/") && slash == member.rfind('/') && member.size() > 7 &&
               member.find("..") == std::string::npos) {
      if (stat.size > kMaxPhotoBytes) continue;
      const std::string bytes =
          readMember(archive.get(), static_cast<zip_uint64_t>(i), stat.size, shown);
      std::ofstream(scratch / member, std::ios::binary) << bytes;
    }
  }
  if (journals.empty()) {
    throw ImportError(
        fmt::format("{} holds no Day One journal (no .json file at its top).", shown));
  }
  std::sort(journals.begin(), journals.end());
  for (const auto& [member, text] : journals) {
    merge(out, parse(text, scratch / "photos", to, zones, shown + ": " + member));
  }
  return out;
}

}  // namespace trivo

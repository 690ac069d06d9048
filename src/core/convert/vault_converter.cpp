// The order of a conversion is what makes it safe to kill at any point: every page is converted
// in memory first; then the old pages are copied into the kept folder and its record is written
// (until then the vault is untouched); then each page is replaced (new file written atomically,
// old file removed) and last the settings' format changes and the record is marked finished.
#include "core/convert/vault_converter.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/config/config_store.h"
#include "core/convert/page_converter.h"
#include "core/format/serializer_error.h"
#include "core/store/atomic_write.h"
#include "core/store/page_check.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_locator.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kRecordName = "conversion.json";
constexpr std::string_view kFolderPrefix = "converted-";

std::string formatName(VaultFormat format) {
  return format == VaultFormat::org ? "Org" : "Markdown";
}

fs::path withExtension(const fs::path& path, VaultFormat format) {
  fs::path out = path;
  out.replace_extension(std::string(".") + std::string(fileExtension(format)));
  return out;
}

// The page's text, refused with a sentence that names it when it cannot be read.
std::string readPage(const fs::path& root, const fs::path& relative) {
  try {
    std::string text = Coordinated::read(root / relative);
    if (!isValidUtf8(text)) {
      throw ConversionError(fmt::format(
          "{} is not valid UTF-8; fix or remove it, then convert again.", relative.string()));
    }
    return text;
  } catch (const FileError& e) {
    throw ConversionError(fmt::format("{} cannot be read ({}); nothing was converted.",
                                      relative.string(), e.reason()));
  }
}

// Flushes everything written to the vault's file system so far: one call after many quick
// writes costs far less than making each of them durable on its own.
void syncVault(const fs::path& root) {
  const int fd = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) throw FileError(errno, root, "open");
  const int synced = ::syncfs(fd);
  const int error = errno;
  ::close(fd);
  if (synced != 0) throw FileError(error, root, "sync");
}

}  // namespace

struct VaultConverter::Record {
  fs::path folder;  // absolute
  VaultFormat from = VaultFormat::markdown;
  VaultFormat to = VaultFormat::org;
  std::vector<Move> pages;
  bool finished = false;
  bool undone = false;

  [[nodiscard]] Json toJson() const {
    Json pagesJson = Json::array();
    for (const Move& m : pages) {
      pagesJson.push_back({{"from", m.from.generic_string()}, {"to", m.to.generic_string()}});
    }
    return {{"from", std::string(rawValue(from))},
            {"to", std::string(rawValue(to))},
            {"pages", pagesJson},
            {"finished", finished},
            {"undone", undone}};
  }

  static std::optional<Record> read(const fs::path& folder) {
    const auto json = Coordinated::readJson(folder / kRecordName);
    if (!json || !json->is_object()) return std::nullopt;
    try {
      Record r;
      r.folder = folder;
      auto from = vaultFormatFromRaw(json->at("from").get<std::string>());
      auto to = vaultFormatFromRaw(json->at("to").get<std::string>());
      if (!from || !to) return std::nullopt;
      r.from = *from;
      r.to = *to;
      for (const Json& m : json->at("pages")) {
        Move move{fs::path(m.at("from").get<std::string>()),
                  fs::path(m.at("to").get<std::string>())};
        // A record is ours, but a path leaving the vault is never followed.
        if (move.from.is_absolute() || move.to.is_absolute()) return std::nullopt;
        for (const auto& part : move.from) {
          if (part == "..") return std::nullopt;
        }
        for (const auto& part : move.to) {
          if (part == "..") return std::nullopt;
        }
        r.pages.push_back(std::move(move));
      }
      r.finished = json->value("finished", false);
      r.undone = json->value("undone", false);
      return r;
    } catch (const Json::exception&) {
      return std::nullopt;
    }
  }

  void save() const { AtomicWrite::write(toJson().dump(2) + "\n", folder / kRecordName); }
};

VaultConverter::VaultConverter(fs::path root, YearMode yearMode, const Clock& clock)
    : root_(std::move(root)), yearMode_(yearMode), clock_(clock) {}

std::vector<VaultConverter::Record> VaultConverter::records() const {
  std::vector<Record> out;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(root_ / ".trivo", ec)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(kFolderPrefix) || !entry.is_directory(ec)) continue;
    if (auto record = Record::read(entry.path())) out.push_back(std::move(*record));
  }
  // The folder names carry the time, so their order is the order of the conversions.
  std::sort(out.begin(), out.end(),
            [](const Record& a, const Record& b) { return a.folder < b.folder; });
  return out;
}

std::optional<VaultConverter::Record> VaultConverter::unfinished() const {
  for (auto& r : records()) {
    if (!r.finished) return r;
  }
  return std::nullopt;
}

VaultConverter::Plan VaultConverter::plan(VaultFormat to) const { return prepare(to).plan; }

VaultConverter::Prepared VaultConverter::prepare(VaultFormat to) const {
  Prepared prepared;
  Plan& plan = prepared.plan;
  plan.to = to;
  if (auto cut = unfinished()) {
    if (cut->to != to) {
      throw ConversionError(fmt::format(
          "An earlier conversion to {} did not finish; run trivo convert --to {} to finish it "
          "first.",
          formatName(cut->to), rawValue(cut->to)));
    }
    plan.from = cut->from;
    plan.resumes = true;
    for (const Move& m : cut->pages) {
      std::error_code ec;
      if (fs::exists(root_ / m.from, ec)) plan.pages.push_back(m);
    }
    return prepared;
  }
  plan.from = detectVaultFormat(root_);
  // Already there: nothing to do, which also makes running a finished conversion again harmless.
  if (plan.from == to) return prepared;
  // The settings must be writable before any page moves, or the vault would end up converted
  // with settings that still name the old format.
  try {
    (void)ConfigStore(root_, ConfigStore::defaultDeviceURL()).load();
  } catch (const std::exception& e) {
    throw ConversionError(fmt::format(
        "The vault's settings in .trivo/config.json cannot be read ({}); fix them, then convert "
        "again.",
        e.what()));
  }
  const PageConverter converter(yearMode_, plan.from, to);
  std::vector<PageFile> files;
  try {
    files = findPageFiles({root_});
  } catch (const fs::filesystem_error& e) {
    throw ConversionError(
        fmt::format("{} cannot be read: {}.", e.path1().string(), e.code().message()));
  }
  for (const PageFile& page : files) {
    // Pages of a vault nested inside this one belong to that vault.
    if (page.vaultRoot != root_) continue;
    const Move move{page.relative, withExtension(page.relative, to)};
    std::error_code ec;
    if (fs::exists(root_ / move.to, ec)) {
      throw ConversionError(
          fmt::format("{} already exists beside {}; move one of them away, then convert again.",
                      move.to.string(), move.from.string()));
    }
    const std::string text = readPage(root_, move.from);
    try {
      prepared.texts.push_back(converter.convert(page.key, text));
      if (!converter.comesBack(page.key, text, prepared.texts.back())) {
        plan.incomplete.push_back(move.from);
      }
    } catch (const SerializerError& e) {
      throw ConversionError(fmt::format("{} cannot be read: {} Nothing was converted.",
                                        move.from.string(), e.what()));
    }
    plan.pages.push_back(move);
  }
  return prepared;
}

VaultConverter::Outcome VaultConverter::convert(VaultFormat to, const ProgressReport& progress) {
  Prepared prepared = prepare(to);
  if (prepared.plan.from == to) return Outcome{prepared.plan, {}};
  Record record;
  if (prepared.plan.resumes) {
    record = *unfinished();
  } else {
    const LocalReading t = clock_.local(clock_.now());
    record.folder = root_ / ".trivo" /
                    fmt::format("{}{:04}{:02}{:02}-{:02}{:02}{:02}", kFolderPrefix, t.year, t.month,
                                t.day, t.hour, t.minute, t.second);
    // Two conversions within one second (an undo and a redo) get folders of their own.
    for (int n = 2; fs::exists(record.folder); ++n) {
      record.folder.replace_filename(fmt::format("{}{:04}{:02}{:02}-{:02}{:02}{:02}-{}",
                                                 kFolderPrefix, t.year, t.month, t.day, t.hour,
                                                 t.minute, t.second, n));
    }
    record.from = prepared.plan.from;
    record.to = to;
    record.pages = prepared.plan.pages;
    const std::size_t total = record.pages.size() * 2;
    {
      Coordinated::Lock lock(root_);
      for (std::size_t i = 0; i < record.pages.size(); ++i) {
        const fs::path kept = record.folder / record.pages[i].from;
        fs::create_directories(kept.parent_path());
        AtomicWrite::Options options;
        options.durable = false;
        AtomicWrite::write(Coordinated::read(root_ / record.pages[i].from), kept, options);
        if (progress) progress(i + 1, total);
      }
      // The record is written last and durably: a folder without one is an unfinished copy
      // that changed nothing, and is never read as a conversion.
      syncVault(root_);
      record.save();
    }
  }
  finish(record, progress, prepared.texts);
  return Outcome{prepared.plan, record.folder};
}

void VaultConverter::finish(Record& record, const ProgressReport& progress,
                            const std::vector<std::string>& texts) {
  const PageConverter converter(yearMode_, record.from, record.to);
  const std::size_t total = record.pages.size() * 2;
  {
    Coordinated::Lock lock(root_);
    // All new pages first, then (once they are on the disk) the old ones go: a page is never
    // missing in both forms, even after a power cut.
    std::vector<fs::path> replaced;
    for (std::size_t i = 0; i < record.pages.size(); ++i) {
      const Move& move = record.pages[i];
      const fs::path old = root_ / move.from;
      std::error_code ec;
      if (fs::exists(old, ec)) {
        std::string text;
        if (i < texts.size()) {
          text = texts[i];
        } else {
          // Finishing a conversion that was cut short: the pages still to do are read again.
          const VaultPaths paths(root_, record.from);
          const auto key = paths.keyFor(old);
          if (!key) throw ConversionError(fmt::format("{} is not a page.", move.from.string()));
          try {
            text = converter.convert(*key, readPage(root_, move.from));
          } catch (const SerializerError& e) {
            throw ConversionError(
                fmt::format("{} cannot be read: {}", move.from.string(), e.what()));
          }
        }
        AtomicWrite::Options options;
        options.durable = false;
        AtomicWrite::write(text, root_ / move.to, options);
        replaced.push_back(old);
      }
      if (progress) progress(record.pages.size() + i + 1, total);
    }
    syncVault(root_);
    for (const fs::path& old : replaced) {
      if (::unlink(old.c_str()) != 0 && errno != ENOENT) throw FileError(errno, old, "remove");
    }
  }
  setFormat(record.to);
  record.finished = true;
  record.save();
}

void VaultConverter::setFormat(VaultFormat format) const {
  const ConfigStore store(root_, ConfigStore::defaultDeviceURL());
  VaultConfig config = store.load();
  config.fileFormat = format;
  store.save(config);
}

std::size_t VaultConverter::undo(const ProgressReport& progress) {
  if (unfinished()) {
    throw ConversionError(
        "A conversion did not finish; run trivo convert again to finish it before undoing.");
  }
  std::optional<Record> latest;
  for (auto& r : records()) {
    if (!r.undone) latest = r;
  }
  if (!latest) throw ConversionError("There is no conversion of this vault to undo.");
  const PageConverter converter(yearMode_, latest->from, latest->to);
  const VaultPaths paths(root_, latest->from);
  std::vector<std::optional<std::string>> olds;
  for (const Move& move : latest->pages) {
    const fs::path keptPath = latest->folder / move.from;
    std::string old;
    try {
      old = Coordinated::read(keptPath);
    } catch (const FileError& e) {
      throw ConversionError(fmt::format("The kept page {} cannot be read ({}); nothing was undone.",
                                        keptPath.string(), e.reason()));
    }
    const auto now = Coordinated::readIfExists(root_ / move.to);
    if (!now && Coordinated::readIfExists(root_ / move.from) == old) {
      // Put back already by an undo that was cut short.
      olds.emplace_back();
      continue;
    }
    // A converted page edited since would lose that edit: refuse instead.
    const auto key = paths.keyFor(root_ / move.from);
    bool same = false;
    if (now && key) {
      try {
        same = converter.convert(*key, old) == *now;
      } catch (const SerializerError&) {
        same = false;
      }
    }
    if (!same) {
      throw ConversionError(fmt::format(
          "{} changed after the conversion; undoing would lose that change, so nothing was "
          "undone (convert the vault again with trivo convert --to {} instead).",
          move.to.string(), rawValue(latest->from)));
    }
    std::error_code ec;
    if (fs::exists(root_ / move.from, ec)) {
      throw ConversionError(
          fmt::format("{} exists again; move it away, then undo.", move.from.string()));
    }
    olds.push_back(std::move(old));
  }
  {
    Coordinated::Lock lock(root_);
    AtomicWrite::Options options;
    options.durable = false;
    for (std::size_t i = 0; i < latest->pages.size(); ++i) {
      if (olds[i]) AtomicWrite::write(*olds[i], root_ / latest->pages[i].from, options);
      if (progress) progress(i + 1, latest->pages.size());
    }
    syncVault(root_);
    for (std::size_t i = 0; i < latest->pages.size(); ++i) {
      if (!olds[i]) continue;
      const fs::path converted = root_ / latest->pages[i].to;
      if (::unlink(converted.c_str()) != 0 && errno != ENOENT) {
        throw FileError(errno, converted, "remove");
      }
    }
  }
  setFormat(latest->from);
  latest->undone = true;
  latest->save();
  return latest->pages.size();
}

}  // namespace trivo

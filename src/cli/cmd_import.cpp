// `trivo import dayone FILE` and `trivo import journal FILE`: entries of a Day One export or of a
// journal kept in a text file go into the journals of their days; importing again adds nothing.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>

#include "cli/cmd_convert_progress.h"
#include "cli/cmd_inbox_vault.h"
#include "cli/command.h"
#include "core/imports/day_one_export.h"
#include "core/imports/journal_importer.h"
#include "core/store/atomic_write.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// A private folder for unpacking a zip, removed with everything in it when the import ends.
class ScratchFolder {
 public:
  ScratchFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/trivo-import-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw UserError("Cannot make a scratch folder in " +
                      fs::path(pattern).parent_path().string() +
                      " to unpack the export; set TMPDIR to a writable folder.");
    }
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

class ImportCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "import"; }
  [[nodiscard]] const char* summary() const override {
    return "Import a Day One export or a dated text journal into the days' journals";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("KIND", kind_, "dayone (a JSON export: .zip, .json or folder) or journal")
        ->required()
        ->check(CLI::IsMember({"dayone", "journal"}));
    app.add_option("FILE", file_, "The export or journal file")->required();
  }

  int run(Context& context) override {
    InboxVault vault = InboxVault::open(context, false);
    const VaultFormat format = vault.store->vault().format;
    const fs::path source = fs::absolute(file_);
    std::error_code ec;
    if (!fs::exists(source, ec)) {
      throw UserError("There is no file " + file_ + " to import.");
    }
    std::vector<ImportedEntry> entries;
    std::vector<std::string> notes;
    std::optional<ScratchFolder> scratch;
    try {
      if (kind_ == "dayone") {
        scratch.emplace();
        ZoneInfoFiles zones;
        auto read = DayOneExport::read(source, format, zones, scratch->path());
        entries = std::move(read.entries);
        if (read.missingPhotos > 0) {
          notes.push_back(counted(read.missingPhotos, "photo", "photos") + " named by entries " +
                          (read.missingPhotos == 1 ? "is" : "are") + " not in the export and " +
                          (read.missingPhotos == 1 ? "was" : "were") + " left out.");
        }
        for (const auto& zone : read.unknownZones) {
          notes.push_back("The time zone \"" + zone +
                          "\" is unknown here; its entries are placed at UTC time.");
        }
      } else {
        std::string text;
        try {
          text = Coordinated::read(source);
        } catch (const FileError& e) {
          throw ImportError(file_ + " cannot be read (" + e.reason() + ").");
        }
        auto read = JournalFile::read(text, JournalFile::syntaxOf(source), format,
                                      source.filename().string());
        entries = std::move(read.entries);
        if (read.linesBeforeFirst > 0) {
          notes.push_back(std::to_string(read.linesBeforeFirst) +
                          " lines above the first dated heading belong to no entry and were not "
                          "imported.");
        }
      }
    } catch (const ImportError& e) {
      throw UserError(std::string(e.what()));
    }

    JournalImporter::Result result;
    ProgressBar bar(context.err, "Importing", ProgressBar::forTerminal());
    guarded(vault, [&] {
      try {
        result = JournalImporter::add(
            *vault.store, entries,
            [&bar](std::size_t done, std::size_t total) { bar.update(done, total); });
      } catch (const ImportError& e) {
        throw UserError(e.what(), 3);
      }
    });
    bar.finish();
    for (const auto& note : notes) context.err << "trivo: " << note << "\n";
    if (context.json) {
      context.out << Json{{"added", result.added},
                          {"skipped", result.skipped},
                          {"media", result.media},
                          {"days", result.days}}
                         .dump(2)
                  << "\n";
      return 0;
    }
    context.out << "Imported " << counted(result.added, "entry", "entries") << " into "
                << counted(result.days, "day", "days");
    if (result.media > 0) context.out << " with " << counted(result.media, "photo", "photos");
    if (result.skipped > 0) {
      context.out << "; " << result.skipped << (result.skipped == 1 ? " was" : " were")
                  << " there already";
    }
    context.out << ".\n";
    return 0;
  }

 private:
  std::string kind_;
  std::string file_;
};

}  // namespace

std::unique_ptr<Command> makeImportCommand() { return std::make_unique<ImportCommand>(); }

}  // namespace trivo::cli

// Converts every page of a vault between Markdown and Org in place, as one step that can be
// undone: the old pages are kept under ".trivo/converted-<time>/" with a record of what was done,
// and a conversion cut short (a crash, a kill) is finished by running it again.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/config/year_mode.h"
#include "core/platform/clock.h"
#include "core/vault/vault_format.h"

namespace trivo {

// How far long work has come: `done` of `total` steps. Called on the working thread.
using ProgressReport = std::function<void(std::size_t done, std::size_t total)>;

// A conversion that cannot start or go on; what() is one sentence that names the file.
class ConversionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class VaultConverter {
 public:
  // One page and where it goes, both relative to the vault's root.
  struct Move {
    std::filesystem::path from;
    std::filesystem::path to;
    bool operator==(const Move&) const = default;
  };

  struct Plan {
    VaultFormat from = VaultFormat::markdown;
    VaultFormat to = VaultFormat::org;
    std::vector<Move> pages;
    // True when an earlier conversion to the same format was cut short and this one finishes it.
    bool resumes = false;
    // Pages holding something the new syntax has no place for (an Org heading item's drawers
    // and notes, say): converted all the same, their full text stays in the kept copies.
    std::vector<std::filesystem::path> incomplete;
    bool operator==(const Plan&) const = default;
  };

  struct Outcome {
    Plan plan;
    std::filesystem::path kept;  // the folder holding the old pages
  };

  // `root` is the vault's folder and `yearMode` its settings' year mode (how quarter pages are
  // headed); the clock names the folder of kept pages.
  VaultConverter(std::filesystem::path root, YearMode yearMode, const Clock& clock);

  // What converting to `to` would do, reading and converting every page in memory and writing
  // nothing; a vault already in that format has nothing to do (`from` == `to`, no pages).
  // Throws ConversionError naming the first page that cannot be read or a target file that
  // already exists.
  [[nodiscard]] Plan plan(VaultFormat to) const;

  // Converts the vault: every page, the settings' format, the old pages kept. Nothing is written
  // when a page cannot be read. Pages are replaced one at a time, each atomically, so a process
  // killed half-way leaves each page either converted or as it was; running convert again
  // finishes the job. Throws ConversionError, or FileError when the disk refuses a write.
  Outcome convert(VaultFormat to, const ProgressReport& progress = {});

  // Puts back the pages of the latest finished conversion and the format they had. Refuses,
  // changing nothing, when a converted page was edited since (naming it), or when there is
  // nothing to undo. Returns the number of pages restored.
  std::size_t undo(const ProgressReport& progress = {});

 private:
  struct Record;
  struct Prepared {
    Plan plan;
    std::vector<std::string> texts;  // the converted text of each page of a fresh plan
  };
  [[nodiscard]] Prepared prepare(VaultFormat to) const;
  [[nodiscard]] std::vector<Record> records() const;
  [[nodiscard]] std::optional<Record> unfinished() const;
  void finish(Record& record, const ProgressReport& progress,
              const std::vector<std::string>& texts);
  void setFormat(VaultFormat format) const;

  std::filesystem::path root_;
  YearMode yearMode_;
  const Clock& clock_;
};

}  // namespace trivo

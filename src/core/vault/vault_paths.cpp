// Page keys to file paths and back.
#include "core/vault/vault_paths.h"

#include "core/store/cloud_signal.h"
#include "core/vault/vault.h"

namespace fs = std::filesystem;

namespace trivo {
namespace {

// Lexically normal, without a trailing separator, so that "/v/" and "/v" compare equal.
fs::path tidy(const fs::path& p) {
  fs::path n = p.lexically_normal();
  if (!n.has_filename() && n.has_relative_path()) n = n.parent_path();
  if (n == ".") n.clear();
  return n;
}

}  // namespace

VaultPaths::VaultPaths(fs::path root, std::string fileExtension,
                       const std::optional<std::string>& perspective)
    : root_(std::move(root)),
      base_(Vault::base(root_, perspective)),
      fileExtension_(std::move(fileExtension)) {}

fs::path VaultPaths::page(std::string_view folder, const std::string& stem) const {
  return base_ / folder / (stem + "." + fileExtension_);
}

fs::path VaultPaths::day(const DayDate& d) const { return page("days", d.isoString()); }
fs::path VaultPaths::week(const ISOWeek& w) const { return page("weeks", w.id()); }
fs::path VaultPaths::month(const YearMonth& m) const { return page("months", m.id()); }
fs::path VaultPaths::quarter(const YearQuarter& q) const { return page("quarters", q.id()); }
fs::path VaultPaths::year(std::int64_t y) const { return page("years", std::to_string(y)); }
fs::path VaultPaths::inbox() const { return base_ / ("inbox." + fileExtension_); }

fs::path VaultPaths::urlFor(const EntryKey& key) const {
  switch (key.kind()) {
    case EntryKey::Kind::day:
      return day(*key.asDay());
    case EntryKey::Kind::week:
      return week(*key.asWeek());
    case EntryKey::Kind::month:
      return month(*key.asMonth());
    case EntryKey::Kind::quarter:
      return quarter(*key.asQuarter());
    case EntryKey::Kind::year:
      return year(*key.asYear());
    case EntryKey::Kind::inbox:
      break;
  }
  return inbox();
}

std::optional<EntryKey> VaultPaths::key(std::string_view folder, std::string_view name) const {
  const std::string suffix = "." + fileExtension_;
  if (name.size() <= suffix.size() || name.substr(name.size() - suffix.size()) != suffix) {
    return std::nullopt;
  }
  if (isConflictCopy(name)) return std::nullopt;
  const std::string_view stem = name.substr(0, name.size() - suffix.size());
  if (folder == "days") {
    if (auto d = DayDate::parse(stem)) return EntryKey::day(*d);
  } else if (folder == "weeks") {
    if (auto w = ISOWeek::parse(stem)) return EntryKey::week(*w);
  } else if (folder == "months") {
    if (auto m = YearMonth::parse(stem)) return EntryKey::month(*m);
  } else if (folder == "quarters") {
    if (auto q = YearQuarter::parse(stem)) return EntryKey::quarter(*q);
  } else if (folder == "years") {
    if (auto y = parseYearText(stem)) return EntryKey::year(*y);
  }
  return std::nullopt;
}

std::optional<EntryKey> VaultPaths::keyFor(const fs::path& file) const {
  const fs::path full = tidy(file.is_absolute() ? file : base_ / file);
  const fs::path base = tidy(base_);
  const std::string name = full.filename().string();
  if (full.parent_path() == base) {
    if (name == "inbox." + fileExtension_) return EntryKey::inbox();
    return std::nullopt;
  }
  const fs::path folder = full.parent_path();
  if (folder.parent_path() != base) return std::nullopt;
  return key(folder.filename().string(), name);
}

}  // namespace trivo

// Where each page of a vault lives, and which page a file is. Pure naming: nothing here touches
// the disk.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

class VaultPaths {
 public:
  // The five period folders, in order of the period's length.
  static constexpr std::array<std::string_view, 5> folders = {"days", "weeks", "months", "quarters",
                                                              "years"};

  // `fileExtension` is "md" or "org", without the dot. With a perspective the pages move to
  // root/_perspectives/<slug>; the app-private folder stays at the root.
  VaultPaths(std::filesystem::path root, std::string fileExtension,
             const std::optional<std::string>& perspective = std::nullopt);
  VaultPaths(std::filesystem::path root, VaultFormat format,
             const std::optional<std::string>& perspective = std::nullopt)
      : VaultPaths(std::move(root), std::string(trivo::fileExtension(format)), perspective) {}

  [[nodiscard]] const std::filesystem::path& root() const { return root_; }
  [[nodiscard]] const std::filesystem::path& base() const { return base_; }
  [[nodiscard]] const std::string& fileExtension() const { return fileExtension_; }

  [[nodiscard]] std::filesystem::path day(const DayDate& d) const;
  [[nodiscard]] std::filesystem::path week(const ISOWeek& w) const;
  [[nodiscard]] std::filesystem::path month(const YearMonth& m) const;
  [[nodiscard]] std::filesystem::path quarter(const YearQuarter& q) const;
  [[nodiscard]] std::filesystem::path year(std::int64_t y) const;
  [[nodiscard]] std::filesystem::path inbox() const;
  [[nodiscard]] std::filesystem::path media() const { return base_ / "media"; }
  [[nodiscard]] std::filesystem::path appPrivate() const { return root_ / ".trivo"; }
  [[nodiscard]] std::filesystem::path config() const { return appPrivate() / "config.json"; }
  [[nodiscard]] std::filesystem::path urlFor(const EntryKey& key) const;

  // The page that a file named `name` in the period folder `folder` holds; nothing for a
  // foreign extension, a sync tool's conflict copy, an unknown folder or a name that is not
  // exactly a period's text form ("2026-9-16.md", "notes.md").
  [[nodiscard]] std::optional<EntryKey> key(std::string_view folder, std::string_view name) const;
  // The page a file holds. The file must lie in one of base's period folders, or be base's
  // inbox file (which gives `inbox`); anything elsewhere, a perspective's pages seen from the
  // root included, is no page. A relative path is taken relative to base.
  [[nodiscard]] std::optional<EntryKey> keyFor(const std::filesystem::path& file) const;

 private:
  [[nodiscard]] std::filesystem::path page(std::string_view folder, const std::string& stem) const;

  std::filesystem::path root_;
  std::filesystem::path base_;
  std::string fileExtension_;
};

}  // namespace trivo

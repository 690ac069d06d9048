// Which days of a vault have a page, so that carry-over can find the last day that was lived.
#pragma once

#include <optional>

#include "core/calendar/day_date.h"
#include "core/vault/vault_paths.h"

namespace trivo {

class DayPageIndex {
 public:
  virtual ~DayPageIndex() = default;
  // The latest day strictly before `day` that has a page; nothing when there is none.
  [[nodiscard]] virtual std::optional<DayDate> latestBefore(const DayDate& day) const = 0;
};

// Reads the names in the vault's day folder. A missing or unreadable folder has no pages; files
// that are no day page of the vault's format (conflict copies, other names) do not count.
class FolderDayPageIndex final : public DayPageIndex {
 public:
  explicit FolderDayPageIndex(VaultPaths paths) : paths_(std::move(paths)) {}
  [[nodiscard]] std::optional<DayDate> latestBefore(const DayDate& day) const override;

 private:
  VaultPaths paths_;
};

}  // namespace trivo

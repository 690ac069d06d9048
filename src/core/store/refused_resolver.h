// What the person resolves by hand: texts the store refused or could not write, and the conflict
// copies sync tools left beside pages. Each can be shown, kept as the page, merged with the page
// or dropped, and nothing is lost on the way: a page text that a kept text replaces is kept in
// its turn.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/store/refused_texts.h"
#include "core/vault/vault.h"

namespace trivo {

class RefusedResolver {
 public:
  struct Entry {
    int number = 0;  // 1-based, as listings print it
    EntryKey key;
    std::filesystem::path page;  // the page file
    std::string text;
    std::optional<std::string> base;
    std::string reason;                          // "changed on disk", "conflict copy" …
    std::optional<Instant> keptAt;                // kept texts
    std::optional<std::filesystem::path> copy;    // conflict copies: the copy's file
    std::optional<std::string> keptId;            // kept texts: their id
  };

  // `keep` defaults to the vault's folder under the data home.
  explicit RefusedResolver(Vault vault, std::shared_ptr<RefusedTexts> keep = nullptr);

  // Kept texts of this vault, oldest first, then conflict copies beside its pages.
  [[nodiscard]] std::vector<Entry> list() const;
  // The entry with that number; nothing when there is none.
  [[nodiscard]] std::optional<Entry> entry(int number) const;

  // Writes the entry's text as the page (only while the page still holds what it holds now) and
  // forgets the entry; the page's former text is kept as a new entry first. Throws VaultError
  // changedOnDisk when the page changed meanwhile, FileError when writing fails.
  void keep(const Entry& entry);
  // Forgets the entry (a conflict copy's file is removed).
  void drop(const Entry& entry);
  // The page's current text and the entry's merged line by line against their common base (the
  // page as read before the refused edit; none for a conflict copy), with conflict markers
  // where both changed the same lines. Throws std::runtime_error when diff3 cannot run.
  struct Merge {
    std::string text;
    bool conflicts = false;
    std::optional<std::string> page;  // the page text it was merged against
  };
  [[nodiscard]] Merge merge(const Entry& entry) const;
  // Writes a merged text as the page while it still holds `merge.page`, then forgets the entry.
  void saveMerged(const Entry& entry, const Merge& merge, const std::string& text);

 private:
  void replacePage(const Entry& entry, const std::optional<std::string>& expected,
                   const std::string& text, bool keepFormer);
  Vault vault_;
  std::shared_ptr<RefusedTexts> keep_;
};

// True when a text still holds diff3's conflict markers.
bool hasConflictMarkers(std::string_view text);

}  // namespace trivo

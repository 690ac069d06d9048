// What the store reports: what is wrong with a page file on disk, and why a load or a write could
// not go ahead.
#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

struct ReadProblem {
  enum class Kind { identity, frontmatter, encoding, unreadable };
  Kind kind = Kind::unreadable;
  // For `identity`: the page the file should hold, and the one its text names.
  std::string expected;
  std::string found;
  // For the others: a short detail, such as the parser's message or the errno text.
  std::string detail;

  static ReadProblem identity(std::string expected, std::string found) {
    return {Kind::identity, std::move(expected), std::move(found), {}};
  }
  static ReadProblem of(Kind kind, std::string detail = {}) {
    return {kind, {}, {}, std::move(detail)};
  }
  bool operator==(const ReadProblem&) const = default;
};

inline constexpr std::array<std::string_view, 4> kReadProblemNames = {"identity", "frontmatter",
                                                                      "encoding", "unreadable"};

// A page could not be read as text (the file exists).
class PageReadError : public std::runtime_error {
 public:
  PageReadError(EntryKey key, ReadProblem problem);
  [[nodiscard]] const EntryKey& key() const { return key_; }
  [[nodiscard]] const ReadProblem& problem() const { return problem_; }

 private:
  EntryKey key_;
  ReadProblem problem_;
};

// The store's refusals. The message is for logs; the command line words each case itself.
class VaultError : public std::runtime_error {
 public:
  enum class Kind { changedOnDisk, unsupportedFormat, notDownloaded };

  static VaultError changedOnDisk(const EntryKey& key);
  static VaultError unsupportedFormat(VaultFormat format);
  static VaultError notDownloaded(const EntryKey& key);

  [[nodiscard]] Kind kind() const { return kind_; }
  // The page concerned (changedOnDisk, notDownloaded).
  [[nodiscard]] const std::optional<EntryKey>& key() const { return key_; }
  [[nodiscard]] std::optional<VaultFormat> format() const { return format_; }

 private:
  VaultError(Kind kind, std::optional<EntryKey> key, std::optional<VaultFormat> format,
             const std::string& message);
  Kind kind_;
  std::optional<EntryKey> key_;
  std::optional<VaultFormat> format_;
};

}  // namespace trivo

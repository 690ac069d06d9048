// Page text kept in memory by modification time, with a folded copy for searching.
#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace trivo {

class TextCache {
 public:
  struct Entry {
    std::string text;
    std::string flat;  // fold(text)
  };

  // The process-wide cache.
  static TextCache& shared();

  // The text of a file and its folded copy, read again only when the file's modification time
  // changed; nothing when the file cannot be read. Thread-safe.
  std::optional<Entry> read(const std::filesystem::path& path);
  // Case- and diacritic-insensitive folding with no locale: "Ärger" and "arger" fold alike.
  // Bytes that are not UTF-8 are kept as they are.
  static std::string fold(std::string_view text);
  void forgetAll();

 private:
  struct Cached {
    std::filesystem::file_time_type modified;
    Entry entry;
  };
  std::mutex lock_;
  std::unordered_map<std::string, Cached> files_;
};

}  // namespace trivo

// How often each tag is written in the vault, for the tag list: pinned tags first.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/vault/vault_format.h"

namespace trivo {

struct TagCount {
  std::string name;       // as first written
  std::size_t count = 0;  // lines that carry it
  bool pinned = false;
  std::optional<std::string> color;  // from the tag colours setting

  bool operator==(const TagCount&) const = default;
};

class TagIndex {
 public:
  // Counts the tags written on each line of a file's text (tags differing only in case or
  // accents are one tag).
  void add(std::string_view text, VaultFormat syntax);
  // The tags: those named in `pins` first in that order (also when no line carries them), then
  // the rest by count, most first, then by name. A colour is found by the tag's name folded.
  [[nodiscard]] std::vector<TagCount> list(const std::vector<std::string>& pins,
                                           const std::map<std::string, std::string>& colors) const;

 private:
  struct Seen {
    std::string name;
    std::size_t count = 0;
  };
  std::map<std::string, Seen> tags_;  // by folded name
};

}  // namespace trivo

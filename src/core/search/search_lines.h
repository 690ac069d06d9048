// A page's text as the lines that search indexes: each with its number, the part of the vault it
// stands in, and the tags that apply to it (its own and those of the headings above it).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/search/search_query.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

struct SearchLine {
  std::size_t number = 0;  // 1-based, counting "\n" as ripgrep and editors do
  std::string_view text;   // without its line end; a view into the text given
  SearchKind kind = SearchKind::other;
  std::vector<std::string> tags;  // folded, each once

  bool operator==(const SearchLine&) const = default;
};

// The tags written on one line, as written and in order: words beginning with "#" and a letter
// at the start of the line or after a blank ("#work", "#deep-work"; "#1", "a#b" and "# Title" are
// none), and on an Org heading its trailing ":a:b:". `syntax` says which headings count.
std::vector<std::string> tagsInLine(std::string_view line, VaultFormat syntax);

// Every line of a file. `page` is the page the file holds, or nothing for a file of the vault
// that is no page (an Org file of the person's own); its lines are all `other`. On a page the
// sections decide: a day's journal and notes are `journal`, outcomes `outcomes`, reflections and
// a year's gratitude `reflections`, the inbox page `inbox`, the rest (front matter, checklists,
// sections of the person's own) `other`. Headings inside fenced blocks are text.
std::vector<SearchLine> searchLines(std::string_view text, VaultFormat syntax,
                                    const std::optional<EntryKey>& page);

}  // namespace trivo

// Searching the files themselves rather than the index. For a query that a large share of the
// vault's lines match ("the"), reading every page on every core costs less than fetching tens of
// thousands of lines and their neighbours from the index row by row, and for a query the index
// cannot look up (words shorter than three letters, tags alone) it is the only way short of
// reading every row. It finds what the index finds, line for line, folded the same way, in the
// files as they are at this moment.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "core/search/search_page.h"
#include "core/search/search_query.h"
#include "core/search/search_sources.h"
#include "core/vault/vault_format.h"

namespace trivo {

// Lists a share of the files to read (searchSources with the vault's settings). It is called
// twice, for the day pages and for the rest, and the two calls can run at the same time.
using SourceLister = std::function<std::vector<SearchSource>(SourceShare)>;

// Hands `each` the pages of the files `list` gives (files of `vault`) with lines that match
// `query`, each with `context` lines around every match, one by one in the order they are
// shown, as soon as those before are done. `format` is the syntax of the vault's pages (the
// other Org files are read as Org). Files that cannot be read are passed over. What `each` or
// `list` throws stops the reading and reaches the caller. With `copyFile`, unchanged pages are
// taken from the copy of their text kept there (SearchSnapshot), which is written anew when it
// is missing or many pages have changed.
void scanFiles(const std::filesystem::path& vault, const SourceLister& list, VaultFormat format,
               const SearchQuery& query, std::size_t context,
               const std::function<void(SearchPage&&)>& each,
               const std::optional<std::filesystem::path>& copyFile = std::nullopt);

}  // namespace trivo

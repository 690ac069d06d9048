// The Search screen's engine: the vault's full-text index, the same one `trivo search` and the
// service keep, so a query reads only the pages that changed since the index last looked.
#pragma once

#include <filesystem>
#include <memory>

#include "app/page_search.h"
#include "core/vault/vault_format.h"

namespace trivo {
class SearchIndex;
}

namespace trivo::app {

class IndexedSearch final : public PageSearch {
 public:
  IndexedSearch(std::filesystem::path root, VaultFormat format);
  ~IndexedSearch() override;
  std::vector<SearchHit> find(std::string_view query, std::size_t limit,
                              const Progress& progress) override;

 private:
  std::filesystem::path root_;
  VaultFormat format_;
  // Opened on the first query, on the searching thread, and kept: SQLite connections here are
  // used by one thread only.
  std::unique_ptr<SearchIndex> index_;
  const Progress* progress_ = nullptr;
};

}  // namespace trivo::app

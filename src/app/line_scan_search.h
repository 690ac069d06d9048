// A search that reads every page file of the vault line by line: no index, so nothing to keep
// in step, and quick enough for a window while a real index is not there.
#pragma once

#include <filesystem>

#include "app/page_search.h"

namespace trivo::app {

class LineScanSearch final : public PageSearch {
 public:
  explicit LineScanSearch(std::filesystem::path root) : root_(std::move(root)) {}
  std::vector<SearchHit> find(std::string_view query, std::size_t limit) override;

 private:
  std::filesystem::path root_;
};

}  // namespace trivo::app

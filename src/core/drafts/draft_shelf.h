// The vault's drafts: free pages kept as files in its "drafts" folder (Markdown, Org or plain
// text), named by their file's stem. The widgets show the pinned ones, each as a title and a
// line of preview.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "core/focus/live_state.h"

namespace trivo {

class DraftShelf {
 public:
  static constexpr const char* kFolder = "drafts";
  static constexpr std::size_t kPreviewCharacters = 80;

  explicit DraftShelf(std::filesystem::path vaultRoot);

  [[nodiscard]] std::filesystem::path folder() const { return root_ / kFolder; }

  // The lines for the live state: the pinned drafts in the order of `pins` (a pin names a draft
  // by its stem; pins without a file are left out); with no pins at all, the drafts changed
  // most recently. At most `limit` lines.
  [[nodiscard]] std::vector<LiveState::DraftLine> lines(const std::vector<std::string>& pins,
                                                        std::size_t limit) const;

  // The first line of a draft's text that says something: front matter, Org keywords and blank
  // lines skipped, heading and list marks taken off, cut at a character boundary.
  static std::string preview(const std::string& text);

 private:
  std::filesystem::path root_;
};

}  // namespace trivo

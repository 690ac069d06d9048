#include "core/drafts/draft_shelf.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>
#include <system_error>

#include "core/focus/shared_files.h"

namespace trivo {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 4> kExtensions = {".md", ".org", ".txt", ".markdown"};

bool isDraftFile(const fs::directory_entry& entry) {
  std::error_code ec;
  if (!entry.is_regular_file(ec)) return false;
  const std::string name = entry.path().filename().string();
  if (name.empty() || name.front() == '.') return false;  // scratch and hidden files
  const std::string ext = entry.path().extension().string();
  return std::find(kExtensions.begin(), kExtensions.end(), ext) != kExtensions.end();
}

std::string_view trimmedDraft(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  return s;
}

// Cuts at most `n` characters (not bytes) of UTF-8, adding an ellipsis when something was cut.
std::string cut(std::string_view s, std::size_t n) {
  std::size_t chars = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
      if (chars == n) return std::string(trimmedDraft(s.substr(0, i))) + "…";
      ++chars;
    }
  }
  return std::string(s);
}

}  // namespace

DraftShelf::DraftShelf(fs::path vaultRoot) : root_(std::move(vaultRoot)) {}

std::string DraftShelf::preview(const std::string& text) {
  std::istringstream in(text);
  std::string line;
  bool inFrontMatter = false;
  for (bool first = true; std::getline(in, line); first = false) {
    std::string_view s = trimmedDraft(line);
    if (first && s == "---") {
      inFrontMatter = true;
      continue;
    }
    if (inFrontMatter) {
      if (s == "---") inFrontMatter = false;
      continue;
    }
    if (s.empty() || s.starts_with("#+") || s.starts_with(":")) continue;  // Org keywords, drawers
    // Heading marks of both syntaxes, then a list mark and a checkbox.
    while (!s.empty() && (s.front() == '#' || s.front() == '*')) s.remove_prefix(1);
    s = trimmedDraft(s);
    if (s == "-" || s == "+") continue;  // an empty list item
    if (s.starts_with("- ") || s.starts_with("+ ")) s = trimmedDraft(s.substr(2));
    if (s.size() >= 3 && s.front() == '[' && s[2] == ']') s = trimmedDraft(s.substr(3));
    if (s.empty()) continue;
    return cut(s, kPreviewCharacters);
  }
  return {};
}

std::vector<LiveState::DraftLine> DraftShelf::lines(const std::vector<std::string>& pins,
                                                    std::size_t limit) const {
  std::vector<fs::path> files;
  std::error_code ec;
  if (!pins.empty()) {
    for (const std::string& pin : pins) {
      if (pin.empty() || pin.find('/') != std::string::npos || pin.front() == '.') continue;
      for (std::string_view ext : kExtensions) {
        const fs::path file = folder() / (pin + std::string(ext));
        if (fs::is_regular_file(file, ec)) {
          files.push_back(file);
          break;
        }
      }
    }
  } else {
    std::vector<std::pair<fs::file_time_type, fs::path>> found;
    for (fs::directory_iterator it(folder(), ec), end; !ec && it != end; it.increment(ec)) {
      if (!isDraftFile(*it)) continue;
      found.emplace_back(it->last_write_time(ec), it->path());
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
      return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    for (auto& f : found) files.push_back(std::move(f.second));
  }
  std::vector<LiveState::DraftLine> result;
  for (const fs::path& file : files) {
    if (result.size() >= limit) break;
    const auto text = shared::readFile(file, shared::Access::ordinary);
    result.push_back({file.stem().string(), text ? preview(*text) : std::string()});
  }
  return result;
}

}  // namespace trivo

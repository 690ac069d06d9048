// Scans page files newest first, comparing folded ASCII letters (the words people search for in
// their own pages; other letters compare as written).
#include "app/line_scan_search.h"

#include <algorithm>
#include <fstream>
#include <string>

namespace trivo::app {

namespace fs = std::filesystem;

namespace {

std::string folded(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return out;
}

std::vector<std::string> wordsOf(std::string_view query) {
  std::vector<std::string> words;
  std::string word;
  for (char c : folded(query)) {
    if (c == ' ' || c == '\t') {
      if (!word.empty()) words.push_back(std::move(word));
      word.clear();
    } else {
      word += c;
    }
  }
  if (!word.empty()) words.push_back(std::move(word));
  return words;
}

// The line without its list marker and checkbox, as a person reads it.
std::string shownText(const std::string& line) {
  std::string_view text(line);
  const auto first = text.find_first_not_of(" \t-*#");
  text.remove_prefix(first == std::string_view::npos ? text.size() : first);
  for (std::string_view box : {"[ ] ", "[x] ", "[X] ", "[-] "}) {
    if (text.substr(0, box.size()) == box) text.remove_prefix(box.size());
  }
  return std::string(text);
}

bool isPageFile(const fs::path& p) {
  const auto ext = p.extension();
  return ext == ".md" || ext == ".org";
}

}  // namespace

std::vector<SearchHit> LineScanSearch::find(std::string_view query, std::size_t limit) {
  const auto words = wordsOf(query);
  std::vector<SearchHit> hits;
  if (words.empty() || limit == 0) return hits;
  std::vector<fs::path> files;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(
           root_, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    const auto& name = it->path().filename().string();
    // Hidden folders hold settings, drafts of other tools and conflict scratch, not pages.
    if (!name.empty() && name.front() == '.') {
      if (it->is_directory(ec)) it.disable_recursion_pending();
      continue;
    }
    if (it->is_regular_file(ec) && isPageFile(it->path())) files.push_back(it->path());
  }
  // Page names are dates, so reverse name order puts the newest pages first.
  std::sort(files.begin(), files.end(),
            [](const fs::path& a, const fs::path& b) { return a.filename() > b.filename(); });
  for (const fs::path& file : files) {
    std::ifstream in(file, std::ios::binary);
    std::string line;
    std::size_t number = 0;
    while (std::getline(in, line)) {
      ++number;
      const std::string lower = folded(line);
      const bool all = std::all_of(words.begin(), words.end(), [&](const std::string& w) {
        return lower.find(w) != std::string::npos;
      });
      if (!all) continue;
      hits.push_back({file.stem().string(), file.lexically_relative(root_).generic_string(), number,
                      shownText(line)});
      if (hits.size() >= limit) return hits;
    }
  }
  return hits;
}

}  // namespace trivo::app

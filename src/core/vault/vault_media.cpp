// Media references in page text, and the media folder on disk.
#include "core/vault/vault_media.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string_view>

#include "core/util/percent_encoding.h"

namespace fs = std::filesystem;

namespace trivo {
namespace {

// What may stand before "media/", and what ends the name after it.
struct Opener {
  std::string_view before;
  std::string_view stops;
};

// Longer openers first, so that "](<" is not taken for "<". A newline always ends a name.
constexpr std::array<Opener, 5> kOpeners = {{
    {"](<", ">"},
    {"](", ") \t"},
    {"[[file:", "]"},
    {"[[", "]"},
    {"<", ">"},
}};

bool mediaEndsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

void collect(std::string_view text, std::set<std::string>& names) {
  constexpr std::string_view marker = "media/";
  for (std::size_t at = text.find(marker); at != std::string_view::npos;
       at = text.find(marker, at + 1)) {
    std::string_view before = text.substr(0, at);
    if (mediaEndsWith(before, "../")) before.remove_suffix(3);
    for (const auto& opener : kOpeners) {
      if (!mediaEndsWith(before, opener.before)) continue;
      const std::size_t start = at + marker.size();
      std::size_t end = start;
      while (end < text.size() && text[end] != '\n' && text[end] != '\r' &&
             opener.stops.find(text[end]) == std::string_view::npos) {
        ++end;
      }
      if (end > start) {
        const std::string_view raw = text.substr(start, end - start);
        names.insert(percentDecode(raw).value_or(std::string(raw)));
      }
      break;
    }
  }
}

bool isHidden(const fs::path& relative) {
  for (const auto& part : relative) {
    if (!part.empty() && part.string().front() == '.') return true;
  }
  return false;
}

std::vector<std::string> pageTextsUnder(const fs::path& base, const fs::path& media) {
  std::vector<std::string> texts;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(
           base, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (it->path() == media) {
      it.disable_recursion_pending();
      continue;
    }
    const auto ext = it->path().extension();
    if ((ext != ".md" && ext != ".org") || !it->is_regular_file(ec)) continue;
    std::ifstream in(it->path(), std::ios::binary);
    texts.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return texts;
}

}  // namespace

std::int64_t VaultMedia::folderSize(const fs::path& folder) {
  std::int64_t total = 0;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(
           folder, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    std::error_code fileError;
    if (!it->is_symlink(fileError) && it->is_regular_file(fileError)) {
      const auto size = it->file_size(fileError);
      if (!fileError) total += static_cast<std::int64_t>(size);
    }
  }
  return total;
}

std::set<std::string> VaultMedia::referenced(std::span<const std::string> pageTexts) {
  std::set<std::string> names;
  for (const auto& text : pageTexts) collect(text, names);
  return names;
}

std::vector<std::string> VaultMedia::leftovers(const VaultPaths& paths) {
  const fs::path media = paths.media();
  std::vector<std::string> result;
  std::error_code ec;
  if (!fs::is_directory(media, ec)) return result;
  const auto texts = pageTextsUnder(paths.base(), media);
  const auto used = referenced(texts);
  for (auto it = fs::recursive_directory_iterator(
           media, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    std::error_code fileError;
    if (it->is_symlink(fileError) || !it->is_regular_file(fileError)) continue;
    const fs::path relative = it->path().lexically_relative(media);
    if (isHidden(relative)) continue;
    std::string name = relative.generic_string();
    if (!used.contains(name)) result.push_back(std::move(name));
  }
  std::sort(result.begin(), result.end());
  return result;
}

std::vector<std::string> VaultMedia::leftovers(const Vault& vault) {
  return leftovers(VaultPaths(vault.rootURL, vault.format, vault.perspective));
}

std::vector<std::string> VaultMedia::deleteOrphans(const VaultPaths& paths) {
  std::vector<std::string> removed;
  for (auto& name : leftovers(paths)) {
    std::error_code ec;
    if (fs::remove(paths.media() / name, ec) && !ec) removed.push_back(std::move(name));
  }
  return removed;
}

std::vector<std::string> VaultMedia::deleteOrphans(const Vault& vault) {
  return deleteOrphans(VaultPaths(vault.rootURL, vault.format, vault.perspective));
}

}  // namespace trivo

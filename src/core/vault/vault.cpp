// Perspective folder names, the pages' base folder and the move from the old perspectives layout.
#include "core/vault/vault.h"

#include <utf8proc.h>

#include <cstdlib>
#include <memory>

#include "core/util/percent_encoding.h"

namespace fs = std::filesystem;

namespace trivo {
namespace {

bool isLetterOrNumber(utf8proc_category_t c) {
  switch (c) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO:
      return true;
    default:
      return false;
  }
}

bool isMark(utf8proc_category_t c) {
  return c == UTF8PROC_CATEGORY_MN || c == UTF8PROC_CATEGORY_MC || c == UTF8PROC_CATEGORY_ME;
}

void appendCodepoint(std::string& out, utf8proc_int32_t cp) {
  utf8proc_uint8_t buf[4];
  const auto n = utf8proc_encode_char(cp, buf);
  out.append(reinterpret_cast<const char*>(buf), static_cast<std::size_t>(n));
}

// NFC form of valid UTF-8; invalid text is returned as it is and walked byte by byte later.
std::string composed(std::string_view text) {
  utf8proc_uint8_t* result = nullptr;
  const auto n = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                              static_cast<utf8proc_ssize_t>(text.size()), &result,
                              static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
  if (n < 0) return std::string(text);
  std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(result, &std::free);
  return std::string(reinterpret_cast<const char*>(result), static_cast<std::size_t>(n));
}

// A free name beside `taken`: "NAME (2).EXT", "NAME (3).EXT", …
fs::path freeNameBeside(const fs::path& taken) {
  const auto stem = taken.stem().string();
  const auto ext = taken.extension().string();
  for (int n = 2;; ++n) {
    fs::path candidate = taken.parent_path() / (stem + " (" + std::to_string(n) + ")" + ext);
    std::error_code ec;
    if (!fs::exists(fs::symlink_status(candidate, ec))) return candidate;
  }
}

void fold(const fs::path& from, const fs::path& to, std::vector<fs::path>& renamed) {
  const auto toStatus = fs::symlink_status(to);
  if (!fs::exists(toStatus)) {
    fs::rename(from, to);
    return;
  }
  // A "_perspectives" that links to a folder is folded into like the folder itself.
  std::error_code ec;
  if (fs::is_directory(fs::symlink_status(from)) && fs::is_directory(fs::status(to, ec))) {
    std::vector<fs::path> children;
    for (const auto& entry : fs::directory_iterator(from)) children.push_back(entry.path());
    for (const auto& child : children) fold(child, to / child.filename(), renamed);
    fs::remove(from);  // only succeeds when empty, which it now is
    return;
  }
  const auto target = freeNameBeside(to);
  fs::rename(from, target);
  renamed.push_back(target);
}

}  // namespace

std::string Vault::slug(std::string_view name) {
  const std::string text = composed(name);
  std::string out;
  bool lastWasWord = false;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  auto remaining = static_cast<utf8proc_ssize_t>(text.size());
  while (remaining > 0) {
    utf8proc_int32_t cp = 0;
    auto n = utf8proc_iterate(bytes, remaining, &cp);
    if (n <= 0) {  // an invalid byte separates like punctuation
      n = 1;
      cp = -1;
    }
    bytes += n;
    remaining -= n;
    const auto category = cp < 0 ? UTF8PROC_CATEGORY_CN : utf8proc_category(cp);
    if (isLetterOrNumber(category) || (lastWasWord && isMark(category))) {
      appendCodepoint(out, utf8proc_tolower(cp));
      lastWasWord = true;
    } else if (lastWasWord) {
      out.push_back('-');
      lastWasWord = false;
    }
  }
  if (!out.empty() && out.back() == '-') out.pop_back();
  return out.empty() ? "perspective" : out;
}

fs::path Vault::base(const fs::path& root, const std::optional<std::string>& perspective) {
  if (!perspective) return root;
  return root / perspectivesFolder / slug(*perspective);
}

std::vector<fs::path> Vault::movePerspectivesFolder(const fs::path& root) {
  std::vector<fs::path> renamed;
  const fs::path legacy = root / legacyPerspectivesFolder;
  if (!fs::is_directory(fs::symlink_status(legacy))) return renamed;
  fold(legacy, root / perspectivesFolder, renamed);
  return renamed;
}

void to_json(Json& j, const Vault& v) {
  j = Json::object();
  json::put(j, "rootURL", v.rootURL.string());
  json::put(j, "format", v.format);
  json::put(j, "locale", v.locale);
  json::put(j, "perspective", v.perspective);
}

void from_json(const Json& j, Vault& v) {
  json::requireObject(j, "Vault");
  Vault r;
  std::string root;
  json::take(j, "rootURL", root);
  constexpr std::string_view scheme = "file://";
  if (std::string_view(root).substr(0, scheme.size()) == scheme) {
    const std::string path = root.substr(scheme.size());
    root = percentDecode(path).value_or(path);
  }
  r.rootURL = root;
  json::take(j, "format", r.format);
  json::take(j, "locale", r.locale);
  json::take(j, "perspective", r.perspective);
  v = std::move(r);
}

}  // namespace trivo

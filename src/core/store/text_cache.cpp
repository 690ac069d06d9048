// The text cache and its folding.
#include "core/store/text_cache.h"

#include <utf8proc.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace trivo {

TextCache& TextCache::shared() {
  static TextCache cache;
  return cache;
}

std::optional<TextCache::Entry> TextCache::read(const std::filesystem::path& path) {
  std::error_code ec;
  const auto modified = std::filesystem::last_write_time(path, ec);
  if (ec) return std::nullopt;
  {
    std::lock_guard guard(lock_);
    auto it = files_.find(path.string());
    if (it != files_.end() && it->second.modified == modified) return it->second.entry;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  Entry entry;
  entry.text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  entry.flat = fold(entry.text);
  std::lock_guard guard(lock_);
  files_[path.string()] = Cached{modified, entry};
  return entry;
}

std::string TextCache::fold(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  constexpr auto options =
      static_cast<utf8proc_option_t>(UTF8PROC_CASEFOLD | UTF8PROC_STRIPMARK | UTF8PROC_DECOMPOSE |
                                     UTF8PROC_COMPOSE | UTF8PROC_COMPAT);
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t at = 0;
  utf8proc_int32_t buffer[32];
  bool afterKeptByte = false;  // the last thing written was a byte that is not UTF-8
  while (at < text.size()) {
    utf8proc_int32_t point = 0;
    const auto used =
        utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &point);
    if (used < 1) {
      out.push_back(text[at]);  // not UTF-8: keep the byte
      ++at;
      afterKeptByte = true;
      continue;
    }
    const std::string_view character = text.substr(at, static_cast<std::size_t>(used));
    at += character.size();
    const bool joinable = afterKeptByte;
    afterKeptByte = false;
    if (point < 0x80) {
      out.push_back(static_cast<char>(point >= 'A' && point <= 'Z' ? point + 32 : point));
      continue;
    }
    int lastBoundClass = 0;
    const auto count = utf8proc_decompose_char(point, buffer, 32, options, &lastBoundClass);
    // A mark that folds away after a kept byte stays: without it the kept byte could meet the
    // next one and the two read as one character, so that folding the result again would
    // change it.
    if (count <= 0 && joinable) {
      out.append(character);
      continue;
    }
    for (utf8proc_ssize_t i = 0; i < count && i < 32; ++i) {
      // Stripping marks leaves nothing for a combining character, which is what folding wants.
      utf8proc_uint8_t encoded[4];
      const auto length = utf8proc_encode_char(buffer[i], encoded);
      out.append(reinterpret_cast<const char*>(encoded), static_cast<std::size_t>(length));
    }
  }
  return out;
}

void TextCache::forgetAll() {
  std::lock_guard guard(lock_);
  files_.clear();
}

}  // namespace trivo

// The text cache and its folding.
#include "core/store/text_cache.h"

#include <utf8proc.h>

#include <bit>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

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

const TextCache::Folder::Character* TextCache::Folder::learn(std::string_view bytes,
                                                             std::uint32_t key) {
  auto known = characters_.find(key);
  if (known == characters_.end()) {
    utf8proc_int32_t point = 0;
    if (utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                         static_cast<utf8proc_ssize_t>(bytes.size()),
                         &point) != static_cast<utf8proc_ssize_t>(bytes.size())) {
      return nullptr;
    }
    Character folded{TextCache::fold(bytes)};
    folded.same = folded.folded == bytes;
    known = characters_.emplace(key, std::move(folded)).first;
  }
  recent_[slot(key)] = Recent{key, &known->second};
  return &known->second;
}

void TextCache::Folder::fold(std::string_view text, std::string& out) {
  out.clear();
  std::size_t at = 0;
  while (at < text.size()) {
    if (static_cast<unsigned char>(text[at]) < 0x80) {
      // A run of ASCII, lowered in one go.
      std::size_t end = at + 1;
      while (end < text.size() && static_cast<unsigned char>(text[end]) < 0x80) ++end;
      const std::size_t from = out.size();
      out.resize(from + end - at);
      for (std::size_t i = at; i < end; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        out[from + i - at] = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
      }
      at = end;
      continue;
    }
    const Character* folded = character(text, at);
    if (!folded) {
      // Bytes that are not UTF-8 can change how the character after them folds: the whole
      // text is folded the long way.
      out = TextCache::fold(text);
      return;
    }
    out += folded->folded;
    at += sequenceLength(static_cast<unsigned char>(text[at]));
  }
}

TextCache::Folder::Effect TextCache::Folder::effect(std::string_view text, std::string_view term) {
  Effect effect;
  for (std::size_t at = nextChanged(text, 0); at != std::string_view::npos;
       at = nextChanged(text, at + sequenceLength(static_cast<unsigned char>(text[at])))) {
    const Character* folded = character(text, at);
    if (!folded) {
      effect.utf8 = false;
      effect.brings = true;
      return effect;
    }
    if (folded->folded.empty() || folded->folded.find_first_of(term) != std::string::npos) {
      effect.brings = true;
    }
  }
  return effect;
}

std::size_t TextCache::Folder::nextChanged(std::string_view text, std::size_t from) {
  // Sixteen bytes side by side, in the vector registers every target has: a byte past ASCII
  // is found with its place in one comparison, where testing words and then bytes had cost
  // more for each such character than the character's own look-up. Pages hold thousands of
  // them ("—", "·", "→") that fold to themselves.
  using Block = unsigned char __attribute__((vector_size(16)));
  const char* bytes = text.data();
  const std::size_t size = text.size();
  auto highOf = [&](std::size_t at) {
    Block block;
    std::memcpy(&block, bytes + at, sizeof block);
    const Block high = block >> 7;  // 1 where the byte is past ASCII
    std::uint64_t halves[2];
    std::memcpy(halves, &high, sizeof halves);
    return std::pair{halves[0], halves[1]};
  };
  auto firstSet = [](std::uint64_t half) {
    return static_cast<std::size_t>(std::endian::native == std::endian::little
                                        ? std::countr_zero(half) / 8
                                        : std::countl_zero(half) / 8);
  };
  std::size_t at = from;
  while (at < size) {
    if (at + 16 <= size) {
      const auto [low, high] = highOf(at);
      if (low == 0 && high == 0) {
        at += 16;
        continue;
      }
      at += low != 0 ? firstSet(low) : 8 + firstSet(high);
    } else if (static_cast<unsigned char>(bytes[at]) < 0x80) {
      ++at;  // the last bytes, one by one
      continue;
    }
    const Character* folded = character(text, at);
    if (!folded || !folded->same) return at;
    at += sequenceLength(static_cast<unsigned char>(text[at]));
  }
  return std::string_view::npos;
}

}  // namespace trivo

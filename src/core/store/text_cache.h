// Page text kept in memory by modification time, with a folded copy for searching.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace trivo {

class TextCache {
 public:
  struct Entry {
    std::string text;
    std::string flat;  // fold(text)
  };

  // The process-wide cache.
  static TextCache& shared();

  // The text of a file and its folded copy, read again only when the file's modification time
  // changed; nothing when the file cannot be read. Thread-safe.
  std::optional<Entry> read(const std::filesystem::path& path);
  // Case- and diacritic-insensitive folding with no locale: "Ärger" and "arger" fold alike.
  // Bytes that are not UTF-8 are kept as they are.
  static std::string fold(std::string_view text);
  void forgetAll();

  // Folds one text after another exactly as fold() does, remembering what each character other
  // than ASCII folds to: pages carry the same few dashes and accents on line after line, and
  // asking utf8proc about each again cost more than the rest of a search that reads every page.
  // One per thread.
  class Folder {
   public:
    // `out` becomes fold(text).
    void fold(std::string_view text, std::string& out);
    // Where in `text`, from `from` on, the first character stands that folding changes other than
    // by lowering an ASCII letter (or bytes that are not UTF-8); npos when there is none. Most
    // characters past ASCII in a page (a dash, an arrow, a quotation mark) fold to themselves,
    // so most lines fold byte for byte, keeping their length.
    std::size_t nextChanged(std::string_view text, std::size_t from);

    // What folding `text` does beyond lowering its ASCII letters, as far as finding the folded
    // `term` in it goes. Folding UTF-8 goes a character at a time, so a term that neither of
    // these brings is in the folded text only where it is in the lowered one, and a term of
    // ASCII alone is in the folded text wherever it is in the lowered one.
    struct Effect {
      bool utf8 = true;     // every byte is part of a whole character
      bool brings = false;  // a character folds to nothing, or to bytes one of which `term` holds
    };
    Effect effect(std::string_view text, std::string_view term);

   private:
    struct Character {
      std::string folded;
      bool same = false;  // folds to itself
    };
    // What the character whose bytes start at `at` folds to, learnt once; nothing when they
    // are not one whole character of UTF-8. Asked for every character past ASCII in every page
    // a search reads: what was met last is found here without a call.
    const Character* character(std::string_view text, std::size_t at) {
      const std::size_t length = sequenceLength(static_cast<unsigned char>(text[at]));
      if (length == 0 || at + length > text.size()) return nullptr;
      // The lead byte gives the length, so the bytes alone tell characters apart. They are
      // put together in a register: copied to memory a byte at a time and read back as one
      // word, they stalled the processor on every character.
      std::uint32_t key = 0;
      for (std::size_t i = 0; i < length; ++i) {
        key |= std::uint32_t{static_cast<unsigned char>(text[at + i])} << (8 * i);
      }
      const Recent& recent = recent_[slot(key)];
      if (recent.key == key) return recent.character;
      return learn(text.substr(at, length), key);
    }
    // What character() gives for a character not met last: looked up, or folded the first time.
    const Character* learn(std::string_view bytes, std::uint32_t key);
    // The bytes of a character of UTF-8 that begins with `lead`; 0 for a byte that begins none.
    static std::size_t sequenceLength(unsigned char lead) {
      return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    }
    // Fibonacci hashing: the top bits of the product, which every byte of the key reaches.
    static std::size_t slot(std::uint32_t key) { return (key * 0x9E3779B1U) >> 24; }

    std::unordered_map<std::uint32_t, Character> characters_;  // by their bytes
    // The characters met last, by the slot of their bytes: a page uses a handful of them.
    struct Recent {
      std::uint32_t key = 0;
      const Character* character = nullptr;
    };
    std::array<Recent, 256> recent_{};
  };

 private:
  struct Cached {
    std::filesystem::file_time_type modified;
    Entry entry;
  };
  std::mutex lock_;
  std::unordered_map<std::string, Cached> files_;
};

}  // namespace trivo

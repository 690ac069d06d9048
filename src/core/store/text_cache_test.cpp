// Folding for search, and the cache's reuse of unchanged files.
#include "core/store/text_cache.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

TEST(TextCache, FoldIgnoresCaseAndDiacriticsWithoutALocale) {
  const std::pair<const char*, const char*> cases[] = {
      {"Ärger über Straße", "arger uber strasse"},
      {"CAFÉ", "cafe"},
      {"cafe\xCC\x81", "cafe"},  // a combining accent
      {"İstanbul", "istanbul"},
      {"Ωmega 😀", "ωmega 😀"},
      {"plain", "plain"},
  };
  for (const auto& [text, folded] : cases) EXPECT_EQ(TextCache::fold(text), folded) << text;
  // Bytes that are not UTF-8 survive as they are.
  EXPECT_EQ(TextCache::fold("A\xFF"
                            "B"),
            "a\xFF"
            "b");
  // Folding what was folded changes nothing, even where a mark between two such bytes folds
  // away (a fuzz input: the bytes met and read as one character the second time).
  for (const std::string& text : {std::string("tag\xc1\x87\xdf\xd8\xdd\x82\x91\x9closed"),
                                 std::string("\xd8\xcc\x81\x91")}) {
    EXPECT_EQ(TextCache::fold(TextCache::fold(text)), TextCache::fold(text));
  }
}

// The folder that remembers characters folds exactly as fold() does, over texts made of pieces
// that fold in every way: ASCII, accents precomposed and combining, ligatures, letters that
// grow ("ß"), symbols that fold to themselves, marks that fold away, and bytes that are not
// UTF-8 (alone, cut short, or right before a mark). Up to where it says a text stops folding
// byte for byte, lowering ASCII is all that folding does.
TEST(TextCache, TheFolderFoldsAsFoldDoes) {
  const std::vector<std::string> pieces = {
      "a",        "Z", " ", "\r", "—", "·",   "→", "é",    "É",        "e\xCC\x81",
      "ß",        "ﬁ", "İ", "Ω",  "😀", "️", "€", "\xFF", "\xE2\x80", "\xC3",
      "\xCC\x81", "Q", "x", "«",  "»", "ö",   "9", "\t",   "\x80",     "ǅ"};
  std::mt19937 random(1234);
  TextCache::Folder folder;
  std::string folded;
  for (int round = 0; round < 4000; ++round) {
    std::string text;
    const auto length = random() % 12;
    for (std::size_t i = 0; i < length; ++i) text += pieces[random() % pieces.size()];
    folder.fold(text, folded);
    ASSERT_EQ(folded, TextCache::fold(text)) << text;
    const std::size_t changed = folder.nextChanged(text, 0);
    std::string lowered = text.substr(0, std::min(changed, text.size()));
    for (char& c : lowered) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    EXPECT_EQ(lowered, TextCache::fold(text.substr(0, std::min(changed, text.size())))) << text;
  }
}

TEST(TextCache, RereadsOnlyWhenTheModificationTimeChanges) {
  testing::TempDir dir;
  const auto file = dir.write("a.md", "Hello");
  TextCache cache;
  EXPECT_EQ(cache.read(file)->flat, "hello");
  // Same bytes length and an unchanged time: the cached copy is served.
  const auto time = std::filesystem::last_write_time(file);
  dir.write("a.md", "World");
  std::filesystem::last_write_time(file, time);
  EXPECT_EQ(cache.read(file)->text, "Hello");
  std::filesystem::last_write_time(file, time + std::chrono::seconds(1));
  EXPECT_EQ(cache.read(file)->text, "World");
  EXPECT_EQ(cache.read(dir.path() / "missing.md"), std::nullopt);
}

TEST(TextCacheStore, ConcurrentReadersShareTheCache) {
  testing::TempDir dir;
  std::vector<std::filesystem::path> files;
  for (int i = 0; i < 8; ++i)
    files.push_back(dir.write("p" + std::to_string(i) + ".md", "Ü" + std::to_string(i)));
  TextCache cache;
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t) {
    readers.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        for (const auto& f : files) ASSERT_EQ(cache.read(f)->flat.substr(0, 1), "u");
        if (round % 10 == 0) cache.forgetAll();
      }
    });
  }
  for (auto& r : readers) r.join();
}

}  // namespace
}  // namespace trivo

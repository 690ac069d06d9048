// Folding for search, and the cache's reuse of unchanged files.
#include "core/store/text_cache.h"

#include <gtest/gtest.h>

#include <thread>

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

// Splitting links into scheme, host, path and query items.
#include "core/links/url_parts.h"

#include <gtest/gtest.h>

namespace trivo {
namespace {

using Item = UrlParts::QueryItem;

TEST(UrlParts, SplitsSchemeHostPathAndQuery) {
  auto parts = UrlParts::split("Trivo://OPEN/a%20b/c?page=day%3A2026-09-16&x=1+2#frag?no=1");
  ASSERT_TRUE(parts);
  EXPECT_EQ(parts->scheme, "trivo");
  EXPECT_EQ(parts->host, "open");
  EXPECT_EQ(parts->path, "/a b/c");
  EXPECT_EQ(parts->query, (std::vector<Item>{{"page", "day:2026-09-16"}, {"x", "1+2"}}));
}

TEST(UrlParts, HostEndsAtPathOrQueryAndMayBeMissing) {
  EXPECT_EQ(UrlParts::split("trivo://find?q=a")->host, "find");
  EXPECT_EQ(UrlParts::split("trivo://widget")->path, "");
  EXPECT_EQ(UrlParts::split("trivo://")->host, "");
  auto noHost = UrlParts::split("trivo:open?page=focus");
  ASSERT_TRUE(noHost);
  EXPECT_EQ(noHost->host, std::nullopt);
  EXPECT_EQ(noHost->path, "open");
  EXPECT_EQ(noHost->value("page"), "focus");
}

TEST(UrlParts, QueryItemsKeepEmptyAndMissingValuesApartAndTheFirstNameWins) {
  auto parts = UrlParts::split("x://h?a=&b&&a=2&=v&c=%26%3D%23");
  ASSERT_TRUE(parts);
  EXPECT_EQ(
      parts->query,
      (std::vector<Item>{{"a", ""}, {"b", std::nullopt}, {"a", "2"}, {"", "v"}, {"c", "&=#"}}));
  EXPECT_EQ(parts->value("a"), "");
  EXPECT_EQ(parts->value("b"), std::nullopt);
  EXPECT_EQ(parts->value("zzz"), std::nullopt);
}

TEST(UrlParts, AMalformedEscapeEmptiesTheQueryButRejectsThePath) {
  auto parts = UrlParts::split("x://h/p?a=1&b=%zz");
  ASSERT_TRUE(parts);
  EXPECT_TRUE(parts->query.empty());
  EXPECT_EQ(parts->path, "/p");
  EXPECT_EQ(UrlParts::split("x://h/%4?a=1"), std::nullopt);
}

TEST(UrlParts, DecodedTextMustBeUtf8) {
  EXPECT_EQ(UrlParts::split("x://h/%C3%A9?a=%E6%97%A5")->value("a"), "日");
  EXPECT_EQ(UrlParts::split("x://h/%FF"), std::nullopt);
  EXPECT_EQ(UrlParts::split("x://h/\xC3"), std::nullopt);
  EXPECT_TRUE(UrlParts::split("x://h?a=%C3&b=1")->query.empty());
  EXPECT_TRUE(UrlParts::split("x://h?a=%ED%A0%80")->query.empty());  // a lone surrogate
  EXPECT_TRUE(UrlParts::split("x://h?a=%C0%AF")->query.empty());     // an overlong "/"
}

TEST(UrlParts, RejectsTextWithoutAValidScheme) {
  for (const char* bad :
       {"", "trivo", "://open", "1trivo://open", "tri vo://open", "/days/x.md", "é://open"}) {
    EXPECT_EQ(UrlParts::split(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(UrlParts::split("a+b-c.d://h")->scheme, "a+b-c.d");
}

}  // namespace
}  // namespace trivo

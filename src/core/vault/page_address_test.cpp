// Relative page words, page keys and links, and typed page addresses.
#include "core/vault/page_address.h"

#include <gtest/gtest.h>

#include "core/vault/page_link.h"

namespace trivo {
namespace {

DayDate dayOf(const char* text) { return *DayDate::parse(text); }
PageTarget dayTarget(const char* text) { return PageTarget::page(EntryKey::day(dayOf(text))); }

TEST(RelativePage, RawStringsAndPageKeysAreTheCaseNames) {
  for (std::size_t i = 0; i < kRelativePageNames.size(); ++i) {
    const auto page = static_cast<RelativePage>(i);
    EXPECT_EQ(relativePageFromRaw(rawValue(page)), page) << rawValue(page);
    EXPECT_EQ(relativePageFromPageKey(pageKey(page)), page) << rawValue(page);
  }
  EXPECT_EQ(relativePageFromRaw("Yesterday"), std::nullopt);
  EXPECT_EQ(relativePageFromPageKey("LastFriday"), RelativePage::lastfriday);
  EXPECT_EQ(relativePageFromPageKey("today"), std::nullopt);
  EXPECT_EQ(relativePageFromPageKey(""), std::nullopt);
}

struct ResolveCase {
  RelativePage page;
  const char* today;
  YearMode mode;
  PageTarget target;
};

TEST(RelativePage, ResolvesAroundYearEnds) {
  const auto q = YearMode::quarter;
  const auto c = YearMode::calendar;
  const ResolveCase cases[] = {
      {RelativePage::yesterday, "2027-01-01", q, dayTarget("2026-12-31")},
      {RelativePage::tomorrow, "2026-12-31", q, dayTarget("2027-01-01")},
      {RelativePage::tomorrow, "2028-02-28", q, dayTarget("2028-02-29")},
      {RelativePage::outcomes, "2026-09-16", q, dayTarget("2026-09-16")},
      // Friday 2027-01-01 lies in ISO week 2026-W53, which starts on Monday 2026-12-28.
      {RelativePage::monday, "2027-01-01", q, dayTarget("2026-12-28")},
      {RelativePage::sunday, "2027-01-01", q, dayTarget("2027-01-03")},
      {RelativePage::monday, "2026-09-20", q, dayTarget("2026-09-14")},  // a Sunday
      {RelativePage::friday, "2026-09-14", q, dayTarget("2026-09-18")},  // a Monday
      {RelativePage::wo, "2027-01-01", q, PageTarget::page(EntryKey::week({2026, 53}))},
      {RelativePage::weekoutcomes, "2026-12-29", c, PageTarget::page(EntryKey::week({2026, 53}))},
      {RelativePage::wo, "2025-12-29", q, PageTarget::page(EntryKey::week({2026, 1}))},
      {RelativePage::mo, "2027-01-01", q, PageTarget::page(EntryKey::month({2027, 1}))},
      {RelativePage::yo, "2026-12-31", c, PageTarget::page(EntryKey::year(2026))},
      {RelativePage::yo, "2026-12-31", q, PageTarget::page(EntryKey::quarter({2026, 4}))},
      {RelativePage::yo, "2027-01-01", q, PageTarget::page(EntryKey::quarter({2027, 1}))},
      {RelativePage::lastfriday, "2027-01-02", q, dayTarget("2027-01-01")},  // Saturday
      {RelativePage::lastfriday, "2027-01-01", q, dayTarget("2026-12-25")},  // Friday itself
      {RelativePage::lastfriday, "2026-01-01", q, dayTarget("2025-12-26")},  // Thursday
      {RelativePage::lastfriday, "2027-01-07", q, dayTarget("2027-01-01")},  // Thursday
      {RelativePage::agenda, "2026-09-16", q, PageTarget::view("agenda")},
      {RelativePage::whynot, "2026-09-16", q, PageTarget::view("whynot")},
      {RelativePage::logit, "2026-09-16", c, PageTarget::view("logit")},
      {RelativePage::hotspots, "2026-09-16", q, PageTarget::view("hotspots")},
  };
  for (const auto& c0 : cases) {
    EXPECT_EQ(resolve(c0.page, dayOf(c0.today), c0.mode), c0.target)
        << rawValue(c0.page) << " on " << c0.today;
  }
}

TEST(PageKey, TextsParseBackToTheSameKey) {
  const std::pair<const char*, PageKey> cases[] = {
      {"day:2026-09-16", PageKey::page(EntryKey::day(dayOf("2026-09-16")))},
      {"week:2026-W38", PageKey::page(EntryKey::week({2026, 38}))},
      {"month:2026-09", PageKey::page(EntryKey::month({2026, 9}))},
      {"quarter:2026-Q3", PageKey::page(EntryKey::quarter({2026, 3}))},
      {"year:2026", PageKey::page(EntryKey::year(2026))},
      {"inbox", PageKey::page(EntryKey::inbox())},
      {"draft:Ideas & plans", PageKey::draft("Ideas & plans")},
      {"calendar", PageKey::fixed(PageKey::Kind::calendar)},
      {"journal", PageKey::fixed(PageKey::Kind::journal)},
      {"drafts", PageKey::fixed(PageKey::Kind::drafts)},
      {"mindsweep", PageKey::fixed(PageKey::Kind::mindsweep)},
      {"map:Career", PageKey::map("Career")},
      {"friday:2026-W38", PageKey::friday({2026, 38})},
      {"monthly:2026-09", PageKey::monthly({2026, 9})},
      {"yearly:2026", PageKey::yearly(2026)},
  };
  for (const auto& [text, key] : cases) {
    EXPECT_EQ(PageKey::parse(text), key) << text;
    EXPECT_EQ(key.text(), text) << text;
  }
  EXPECT_EQ(PageKey::parse("year:+2026"), PageKey::page(EntryKey::year(2026)));
}

TEST(PageKey, MalformedKeysParseToNothing) {
  for (const char* text : {"", "day:", "day:2026-9-16", "day:2026-09-16 ", "Day:2026-09-16",
                           "week:2026-38", "month:2026-13", "quarter:2026-Q5", "year:2026a",
                           "year:", "draft:", "map:", "friday:2026-09-18", "monthly:2026",
                           "yearly:MMXXVI", "Calendar", "inbox:", "2026-09-16", "today"}) {
    EXPECT_EQ(PageKey::parse(text), std::nullopt) << text;
  }
}

TEST(PageLink, LinksCarryTheEncodedKeyAndPerspective) {
  EXPECT_EQ(PageLink::urlFor(EntryKey::day(dayOf("2026-09-16"))),
            "trivo://open?page=day:2026-09-16");
  EXPECT_EQ(PageLink::urlFor(EntryKey::year(2026), "Work"),
            "trivo://open?page=year:2026&persp=Work");
  EXPECT_EQ(PageLink::urlFor(PageKey::fixed(PageKey::Kind::mindsweep)),
            "trivo://open?page=mindsweep");
  EXPECT_EQ(PageLink::urlFor(PageKey::draft("Ideas & más=1?#"), "Deep Work!"),
            "trivo://open?page=draft:Ideas%20%26%20m%C3%A1s%3D1%3F%23&persp=Deep%20Work%21");
}

TEST(PageAddress, AcceptsKeysBareFormsAndRelativeWords) {
  const DayDate today = dayOf("2026-09-16");  // a Wednesday
  const std::pair<const char*, PageTarget> cases[] = {
      {"day:2026-09-16", dayTarget("2026-09-16")},
      {"2026-09-16", dayTarget("2026-09-16")},
      {"2026-W38", PageTarget::page(EntryKey::week({2026, 38}))},
      {"week:2026-W38", PageTarget::page(EntryKey::week({2026, 38}))},
      {"2026-09", PageTarget::page(EntryKey::month({2026, 9}))},
      {"2026-Q3", PageTarget::page(EntryKey::quarter({2026, 3}))},
      {"2026", PageTarget::page(EntryKey::year(2026))},
      {"year:2026", PageTarget::page(EntryKey::year(2026))},
      {"inbox", PageTarget::page(EntryKey::inbox())},
      {"today", dayTarget("2026-09-16")},
      {"Today", dayTarget("2026-09-16")},
      {"yesterday", dayTarget("2026-09-15")},
      {"FRIDAY", dayTarget("2026-09-18")},
      {"lastfriday", dayTarget("2026-09-11")},
      {"wo", PageTarget::page(EntryKey::week({2026, 38}))},
      {"agenda", PageTarget::view("agenda")},
      {"calendar", PageTarget::view("calendar")},
      {"draft:Ideas", PageTarget::view("draft:Ideas")},
      {"friday:2026-W38", PageTarget::view("friday:2026-W38")},
  };
  for (const auto& [text, target] : cases) {
    EXPECT_EQ(parsePageAddress(text, today, YearMode::quarter), target) << text;
  }
  for (const char* text : {"", "2026-9-16", "+2026", "-5", "2026a", "W38", "tomorow", "day",
                           "Inbox ", "days/2026-09-16.md"}) {
    EXPECT_EQ(parsePageAddress(text, today, YearMode::quarter), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace trivo

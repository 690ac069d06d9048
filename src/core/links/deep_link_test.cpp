// Reading "trivo://" links, their rejection rules, and writing values back as links.
#include "core/links/deep_link.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace trivo {
namespace {

using DL = DeepLink;
using Screen = Destination::Screen;

DL openScreen(Screen s) { return DL{DL::Open{Destination::screen(s)}}; }
DL openPage(const EntryKey& key) { return DL{DL::Open{Destination::page(key)}}; }

TEST(DeepLink, ReadsEveryHostAndCase) {
  const struct {
    const char* url;
    DL link;
  } cases[] = {
      {"trivo://debug/reset/cache/", DL{DL::Debug{"reset/cache"}}},
      {"trivo://open?page=calendar", openScreen(Screen::calendar)},
      {"trivo://open?page=agendas", openScreen(Screen::agendas)},
      {"trivo://open?page=day:2026-09-16", openPage(EntryKey::day({2026, 9, 16}))},
      {"trivo://open?page=year%3A%2B2026&persp=Work", openPage(EntryKey::year(2026))},
      {"trivo://open?page=inbox", openPage(EntryKey::inbox())},
      {"trivo://open?page=map:Home", DL{DL::Open{Destination{PageKey::map("Home")}}}},
      {"trivo://open?page=friday:2026-W38",
       DL{DL::Open{Destination{PageKey::friday(ISOWeek{2026, 38})}}}},
      {"trivo://open?page=weeks/2026-W38.md", openPage(EntryKey::week({2026, 38}))},
      {"trivo://open?page=drafts&name=Ideas", DL{DL::OpenDraft{"Ideas"}}},
      {"trivo://open?page=drafts&name=", openScreen(Screen::drafts)},
      {"trivo://open?page=draft:Ideas%20two", DL{DL::OpenDraft{"Ideas two"}}},
      {"trivo://open?page=files&file=notes/a%20b.md", DL{DL::OpenNote{"notes/a b.md"}}},
      {"trivo://open?page=inbox&list=Later", DL{DL::OpenInbox{"later"}}},
      {"trivo://open?page=inbox.org&list=ROUTINE", DL{DL::OpenInbox{"routine"}}},
      {"trivo://open?page=inbox&list=done", openPage(EntryKey::inbox())},
      {"trivo://open?page=yesterday", DL{DL::OpenRelative{RelativePage::yesterday}}},
      {"trivo://open?page=agenda", DL{DL::OpenRelative{RelativePage::agenda}}},
      {"trivo://widget/hold", DL{DL::Widget{DL::WidgetKey::hold}}},
      {"trivo://widget/journal", DL{DL::Widget{DL::WidgetKey::journal}}},
      {"trivo://focus/start", DL{DL::FocusStart{}}},
      {"trivo://focus/start?minutes=1440&slot=2&subject=Deep+work",
       DL{DL::FocusStart{1440, "Deep+work", 2}}},
      {"trivo://focus/start?minutes=1&minutes=0&subject=", DL{DL::FocusStart{1, "", {}}}},
      {"trivo://focus/stop", DL{DL::FocusStop{}}},
      {"trivo://focus/window/", DL{DL::FocusWindow{}}},
      {"trivo://drafts/window", DL{DL::DraftsWindow{}}},
      {"trivo://drafts/window/?name=Ideas", DL{DL::DraftsWindow{"Ideas"}}},
      {"trivo://capture?text=Call%20Ann", DL{DL::Capture{"Call Ann", false, {}}}},
      {"trivo://capture?text=x&pull=true&slot=1", DL{DL::Capture{"x", true, 1}}},
      {"trivo://capture?text=x&pull=1", DL{DL::Capture{"x", true, {}}}},
      {"trivo://capture?text=x&pull=false", DL{DL::Capture{"x", false, {}}}},
      {"trivo://find?q=a%26b#top", DL{DL::Find{"a&b"}}},
      {"trivo://find", DL{DL::Find{""}}},
      {"trivo://license?key=ABC-123", DL{DL::License{"ABC-123"}}},
      {"trivo://licence?key=ABC-123", DL{DL::License{"ABC-123"}}},
      {"trivo-app://widget/start", DL{DL::Widget{DL::WidgetKey::start}}},
      {"trivo-dev://widget/start", DL{DL::Widget{DL::WidgetKey::start}}},
      {"TRIVO://Focus/stop", DL{DL::FocusStop{}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DL::parse(c.url), c.link) << c.url;
  }
}

TEST(DeepLink, RejectsLinksThatBreakARule) {
  for (const char* url : {
           "trivo://focus/start?minutes=0",
           "trivo://focus/start?minutes=1441",
           "trivo://focus/start?minutes=25.5",
           "trivo://focus/start?minutes=",
           "trivo://focus/start?slot=3",
           "trivo://focus/start?slot=-1",
           "trivo://focus/start/",
           "trivo://focus/pause",
           "trivo://focus",
           "trivo://capture?text=x&slot=1",
           "trivo://capture?text=x&pull=false&slot=0",
           "trivo://capture?text=x&pull=yes",
           "trivo://capture?text=x&pull=",
           "trivo://capture?text=x&pull=true&slot=3",
           "trivo://capture?text=",
           "trivo://capture?pull=true",
           "trivo://widget/other",
           "trivo://widget/",
           "trivo://widget",
           "trivo://widget/start/",
           "trivo://drafts",
           "trivo://drafts/other",
           "trivo://debug//",
           "trivo://debug",
           "trivo://open",
           "trivo://open?page=",
           "trivo://open?page=nowhere",
           "trivo://open?page=files",
           "trivo://open?page=day:2026-9-16",
           "trivo://open?page=%zz",
           "trivo://elsewhere/x",
           "trivo:open?page=calendar",
           "trivo:///open?page=calendar",
           "http://open?page=calendar",
           "trivo-beta://open?page=calendar",
           "trivo://debug/%4",
           "trivo://debug/%FF",
           "not a link",
       }) {
    EXPECT_EQ(DL::parse(url), std::nullopt) << url;
  }
}

TEST(DeepLink, RefusesLinksLongerThanEightKibibytes) {
  const std::string head = "trivo://find?q=";
  const std::string longest = head + std::string(DL::kMaxLength - head.size(), 'a');
  EXPECT_EQ(DL::parse(longest), (DL{DL::Find{std::string(DL::kMaxLength - head.size(), 'a')}}));
  EXPECT_EQ(DL::parse(longest + "a"), std::nullopt);
  // Short enough as written, but its canonical writing escapes every blank and would not be.
  const std::string blanks = head + std::string(DL::kMaxLength - head.size(), ' ');
  EXPECT_EQ(DL::parse(blanks), std::nullopt);
}

TEST(DeepLink, WritesCanonicalLinks) {
  EXPECT_EQ(openPage(EntryKey::day({2026, 9, 16})).url(), "trivo://open?page=day:2026-09-16");
  EXPECT_EQ((DL{DL::FocusStart{25, "a b&c", 0}}).url(),
            "trivo://focus/start?minutes=25&subject=a%20b%26c&slot=0");
  EXPECT_EQ((DL{DL::Capture{"1+1=2 #x", true, 2}}).url(),
            "trivo://capture?text=1%2B1%3D2%20%23x&pull=true&slot=2");
  EXPECT_EQ((DL{DL::Debug{"a?b/c"}}).url(), "trivo://debug/a%3Fb/c");
  EXPECT_EQ((DL{DL::OpenInbox{"later"}}).url(), "trivo://open?page=inbox&list=later");
  EXPECT_EQ((DL{DL::License{"k"}}).url(), "trivo://license?key=k");
}

// Strings with the characters that links must escape, and some that must stay as they are.
std::string randomText(std::mt19937& rng, bool allowEmpty) {
  static const std::vector<std::string> pieces = {
      "a", "Z", "9",    " ", "&", "=",   "#",  "%", "+",  "/", "?", ":",
      "@", "é", "日本", "~", ".", "%41", "\t", "'", "\"", "-", "_", "\xF0\x9F\x98\x80"};
  const int length = std::uniform_int_distribution<int>(allowEmpty ? 0 : 1, 12)(rng);
  std::string out;
  for (int i = 0; i < length; ++i) {
    out += pieces[std::uniform_int_distribution<std::size_t>(0, pieces.size() - 1)(rng)];
  }
  return out;
}

template <class T>
T pick(std::mt19937& rng, std::span<const T> values) {
  return values[std::uniform_int_distribution<std::size_t>(0, values.size() - 1)(rng)];
}

std::int64_t between(std::mt19937& rng, std::int64_t low, std::int64_t high) {
  return std::uniform_int_distribution<std::int64_t>(low, high)(rng);
}

bool coin(std::mt19937& rng) { return std::uniform_int_distribution<int>(0, 1)(rng) == 1; }

std::optional<std::string> maybeText(std::mt19937& rng) {
  if (coin(rng)) return std::nullopt;
  return randomText(rng, true);
}

Destination randomDestination(std::mt19937& rng) {
  switch (between(rng, 0, 6)) {
    case 0:
      return Destination::screen(static_cast<Screen>(between(rng, 0, kScreenNames.size() - 1)));
    case 1:
      return Destination::page(
          EntryKey::day(*DayDate::make(between(rng, 1, 9999), between(rng, 1, 12), 1)));
    case 2:
      return Destination::page(EntryKey::week({between(rng, 0, 9999), between(rng, 1, 53)}));
    case 3:
      return Destination::page(EntryKey::quarter({between(rng, 0, 9999), between(rng, 1, 4)}));
    case 4:
      return Destination::page(coin(rng) ? EntryKey::inbox()
                                         : EntryKey::year(between(rng, -5, 1LL << 40)));
    case 5:
      return Destination{PageKey::map(randomText(rng, false))};
    default:
      return Destination{coin(rng) ? PageKey::monthly({between(rng, 0, 9999), between(rng, 1, 12)})
                                   : PageKey::yearly(between(rng, 0, 9999))};
  }
}

// A value of the given case, drawn from everything that parsing can produce.
DL randomLink(std::mt19937& rng, DL::Case kind) {
  const auto slot = [&]() -> std::optional<std::int64_t> {
    if (coin(rng)) return std::nullopt;
    return between(rng, 0, 2);
  };
  switch (kind) {
    case DL::Case::open:
      return DL{DL::Open{randomDestination(rng)}};
    case DL::Case::debug: {
      std::string command = randomText(rng, false);
      while (!command.empty() && command.front() == '/') command.erase(0, 1);
      while (!command.empty() && command.back() == '/') command.pop_back();
      return DL{DL::Debug{command.empty() ? "x" : command}};
    }
    case DL::Case::openDraft:
      return DL{DL::OpenDraft{randomText(rng, false)}};
    case DL::Case::openNote:
      return DL{DL::OpenNote{randomText(rng, false)}};
    case DL::Case::openInbox:
      return DL{DL::OpenInbox{std::string(pick<std::string_view>(rng, DL::kInboxLists))}};
    case DL::Case::openRelative:
      return DL{DL::OpenRelative{static_cast<RelativePage>(between(rng, 0, 20))}};
    case DL::Case::widget:
      return DL{DL::Widget{static_cast<DL::WidgetKey>(between(rng, 0, 5))}};
    case DL::Case::focusStart: {
      DL::FocusStart start{std::nullopt, maybeText(rng), slot()};
      if (coin(rng)) start.minutes = between(rng, 1, 1440);
      return DL{start};
    }
    case DL::Case::draftsWindow:
      return DL{DL::DraftsWindow{maybeText(rng)}};
    case DL::Case::capture: {
      const bool pull = coin(rng);
      return DL{DL::Capture{randomText(rng, false), pull, pull ? slot() : std::nullopt}};
    }
    case DL::Case::find:
      return DL{DL::Find{randomText(rng, true)}};
    case DL::Case::license:
      return DL{DL::License{randomText(rng, true)}};
    case DL::Case::focusStop:
      return DL{DL::FocusStop{}};
    case DL::Case::focusWindow:
      return DL{DL::FocusWindow{}};
  }
  return {};
}

TEST(DeepLink, EveryCaseRoundTripsThroughItsLinkAndItsJson) {
  std::mt19937 rng(20260916);
  for (std::size_t c = 0; c < kDeepLinkCaseNames.size(); ++c) {
    for (int i = 0; i < 300; ++i) {
      const DL link = randomLink(rng, static_cast<DL::Case>(c));
      const std::string url = link.url();
      EXPECT_EQ(DL::parse(url), link) << url;
      const Json j = link;
      EXPECT_EQ(j["case"], kDeepLinkCaseNames[c]) << j.dump();
      EXPECT_EQ(j.get<DL>(), link) << j.dump();
    }
  }
}

TEST(DeepLink, JsonNamesTheCaseThenThePayloadFields) {
  EXPECT_EQ(Json(DL{DL::Capture{"x", true, 1}}).dump(),
            R"({"case":"capture","text":"x","pull":true,"slot":1})");
  EXPECT_EQ(Json(DL{DL::FocusStart{}}).dump(),
            R"({"case":"focusStart","minutes":null,"subject":null,"slot":null})");
  EXPECT_EQ(Json(openPage(EntryKey::month({2026, 9}))).dump(),
            R"({"case":"open","destination":"month:2026-09"})");
  EXPECT_EQ(Json(DL{DL::FocusStop{}}).dump(), R"({"case":"focusStop"})");
  EXPECT_THROW(Json::parse(R"({"case":"teleport"})").get<DL>(), RecordError);
  EXPECT_THROW(Json::parse(R"({"case":"open","destination":"nowhere"})").get<DL>(), RecordError);
}

// The period folders and names are VaultPaths' to read; here only what the link adds to them.
TEST(DeepLink, PageKeyOfAFileGoesByItsFolder) {
  const struct {
    const char* file;
    std::optional<std::string> key;
  } cases[] = {
      {"days/2026-09-16.md", "day:2026-09-16"},
      {"years/+2026.org", "year:2026"},
      {"inbox.md", "inbox"},
      {"inbox.org", "inbox"},
      {"notes.md", std::nullopt},
      {"days/2026-09-16.txt", std::nullopt},
      {"days/2026-09-16", std::nullopt},
      {"notes/2026-09-16.md", std::nullopt},
      {"days/x/2026-09-16.md", std::nullopt},
      {"/days/2026-09-16.md", std::nullopt},
      {"inbox", std::nullopt},
      {"drafts/inbox.md", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DL::pageKey(c.file), c.key) << c.file;
  }
}

TEST(DeepLink, DestinationOfEveryPageWord) {
  for (std::size_t i = 0; i < kScreenNames.size(); ++i) {
    EXPECT_EQ(DL::destination(kScreenNames[i]), Destination::screen(static_cast<Screen>(i)))
        << kScreenNames[i];
  }
  EXPECT_EQ(DL::destination("agenda"), Destination::screen(Screen::agendas));
  EXPECT_EQ(DL::destination("quarter:2026-Q3"), Destination::page(EntryKey::quarter({2026, 3})));
  EXPECT_EQ(DL::destination("map:Home"), Destination{PageKey::map("Home")});
  EXPECT_EQ(DL::destination("yearly:2026"), Destination{PageKey::yearly(2026)});
  for (const char* other : {"", "Calendar", "map:", "draft:Ideas", "yesterday", "day:2026-02-30",
                            "days/2026-09-16.md"}) {
    EXPECT_EQ(DL::destination(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace trivo

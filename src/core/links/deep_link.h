// What a "trivo://" link asks the app to do: reading a link into a DeepLink value and writing a
// value back as its one canonical link. Widgets, pages and other programs open the app this way.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/util/json_fields.h"
#include "core/vault/page_link.h"
#include "core/vault/relative_page.h"

namespace trivo {

// A screen of the app that a link opens: a fixed screen named by a word, or a page named by its
// page key (a period page or the inbox, a map, or a Friday, monthly or yearly review).
struct Destination {
  enum class Screen {
    calendar,
    almanac,
    focus,
    graph,
    find,
    tags,
    drafts,
    onthisday,
    echo,
    agendas,
    matrix,
    year,
    journal,
    mindsweep,
  };

  // A PageKey here is always of kind period, map, friday, monthly or yearly: the other kinds
  // are screens, and a single draft is its own kind of link.
  std::variant<Screen, PageKey> value = Screen::calendar;

  static Destination screen(Screen s) { return {s}; }
  static Destination page(const EntryKey& key) { return {PageKey::page(key)}; }

  // The word or page key that names it: "calendar", "day:2026-09-16", "map:Home".
  [[nodiscard]] std::string pageKey() const;

  bool operator==(const Destination&) const = default;
};

inline constexpr std::array<std::string_view, 14> kScreenNames = {
    "calendar",  "almanac", "focus",   "graph",  "find", "tags",    "drafts",
    "onthisday", "echo",    "agendas", "matrix", "year", "journal", "mindsweep"};

struct DeepLink {
  // A button or tile of a widget.
  enum class WidgetKey { start, stop, hold, focus, capture, journal };

  // Open a screen.
  struct Open {
    Destination destination;
    bool operator==(const Open&) const = default;
  };
  // A debugging command: never empty, and never starts or ends with "/".
  struct Debug {
    std::string command;
    bool operator==(const Debug&) const = default;
  };
  // Open a draft by name (never empty).
  struct OpenDraft {
    std::string name;
    bool operator==(const OpenDraft&) const = default;
  };
  // Open a file of the vault by its path as written in the link (never empty). Nothing here
  // checks that the path stays inside the vault: whoever opens it must.
  struct OpenNote {
    std::string path;
    bool operator==(const OpenNote&) const = default;
  };
  // Open an inbox list: one of kInboxLists.
  struct OpenInbox {
    std::string list;
    bool operator==(const OpenInbox&) const = default;
  };
  // Open a page relative to today.
  struct OpenRelative {
    RelativePage page = RelativePage::yesterday;
    bool operator==(const OpenRelative&) const = default;
  };
  // A tap on a widget key.
  struct Widget {
    WidgetKey key = WidgetKey::start;
    bool operator==(const Widget&) const = default;
  };
  // Start a focus session; minutes 1–1440 and slot 0–2 when given.
  struct FocusStart {
    std::optional<std::int64_t> minutes;
    std::optional<std::string> subject;
    std::optional<std::int64_t> slot;
    bool operator==(const FocusStart&) const = default;
  };
  // Open the drafts window, at a draft when named.
  struct DraftsWindow {
    std::optional<std::string> name;
    bool operator==(const DraftsWindow&) const = default;
  };
  // Capture a line (never empty) into the inbox; when pulled, into today's plan, at a slot 0–2
  // when given. A slot is only ever set together with pull.
  struct Capture {
    std::string text;
    bool pull = false;
    std::optional<std::int64_t> slot;
    bool operator==(const Capture&) const = default;
  };
  // Search the vault.
  struct Find {
    std::string query;
    bool operator==(const Find&) const = default;
  };
  // Enter a licence key.
  struct License {
    std::string key;
    bool operator==(const License&) const = default;
  };
  // Stop the session.
  struct FocusStop {
    bool operator==(const FocusStop&) const = default;
  };
  // Show the focus window.
  struct FocusWindow {
    bool operator==(const FocusWindow&) const = default;
  };

  // The cases in order; `Case` numbers the alternatives of `Payload`.
  enum class Case {
    open,
    debug,
    openDraft,
    openNote,
    openInbox,
    openRelative,
    widget,
    focusStart,
    draftsWindow,
    capture,
    find,
    license,
    focusStop,
    focusWindow,
  };
  using Payload =
      std::variant<Open, Debug, OpenDraft, OpenNote, OpenInbox, OpenRelative, Widget, FocusStart,
                   DraftsWindow, Capture, Find, License, FocusStop, FocusWindow>;

  Payload payload;

  // Longest link, in bytes, that parsing accepts.
  static constexpr std::size_t kMaxLength = 8192;
  // The inbox lists a link may open, as links write them.
  static constexpr std::array<std::string_view, 5> kInboxLists = {"captured", "later", "someday",
                                                                  "waiting", "routine"};
  // Accepted schemes; links are written with the first.
  static constexpr std::array<std::string_view, 3> kSchemes = {"trivo", "trivo-app", "trivo-dev"};

  // Reads a link; nothing when it is not one of ours or breaks one of the rules of its host.
  // Links longer than kMaxLength are refused, and so are links whose canonical writing would
  // be, so that every value that comes out can be written and read back.
  static std::optional<DeepLink> parse(std::string_view url);

  // The canonical link of the value: scheme "trivo", query items in a fixed order, values
  // percent-encoded. For every value that `parse` yields, parse(url()) gives it back.
  [[nodiscard]] std::string url() const;

  // The page key of a vault file given by its path inside the vault: "days/2026-09-16.md" gives
  // "day:2026-09-16", "inbox.org" gives "inbox". Nothing for any other file.
  static std::optional<std::string> pageKey(std::string_view file);

  // The screen a page word or page key names: the screen words ("agenda" also names the
  // agendas), and the page keys of period pages, maps and reviews. Nothing for anything else,
  // including "draft:" keys, which open a draft rather than a screen.
  static std::optional<Destination> destination(std::string_view pageKey);

  [[nodiscard]] Case kind() const { return static_cast<Case>(payload.index()); }

  bool operator==(const DeepLink&) const = default;
};

inline constexpr std::array<std::string_view, 6> kWidgetKeyNames = {"start", "stop",    "hold",
                                                                    "focus", "capture", "journal"};
inline constexpr std::array<std::string_view, 14> kDeepLinkCaseNames = {
    "open",         "debug",   "openDraft",  "openNote",     "openInbox",
    "openRelative", "widget",  "focusStart", "draftsWindow", "capture",
    "find",         "license", "focusStop",  "focusWindow"};

inline std::string_view rawValue(DeepLink::WidgetKey key) {
  return kWidgetKeyNames[static_cast<std::size_t>(key)];
}
inline std::string_view caseName(DeepLink::Case c) {
  return kDeepLinkCaseNames[static_cast<std::size_t>(c)];
}

// A destination is written as its page key: "calendar", "day:2026-09-16".
void to_json(Json& j, const Destination& d);
void from_json(const Json& j, Destination& d);
// {"case": case name, then the payload's fields by name}; a FocusStart with nothing set is
// {"case": "focusStart", "minutes": null, "subject": null, "slot": null}.
void to_json(Json& j, const DeepLink& link);
void from_json(const Json& j, DeepLink& link);

}  // namespace trivo

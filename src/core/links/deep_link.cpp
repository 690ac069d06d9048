// Reading and writing "trivo://" links.
#include "core/links/deep_link.h"

#include <algorithm>
#include <span>

#include "core/calendar/day_date.h"
#include "core/links/url_parts.h"
#include "core/util/percent_encoding.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace {

template <class... Ts>
struct Overloaded : Ts... {
  using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

// ":", "/" and "@" may stand unescaped in a query or path and keep page keys and file paths
// readable; everything else outside the unreserved set is escaped.
std::string encode(std::string_view value) { return percentEncode(value, ":/@"); }

std::string lowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

std::string_view trimSlashes(std::string_view text) {
  const std::size_t first = text.find_first_not_of('/');
  if (first == std::string_view::npos) return {};
  const std::size_t last = text.find_last_not_of('/');
  return text.substr(first, last - first + 1);
}

bool contains(std::span<const std::string_view> names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// An optional whole number within [low, high]: nothing (absent) is fine, a value outside the
// range or not a number makes the link invalid, reported as `false`.
bool readBounded(const UrlParts& url, std::string_view name, std::int64_t low, std::int64_t high,
                 std::optional<std::int64_t>& out) {
  const auto text = url.value(name);
  if (!text) return true;
  const auto number = detail::parseInteger(*text);
  if (!number || *number < low || *number > high) return false;
  out = *number;
  return true;
}

std::optional<DeepLink> parseOpen(const UrlParts& url) {
  const auto page = url.value("page");
  if (!page) return std::nullopt;
  std::string key = *page;
  if (auto fromFile = DeepLink::pageKey(key)) key = std::move(*fromFile);

  if (key == "drafts") {
    if (auto name = url.value("name"); name && !name->empty()) {
      return DeepLink{DeepLink::OpenDraft{std::move(*name)}};
    }
  }
  if (key == "files") {
    if (auto file = url.value("file"); file && !file->empty()) {
      return DeepLink{DeepLink::OpenNote{std::move(*file)}};
    }
  }
  if (key == "inbox") {
    if (auto list = url.value("list")) {
      std::string lower = lowerAscii(*list);
      if (contains(DeepLink::kInboxLists, lower)) {
        return DeepLink{DeepLink::OpenInbox{std::move(lower)}};
      }
    }
  }
  if (auto relative = relativePageFromPageKey(key)) {
    return DeepLink{DeepLink::OpenRelative{*relative}};
  }
  // The page key of a single draft, as page links write it.
  if (auto parsed = PageKey::parse(key); parsed && parsed->kind == PageKey::Kind::draft) {
    return DeepLink{DeepLink::OpenDraft{parsed->name}};
  }
  if (auto destination = DeepLink::destination(key)) {
    return DeepLink{DeepLink::Open{std::move(*destination)}};
  }
  return std::nullopt;
}

std::optional<DeepLink> parseFocus(const UrlParts& url) {
  if (url.path == "/start") {
    DeepLink::FocusStart start;
    if (!readBounded(url, "minutes", 1, 1440, start.minutes)) return std::nullopt;
    if (!readBounded(url, "slot", 0, 2, start.slot)) return std::nullopt;
    start.subject = url.value("subject");
    return DeepLink{std::move(start)};
  }
  if (url.path == "/stop") return DeepLink{DeepLink::FocusStop{}};
  if (url.path == "/window" || url.path == "/window/") return DeepLink{DeepLink::FocusWindow{}};
  return std::nullopt;
}

std::optional<DeepLink> parseCapture(const UrlParts& url) {
  DeepLink::Capture capture;
  auto text = url.value("text");
  if (!text || text->empty()) return std::nullopt;
  capture.text = std::move(*text);
  if (const auto pull = url.value("pull")) {
    if (*pull == "1" || *pull == "true") {
      capture.pull = true;
    } else if (*pull != "0" && *pull != "false") {
      return std::nullopt;
    }
  }
  if (!readBounded(url, "slot", 0, 2, capture.slot)) return std::nullopt;
  // A slot places the line in today's plan, which only a pulled capture reaches.
  if (capture.slot && !capture.pull) return std::nullopt;
  return DeepLink{std::move(capture)};
}

std::optional<DeepLink> parseParts(const UrlParts& url) {
  if (!contains(DeepLink::kSchemes, url.scheme) || !url.host) return std::nullopt;
  const std::string& host = *url.host;
  if (host == "debug") {
    const std::string_view command = trimSlashes(url.path);
    if (command.empty()) return std::nullopt;
    return DeepLink{DeepLink::Debug{std::string(command)}};
  }
  if (host == "open") return parseOpen(url);
  if (host == "widget") {
    if (url.path.empty()) return std::nullopt;
    const auto key = json::enumFromString<DeepLink::WidgetKey>(std::string_view(url.path).substr(1),
                                                               kWidgetKeyNames);
    if (!key) return std::nullopt;
    return DeepLink{DeepLink::Widget{*key}};
  }
  if (host == "focus") return parseFocus(url);
  if (host == "drafts") {
    if (url.path != "/window" && url.path != "/window/") return std::nullopt;
    return DeepLink{DeepLink::DraftsWindow{url.value("name")}};
  }
  if (host == "capture") return parseCapture(url);
  if (host == "license" || host == "licence") {
    return DeepLink{DeepLink::License{url.value("key").value_or("")}};
  }
  if (host == "find") return DeepLink{DeepLink::Find{url.value("q").value_or("")}};
  return std::nullopt;
}

}  // namespace

std::string Destination::pageKey() const {
  return std::visit(
      Overloaded{
          [](Screen s) { return std::string(kScreenNames[static_cast<std::size_t>(s)]); },
          [](const PageKey& key) { return key.text(); },
      },
      value);
}

std::optional<DeepLink> DeepLink::parse(std::string_view url) {
  if (url.size() > kMaxLength) return std::nullopt;
  const auto parts = UrlParts::split(url);
  if (!parts) return std::nullopt;
  auto link = parseParts(*parts);
  // Escaping can make the canonical link longer than the one read; refuse those too, or the
  // value could not be handed on as a link.
  if (!link || link->url().size() > kMaxLength) return std::nullopt;
  return link;
}

std::string DeepLink::url() const {
  const std::string prefix = std::string(kSchemes[0]) + "://";
  return std::visit(
      Overloaded{
          [&](const Open& v) { return prefix + "open?page=" + encode(v.destination.pageKey()); },
          [&](const Debug& v) { return prefix + "debug/" + encode(v.command); },
          [&](const OpenDraft& v) { return prefix + "open?page=drafts&name=" + encode(v.name); },
          [&](const OpenNote& v) { return prefix + "open?page=files&file=" + encode(v.path); },
          [&](const OpenInbox& v) { return prefix + "open?page=inbox&list=" + encode(v.list); },
          [&](const OpenRelative& v) {
            return prefix + "open?page=" + std::string(rawValue(v.page));
          },
          [&](const Widget& v) { return prefix + "widget/" + std::string(rawValue(v.key)); },
          [&](const FocusStart& v) {
            std::string query;
            const auto add = [&query](std::string_view name, const std::string& value) {
              query += query.empty() ? '?' : '&';
              query += name;
              query += '=';
              query += encode(value);
            };
            if (v.minutes) add("minutes", std::to_string(*v.minutes));
            if (v.subject) add("subject", *v.subject);
            if (v.slot) add("slot", std::to_string(*v.slot));
            return prefix + "focus/start" + query;
          },
          [&](const DraftsWindow& v) {
            return prefix + "drafts/window" + (v.name ? "?name=" + encode(*v.name) : "");
          },
          [&](const Capture& v) {
            return prefix + "capture?text=" + encode(v.text) + (v.pull ? "&pull=true" : "") +
                   (v.slot ? "&slot=" + std::to_string(*v.slot) : "");
          },
          [&](const Find& v) { return prefix + "find?q=" + encode(v.query); },
          [&](const License& v) { return prefix + "license?key=" + encode(v.key); },
          [&](const FocusStop&) { return prefix + "focus/stop"; },
          [&](const FocusWindow&) { return prefix + "focus/window"; },
      },
      payload);
}

std::optional<std::string> DeepLink::pageKey(std::string_view file) {
  const std::size_t slash = file.find('/');
  const std::string_view name = slash == std::string_view::npos ? file : file.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const std::string_view extension = name.substr(dot + 1);
  if (extension != "md" && extension != "org") return std::nullopt;
  if (slash == std::string_view::npos) {
    if (name.substr(0, dot) != "inbox") return std::nullopt;
    return pageKeyText(EntryKey::inbox());
  }
  if (name.find('/') != std::string_view::npos) return std::nullopt;
  const VaultPaths paths({}, std::string(extension));
  const auto key = paths.key(file.substr(0, slash), name);
  if (!key) return std::nullopt;
  return pageKeyText(*key);
}

std::optional<Destination> DeepLink::destination(std::string_view pageKey) {
  if (pageKey == "agenda") return Destination::screen(Destination::Screen::agendas);
  if (auto screen = json::enumFromString<Destination::Screen>(pageKey, kScreenNames)) {
    return Destination::screen(*screen);
  }
  const auto key = PageKey::parse(pageKey);
  if (!key) return std::nullopt;
  switch (key->kind) {
    case PageKey::Kind::period:
    case PageKey::Kind::map:
    case PageKey::Kind::friday:
    case PageKey::Kind::monthly:
    case PageKey::Kind::yearly:
      return Destination{*key};
    default:
      return std::nullopt;
  }
}

void to_json(Json& j, const Destination& d) { j = d.pageKey(); }

void from_json(const Json& j, Destination& d) {
  const auto key = json::as<std::string>(j, "destination");
  auto destination = DeepLink::destination(key);
  if (!destination) throw RecordError("\"" + key + "\" is not a screen or page of the app");
  d = std::move(*destination);
}

void to_json(Json& j, const DeepLink& link) {
  j = Json::object();
  j["case"] = std::string(caseName(link.kind()));
  std::visit(
      Overloaded{
          [&](const DeepLink::Open& v) { json::put(j, "destination", v.destination); },
          [&](const DeepLink::Debug& v) { json::put(j, "command", v.command); },
          [&](const DeepLink::OpenDraft& v) { json::put(j, "name", v.name); },
          [&](const DeepLink::OpenNote& v) { json::put(j, "path", v.path); },
          [&](const DeepLink::OpenInbox& v) { json::put(j, "list", v.list); },
          [&](const DeepLink::OpenRelative& v) {
            json::put(j, "page", std::string(rawValue(v.page)));
          },
          [&](const DeepLink::Widget& v) { json::put(j, "key", std::string(rawValue(v.key))); },
          [&](const DeepLink::FocusStart& v) {
            json::put(j, "minutes", v.minutes);
            json::put(j, "subject", v.subject);
            json::put(j, "slot", v.slot);
          },
          [&](const DeepLink::DraftsWindow& v) { json::put(j, "name", v.name); },
          [&](const DeepLink::Capture& v) {
            json::put(j, "text", v.text);
            json::put(j, "pull", v.pull);
            json::put(j, "slot", v.slot);
          },
          [&](const DeepLink::Find& v) { json::put(j, "query", v.query); },
          [&](const DeepLink::License& v) { json::put(j, "key", v.key); },
          [](const DeepLink::FocusStop&) {},
          [](const DeepLink::FocusWindow&) {},
      },
      link.payload);
}

void from_json(const Json& j, DeepLink& link) {
  json::requireObject(j, "DeepLink");
  const auto it = j.find("case");
  if (it == j.end()) throw RecordError("DeepLink has no \"case\"");
  const auto kind = json::enumFromName<DeepLink::Case>(*it, kDeepLinkCaseNames, "DeepLink case");
  switch (kind) {
    case DeepLink::Case::open: {
      DeepLink::Open v;
      json::take(j, "destination", v.destination);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::debug: {
      DeepLink::Debug v;
      json::take(j, "command", v.command);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::openDraft: {
      DeepLink::OpenDraft v;
      json::take(j, "name", v.name);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::openNote: {
      DeepLink::OpenNote v;
      json::take(j, "path", v.path);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::openInbox: {
      DeepLink::OpenInbox v;
      json::take(j, "list", v.list);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::openRelative: {
      DeepLink::OpenRelative v;
      if (const auto page = j.find("page"); page != j.end() && !page->is_null()) {
        v.page = json::enumFromName<RelativePage>(*page, kRelativePageNames, "page");
      }
      link.payload = v;
      break;
    }
    case DeepLink::Case::widget: {
      DeepLink::Widget v;
      if (const auto key = j.find("key"); key != j.end() && !key->is_null()) {
        v.key = json::enumFromName<DeepLink::WidgetKey>(*key, kWidgetKeyNames, "key");
      }
      link.payload = v;
      break;
    }
    case DeepLink::Case::focusStart: {
      DeepLink::FocusStart v;
      json::take(j, "minutes", v.minutes);
      json::take(j, "subject", v.subject);
      json::take(j, "slot", v.slot);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::draftsWindow: {
      DeepLink::DraftsWindow v;
      json::take(j, "name", v.name);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::capture: {
      DeepLink::Capture v;
      json::take(j, "text", v.text);
      json::take(j, "pull", v.pull);
      json::take(j, "slot", v.slot);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::find: {
      DeepLink::Find v;
      json::take(j, "query", v.query);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::license: {
      DeepLink::License v;
      json::take(j, "key", v.key);
      link.payload = std::move(v);
      break;
    }
    case DeepLink::Case::focusStop:
      link.payload = DeepLink::FocusStop{};
      break;
    case DeepLink::Case::focusWindow:
      link.payload = DeepLink::FocusWindow{};
      break;
  }
}

}  // namespace trivo

// Page key texts and in-app links.
#include "core/vault/page_link.h"

#include <array>
#include <utility>

#include "core/util/percent_encoding.h"

namespace trivo {
namespace {

constexpr std::array<std::pair<PageKey::Kind, std::string_view>, 4> kFixedWords = {{
    {PageKey::Kind::calendar, "calendar"},
    {PageKey::Kind::journal, "journal"},
    {PageKey::Kind::drafts, "drafts"},
    {PageKey::Kind::mindsweep, "mindsweep"},
}};

std::optional<std::string_view> after(std::string_view text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return std::nullopt;
  return text.substr(prefix.size());
}

}  // namespace

std::string pageKeyText(const EntryKey& key) {
  if (key.isInbox()) return "inbox";
  return std::string(caseName(key.kind())) + ":" + key.payloadText();
}

std::string PageKey::text() const {
  switch (kind) {
    case Kind::period:
      return period ? pageKeyText(*period) : std::string("inbox");
    case Kind::draft:
      return "draft:" + name;
    case Kind::map:
      return "map:" + name;
    case Kind::friday:
      return "friday:" + (period ? period->payloadText() : std::string());
    case Kind::monthly:
      return "monthly:" + (period ? period->payloadText() : std::string());
    case Kind::yearly:
      return "yearly:" + (period ? period->payloadText() : std::string());
    case Kind::calendar:
    case Kind::journal:
    case Kind::drafts:
    case Kind::mindsweep:
      break;
  }
  for (const auto& [k, word] : kFixedWords) {
    if (k == kind) return std::string(word);
  }
  return {};
}

std::optional<PageKey> PageKey::parse(std::string_view text) {
  if (text == "inbox") return page(EntryKey::inbox());
  for (const auto& [k, word] : kFixedWords) {
    if (text == word) return fixed(k);
  }
  if (auto rest = after(text, "day:")) {
    if (auto d = DayDate::parse(*rest)) return page(EntryKey::day(*d));
    return std::nullopt;
  }
  if (auto rest = after(text, "week:")) {
    if (auto w = ISOWeek::parse(*rest)) return page(EntryKey::week(*w));
    return std::nullopt;
  }
  if (auto rest = after(text, "month:")) {
    if (auto m = YearMonth::parse(*rest)) return page(EntryKey::month(*m));
    return std::nullopt;
  }
  if (auto rest = after(text, "quarter:")) {
    if (auto q = YearQuarter::parse(*rest)) return page(EntryKey::quarter(*q));
    return std::nullopt;
  }
  if (auto rest = after(text, "year:")) {
    if (auto y = parseYearText(*rest)) return page(EntryKey::year(*y));
    return std::nullopt;
  }
  if (auto rest = after(text, "draft:")) {
    if (!rest->empty()) return draft(std::string(*rest));
    return std::nullopt;
  }
  if (auto rest = after(text, "map:")) {
    if (!rest->empty()) return map(std::string(*rest));
    return std::nullopt;
  }
  if (auto rest = after(text, "friday:")) {
    if (auto w = ISOWeek::parse(*rest)) return friday(*w);
    return std::nullopt;
  }
  if (auto rest = after(text, "monthly:")) {
    if (auto m = YearMonth::parse(*rest)) return monthly(*m);
    return std::nullopt;
  }
  if (auto rest = after(text, "yearly:")) {
    if (auto y = parseYearText(*rest)) return yearly(*y);
    return std::nullopt;
  }
  return std::nullopt;
}

std::string PageLink::urlFor(const PageKey& key, const std::optional<std::string>& perspective) {
  std::string url = "trivo://open?page=" + percentEncode(key.text(), ":");
  if (perspective) url += "&persp=" + percentEncode(*perspective);
  return url;
}

}  // namespace trivo

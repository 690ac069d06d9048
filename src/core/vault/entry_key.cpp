// Text forms and JSON of page keys.
#include "core/vault/entry_key.h"

namespace trivo {

std::optional<std::int64_t> parseYearText(std::string_view text) {
  std::string_view digits = text;
  if (!digits.empty() && (digits[0] == '+' || digits[0] == '-')) digits.remove_prefix(1);
  if (digits.empty()) return std::nullopt;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
  }
  return detail::parseInteger(text);
}

std::string EntryKey::payloadText() const {
  return std::visit(
      [](const auto& value) -> std::string {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return {};
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
          return std::to_string(value);
        } else {
          return value.description();
        }
      },
      payload);
}

std::string EntryKey::description() const {
  if (isInbox()) return "inbox";
  return std::string(caseName(kind())) + " " + payloadText();
}

void to_json(Json& j, const EntryKey& key) {
  j = Json::object();
  const char* name = kEntryKeyKindNames[static_cast<std::size_t>(key.kind())].data();
  std::visit(
      [&](const auto& value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          j[name] = Json::object();
        } else {
          json::put(j, name, value);
        }
      },
      key.payload);
}

void from_json(const Json& j, EntryKey& key) {
  json::requireObject(j, "EntryKey");
  if (j.size() != 1) throw RecordError("EntryKey must hold exactly one case");
  const auto it = j.begin();
  const std::string& name = it.key();
  const Json& value = it.value();
  const auto kind = json::enumFromString<EntryKey::Kind>(name, kEntryKeyKindNames);
  if (!kind) throw RecordError("EntryKey case \"" + name + "\" is not one of its cases");
  switch (*kind) {
    case EntryKey::Kind::day:
      key = EntryKey::day(json::as<DayDate>(value, "day"));
      return;
    case EntryKey::Kind::week:
      key = EntryKey::week(json::as<ISOWeek>(value, "week"));
      return;
    case EntryKey::Kind::month:
      key = EntryKey::month(json::as<YearMonth>(value, "month"));
      return;
    case EntryKey::Kind::quarter:
      key = EntryKey::quarter(json::as<YearQuarter>(value, "quarter"));
      return;
    case EntryKey::Kind::year:
      key = EntryKey::year(json::as<std::int64_t>(value, "year"));
      return;
    case EntryKey::Kind::inbox:
      key = EntryKey::inbox();
      return;
  }
}

}  // namespace trivo

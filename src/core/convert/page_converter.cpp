// The record is walked through its JSON form, so that every text field (words of outcomes and
// tasks, notes, journal lines, kept sections, front matter of the person's own) is converted
// without a list of fields that would fall behind when a record grows one.
#include "core/convert/page_converter.h"

#include "core/convert/markup_converter.h"
#include "core/store/page_kind.h"
#include "core/util/json_fields.h"

namespace trivo {
namespace {

template <typename Convert>
void convertStrings(Json& value, const Convert& convert) {
  if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    std::string converted = convert(text);
    if (converted != text) value = std::move(converted);
  } else if (value.is_array() || value.is_object()) {
    for (auto& element : value) convertStrings(element, convert);
  }
}

// The text with the keyword of every Org heading left out ("** WAIT Call" → "** Call").
std::string withoutKeywords(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    const std::size_t stars = line.find_first_not_of('*');
    if (stars != 0 && stars != std::string_view::npos && line[stars] == ' ') {
      std::size_t word = stars + 1;
      while (word < line.size() && line[word] >= 'A' && line[word] <= 'Z') ++word;
      if (word > stars + 1 && (word == line.size() || line[word] == ' ')) {
        out.append(line.substr(0, stars + 1));
        line = line.substr(word == line.size() ? word : word + 1);
      }
    }
    out.append(line);
    out += '\n';
    start = end + 1;
  }
  return out;
}

}  // namespace

PageConverter::PageConverter(YearMode yearMode, VaultFormat from, VaultFormat to)
    : from_(from),
      to_(to),
      reader_(yearMode, TextSyntax{from}),
      writer_(yearMode, TextSyntax{to}) {}

std::string PageConverter::convert(const EntryKey& key, std::string_view text) const {
  if (from_ == to_) return std::string(text);
  return convertWith(key, text, reader_, writer_, to_);
}

std::string PageConverter::convertWith(const EntryKey& key, std::string_view text,
                                       const MarkdownSerializer& reader,
                                       const MarkdownSerializer& writer, VaultFormat to) {
  return withPageKind(key, [&](auto kind, const auto& id) {
    using Kind = decltype(kind);
    using Entry = typename Kind::Entry;
    Json json = Kind::parse(reader, text, id);
    if (to == VaultFormat::org) {
      convertStrings(json, [](std::string_view s) { return MarkupConverter::toOrg(s); });
    } else {
      convertStrings(json, [](std::string_view s) { return MarkupConverter::toMarkdown(s); });
    }
    return Kind::render(writer, json.template get<Entry>());
  });
}

bool PageConverter::comesBack(const EntryKey& key, std::string_view text,
                              std::string_view converted) const {
  if (from_ == to_) return true;
  try {
    const std::string canonical = withPageKind(key, [&](auto kind, const auto& id) {
      return decltype(kind)::render(reader_, decltype(kind)::parse(reader_, text, id));
    });
    const std::string back = convertWith(key, converted, writer_, reader_, from_);
    return withoutKeywords(back) == withoutKeywords(canonical);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace trivo

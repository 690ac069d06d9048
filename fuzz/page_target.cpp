// Reads arbitrary bytes as one kind of page in one syntax (chosen when the target is built:
// TRIVO_PAGE_KIND 0–5 = day, week, month, quarter, year, inbox; TRIVO_PAGE_ORG 0 or 1).
// Whatever reads must write a text that reads again, and writing that second reading must give
// the same text; nothing may crash.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/format/page_serializer.h"
#include "core/format/serializer_error.h"

#ifndef TRIVO_PAGE_KIND
#error "TRIVO_PAGE_KIND names the page kind of this target"
#endif

namespace {

// The texts that differ usually hold control bytes and invalid UTF-8; show every byte.
std::string escaped(std::string_view text) {
  std::string out;
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (c == '\n') {
      out += "\\n\n";
    } else if (c >= 0x20 && c < 0x7f && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02x", c);
      out += hex;
    }
  }
  return out;
}

template <class Parse, class Render>
void roundTrip(std::string_view text, Parse parse, Render render) {
  try {
    const std::string once = render(parse(text));
    const std::string twice = render(parse(once));
    if (twice != once) {
      std::fprintf(stderr, "ONCE<<%s>>\nTWICE<<%s>>\n", escaped(once).c_str(),
                   escaped(twice).c_str());
      std::abort();
    }
  } catch (const trivo::SerializerError&) {
    // Only a page's front matter can refuse it; the text it writes itself never does.
  }
}

const trivo::MarkdownSerializer& serializer() {
  static const trivo::MarkdownSerializer s(
      trivo::YearMode::quarter,
      TRIVO_PAGE_ORG ? trivo::TextSyntax::org : trivo::TextSyntax::markdown);
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto& s = serializer();
  if constexpr (TRIVO_PAGE_KIND == 0) {
    const auto day = *trivo::DayDate::make(2026, 9, 16);
    roundTrip(
        text, [&](std::string_view t) { return s.parseDay(t, day); },
        [&](const trivo::DayEntry& e) { return s.renderDay(e); });
  } else if constexpr (TRIVO_PAGE_KIND == 1) {
    roundTrip(
        text,
        [&](std::string_view t) {
          return s.parseWeek(t, trivo::ISOWeek{2026, 38});
        },
        [&](const trivo::WeekEntry& e) { return s.renderWeek(e); });
  } else if constexpr (TRIVO_PAGE_KIND == 2) {
    roundTrip(
        text,
        [&](std::string_view t) {
          return s.parseMonth(t, trivo::YearMonth{2026, 9});
        },
        [&](const trivo::MonthEntry& e) { return s.renderMonth(e); });
  } else if constexpr (TRIVO_PAGE_KIND == 3) {
    roundTrip(
        text,
        [&](std::string_view t) {
          return s.parseQuarter(t, trivo::YearQuarter{2026, 3});
        },
        [&](const trivo::QuarterEntry& e) { return s.renderQuarter(e); });
  } else if constexpr (TRIVO_PAGE_KIND == 4) {
    roundTrip(
        text, [&](std::string_view t) { return s.parseYear(t, 2026); },
        [&](const trivo::YearEntry& e) { return s.renderYear(e); });
  } else {
    roundTrip(
        text, [&](std::string_view t) { return s.parseInbox(t); },
        [&](const trivo::Inbox& e) { return s.renderInbox(e); });
  }
  return 0;
}

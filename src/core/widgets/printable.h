// Text from the live state made safe to print: the record is written by another process and may
// hold escape sequences that a terminal or a status bar would obey instead of showing.
#pragma once

#include <string>
#include <string_view>

namespace trivo::widgets {

// `text` with every character that a terminal would act on replaced: tabs and line breaks
// (including U+2028 and U+2029) become a space; the other C0 controls, DEL, the C1 controls
// (U+0080 to U+009F), the bidirectional overrides and isolates (U+202A to U+202E, U+2066 to
// U+2069) and bytes that are not UTF-8 become U+FFFD. Everything else is kept as it is.
std::string printableText(std::string_view text);

}  // namespace trivo::widgets

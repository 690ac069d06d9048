// Reads arbitrary text as a hand-written Org file for the agenda and for search. Reading never
// fails, every entry lies in the asked range, and a heading's words never hold a line end.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/agenda/org_file_reader.h"
#include "core/search/search_lines.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const trivo::DayDate from{2026, 9, 1};
  const trivo::DayDate through{2026, 10, 31};
  (void)trivo::OrgFileReader::keywords(text, "TODO NEXT | DONE");
  for (const trivo::AgendaItem& item : trivo::OrgFileReader::items(text, "f.org", from, through)) {
    if (item.day < from || through < item.day) std::abort();
    if (item.text.find('\n') != std::string::npos) std::abort();
  }
  std::size_t last = 0;
  for (const trivo::SearchLine& line :
       trivo::searchLines(text, trivo::VaultFormat::org, std::nullopt)) {
    if (line.number != last + 1 || line.text.find('\n') != std::string_view::npos) std::abort();
    last = line.number;
  }
  return 0;
}

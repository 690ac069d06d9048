// Reads arbitrary text as a captured line. Whatever it reads, the remaining text must be made of
// the line's own words, in their order, with single blanks between them, and reading must not
// depend on anything but the line and the day.
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/inbox/capture_phrase.h"

namespace {

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> out;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    const std::size_t start = i;
    while (i < text.size() && !std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    if (i > start) out.push_back(text.substr(start, i - start));
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  const trivo::DayDate today{2026, 11, 25};
  const trivo::CapturePhrase reading = trivo::CapturePhrase::read(line, today);
  if (!(trivo::CapturePhrase::read(line, today) == reading)) std::abort();

  const std::string& text = reading.text;
  if (!text.empty() && (std::isspace(static_cast<unsigned char>(text.front())) ||
                        std::isspace(static_cast<unsigned char>(text.back())))) {
    std::abort();
  }
  if (text.find("  ") != std::string::npos) std::abort();
  // The remaining words are a subsequence of the line's words.
  const auto lineWords = words(line);
  std::size_t at = 0;
  for (std::string_view w : words(text)) {
    while (at < lineWords.size() && lineWords[at] != w) ++at;
    if (at == lineWords.size()) std::abort();
    ++at;
  }
  // Relative days never land before today; only a day written with its year may.
  if (reading.due && *reading.due < today &&
      line.find(std::to_string(reading.due->year)) == std::string_view::npos) {
    std::abort();
  }
  return 0;
}

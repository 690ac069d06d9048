// Reads arbitrary bytes as a link; whatever parses must come back unchanged through its own
// canonical link, and that link must be stable.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/links/deep_link.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto link = trivo::DeepLink::parse(text);
  if (!link) return 0;
  const std::string url = link->url();
  const auto again = trivo::DeepLink::parse(url);
  if (!again || !(*again == *link) || again->url() != url) std::abort();
  // Writing the value as JSON and reading it back must not lose anything either.
  const trivo::Json j = *link;
  if (!(j.get<trivo::DeepLink>() == *link)) std::abort();
  // Link text is always UTF-8, so printing it as JSON cannot fail.
  (void)j.dump();
  return 0;
}

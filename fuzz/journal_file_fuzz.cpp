// Reads arbitrary text as a journal in each syntax: it is refused with ImportError or read, and a
// Markdown journal that reads is written back to text that reads as the same entries.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/imports/journal_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  using Syntax = trivo::JournalFile::Syntax;
  for (Syntax syntax : {Syntax::plain, Syntax::markdown, Syntax::org}) {
    for (trivo::VaultFormat to : {trivo::VaultFormat::markdown, trivo::VaultFormat::org}) {
      try {
        const auto read = trivo::JournalFile::read(text, syntax, to, "fuzz");
        if (read.entries.empty()) std::abort();
        if (syntax == Syntax::markdown && to == trivo::VaultFormat::markdown) {
          const auto again = trivo::JournalFile::read(trivo::JournalFile::write(read.entries, to),
                                                      syntax, to, "fuzz");
          if (again.entries != read.entries) std::abort();
        }
      } catch (const trivo::ImportError&) {
      }
    }
  }
  return 0;
}

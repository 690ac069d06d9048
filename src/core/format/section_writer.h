// Lays out the sections of one page: the preamble, then each known section under its heading
// with its rendered body and the text kept from reading it, and the unknown sections where
// they stood.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/format/section_reader.h"
#include "core/format/text_syntax.h"
#include "core/records/passthrough.h"

namespace trivo {

class SectionWriter {
 public:
  // Keeps a reference to `pass`, which must outlive the writer.
  SectionWriter(TextSyntax syntax, const Passthrough& pass) : syntax_(syntax), pass_(pass) {}

  // The page text from `preamble` and, for each known section in order, a block at `level` whose
  // heading is the section's title (with the tags it carried when read) and whose body is
  // bodies[key] followed by the section's kept tail; after each section (and after the preamble)
  // the unknown sections that followed it. Keys are looked up as SectionReader::sectionKey(path,
  // key); `bodies` is keyed by the bare key. Parts are separated by one blank line.
  [[nodiscard]] std::string write(int level, std::string_view path,
                                  std::span<const KnownSection> known,
                                  const std::map<std::string, std::string, std::less<>>& bodies,
                                  std::string_view preamble) const;

  // The raw texts of the unknown sections that followed the section with key `after`.
  [[nodiscard]] std::vector<std::string> unknown(std::string_view after) const;

 private:
  TextSyntax syntax_;
  const Passthrough& pass_;
};

}  // namespace trivo

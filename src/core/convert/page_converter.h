// Turns the text of one page from one syntax into the other: the page is read as its record in
// the old syntax, the text the person wrote inside it has its marks rewritten, and the record is
// written in the new syntax.
#pragma once

#include <string>
#include <string_view>

#include "core/config/year_mode.h"
#include "core/format/page_serializer.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault_format.h"

namespace trivo {

class PageConverter {
 public:
  PageConverter(YearMode yearMode, VaultFormat from, VaultFormat to);

  [[nodiscard]] VaultFormat from() const { return from_; }
  [[nodiscard]] VaultFormat to() const { return to_; }

  // The page's text in the target syntax. Throws SerializerError when the text does not read as
  // the page `key` names (it is then not converted at all).
  [[nodiscard]] std::string convert(const EntryKey& key, std::string_view text) const;

  // Whether `converted` (this converter's result for `text`) converts back to the page as one
  // read and write in its own syntax leaves it, apart from the keyword an Org outcome heading
  // carries (Markdown keeps only the state). False means the new syntax has no place for
  // something the page holds, such as the drawers of an Org heading item. Never throws.
  [[nodiscard]] bool comesBack(const EntryKey& key, std::string_view text,
                               std::string_view converted) const;

 private:
  static std::string convertWith(const EntryKey& key, std::string_view text,
                                 const MarkdownSerializer& reader, const MarkdownSerializer& writer,
                                 VaultFormat to);

  VaultFormat from_;
  VaultFormat to_;
  MarkdownSerializer reader_;
  MarkdownSerializer writer_;
};

}  // namespace trivo

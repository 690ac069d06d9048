// The store's view of the page serializer: the blank template of each page, and what keeps a
// page's text from being read (front matter naming another period, or a broken front matter).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/format/page_serializer.h"
#include "core/store/vault_store.h"

namespace trivo {

class SerializerCodec final : public PageCodec {
 public:
  explicit SerializerCodec(MarkdownSerializer serializer) : serializer_(std::move(serializer)) {}
  // The codec of a vault: its format's syntax and the year mode of its settings.
  static std::shared_ptr<const SerializerCodec> forVault(const Vault& vault, YearMode yearMode);

  [[nodiscard]] std::string blankText(const EntryKey& key) const override;
  [[nodiscard]] std::optional<ReadProblem> check(const EntryKey& key,
                                                 std::string_view text) const override;

  [[nodiscard]] const VaultSerializer* serializer() const override { return &serializer_; }
  // The page's text as it is after one read and write. Throws SerializerError when it does not
  // read.
  [[nodiscard]] std::string rewrite(const EntryKey& key, std::string_view text) const;

 private:
  MarkdownSerializer serializer_;
};

}  // namespace trivo

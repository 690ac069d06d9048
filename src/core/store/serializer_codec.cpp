// Blank templates and read checks of pages through the serializer.
#include "core/store/serializer_codec.h"

#include "core/format/serializer_error.h"
#include "core/store/page_kind.h"

namespace trivo {

std::shared_ptr<const SerializerCodec> SerializerCodec::forVault(const Vault& vault,
                                                                 YearMode yearMode) {
  return std::make_shared<const SerializerCodec>(
      MarkdownSerializer(yearMode, TextSyntax{vault.format}));
}

std::string SerializerCodec::blankText(const EntryKey& key) const {
  return withPageKind(
      key, [this](auto kind, const auto& id) { return kind.render(serializer_, kind.blank(id)); });
}

std::string SerializerCodec::rewrite(const EntryKey& key, std::string_view text) const {
  return withPageKind(key, [this, text](auto kind, const auto& id) {
    return kind.render(serializer_, kind.parse(serializer_, text, id));
  });
}

std::optional<ReadProblem> SerializerCodec::check(const EntryKey& key,
                                                  std::string_view text) const {
  try {
    withPageKind(
        key, [this, text](auto kind, const auto& id) { (void)kind.parse(serializer_, text, id); });
  } catch (const SerializerError& e) {
    if (e.kind() == SerializerError::Case::identityMismatch) {
      return ReadProblem::identity(e.expected(), e.found());
    }
    return ReadProblem::of(ReadProblem::Kind::frontmatter, e.what());
  }
  return std::nullopt;
}

}  // namespace trivo

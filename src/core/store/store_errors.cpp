// The store's errors.
#include "core/store/store_errors.h"

namespace trivo {

PageReadError::PageReadError(EntryKey key, ReadProblem problem)
    : std::runtime_error(key.description() + " cannot be read: " +
                         std::string(kReadProblemNames[static_cast<std::size_t>(problem.kind)])),
      key_(std::move(key)),
      problem_(std::move(problem)) {}

VaultError::VaultError(Kind kind, std::optional<EntryKey> key, std::optional<VaultFormat> format,
                       const std::string& message)
    : std::runtime_error(message), kind_(kind), key_(std::move(key)), format_(format) {}

VaultError VaultError::changedOnDisk(const EntryKey& key) {
  return {Kind::changedOnDisk, key, std::nullopt, key.description() + " changed on disk"};
}

VaultError VaultError::unsupportedFormat(VaultFormat format) {
  return {Kind::unsupportedFormat, std::nullopt, format,
          "the page format " + std::string(rawValue(format)) + " is not supported"};
}

VaultError VaultError::notDownloaded(const EntryKey& key) {
  return {Kind::notDownloaded, key, std::nullopt, key.description() + " is not on this device yet"};
}

}  // namespace trivo

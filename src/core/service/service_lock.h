// One service per vault: an exclusive lock on a file in the group folder, named after the vault,
// holding the process id of its owner so that a second service can say who holds the vault.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

namespace trivo {

class ServiceLock {
 public:
  // The lock file of a vault in the group folder: "service-" + a digest of the vault's real path
  // + ".lock", so that two spellings of one folder share one lock.
  // 16 hex digits of a digest of the vault's real path: the vault's name in private files.
  static std::string vaultTag(const std::filesystem::path& vault);
  static std::filesystem::path fileFor(const std::filesystem::path& groupFolder,
                                       const std::filesystem::path& vault);

  // Takes the lock without waiting and writes this process's id into it. Nothing when another
  // process holds it (or the file cannot be opened).
  static std::optional<ServiceLock> acquire(const std::filesystem::path& file);
  // The process that holds the lock; nothing when nobody does. Never takes the lock.
  static std::optional<pid_t> holder(const std::filesystem::path& file);

  ServiceLock(ServiceLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  ServiceLock& operator=(ServiceLock&&) = delete;
  ServiceLock(const ServiceLock&) = delete;
  ServiceLock& operator=(const ServiceLock&) = delete;
  // Releases the lock; the file stays (removing it would race a second service opening it).
  ~ServiceLock();

 private:
  explicit ServiceLock(int fd) : fd_(fd) {}
  int fd_;
};

}  // namespace trivo

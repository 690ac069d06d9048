// One Syncthing instance for end-to-end tests: its own home in a temporary folder, listening on a
// free loopback port, with discovery, relays and NAT traversal off so that it only ever talks to
// the peer it is given.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "testing/process.h"

namespace trivo::testing {

class SyncthingDevice {
 public:
  // The syncthing program on PATH; nothing when it is not installed.
  static std::optional<std::filesystem::path> program();

  // Generates a home (keys and certificate) under `home`. Throws std::runtime_error when
  // syncthing cannot generate one.
  explicit SyncthingDevice(std::filesystem::path home);
  ~SyncthingDevice();
  SyncthingDevice(const SyncthingDevice&) = delete;
  SyncthingDevice& operator=(const SyncthingDevice&) = delete;

  [[nodiscard]] const std::string& id() const { return id_; }
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] std::string address() const;

  // Writes the configuration: one folder `folderId` at `path`, shared with `peer`. Only one of
  // the two sides may be given the other's address (`dialPeer`): when both dial at once their
  // handshakes collide and time out.
  void share(const std::string& folderId, const std::filesystem::path& path,
             const SyncthingDevice& peer, bool dialPeer);
  // Starts `syncthing serve`; its output goes to log() so that a failing test can show it.
  void start();
  // Stops it and waits (bounded) for it to exit, so that its database is unlocked.
  void stop();
  [[nodiscard]] std::filesystem::path log() const { return home_ / "serve.log"; }
  // The last lines of the log, for failure messages.
  [[nodiscard]] std::string logTail(std::size_t lines = 30) const;

 private:
  std::filesystem::path home_;
  std::string id_;
  int port_ = 0;
  std::unique_ptr<BackgroundProcess> process_;
};

// A TCP port on 127.0.0.1 that was free a moment ago.
int freeLoopbackPort();

}  // namespace trivo::testing

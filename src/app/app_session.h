// One open vault in the window: the vault's service running on its own thread (the window is
// then the vault's one owner), or, when another process already serves the vault, a store of its
// own with focus orders sent to that process. Outside edits arrive as Qt signals.
#pragma once

#include <QObject>
#include <QString>
#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include "core/focus/live_state.h"
#include "core/platform/clock.h"
#include "core/vault/entry_key.h"

namespace trivo {

class VaultStore;
class VaultService;
class ServiceLock;

namespace app {

class AppSession final : public QObject {
  Q_OBJECT
 public:
  struct Options {
    std::filesystem::path root;
    // Time for the day, the journal stamps and the timer; null: the service clock of the
    // environment (the system clock unless TRIVO_SERVICE_CLOCK is set).
    const Clock* clock = nullptr;
    // Take the vault's service lock and run the service in this process when nobody holds it.
    bool serve = true;
    // How often the store's streams are looked at from their waiting thread.
    std::chrono::milliseconds streamWait{200};
  };

  // Opens the vault. Throws std::runtime_error with one sentence when the folder is missing or
  // the settings cannot give a clock.
  explicit AppSession(Options options);
  ~AppSession() override;
  AppSession(const AppSession&) = delete;
  AppSession& operator=(const AppSession&) = delete;

  VaultStore& store();
  [[nodiscard]] const Clock& clock() const { return *clock_; }
  [[nodiscard]] const std::filesystem::path& root() const { return root_; }
  // True when this process runs the vault's service; false for a viewer of another one's.
  [[nodiscard]] bool isOwner() const { return service_ != nullptr; }
  // Why this window could not take the vault's service, when it could not and nobody else
  // holds it; empty otherwise.
  [[nodiscard]] const std::string& serviceProblem() const { return serviceProblem_; }
  // The process that serves the vault when this one only views it.
  [[nodiscard]] std::optional<long> servedBy() const { return servedBy_; }
  // Hands a focus order to whoever runs the timer, through the command file both read.
  void sendFocus(LiveState::Order order) const;

 Q_SIGNALS:
  // A page changed (written by someone else, or by the service's own thread).
  void pageChanged(int kind);
  // The settings file changed.
  void settingsChanged();
  // The service stopped on its own (the vault folder vanished); the reason is one sentence.
  void serviceEnded(const QString& reason);

 private:
  void watchStreams();

  std::filesystem::path root_;
  std::unique_ptr<Clock> ownClock_;
  const Clock* clock_ = nullptr;
  std::unique_ptr<ServiceLock> lock_;
  std::unique_ptr<VaultService> service_;
  std::unique_ptr<VaultStore> viewerStore_;
  std::optional<long> servedBy_;
  std::string serviceProblem_;
  std::thread serviceThread_;
  std::thread streamThread_;
  std::atomic<bool> quit_{false};
};

}  // namespace app
}  // namespace trivo

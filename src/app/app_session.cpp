// The vault's service on a thread of the window, or a viewer's store beside another process's.
#include "app/app_session.h"

#include <QMetaObject>
#include <iostream>
#include <stdexcept>

#include "core/config/config_store.h"
#include "core/focus/audio_sink.h"
#include "core/focus/tick_player.h"
#include "core/platform/device_identity.h"
#include "core/search/search_index.h"
#include "core/service/service_lock.h"
#include "core/service/service_setup.h"
#include "core/service/vault_service.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "core/vault/vault_locator.h"

namespace trivo::app {

namespace fs = std::filesystem;

namespace {

// A damaged settings file must not keep the window from opening: its pages read as quarters.
YearMode yearModeOf(const fs::path& root) {
  try {
    return ConfigStore(root, ConfigStore::defaultDeviceURL()).load().yearMode;
  } catch (const std::exception&) {
    return YearMode::quarter;
  }
}

}  // namespace

AppSession::AppSession(Options options) : root_(std::move(options.root)) {
  std::error_code ec;
  if (!fs::is_directory(root_, ec)) {
    throw std::runtime_error("There is no vault folder at " + root_.string() +
                             "; create it with trivo init or name another with --vault.");
  }
  if (options.clock) {
    clock_ = options.clock;
  } else {
    try {
      ownClock_ = serviceClockFromEnvironment();
    } catch (const std::invalid_argument& e) {
      throw std::runtime_error(e.what());
    }
    clock_ = ownClock_.get();
  }

  std::optional<fs::path> lockFile = options.serve ? serviceLockFile(root_) : std::nullopt;
  if (options.serve && !lockFile) {
    serviceProblem_ =
        "No private folder for the service's lock, so the focus timer does not run here; set "
        "XDG_RUNTIME_DIR or TRIVO_GROUP_DIR to a folder of your own.";
  }
  if (lockFile) {
    if (auto lock = ServiceLock::acquire(*lockFile)) {
      lock_ = std::make_unique<ServiceLock>(std::move(*lock));
    } else if (const auto pid = ServiceLock::holder(*lockFile)) {
      servedBy_ = static_cast<long>(*pid);
    }
  }
  if (lock_) {
    VaultService::Options so;
    so.root = root_;
    so.clock = clock_;
    so.log = &std::cerr;
    // Qt owns the process's signals; the window stops the service itself on the way out.
    so.handleSignals = false;
    so.openSound = [] { return openPulseSink(TickPlayer::kSampleRate, "Trivo focus"); };
    // The Search screen then finds only the pages of the last two seconds left to read.
    if (auto cache = SearchIndex::defaultCacheFolder()) so.searchCache = *cache;
    service_ = std::make_unique<VaultService>(so);
    serviceThread_ = std::thread([this] {
      const int code = service_->run();
      if (code != 0 && !quit_) {
        QMetaObject::invokeMethod(
            this,
            [this] {
              Q_EMIT serviceEnded(QString::fromStdString(
                  "The vault folder " + root_.string() +
                  " disappeared; what is open stays on screen, and nothing more can be saved "
                  "until it is back."));
            },
            Qt::QueuedConnection);
      }
    });
  } else {
    const Vault vault{root_, detectVaultFormat(root_), "en", std::nullopt};
    VaultStore::Options so;
    so.clock = clock_;
    so.codec = SerializerCodec::forVault(vault, yearModeOf(root_));
    so.cloud = std::make_shared<FileCloudSignal>(root_, DeviceIdentity::current(), *clock_);
    viewerStore_ = std::make_unique<VaultStore>(vault, so);
  }
  watchStreams();
}

AppSession::~AppSession() {
  quit_ = true;
  if (streamThread_.joinable()) streamThread_.join();
  if (service_) {
    service_->requestStop();
    if (serviceThread_.joinable()) serviceThread_.join();
  }
}

VaultStore& AppSession::store() { return service_ ? service_->store() : *viewerStore_; }

void AppSession::sendFocus(LiveState::Order order) const {
  // The command's age is judged by the reader's real clock, whatever time the timer keeps.
  order.at = SystemClock::shared().now();
  LiveState::send(order);
}

void AppSession::watchStreams() {
  auto changes = store().changes();
  auto saves = store().saves();
  auto config = store().configChanges();
  const auto wait = std::chrono::milliseconds(50);
  streamThread_ = std::thread([this, changes, saves, config, wait] {
    while (!quit_) {
      bool settings = false;
      std::optional<int> kind;
      if (auto key = changes->next(wait)) kind = static_cast<int>(key->kind());
      while (auto key = changes->poll()) kind = static_cast<int>(key->kind());
      while (auto key = saves->poll()) kind = static_cast<int>(key->kind());
      while (config->poll()) settings = true;
      if (kind) {
        QMetaObject::invokeMethod(
            this, [this, k = *kind] { Q_EMIT pageChanged(k); }, Qt::QueuedConnection);
      }
      if (settings) {
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT settingsChanged(); }, Qt::QueuedConnection);
      }
    }
  });
}

}  // namespace trivo::app

// Reports changes of the files under a vault: pages by key, the settings file, and other files.
// Events only mark a path dirty; a dirty path is reported once it has been quiet for a moment, so
// an editor's delete-and-recreate or backup-and-rename save reads as one change.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <thread>

#include "core/vault/entry_key.h"
#include "core/vault/vault_paths.h"

namespace trivo {

class FileWatcher {
 public:
  struct Callbacks {
    std::function<void(const EntryKey&)> onChange;
    std::function<void()> onConfig;
    std::function<void(const std::filesystem::path&)> onOther;
    // Events were lost (queue overflow, an unknown watch, the root moved): re-check everything.
    std::function<void()> mustScan;
  };

  // Callbacks run on the watcher's own thread, one at a time.
  FileWatcher(VaultPaths paths, Callbacks callbacks,
              std::chrono::milliseconds quiet = std::chrono::milliseconds(50));
  ~FileWatcher();
  FileWatcher(const FileWatcher&) = delete;
  FileWatcher& operator=(const FileWatcher&) = delete;

  // Watches every folder under the root (folders created later too). When the system's watch
  // limit is reached it warns once, naming fs.inotify.max_user_watches, and polls instead.
  void start();
  // Stops and joins the thread; no callback runs after it returns.
  void stop();

  // Files that are nobody's data: our scratch files and other tools' temporaries.
  static bool isIgnoredName(std::string_view name);

 private:
  struct State;
  void run();
  void dispatch(const std::filesystem::path& path);

  VaultPaths paths_;
  Callbacks callbacks_;
  std::chrono::milliseconds quiet_;
  std::unique_ptr<State> state_;
  std::thread thread_;
};

}  // namespace trivo

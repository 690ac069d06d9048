// Cue announcements on Linux: libnotify for notifications, spd-say or espeak-ng for speech.
#include <libnotify/notify.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "core/focus/cue_announcer.h"
#include "core/platform/shared_library.h"

extern char** environ;

namespace trivo {

namespace fs = std::filesystem;

void CueAnnouncer::announce(const Cue& cue, const std::string& text, double volume) {
  if (player_ && !cue.sound.empty()) {
    try {
      player_->cue(cue.sound, volume);
    } catch (const SoundError&) {
      // The cue still notifies and speaks below.
    }
  }
  if (cue.notify) notify("Trivo", text);
  if (cue.speak) speak(text);
}

bool CueAnnouncer::notify(const std::string& summary, const std::string& body) {
  // Without a session bus libnotify cannot reach a notification service; asking would only wait.
  if (!std::getenv("DBUS_SESSION_BUS_ADDRESS") && !std::getenv("XDG_RUNTIME_DIR")) return false;
  // Loaded on the first notification: libnotify brings GLib, GIO and GDK-Pixbuf with it.
  static SharedLibrary libnotify("libnotify.so.4");
  static std::once_flag once;
  static bool ready = false;
  std::call_once(once, [] {
    try {
      ready = libnotify.function<decltype(notify_init)>("notify_init")("Trivo") != 0;
    } catch (const SharedLibraryError&) {
      ready = false;  // no libnotify installed: like no notification service
    }
  });
  if (!ready) return false;
  NotifyNotification* note = libnotify.function<decltype(notify_notification_new)>(
      "notify_notification_new")(summary.c_str(), body.c_str(), nullptr);
  const bool shown = libnotify.function<decltype(notify_notification_show)>(
                         "notify_notification_show")(note, nullptr) != 0;
  // GObject's unref, found through libnotify's own dependencies.
  libnotify.function<decltype(g_object_unref)>("g_object_unref")(note);
  return shown;
}

std::optional<std::string> CueAnnouncer::speechCommand() {
  const char* path = std::getenv("PATH");
  if (!path) return std::nullopt;
  for (std::string_view program : {"spd-say", "espeak-ng"}) {
    std::string_view rest = path;
    while (!rest.empty()) {
      const auto colon = rest.find(':');
      const std::string_view folder = rest.substr(0, colon);
      const fs::path candidate = fs::path(folder) / program;
      if (!folder.empty() && access(candidate.c_str(), X_OK) == 0) return candidate.string();
      if (colon == std::string_view::npos) break;
      rest.remove_prefix(colon + 1);
    }
  }
  return std::nullopt;
}

bool CueAnnouncer::speak(const std::string& text) {
  const auto command = speechCommand();
  if (!command) return false;
  std::vector<std::string> args{*command, text};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawn(&pid, command->c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
    return false;
  }
  // Reap the speaker in the background so that it never lingers as a zombie.
  std::thread([pid] { waitpid(pid, nullptr, 0); }).detach();
  return true;
}

}  // namespace trivo

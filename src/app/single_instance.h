// One window per vault. A later `trivo-app` for a vault that already has a window hands its
// link to that window and ends, so a trivo:// link opened from a browser, a widget or a desktop
// shortcut lands in the window the person is using instead of a second copy of it.
#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <filesystem>
#include <optional>

namespace trivo::app {

class AppWindow;

class SingleInstance final : public QObject {
  Q_OBJECT
 public:
  // The socket of a vault's window: beside the service's lock, in the user's private folder;
  // nothing when there is no such folder.
  static std::optional<std::filesystem::path> socketFor(const std::filesystem::path& vault);

  // Hands `url` (empty: only bring the window forward) to the window listening at `socket`.
  // False when no window listens there, or it did not take the link within a second.
  static bool forward(const std::filesystem::path& socket, const QString& url);

  // Listens at `socket` for later starts and opens their links in `window`. A socket left by a
  // window that is gone is replaced; false, with nothing listening, when the socket cannot be
  // made.
  SingleInstance(AppWindow& window, const std::filesystem::path& socket);
  [[nodiscard]] bool listening() const { return server_.isListening(); }

 Q_SIGNALS:
  // A link came in from a later start (after it was opened).
  void received(const QString& url);

 private:
  void accept();

  AppWindow& window_;
  QLocalServer server_;
};

}  // namespace trivo::app

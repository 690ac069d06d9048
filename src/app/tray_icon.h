// The tray icon (a StatusNotifierItem on Linux desktops): the running session in its tooltip and
// menu, quick capture, the focus toggle, and showing the window.
#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QWindow>

namespace trivo::app {

class AppWindow;

class TrayIcon final : public QObject {
  Q_OBJECT
 public:
  // Does nothing visible when the desktop has no tray.
  TrayIcon(AppWindow& window, QObject* parent = nullptr);

  // The line the tooltip and the menu's first entry show: "Focus: 12:34 left", else "No session".
  [[nodiscard]] QString sessionText() const;

 private:
  void update();
  void showWindow(const QString& screen, bool capture);

  AppWindow& window_;
  QSystemTrayIcon icon_;
  QMenu menu_;
  QAction* session_ = nullptr;
  QAction* toggle_ = nullptr;
};

}  // namespace trivo::app

// trivo-app: the desktop window. `trivo-app [--vault DIR] [trivo://…]`.
#include <QApplication>
#include <QCommandLineParser>
#include <QQuickWindow>
#include <iostream>
#include <memory>

#include "app/app_session.h"
#include "app/app_window.h"
#include "app/single_instance.h"
#include "app/tray_icon.h"
#include "core/vault/vault_locator.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName("Trivo");
  QApplication::setDesktopFileName("trivo-app");
  // The window stays in the tray when closed while a session may be running.
  QApplication::setQuitOnLastWindowClosed(false);

  QCommandLineParser parser;
  parser.setApplicationDescription("Trivo: Today, Inbox, the period pages, Focus and Search.");
  parser.addHelpOption();
  QCommandLineOption vaultOption("vault", "The vault folder.", "DIR");
  parser.addOption(vaultOption);
  // For timing a start and for a packager's smoke test: the whole start, then out.
  QCommandLineOption drawnOption("quit-when-drawn", "Quit once the first frame of Today is drawn.");
  parser.addOption(drawnOption);
  parser.addPositionalArgument("url", "A trivo:// link to open.", "[url]");
  parser.process(application);

  std::optional<std::string> vault;
  if (parser.isSet(vaultOption)) vault = parser.value(vaultOption).toStdString();
  std::filesystem::path root;
  try {
    root = trivo::locateVault(trivo::VaultSearch::fromProcess(vault));
  } catch (const trivo::VaultNotFound& e) {
    std::cerr << "trivo-app: " << e.what() << "\n";
    return 1;
  }
  const auto urls = parser.positionalArguments();
  const QString url = urls.isEmpty() ? QString() : urls.front();
  // A window already open on this vault takes the link; this start ends there.
  const auto socket = trivo::app::SingleInstance::socketFor(root);
  if (socket && trivo::app::SingleInstance::forward(*socket, url)) return 0;
  try {
    trivo::app::AppSession session({root});
    trivo::app::AppWindow window(session);
    if (!window.load()) {
      std::cerr << "trivo-app: the window's QML did not load; reinstall trivo-app.\n";
      return 1;
    }
    if (!url.isEmpty() && !window.openLink(url)) {
      std::cerr << "trivo-app: " << window.notice().toStdString() << "\n";
    }
    std::unique_ptr<trivo::app::SingleInstance> single;
    if (socket) single = std::make_unique<trivo::app::SingleInstance>(window, *socket);
    if (parser.isSet(drawnOption)) {
      if (auto* win = qobject_cast<QQuickWindow*>(window.root())) {
        QObject::connect(win, &QQuickWindow::frameSwapped, &application, &QCoreApplication::quit,
                         Qt::QueuedConnection);
      }
    }
    trivo::app::TrayIcon tray(window);
    QObject::connect(&application, &QApplication::lastWindowClosed, &application, [] {
      if (!QSystemTrayIcon::isSystemTrayAvailable()) QCoreApplication::quit();
    });
    return QApplication::exec();
  } catch (const std::exception& e) {
    std::cerr << "trivo-app: " << e.what() << "\n";
    return 1;
  }
}

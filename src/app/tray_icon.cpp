// The tray menu mirrors the focus screen's state; its actions go through the same models.
#include "app/tray_icon.h"

#include <QCoreApplication>
#include <QIcon>
#include <QMetaObject>
#include <QPainter>
#include <QPixmap>

#include "app/app_window.h"
#include "app/focus_screen.h"

namespace trivo::app {

namespace {

QIcon trayImage() {
  QIcon themed = QIcon::fromTheme("trivo");
  if (!themed.isNull()) return themed;
  // No installed icon: a drawn ring keeps the tray entry recognisable.
  QPixmap pixmap(32, 32);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(QColor("#3b6fd8"), 4));
  painter.drawEllipse(4, 4, 24, 24);
  return QIcon(pixmap);
}

}  // namespace

TrayIcon::TrayIcon(AppWindow& window, QObject* parent) : QObject(parent), window_(window) {
  session_ = menu_.addAction(sessionText());
  session_->setEnabled(false);
  toggle_ = menu_.addAction("Start focus", [this] { window_.focus().toggle(); });
  menu_.addAction("Quick capture…", [this] { showWindow("inbox", true); });
  menu_.addSeparator();
  menu_.addAction("Show Trivo", [this] { showWindow("today", false); });
  menu_.addAction("Quit", [] { QCoreApplication::quit(); });
  icon_.setIcon(trayImage());
  icon_.setContextMenu(&menu_);
  connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason r) {
    if (r == QSystemTrayIcon::Trigger) showWindow(window_.screen(), false);
  });
  connect(&window_.focus(), &FocusScreen::changed, this, &TrayIcon::update);
  update();
  if (QSystemTrayIcon::isSystemTrayAvailable()) icon_.show();
}

QString TrayIcon::sessionText() const {
  const FocusScreen& focus = window_.focus();
  if (focus.phase() == "running") return "Focus: " + focus.clockText() + " left";
  if (focus.phase() == "paused") return "Focus on hold: " + focus.clockText() + " left";
  if (focus.phase() == "break") return "On a break";
  return "No focus session";
}

void TrayIcon::update() {
  const QString text = sessionText();
  session_->setText(text);
  icon_.setToolTip("Trivo — " + text);
  const QString phase = window_.focus().phase();
  toggle_->setText(phase == "idle"      ? "Start focus"
                   : phase == "running" ? "Hold focus"
                                        : "Resume focus");
}

void TrayIcon::showWindow(const QString& screen, bool capture) {
  window_.setScreen(screen);
  if (auto* win = qobject_cast<QWindow*>(window_.root())) {
    win->show();
    win->raise();
    win->requestActivate();
    if (capture) QMetaObject::invokeMethod(win, "focusCapture");
  }
}

}  // namespace trivo::app

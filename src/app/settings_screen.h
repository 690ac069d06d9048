// The settings that mean something on Linux, read from and written to the vault's settings
// through `ConfigStore`: theme, accent, text scale, week start, year mode, the focus sound,
// volume and cues, and the shortcuts as key sequences the window binds.
#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include "core/config/key_shortcut.h"

namespace trivo::app {

class AppSession;

// The Qt key sequence of a shortcut: ⌃ is Ctrl, ⌥ Alt, ⇧ Shift and ⌘ Meta, since Linux desktops
// give Ctrl the role the command key has elsewhere.
QString keySequenceOf(const KeyShortcut& shortcut);

class SettingsScreen final : public QObject {
  Q_OBJECT
  // "automatic", "light" or "dark" as set; `dark` is what the window draws.
  Q_PROPERTY(QString theme READ theme NOTIFY changed)
  Q_PROPERTY(bool dark READ dark NOTIFY changed)
  Q_PROPERTY(QString accent READ accent NOTIFY changed)
  Q_PROPERTY(QString accentColor READ accentColor NOTIFY changed)
  Q_PROPERTY(double textScale READ textScale NOTIFY changed)
  Q_PROPERTY(QString weekStart READ weekStart NOTIFY changed)
  Q_PROPERTY(QString yearMode READ yearMode NOTIFY changed)
  Q_PROPERTY(QString sound READ sound NOTIFY changed)
  Q_PROPERTY(double volume READ volume NOTIFY changed)
  Q_PROPERTY(bool cues READ cues NOTIFY changed)
  Q_PROPERTY(bool muted READ muted NOTIFY changed)
  // [{name, sequence}] of the configured shortcuts.
  Q_PROPERTY(QVariantList shortcuts READ shortcuts NOTIFY changed)
  Q_PROPERTY(QString quickCaptureKey READ quickCaptureKey NOTIFY changed)
  Q_PROPERTY(QString focusToggleKey READ focusToggleKey NOTIFY changed)
  Q_PROPERTY(QString journalNoteKey READ journalNoteKey NOTIFY changed)
  Q_PROPERTY(QString error READ error NOTIFY changed)

 public:
  // `systemDark` says what "automatic" resolves to on this desktop.
  SettingsScreen(AppSession& session, bool systemDark, QObject* parent = nullptr);

  [[nodiscard]] QString theme() const { return theme_; }
  [[nodiscard]] bool dark() const;
  [[nodiscard]] QString accent() const { return accent_; }
  [[nodiscard]] QString accentColor() const;
  [[nodiscard]] double textScale() const { return textScale_; }
  [[nodiscard]] QString weekStart() const { return weekStart_; }
  [[nodiscard]] QString yearMode() const { return yearMode_; }
  [[nodiscard]] QString sound() const { return sound_; }
  [[nodiscard]] double volume() const { return volume_; }
  [[nodiscard]] bool cues() const { return cues_; }
  [[nodiscard]] bool muted() const { return muted_; }
  [[nodiscard]] QVariantList shortcuts() const { return shortcuts_; }
  [[nodiscard]] QString quickCaptureKey() const { return quickCaptureKey_; }
  [[nodiscard]] QString focusToggleKey() const { return focusToggleKey_; }
  [[nodiscard]] QString journalNoteKey() const { return journalNoteKey_; }
  [[nodiscard]] QString error() const { return error_; }

  // Writes one setting by its name above ("theme", "accent", "textScale", "weekStart",
  // "yearMode", "sound", "volume", "cues", "muted"); a value out of range is refused with
  // `error` set and nothing written.
  Q_INVOKABLE bool set(const QString& name, const QVariant& value);
  // For the tests and the screenshots: what "automatic" means here.
  Q_INVOKABLE void setSystemDark(bool dark);
  Q_INVOKABLE void reload();

 Q_SIGNALS:
  void changed();

 private:
  AppSession& session_;
  bool systemDark_;
  QString theme_ = "automatic", accent_ = "default", weekStart_ = "monday", yearMode_ = "quarter",
          sound_ = "off";
  double textScale_ = 1.0, volume_ = 0.3;
  bool cues_ = true, muted_ = false;
  QVariantList shortcuts_;
  QString quickCaptureKey_, focusToggleKey_, journalNoteKey_;
  QString error_;
};

}  // namespace trivo::app

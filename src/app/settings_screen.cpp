// Settings through the vault's settings file: each change is one merge-and-write, so another
// device's or process's changes to other keys survive it.
#include "app/settings_screen.h"

#include <QStringList>
#include <array>
#include <exception>
#include <functional>

#include "app/app_session.h"
#include "core/config/config_store.h"

namespace trivo::app {

namespace {

struct AccentChoice {
  const char* name;
  const char* color;
};
// The accents offered; "default" is the planner's own blue.
constexpr std::array<AccentChoice, 8> kAccents = {{{"default", "#3b6fd8"},
                                                   {"blue", "#2f80ed"},
                                                   {"purple", "#8e5cd9"},
                                                   {"pink", "#d9508a"},
                                                   {"red", "#d94848"},
                                                   {"orange", "#e08a2e"},
                                                   {"yellow", "#c9a227"},
                                                   {"green", "#3fa66b"}}};

bool editConfig(AppSession& session, const std::function<void(VaultConfig&)>& change,
                QString& error) {
  try {
    ConfigStore store(session.root(), ConfigStore::defaultDeviceURL());
    VaultConfig config = store.load();
    change(config);
    store.save(config);
    error.clear();
    return true;
  } catch (const std::exception& e) {
    error = QString::fromStdString(std::string("The settings could not be saved: ") + e.what());
    return false;
  }
}

}  // namespace

QString keySequenceOf(const KeyShortcut& shortcut) {
  QStringList parts;
  using M = KeyShortcut::Modifiers;
  if (shortcut.modifiers.contains(M::control)) parts << "Ctrl";
  if (shortcut.modifiers.contains(M::option)) parts << "Alt";
  if (shortcut.modifiers.contains(M::shift)) parts << "Shift";
  if (shortcut.modifiers.contains(M::command)) parts << "Meta";
  QString key = QString::fromStdString(shortcut.keyName());
  if (key == QStringLiteral("↩")) key = "Return";
  if (key == QStringLiteral("⇥")) key = "Tab";
  if (key.startsWith("Key ")) return {};  // a key this keyboard layout table does not name
  parts << key;
  return parts.join('+');
}

SettingsScreen::SettingsScreen(AppSession& session, bool systemDark, QObject* parent)
    : QObject(parent), session_(session), systemDark_(systemDark) {
  connect(&session_, &AppSession::settingsChanged, this, &SettingsScreen::reload);
  reload();
}

bool SettingsScreen::dark() const {
  return theme_ == "dark" || (theme_ == "automatic" && systemDark_);
}

QString SettingsScreen::accentColor() const {
  for (const auto& a : kAccents) {
    if (accent_ == a.name) return a.color;
  }
  // A colour written as "#rrggbb" in the settings is used as it stands.
  if (accent_.startsWith('#') && accent_.size() == 7) return accent_;
  return kAccents[0].color;
}

void SettingsScreen::setSystemDark(bool dark) {
  systemDark_ = dark;
  Q_EMIT changed();
}

void SettingsScreen::reload() {
  VaultConfig config;
  try {
    config = ConfigStore(session_.root(), ConfigStore::defaultDeviceURL()).load();
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(std::string("The settings cannot be read (") + e.what() +
                                    "); the window uses the defaults.");
  }
  theme_ = QString::fromUtf8(kThemeNames[static_cast<std::size_t>(config.theme)].data());
  accent_ = QString::fromStdString(config.accent);
  textScale_ = config.textScale;
  weekStart_ =
      QString::fromUtf8(kWeekStartNames[static_cast<std::size_t>(config.weekStart)].data());
  yearMode_ = QString::fromUtf8(kYearModeNames[static_cast<std::size_t>(config.yearMode)].data());
  sound_ = QString::fromStdString(config.focus.sound);
  volume_ = config.focus.volume;
  cues_ = config.focus.cues;
  muted_ = config.focus.muted;
  quickCaptureKey_ = keySequenceOf(config.quickCaptureShortcut);
  focusToggleKey_ = keySequenceOf(config.focusToggleShortcut);
  journalNoteKey_ = keySequenceOf(config.journalNoteShortcut);
  shortcuts_ = {QVariantMap{{"name", "Quick capture"}, {"sequence", quickCaptureKey_}},
                QVariantMap{{"name", "Start or hold focus"}, {"sequence", focusToggleKey_}},
                QVariantMap{{"name", "Journal note"}, {"sequence", journalNoteKey_}}};
  Q_EMIT changed();
}

bool SettingsScreen::set(const QString& name, const QVariant& value) {
  const QString text = value.toString();
  std::function<void(VaultConfig&)> change;
  auto refuse = [&](const QString& why) {
    error_ = why;
    Q_EMIT changed();
    return false;
  };
  if (name == "theme") {
    const auto i = QStringList{"automatic", "light", "dark"}.indexOf(text);
    if (i < 0) return refuse("A theme is automatic, light or dark.");
    change = [i](VaultConfig& c) { c.theme = static_cast<VaultConfig::Theme>(i); };
  } else if (name == "accent") {
    change = [t = text.toStdString()](VaultConfig& c) { c.accent = t; };
  } else if (name == "textScale") {
    const double scale = value.toDouble();
    if (scale < 0.75 || scale > 2.0) return refuse("The text scale is between 0.75 and 2.");
    change = [scale](VaultConfig& c) { c.textScale = scale; };
  } else if (name == "weekStart") {
    const auto i = QStringList{"monday", "sunday"}.indexOf(text);
    if (i < 0) return refuse("A week starts on monday or sunday.");
    change = [i](VaultConfig& c) { c.weekStart = static_cast<WeekStart>(i); };
  } else if (name == "yearMode") {
    const auto i = QStringList{"quarter", "calendar"}.indexOf(text);
    if (i < 0) return refuse("The year mode is quarter or calendar.");
    change = [i](VaultConfig& c) { c.yearMode = static_cast<YearMode>(i); };
  } else if (name == "sound") {
    change = [t = text.toStdString()](VaultConfig& c) { c.focus.sound = t; };
  } else if (name == "volume") {
    const double v = value.toDouble();
    if (v < 0.0 || v > 1.0) return refuse("The volume is between 0 and 1.");
    change = [v](VaultConfig& c) { c.focus.volume = v; };
  } else if (name == "cues") {
    change = [b = value.toBool()](VaultConfig& c) { c.focus.cues = b; };
  } else if (name == "muted") {
    change = [b = value.toBool()](VaultConfig& c) { c.focus.muted = b; };
  } else {
    return refuse("There is no setting called " + name + ".");
  }
  const bool ok = editConfig(session_, change, error_);
  reload();
  return ok;
}

}  // namespace trivo::app

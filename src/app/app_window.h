// The window: the screens' models handed to QML and the QML loaded, plus the routing of
// "trivo://" links to a screen. main() and the tests make the same window.
#pragma once

#include <QObject>
#include <QQmlApplicationEngine>
#include <QString>
#include <memory>

namespace trivo::app {

class AppSession;
class TodayScreen;
class InboxScreen;
class FocusScreen;
class PeriodScreen;
class SearchScreen;
class SettingsScreen;
class RefusedScreen;

class AppWindow final : public QObject {
  Q_OBJECT
  // "today", "inbox", "period", "focus", "search", "settings" or "refused".
  Q_PROPERTY(QString screen READ screen WRITE setScreen NOTIFY screenChanged)
  // A sentence for the person when the vault cannot be served (shown above every screen).
  Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)

 public:
  explicit AppWindow(AppSession& session, QObject* parent = nullptr);
  ~AppWindow() override;

  // Loads the QML; false when it does not load (the engine has printed why).
  bool load();
  [[nodiscard]] QQmlApplicationEngine& engine() { return engine_; }
  // The top-level QQuickWindow, once loaded.
  [[nodiscard]] QObject* root() const;

  [[nodiscard]] QString screen() const { return screen_; }
  void setScreen(const QString& screen);
  [[nodiscard]] QString notice() const { return notice_; }

  // Acts on a "trivo://" link: opens the screen it names, captures, starts or stops focus.
  // False, with `notice` saying why, for a link that is not one of ours.
  Q_INVOKABLE bool openLink(const QString& url);

  TodayScreen& today() { return *today_; }
  InboxScreen& inbox() { return *inbox_; }
  FocusScreen& focus() { return *focus_; }
  PeriodScreen& period() { return *period_; }
  SearchScreen& search() { return *search_; }
  SettingsScreen& settings() { return *settings_; }
  RefusedScreen& refused() { return *refused_; }

 Q_SIGNALS:
  void screenChanged();
  void noticeChanged();

 private:
  void setNotice(const QString& notice);

  AppSession& session_;
  std::unique_ptr<TodayScreen> today_;
  std::unique_ptr<InboxScreen> inbox_;
  std::unique_ptr<FocusScreen> focus_;
  std::unique_ptr<PeriodScreen> period_;
  std::unique_ptr<SearchScreen> search_;
  std::unique_ptr<SettingsScreen> settings_;
  std::unique_ptr<RefusedScreen> refused_;
  QQmlApplicationEngine engine_;
  QString screen_ = "today";
  QString notice_;
};

}  // namespace trivo::app

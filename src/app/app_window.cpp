// The window's wiring: screens into QML, links to screens.
#include "app/app_window.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlContext>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QUrl>

#include "app/app_session.h"
#include "app/display_text.h"
#include "app/focus_screen.h"
#include "app/inbox_screen.h"
#include "app/indexed_search.h"
#include "app/period_screen.h"
#include "app/refused_screen.h"
#include "app/search_screen.h"
#include "app/settings_screen.h"
#include "app/today_screen.h"
#include "core/links/deep_link.h"

namespace trivo::app {

namespace {

bool systemPrefersDark() {
  // Desktops that say so set a dark window colour in the platform palette.
  const QColor window = QGuiApplication::palette().color(QPalette::Window);
  return window.lightness() < 128;
}

}  // namespace

AppWindow::AppWindow(AppSession& session, QObject* parent)
    : QObject(parent),
      session_(session),
      today_(std::make_unique<TodayScreen>(session)),
      inbox_(std::make_unique<InboxScreen>(session)),
      focus_(std::make_unique<FocusScreen>(session)),
      period_(std::make_unique<PeriodScreen>(session)),
      search_(std::make_unique<SearchScreen>(
          session.root(),
          std::make_unique<IndexedSearch>(session.root(), session.store().vault().format))),
      settings_(std::make_unique<SettingsScreen>(session, systemPrefersDark())),
      refused_(std::make_unique<RefusedScreen>(session)) {
  connect(search_.get(), &SearchScreen::openPage, this,
          [this](const QString& page, const QString& file) {
            if (page.isEmpty()) {
              const auto path = session_.root() / file.toStdString();
              QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path.string())));
            } else if (page == "inbox") {
              setScreen("inbox");
            } else if (period_->open(page)) {
              setScreen("period");
            }
          });
  connect(&session_, &AppSession::serviceEnded, this, &AppWindow::setNotice);
  auto weekStart = [this] { period_->setWeekStartsSunday(settings_->weekStart() == "sunday"); };
  connect(settings_.get(), &SettingsScreen::changed, this, weekStart);
  weekStart();
  if (!session_.serviceProblem().empty()) {
    setNotice(QString::fromStdString(session_.serviceProblem()));
  } else if (!session_.isOwner() && session_.servedBy()) {
    setNotice(QString("Process %1 serves this vault; the focus timer shown here is that "
                      "process's, and this window sends it your orders.")
                  .arg(*session_.servedBy()));
  }
  QQmlContext* context = engine_.rootContext();
  context->setContextProperty("app", this);
  context->setContextProperty("today", today_.get());
  context->setContextProperty("inbox", inbox_.get());
  context->setContextProperty("focusTimer", focus_.get());
  context->setContextProperty("period", period_.get());
  context->setContextProperty("search", search_.get());
  context->setContextProperty("settings", settings_.get());
  context->setContextProperty("refused", refused_.get());
}

AppWindow::~AppWindow() = default;

bool AppWindow::load() {
  // Fusion follows the palette the window sets, so light, dark and the accent reach every control.
  if (QQuickStyle::name() != QLatin1String("Fusion")) QQuickStyle::setStyle("Fusion");
  engine_.load(QUrl("qrc:/Trivo/Main.qml"));
  auto* window = qobject_cast<QQuickWindow*>(root());
  if (!window) return false;
  // What Today does not show is read once Today is on screen.
  connect(window, &QQuickWindow::frameSwapped, inbox_.get(), &InboxScreen::refresh,
          Qt::SingleShotConnection);
  return true;
}

QObject* AppWindow::root() const {
  const auto roots = engine_.rootObjects();
  return roots.isEmpty() ? nullptr : roots.front();
}

void AppWindow::setScreen(const QString& screen) {
  if (screen == screen_) return;
  screen_ = screen;
  Q_EMIT screenChanged();
}

void AppWindow::setNotice(const QString& notice) {
  if (notice == notice_) return;
  notice_ = notice;
  Q_EMIT noticeChanged();
}

bool AppWindow::openLink(const QString& url) {
  const auto link = DeepLink::parse(url.toStdString());
  if (!link) {
    setNotice("\"" + url + "\" is not a Trivo link; links start with trivo:// and name a screen.");
    return false;
  }
  return std::visit(
      [this](const auto& payload) -> bool {
        using T = std::decay_t<decltype(payload)>;
        if constexpr (std::is_same_v<T, DeepLink::Open>) {
          const auto& value = payload.destination.value;
          if (const auto* page = std::get_if<PageKey>(&value)) {
            if (page->period && page->period->isInbox()) {
              setScreen("inbox");
              return true;
            }
            if (page->period) {
              const auto today = DayDate::today(session_.clock());
              if (page->period->asDay() && *page->period->asDay() == today) {
                setScreen("today");
              } else {
                period_->open(QString::fromStdString(pageId(*page->period)));
                setScreen("period");
              }
              return true;
            }
          }
          const auto* screen = std::get_if<Destination::Screen>(&value);
          if (screen && *screen == Destination::Screen::focus)
            setScreen("focus");
          else if (screen && *screen == Destination::Screen::find)
            setScreen("search");
          else
            setScreen("period");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::OpenInbox>) {
          setScreen("inbox");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::Capture>) {
          inbox_->capture(QString::fromStdString(payload.text));
          setScreen("inbox");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::Find>) {
          search_->setQuery(QString::fromStdString(payload.query));
          setScreen("search");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::FocusStart>) {
          if (payload.minutes) focus_->setMinutes(static_cast<int>(*payload.minutes));
          if (payload.subject) focus_->setSubject(QString::fromStdString(*payload.subject));
          focus_->start();
          setScreen("focus");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::FocusStop>) {
          focus_->stop();
          setScreen("focus");
          return true;
        } else if constexpr (std::is_same_v<T, DeepLink::FocusWindow>) {
          setScreen("focus");
          return true;
        } else {
          setScreen("today");
          return true;
        }
      },
      link->payload);
}

}  // namespace trivo::app

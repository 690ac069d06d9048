// Drives trivo-app's window offscreen with key and mouse events against a real vault folder, the
// vault's service running in process and a clock the test moves; then reads the page files.
#include <QDeadlineTimer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "app/app_session.h"
#include "app/app_window.h"
#include "app/focus_screen.h"
#include "app/inbox_screen.h"
#include "app/period_screen.h"
#include "app/settings_screen.h"
#include "app/today_screen.h"
#include "core/service/service_lock.h"
#include "core/service/service_setup.h"
#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

using trivo::testing::FakeClock;
using trivo::testing::ScopedEnv;
using trivo::testing::TempDir;
namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Every item of the window's scene, searched depth first by object name.
QQuickItem* findItem(QQuickItem* from, const QString& name) {
  if (from->objectName() == name && from->isVisible()) return from;
  for (QQuickItem* child : from->childItems()) {
    if (QQuickItem* found = findItem(child, name)) return found;
  }
  return nullptr;
}

// A private home for everything the app keeps outside the vault, and a vault with a clock.
class Desk {
 public:
  Desk()
      : state_("XDG_STATE_HOME", (home_.path() / "state").c_str()),
        data_("XDG_DATA_HOME", (home_.path() / "data").c_str()),
        config_("XDG_CONFIG_HOME", (home_.path() / "config").c_str()),
        group_("TRIVO_GROUP_DIR", (home_.path() / "group").c_str()),
        runtime_("XDG_RUNTIME_DIR", (home_.path() / "run").c_str()),
        today_("TRIVO_TODAY", nullptr),
        serviceClock_("TRIVO_SERVICE_CLOCK", nullptr),
        clock_(*trivo::parseIsoInstant("2026-09-16T09:30:00.000Z")) {
    for (const char* d : {"group", "run"}) {
      fs::create_directories(home_.path() / d);
      fs::permissions(home_.path() / d, fs::perms::owner_all);
    }
    fs::create_directories(vault() / ".trivo");
  }
  [[nodiscard]] fs::path vault() const { return home_.path() / "vault"; }
  FakeClock& clock() { return clock_; }
  [[nodiscard]] std::string page(const std::string& relative) const {
    return readFile(vault() / relative);
  }

 private:
  TempDir home_;
  ScopedEnv state_, data_, config_, group_, runtime_, today_, serviceClock_;
  FakeClock clock_;
};

// The window on a desk's vault.
struct Running {
  explicit Running(Desk& desk, const fs::path& root = {})
      : session({root.empty() ? desk.vault() : root, &desk.clock()}), window(session) {
    QVERIFY(window.load());
    win = qobject_cast<QQuickWindow*>(window.root());
    QVERIFY(win);
    QVERIFY(QTest::qWaitForWindowExposed(win));
  }
  QQuickItem* item(const QString& name) {
    // Lists are rebuilt after each change; the item may appear a moment later.
    QDeadlineTimer deadline(3000);
    while (!deadline.hasExpired()) {
      if (QQuickItem* found = findItem(win->contentItem(), name)) return found;
      QTest::qWait(10);
    }
    return nullptr;
  }
  void click(const QString& name) {
    QQuickItem* target = item(name);
    QVERIFY2(target, qPrintable("no item " + name));
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    QTest::mouseClick(win, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
  }
  void type(const QString& name, const QString& text, Qt::Key end = Qt::Key_Return) {
    click(name);
    typeText(text);
    QTest::keyClick(win, end);
  }
  // QTest types into widgets only; a window gets its keys one by one.
  void typeText(const QString& text) {
    for (const QChar c : text) QTest::keyClick(win, c.toLatin1());
  }
  void show(const char* screen) {
    click(QString("nav-") + screen);
    QTRY_COMPARE(window.screen(), QString(screen));
  }

  trivo::app::AppSession session;
  trivo::app::AppWindow window;
  QQuickWindow* win = nullptr;
};

[[maybe_unused]] void saveScreenshot(QQuickWindow* win, const QString& name) {
  const QString folder = QStringLiteral(TRIVO_BINARY_DIR) + "/app-screenshots";
  fs::create_directories(folder.toStdString());
  QVERIFY(win->grabWindow().save(folder + "/" + name + ".png"));
}

[[maybe_unused]] double millisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

}  // namespace

class AppWindowTest : public QObject {
  Q_OBJECT
 private Q_SLOTS:
  void aDayPlannedWithKeysAndMouseIsWhatThePagesHold();
};

void AppWindowTest::aDayPlannedWithKeysAndMouseIsWhatThePagesHold() {
  Desk desk;
  Running app(desk);

  app.type("outcome1", "Ship the beta", Qt::Key_Tab);
  QTRY_COMPARE(app.window.today().outcomes().value(0).toMap().value("text").toString(),
               QString("Ship the beta"));
  app.type("outcome2", "Call the printer", Qt::Key_Tab);
  app.type("outcome3", "Run 5 km", Qt::Key_Tab);
  QTRY_COMPARE(app.window.today().outcomes().value(2).toMap().value("text").toString(),
               QString("Run 5 km"));
  app.click("outcomeTick1");
  QTRY_COMPARE(app.window.today().outcomes().value(0).toMap().value("state").toString(),
               QString("done"));
  app.type("journalField", "Planned the launch");
  QTRY_COMPARE(app.window.today().journal().size(), 1);

  app.show("inbox");
  app.click("captureField");
  app.typeText("call mum friday 6pm");
  // What the capture will read shows before it is captured: 2026-09-16 is a Wednesday.
  const auto reading = app.window.inbox().preview("call mum friday 6pm");
  QCOMPARE(reading.value("text").toString(), QString("call mum"));
  QCOMPARE(reading.value("day").toString(), QString("Fri 18 Sep"));
  QCOMPARE(reading.value("time").toString(), QString("18:00"));
  QVERIFY(app.item("previewDay"));
  QTest::keyClick(app.win, Qt::Key_Return);
  QTRY_COMPARE(app.window.inbox().openCount(), 1);

  app.show("focus");
  app.click("focusMinutes");
  for (int i = 0; i < 24; ++i) QTest::keyClick(app.win, Qt::Key_Down);
  QCOMPARE(app.window.focus().minutes(), 1);
  app.click("focusStart");
  QTRY_COMPARE_WITH_TIMEOUT(app.window.focus().phase(), QString("running"), 5000);
  desk.clock().advance(std::chrono::seconds(61));
  QTRY_COMPARE_WITH_TIMEOUT(app.window.focus().remainingSeconds(), 0, 5000);
  app.click("focusStop");
  QTRY_COMPARE_WITH_TIMEOUT(app.window.focus().phase(), QString("idle"), 5000);
  // A stopped session waits a few seconds to be logged, in the timer's time.
  desk.clock().advance(std::chrono::seconds(15));
  const auto logged = [&] {
    const std::string day = desk.page("days/2026-09-16.md");
    const auto sessions = day.find("## Sessions\n");
    return sessions != std::string::npos && sessions + 12 < day.size();
  };
  QTRY_VERIFY_WITH_TIMEOUT(logged(), 8000);

  QCOMPARE(desk.page("days/2026-09-16.md"),
           std::string("---\n"
                       "date: 2026-09-16\n"
                       "type: day\n"
                       "---\n"
                       "# Wednesday, 16 September 2026\n"
                       "\n"
                       "## Outcomes\n"
                       "- [x] Ship the beta\n"
                       "- [ ] Call the printer\n"
                       "- [ ] Run 5 km\n"
                       "\n"
                       "## Checklist\n"
                       "\n"
                       "## From the inbox\n"
                       "\n"
                       "## Notes\n"
                       "\n"
                       "## Journal\n"
                       "- 09:30 — Planned the launch\n"
                       "\n"
                       "## For tomorrow\n"
                       "\n"
                       "## Sessions\n"
                       "- 09:30–09:31 · 1m\n"));
  // The item's id is fresh each run; everything around it is fixed.
  const QString inbox = QString::fromStdString(desk.page("inbox.md"));
  const QRegularExpression item(
      "^---\ntype: inbox\n---\n# Inbox\n\n"
      "- \\[ \\] call mum due:2026-09-18 @18:00 <!-- id: [0-9A-F-]{36} · captured: 2026-09-16 -->\n$");
  QVERIFY2(item.match(inbox).hasMatch(), qPrintable(inbox));
}

QTEST_MAIN(AppWindowTest)
#include "app_window_test.moc"

// The Focus screen's model for QML. The timer belongs to the vault's service: this screen sends it
// orders through the command file and draws what the service publishes in the live state, so it
// shows the same session whether the service runs in this window or in `trivo app`.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <optional>

#include "core/focus/live_state.h"

namespace trivo::app {

class AppSession;

class FocusScreen final : public QObject {
  Q_OBJECT
  // "idle", "running", "paused" or "break".
  Q_PROPERTY(QString phase READ phase NOTIFY changed)
  Q_PROPERTY(int remainingSeconds READ remainingSeconds NOTIFY changed)
  Q_PROPERTY(int totalSeconds READ totalSeconds NOTIFY changed)
  // What is left of the planned time, 1 at the start, 0 at the end.
  Q_PROPERTY(double fraction READ fraction NOTIFY changed)
  Q_PROPERTY(QString clockText READ clockText NOTIFY changed)
  Q_PROPERTY(QString subject READ subject WRITE setSubject NOTIFY changed)
  Q_PROPERTY(int minutes READ minutes WRITE setMinutes NOTIFY changed)
  Q_PROPERTY(int todayMinutes READ todayMinutes NOTIFY changed)
  Q_PROPERTY(bool owner READ owner CONSTANT)

 public:
  explicit FocusScreen(AppSession& session, QObject* parent = nullptr);

  [[nodiscard]] QString phase() const;
  [[nodiscard]] int remainingSeconds() const { return remaining_; }
  [[nodiscard]] int totalSeconds() const { return total_; }
  [[nodiscard]] double fraction() const;
  [[nodiscard]] QString clockText() const;
  [[nodiscard]] QString subject() const { return subject_; }
  [[nodiscard]] int minutes() const { return minutes_; }
  [[nodiscard]] int todayMinutes() const { return todayMinutes_; }
  [[nodiscard]] bool owner() const;

  void setSubject(const QString& subject);
  void setMinutes(int minutes);

  Q_INVOKABLE void start();
  Q_INVOKABLE void hold();
  Q_INVOKABLE void resume();
  Q_INVOKABLE void stop();
  // Start when idle, hold when running, resume when held: the one key for the timer.
  Q_INVOKABLE void toggle();
  // Reads the live state now (the screen also does so several times a second).
  Q_INVOKABLE void poll();

 Q_SIGNALS:
  void changed();

 private:
  void send(LiveState::Command command, std::optional<std::int64_t> minutes = std::nullopt);

  AppSession& session_;
  QTimer timer_;
  LiveState::Phase phase_ = LiveState::Phase::idle;
  int remaining_ = 0;
  int total_ = 25 * 60;
  QString subject_;
  int minutes_ = 25;
  int todayMinutes_ = 0;
};

}  // namespace trivo::app

// The focus ring's numbers, taken from the live state the vault's service writes.
#include "app/focus_screen.h"

#include <algorithm>
#include <cmath>

#include "app/app_session.h"

namespace trivo::app {

FocusScreen::FocusScreen(AppSession& session, QObject* parent)
    : QObject(parent), session_(session) {
  // The service writes the live state when something changes; a countdown needs no more than
  // a few readings a second.
  timer_.setInterval(200);
  connect(&timer_, &QTimer::timeout, this, &FocusScreen::poll);
  timer_.start();
  poll();
}

bool FocusScreen::owner() const { return session_.isOwner(); }

QString FocusScreen::phase() const {
  switch (phase_) {
    case LiveState::Phase::idle:
      return "idle";
    case LiveState::Phase::running:
      return "running";
    case LiveState::Phase::paused:
      return "paused";
    case LiveState::Phase::onBreak:
      return "break";
  }
  return "idle";
}

double FocusScreen::fraction() const {
  if (phase_ == LiveState::Phase::idle || total_ <= 0) return 1.0;
  return std::clamp(static_cast<double>(remaining_) / static_cast<double>(total_), 0.0, 1.0);
}

QString FocusScreen::clockText() const {
  const int seconds = phase_ == LiveState::Phase::idle ? minutes_ * 60 : remaining_;
  return QString("%1:%2").arg(seconds / 60, 2, 10, QChar('0')).arg(seconds % 60, 2, 10, QChar('0'));
}

void FocusScreen::poll() {
  const LiveState state = LiveState::read();
  auto phase = state.phase;
  int remaining = remaining_;
  int total = total_;
  if (phase != LiveState::Phase::idle && state.planned > 0) {
    total = static_cast<int>(state.planned * 60);
  }
  if (phase == LiveState::Phase::running && state.ends) {
    const double left = std::chrono::duration<double>(*state.ends - session_.clock().now()).count();
    remaining = static_cast<int>(std::max(0.0, std::ceil(left)));
  } else if (phase == LiveState::Phase::idle) {
    remaining = minutes_ * 60;
  }
  const int today = static_cast<int>(state.todayMinutes);
  if (phase == phase_ && remaining == remaining_ && total == total_ && today == todayMinutes_) {
    return;
  }
  phase_ = phase;
  remaining_ = remaining;
  total_ = total;
  todayMinutes_ = today;
  Q_EMIT changed();
}

void FocusScreen::setSubject(const QString& subject) {
  if (subject == subject_) return;
  subject_ = subject;
  Q_EMIT changed();
}

void FocusScreen::setMinutes(int minutes) {
  minutes = std::clamp(minutes, 1, 120);
  if (minutes == minutes_) return;
  minutes_ = minutes;
  if (phase_ == LiveState::Phase::idle) remaining_ = minutes_ * 60;
  Q_EMIT changed();
}

void FocusScreen::send(LiveState::Command command, std::optional<std::int64_t> minutes) {
  LiveState::Order order;
  order.command = command;
  order.minutes = minutes;
  if (command == LiveState::Command::start && !subject_.trimmed().isEmpty()) {
    order.subject = subject_.trimmed().toStdString();
  }
  session_.sendFocus(order);
}

void FocusScreen::start() { send(LiveState::Command::start, minutes_); }
void FocusScreen::hold() { send(LiveState::Command::pause); }
void FocusScreen::resume() { send(LiveState::Command::resume); }
void FocusScreen::stop() { send(LiveState::Command::stop); }

void FocusScreen::toggle() {
  switch (phase_) {
    case LiveState::Phase::idle:
      start();
      break;
    case LiveState::Phase::running:
      hold();
      break;
    case LiveState::Phase::paused:
    case LiveState::Phase::onBreak:
      resume();
      break;
  }
}

}  // namespace trivo::app

// The focus timer's phases, countdowns, cues and logging.
#include "core/focus/timer_model.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <tuple>
#include <utility>

#include "core/calendar/clock_time.h"
#include "core/focus/shared_files.h"
#include "core/util/iso_instant.h"

namespace trivo {
namespace {

// Durations far beyond any session (about 31 years) are cut, so that converting seconds to the
// clock's nanoseconds can never overflow; a NaN counts as nothing.
double sane(double seconds) {
  if (!std::isfinite(seconds)) return 0;
  return std::clamp(seconds, -1e9, 1e9);
}

double timerSecondsBetween(Instant later, Instant earlier) {
  return std::chrono::duration<double>(later - earlier).count();
}

Instant plusSeconds(Instant t, double seconds) {
  return t + std::chrono::duration_cast<Instant::duration>(
                 std::chrono::duration<double>(sane(seconds)));
}

std::int64_t clampMinutes(std::int64_t minutes) {
  return std::clamp(minutes, TimerModel::minMinutes, TimerModel::maxMinutes);
}

std::string freshSessionId() {
  uuid_t raw;
  uuid_generate_random(raw);
  char text[37];
  uuid_unparse_upper(raw, text);
  return text;
}

std::int64_t wholeMinutes(double seconds) {
  if (!(seconds > 0)) return 0;
  return static_cast<std::int64_t>(std::floor(std::min(seconds, 1e12) / 60.0));
}

// The gap credited when a finished session is continued: whole minutes, and never more than six
// hours however long the gap was.
constexpr double kMaxCreditSeconds = 21600;
constexpr double kMaxSoftWindow = 3600;
constexpr double kMaxStartBack = 86400;
// Far more slices than a day can hold, so that counting on from it cannot overflow.
constexpr std::int64_t kMaxSlices = 100000;

}  // namespace

auto TimerModel::observed() const {
  return std::make_tuple(
      warnMarks_, minutes_, outcomeSlot_, subject_, quality_, lastLogged_, subjectPage_, phase_,
      remaining_, softWindow_, overtime_, softUntil_, pauseRemaining_, pauseMinutes_, pauseSpans_,
      sessionEnd_, pauseEnd_, startedAt_, focusedSeconds_, segmentStart_, finishedAt_,
      autoLogHidden_, autoLogArmedAt_, autoLogEnabled_, breakOnly_, slicesToday_, countsSlices_,
      firedCues_, informalPause_, minuteTickEvery_, firedMinuteCues_, pendingMinuteCue_,
      autoLogRemaining_, endedAt_, continueRemaining_, plannedMinutes_, openingBreak_);
}

// Tells the change handler about an operation once it is complete: operations call each other,
// and only the outermost one compares the state before and after.
class TimerModel::Publish {
 public:
  explicit Publish(TimerModel& model) : model_(model), outer_(model.publishDepth_++ == 0) {
    if (outer_ && model_.onChange_) before_ = model_.observed();
  }
  ~Publish() {
    --model_.publishDepth_;
    if (before_ && model_.onChange_ && model_.observed() != *before_) model_.onChange_();
  }
  Publish(const Publish&) = delete;
  Publish& operator=(const Publish&) = delete;

 private:
  TimerModel& model_;
  bool outer_;
  std::optional<decltype(std::declval<const TimerModel&>().observed())> before_;
};

TimerModel::TimerModel(SessionLog* log, DayDate today, const Clock& clock)
    : saveChain_(log), today_(today), clock_(clock) {}

void TimerModel::applySettings(const Focus& focus) {
  Publish publish(*this);
  autoLogEnabled_ = focus.autoLog;
  warnMarks_.clear();
  if (focus.cues) {
    for (std::int64_t m : focus.cueSet.warnMinutes) {
      if (m >= minMinutes && m <= maxMinutes) warnMarks_.push_back(m * 60);
    }
    // Largest first, so that late ticks hand out the earlier warning first.
    std::sort(warnMarks_.begin(), warnMarks_.end(), std::greater<>());
    warnMarks_.erase(std::unique(warnMarks_.begin(), warnMarks_.end()), warnMarks_.end());
  }
  setSoftWindow(focus.softBreak
                    ? static_cast<double>(std::clamp<std::int64_t>(focus.softBreakSeconds, 0, 3600))
                    : 0);
  setMinuteTickEvery(focus.minuteTick);
  countsSlices_ = focus.style == "pomodoro";
  refreshCountdowns();
}

void TimerModel::emit(FocusEvent event) {
  if (onEvent_) onEvent_(event);
}

void TimerModel::begin(Instant at) {
  Instant t = now();
  plannedMinutes_ = minutes_;
  startedAt_ = at;
  segmentStart_ = at;
  focusedSeconds_ = 0;
  sessionEnd_ = plusSeconds(at, total());
  remaining_ = std::max(0.0, timerSecondsBetween(*sessionEnd_, t));
  pauseSpans_.clear();
  firedCues_.clear();
  firedMinuteCues_.clear();
  pendingMinuteCue_.reset();
  autoLogHidden_ = false;
  autoLogArmedAt_.reset();
  // Whatever an earlier session left behind.
  softUntil_.reset();
  overtime_ = 0;
  pauseEnd_.reset();
  pauseRemaining_ = 0;
  informalPause_ = false;
  breakOnly_ = false;
  openingBreak_ = false;
  finishedAt_.reset();
  endedAt_.reset();
  continueRemaining_ = 0;
  autoLogRemaining_ = 0;
  phase_ = Phase::running;
}

void TimerModel::start() {
  Publish publish(*this);
  if (phase_ == Phase::running) return;
  begin(now());
  emit(FocusEvent::start);
}

void TimerModel::start(double secondsAgo) {
  Publish publish(*this);
  if (phase_ == Phase::running) return;
  begin(plusSeconds(now(), -std::clamp(sane(secondsAgo), 0.0, kMaxStartBack)));
  emit(FocusEvent::start);
}

void TimerModel::openBreak(std::optional<std::int64_t> minutes, bool breakOnly) {
  begin(now());
  enterPause(minutes, !minutes);
  breakOnly_ = breakOnly;
  openingBreak_ = true;
  emit(FocusEvent::breakStart);
}

void TimerModel::startAfterBreak(std::int64_t breakMinutes) {
  Publish publish(*this);
  if (phase_ == Phase::running) return;
  openBreak(breakMinutes, false);
}

void TimerModel::startBreak(std::int64_t breakMinutes, bool thenNextSlice) {
  Publish publish(*this);
  if (phase_ == Phase::running) return;
  openBreak(breakMinutes, !thenNextSlice);
}

void TimerModel::holdBreakThenSlice() {
  Publish publish(*this);
  if (phase_ == Phase::running) return;
  if (phase_ == Phase::paused) {
    pauseEnd_.reset();
    pauseRemaining_ = 0;
    informalPause_ = true;
    breakOnly_ = false;
    return;
  }
  openBreak(std::nullopt, false);
}

void TimerModel::enterPause(std::optional<std::int64_t> minutes, bool informal) {
  Instant t = now();
  informalPause_ = informal || !minutes;
  if (segmentStart_) {
    focusedSeconds_ += std::max(0.0, timerSecondsBetween(t, *segmentStart_));
    segmentStart_.reset();
  }
  remaining_ = sessionEnd_ ? std::max(0.0, timerSecondsBetween(*sessionEnd_, t)) : 0;
  if (!minutes || *minutes < minMinutes) {
    pauseEnd_.reset();
    pauseRemaining_ = 0;
  } else {
    pauseMinutes_ = clampMinutes(*minutes);
    pauseEnd_ = plusSeconds(t, static_cast<double>(pauseMinutes_) * 60);
    pauseRemaining_ = static_cast<double>(pauseMinutes_) * 60;
  }
  pauseSpans_.push_back({t, std::nullopt});
  phase_ = Phase::paused;
}

void TimerModel::pause(std::optional<std::int64_t> minutes, bool informal) {
  Publish publish(*this);
  if (phase_ != Phase::running) return;
  enterPause(minutes, informal);
  emit(FocusEvent::pause);
}

void TimerModel::resume() {
  Publish publish(*this);
  if (phase_ != Phase::paused) return;
  if (breakOnly_) {
    reset();
    emit(FocusEvent::breakEnd);
    return;
  }
  bool wasBreak = onBreak();
  Instant t = now();
  // An opening break is not part of the session: its time starts now.
  if (wasBreak) startedAt_ = t;
  openingBreak_ = false;
  if (!pauseSpans_.empty() && !pauseSpans_.back().end) pauseSpans_.back().end = t;
  informalPause_ = false;
  segmentStart_ = t;
  sessionEnd_ = plusSeconds(t, remaining_);
  pauseEnd_.reset();
  pauseRemaining_ = 0;
  phase_ = Phase::running;
  emit(wasBreak ? FocusEvent::breakEnd : FocusEvent::resume);
}

void TimerModel::startSliceNow() {
  Publish publish(*this);
  if (phase_ != Phase::paused || !onBreak()) return;
  breakOnly_ = false;
  resume();
}

void TimerModel::startNextSlice() {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  logFinished();
  minutes_ = plannedMinutes_;
  begin(now());
  emit(FocusEvent::sliceNext);
}

void TimerModel::finish(Instant at) {
  focusedSeconds_ = creditedAtEnd();
  finishedAt_ = now();
  endedAt_ = sessionEnd_ ? std::min(*sessionEnd_, at) : at;
  segmentStart_.reset();
  softUntil_.reset();
  overtime_ = 0;
  remaining_ = 0;
  autoLogHidden_ = false;
  autoLogArmedAt_.reset();
  phase_ = Phase::finished;
  refreshCountdowns();
}

void TimerModel::finishNow() {
  Publish publish(*this);
  if (phase_ != Phase::running) return;
  finish(now());
  emit(FocusEvent::finish);
}

void TimerModel::stop() {
  Publish publish(*this);
  if (phase_ != Phase::running && phase_ != Phase::paused) return;
  Instant t = now();
  softUntil_.reset();
  overtime_ = 0;
  if (segmentStart_) {
    focusedSeconds_ += std::max(0.0, timerSecondsBetween(t, *segmentStart_));
    segmentStart_.reset();
  }
  // Time run on inside the grace window is overtime, not focus.
  focusedSeconds_ = std::min(focusedSeconds_, total());
  if (!pauseSpans_.empty() && !pauseSpans_.back().end) pauseSpans_.back().end = t;
  pauseEnd_.reset();
  pauseRemaining_ = 0;
  informalPause_ = false;
  openingBreak_ = false;
  remaining_ = 0;
  finishedAt_ = t;
  endedAt_ = t;
  // The planned end no longer holds; keeping the real end here lets a snapshot carry it.
  sessionEnd_ = t;
  autoLogHidden_ = false;
  autoLogArmedAt_.reset();
  phase_ = Phase::finished;
  refreshCountdowns();
  emit(FocusEvent::stop);
}

void TimerModel::adjust(std::int64_t minutes) {
  Publish publish(*this);
  if (phase_ != Phase::running && phase_ != Phase::paused) return;
  std::int64_t wanted =
      clampMinutes(minutes_ + std::clamp<std::int64_t>(minutes, -maxMinutes, maxMinutes));
  double applied = static_cast<double>(wanted - minutes_) * 60;
  if (applied == 0) return;
  minutes_ = wanted;
  if (sessionEnd_) sessionEnd_ = plusSeconds(*sessionEnd_, applied);
  remaining_ = std::max(0.0, remaining_ + applied);
  if (remaining_ > 0) {
    // A lengthened session gets its grace window and its warnings again before the new end.
    softUntil_.reset();
    overtime_ = 0;
    std::erase_if(firedCues_,
                  [&](std::int64_t mark) { return static_cast<double>(mark) < remaining_; });
  }
}

void TimerModel::adjustBreak(std::int64_t minutes) {
  Publish publish(*this);
  if (phase_ != Phase::paused || !pauseEnd_) return;
  std::int64_t wanted =
      clampMinutes(pauseMinutes_ + std::clamp<std::int64_t>(minutes, -maxMinutes, maxMinutes));
  double applied = static_cast<double>(wanted - pauseMinutes_) * 60;
  pauseMinutes_ = wanted;
  pauseEnd_ = plusSeconds(*pauseEnd_, applied);
  pauseRemaining_ = std::max(0.0, timerSecondsBetween(*pauseEnd_, now()));
}

void TimerModel::continueFor(std::int64_t minutes, double creditingSeconds) {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  double gap = std::max(0.0, sane(creditingSeconds));
  std::int64_t credit =
      gap > kMaxCreditSeconds ? 360 : static_cast<std::int64_t>(std::trunc(gap / 60));
  focusedSeconds_ += static_cast<double>(credit) * 60;
  std::int64_t added = clampMinutes(minutes);
  minutes_ = std::min(minutes_ + credit + added, maxMinutes);
  Instant t = now();
  segmentStart_ = t;
  sessionEnd_ = plusSeconds(t, static_cast<double>(added) * 60);
  remaining_ = static_cast<double>(added) * 60;
  finishedAt_.reset();
  endedAt_.reset();
  // Marks the new run starts inside of would all fire at once; they count as given.
  firedCues_.clear();
  for (std::int64_t mark : warnMarks_) {
    if (static_cast<double>(mark) >= remaining_) firedCues_.insert(mark);
  }
  continueRemaining_ = 0;
  autoLogRemaining_ = 0;
  phase_ = Phase::running;
  emit(FocusEvent::resume);
}

void TimerModel::log() {
  std::int64_t loggedMinutes = wholeMinutes(focusedSeconds_);
  if (loggedMinutes <= 0 || !startedAt_) return;  // under a minute leaves no trace
  Instant end = endedAt_.value_or(finishedAt_.value_or(now()));
  FocusSession session;
  session.start = ClockTime::fromInstant(*startedAt_, clock_);
  session.end = ClockTime::fromInstant(end, clock_);
  session.minutes = loggedMinutes;
  session.outcome = subject_.value_or("");
  session.quality = quality_;
  session.pomodoro = countsSlices_;
  lastLogged_ = Logged{freshSessionId(), *startedAt_, end, loggedMinutes, session.outcome, quality_};
  if (countsSlices_) slicesToday_ = std::min(slicesToday_ + 1, kMaxSlices);
  saveChain_.enqueue(DayDate::fromInstant(*startedAt_, clock_), std::move(session));
}

void TimerModel::logFinished() {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  log();
  reset();
}

void TimerModel::discard() {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  reset();
}

void TimerModel::reset() {
  Publish publish(*this);
  phase_ = Phase::idle;
  quality_.reset();
  remaining_ = 0;
  overtime_ = 0;
  softUntil_.reset();
  pauseRemaining_ = 0;
  pauseSpans_.clear();
  sessionEnd_.reset();
  pauseEnd_.reset();
  startedAt_.reset();
  focusedSeconds_ = 0;
  segmentStart_.reset();
  finishedAt_.reset();
  autoLogHidden_ = false;
  autoLogArmedAt_.reset();
  breakOnly_ = false;
  openingBreak_ = false;
  firedCues_.clear();
  informalPause_ = false;
  firedMinuteCues_.clear();
  pendingMinuteCue_.reset();
  autoLogRemaining_ = 0;
  endedAt_.reset();
  continueRemaining_ = 0;
}

std::optional<std::int64_t> TimerModel::tick() {
  Publish publish(*this);
  Instant t = now();
  switch (phase_) {
    case Phase::idle:
      return std::nullopt;
    case Phase::paused:
      if (pauseEnd_) {
        pauseRemaining_ = std::max(0.0, timerSecondsBetween(*pauseEnd_, t));
        if (pauseRemaining_ <= 0) resume();
      }
      return std::nullopt;
    case Phase::finished:
      refreshCountdowns();
      if (autoLogEnabled_ && !autoLogHidden_ && finishedAt_ &&
          timerSecondsBetween(t, autoLogArmedAt_.value_or(*finishedAt_)) >= autoLogDelay) {
        logFinished();
      }
      return std::nullopt;
    case Phase::running:
      break;
  }

  remaining_ = sessionEnd_ ? std::max(0.0, timerSecondsBetween(*sessionEnd_, t)) : 0;
  if (remaining_ <= 0) {
    if (softWindow_ > 0) {
      if (!softUntil_) {
        softUntil_ = plusSeconds(t, softWindow_);
        overtime_ = 0;
        focusedSeconds_ = creditedAtEnd();
        segmentStart_ = t;
        return softWindowCue;
      }
      if (t < *softUntil_) {
        overtime_ = sessionEnd_ ? timerSecondsBetween(t, *sessionEnd_) : 0;
        return std::nullopt;
      }
      finish(t);
    } else {
      finish(sessionEnd_.value_or(t));
    }
    emit(FocusEvent::finish);
    return std::nullopt;
  }

  if (minuteTickEvery_ > 0) {
    double run = std::max(0.0, total() - remaining_);
    auto n = static_cast<std::int64_t>(std::trunc(run / 60));
    if (n > 0 && n % minuteTickEvery_ == 0 && !firedMinuteCues_.contains(n)) {
      firedMinuteCues_.insert(n);
      pendingMinuteCue_ = n;
    }
  }
  for (std::int64_t mark : warnMarks_) {
    if (remaining_ <= static_cast<double>(mark) && !firedCues_.contains(mark)) {
      firedCues_.insert(mark);
      return mark;
    }
  }
  return std::nullopt;
}

void TimerModel::refreshCountdowns() {
  if (phase_ != Phase::finished || !finishedAt_) {
    continueRemaining_ = 0;
    autoLogRemaining_ = 0;
    return;
  }
  Instant t = now();
  continueRemaining_ = std::max(0.0, continueWindow - timerSecondsBetween(t, *finishedAt_));
  autoLogRemaining_ =
      autoLogEnabled_ && !autoLogHidden_
          ? std::max(0.0, autoLogDelay - timerSecondsBetween(t, autoLogArmedAt_.value_or(*finishedAt_)))
          : 0;
}

std::optional<std::int64_t> TimerModel::consumeMinuteCue() {
  Publish publish(*this);
  auto cue = pendingMinuteCue_;
  pendingMinuteCue_.reset();
  return cue;
}

void TimerModel::restoreSlices(std::int64_t slices) {
  Publish publish(*this);
  slicesToday_ = std::clamp<std::int64_t>(slices, 0, kMaxSlices);
}

void TimerModel::setMinutes(std::int64_t minutes) {
  Publish publish(*this);
  if (phase_ != Phase::idle) return;
  minutes_ = clampMinutes(minutes);
}

void TimerModel::setSoftWindow(double seconds) {
  Publish publish(*this);
  softWindow_ = std::clamp(sane(seconds), 0.0, kMaxSoftWindow);
}

void TimerModel::setMinuteTickEvery(std::int64_t minutes) {
  Publish publish(*this);
  minuteTickEvery_ = std::clamp<std::int64_t>(minutes, 0, maxMinutes);
}

void TimerModel::setWarnMarks(std::vector<std::int64_t> marks) {
  Publish publish(*this);
  warnMarks_ = std::move(marks);
}

void TimerModel::setAutoLogEnabled(bool enabled) {
  Publish publish(*this);
  autoLogEnabled_ = enabled;
  refreshCountdowns();
}

void TimerModel::setCountsSlices(bool counts) {
  Publish publish(*this);
  countsSlices_ = counts;
}

void TimerModel::setSubject(std::optional<std::string> subject) {
  Publish publish(*this);
  subject_ = std::move(subject);
}

void TimerModel::setSubjectPage(std::optional<std::string> page) {
  Publish publish(*this);
  subjectPage_ = std::move(page);
}

void TimerModel::setQuality(std::optional<FocusSession::Quality> quality) {
  Publish publish(*this);
  quality_ = quality;
}

void TimerModel::serveOutcome(std::int64_t slot, std::string text) {
  Publish publish(*this);
  outcomeSlot_ = slot;
  subject_ = std::move(text);
}

void TimerModel::dismissAutoLog() {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  autoLogHidden_ = true;
  refreshCountdowns();
}

void TimerModel::rearmAutoLog() {
  Publish publish(*this);
  if (phase_ != Phase::finished) return;
  autoLogHidden_ = false;
  autoLogArmedAt_ = now();
  refreshCountdowns();
}

double TimerModel::elapsed() const {
  double run = segmentStart_ ? std::max(0.0, timerSecondsBetween(now(), *segmentStart_)) : 0;
  return focusedSeconds_ + run;
}

std::optional<Instant> TimerModel::endsAt() const {
  return phase_ == Phase::running ? sessionEnd_ : std::nullopt;
}

double TimerModel::progress() const {
  return total() > 0 ? std::clamp(elapsed() / total(), 0.0, 1.0) : 0;
}

bool TimerModel::inSoftWindow() const {
  return phase_ == Phase::running && remaining_ <= 0 && softUntil_ && *softUntil_ > now();
}

bool TimerModel::onBreak() const {
  if (phase_ != Phase::paused) return false;
  return breakOnly_ || openingBreak_ || !startedAt_;
}

double TimerModel::breakElapsed() const {
  if (phase_ != Phase::paused || pauseSpans_.empty() || pauseSpans_.back().end) return 0;
  return std::max(0.0, timerSecondsBetween(now(), pauseSpans_.back().start));
}

std::int64_t TimerModel::pendingMinutes() const {
  switch (phase_) {
    case Phase::idle:
      return 0;
    case Phase::finished:
      return wholeMinutes(focusedSeconds_);
    case Phase::running:
    case Phase::paused:
      break;
  }
  return wholeMinutes(std::min(elapsed(), total()));
}

double TimerModel::creditedAtEnd() const {
  double credit = focusedSeconds_;
  if (segmentStart_ && sessionEnd_) {
    credit += std::max(0.0, timerSecondsBetween(*sessionEnd_, *segmentStart_));
  }
  return std::clamp(credit, 0.0, total());
}

std::optional<TimerModel::Snapshot> TimerModel::snapshot() const {
  if (phase_ == Phase::idle) return std::nullopt;
  Instant t = now();
  Snapshot s;
  s.minutes = minutes_;
  s.planned = plannedMinutes_;
  s.outcomeSlot = outcomeSlot_;
  s.subject = subject_;
  s.subjectPage = subjectPage_;
  s.startedAt = startedAt_.value_or(t);
  s.sessionEnd = sessionEnd_.value_or(s.startedAt);
  s.focusedSeconds = focusedSeconds_;
  s.pauseMinutes = pauseMinutes_;
  s.remaining = remaining_;
  switch (phase_) {
    case Phase::idle:
      break;
    case Phase::running:
      // Bank the running segment up to now; `restore` finds the moment of the snapshot again
      // as the end less what remained.
      s.focusedSeconds = elapsed();
      s.remaining = sessionEnd_ ? std::max(0.0, timerSecondsBetween(*sessionEnd_, t)) : 0;
      break;
    case Phase::paused:
      s.paused = true;
      s.pauseEnd = pauseEnd_;
      if (onBreak()) {
        s.rest = true;
        if (!breakOnly_) s.breakBeforeSlice = true;
      }
      if (breakOnly_) s.breakOnly = true;
      break;
    case Phase::finished:
      s.finished = true;
      s.sessionEnd = endedAt_.value_or(s.sessionEnd);
      s.remaining = 0;
      break;
  }
  return s;
}

void TimerModel::restore(const Snapshot& s) {
  Publish publish(*this);
  reset();
  Instant t = now();
  minutes_ = clampMinutes(s.minutes);
  plannedMinutes_ = clampMinutes(s.planned.value_or(s.minutes));
  outcomeSlot_ = s.outcomeSlot;
  subject_ = s.subject;
  subjectPage_ = s.subjectPage;
  // A snapshot is read from a file: times a century away from now are kept within it, so that
  // the arithmetic on them stays far from the clock's limits.
  constexpr std::chrono::hours century(24 * 36525);
  auto near = [&](Instant x) { return std::clamp(x, t - century, t + century); };
  startedAt_ = near(s.startedAt);
  sessionEnd_ = near(s.sessionEnd);
  focusedSeconds_ = std::clamp(sane(s.focusedSeconds), 0.0, 1e7);
  pauseMinutes_ = clampMinutes(s.pauseMinutes);
  remaining_ = std::clamp(sane(s.remaining), 0.0, static_cast<double>(maxMinutes) * 60);
  breakOnly_ = s.breakOnly.value_or(false);

  if (s.finished.value_or(false)) {
    // The app was away when the session ended: the countdowns to the automatic log and to the
    // continue offer start over from now, so the user sees the session before it is logged.
    endedAt_ = sessionEnd_;
    finishedAt_ = t;
    focusedSeconds_ = std::min(focusedSeconds_, total());
    remaining_ = 0;
    phase_ = Phase::finished;
    refreshCountdowns();
    return;
  }
  if (s.paused) {
    bool rest = s.rest.value_or(false) || s.breakBeforeSlice.value_or(false) || breakOnly_;
    if (s.pauseEnd) {
      // A pause cannot end later than its length from now.
      pauseEnd_ =
          std::min(near(*s.pauseEnd), plusSeconds(t, static_cast<double>(pauseMinutes_) * 60));
    }
    pauseRemaining_ = pauseEnd_ ? std::max(0.0, timerSecondsBetween(*pauseEnd_, t)) : 0;
    informalPause_ = !pauseEnd_;
    openingBreak_ = rest;
    // A break began with the session; a timed pause began its length before its end; an open
    // pause's start is lost, and now is the best guess.
    Instant pauseStart = rest ? *startedAt_
                         : pauseEnd_
                             ? plusSeconds(*pauseEnd_, -static_cast<double>(pauseMinutes_) * 60)
                             : t;
    pauseSpans_.push_back({pauseStart, std::nullopt});
    phase_ = Phase::paused;
  } else {
    // Nor can a run end later than its length from now.
    if (timerSecondsBetween(*sessionEnd_, t) > total()) sessionEnd_ = plusSeconds(t, total());
    segmentStart_ = plusSeconds(*sessionEnd_, -remaining_);
    remaining_ = std::max(0.0, timerSecondsBetween(*sessionEnd_, t));
    phase_ = Phase::running;
    if (remaining_ <= 0 && softWindow_ > 0) {
      // The grace window opened while the app was away; it closes when it would have.
      focusedSeconds_ = creditedAtEnd();
      segmentStart_ = sessionEnd_;
      softUntil_ = plusSeconds(*sessionEnd_, softWindow_);
    }
  }
  for (std::int64_t mark : warnMarks_) {
    if (static_cast<double>(mark) >= remaining_) firedCues_.insert(mark);
  }
}

std::optional<LiveSession> TimerModel::liveSession(std::string device,
                                                   std::string deviceName) const {
  if (phase_ == Phase::idle) return std::nullopt;
  LiveSession live;
  live.device = std::move(device);
  live.deviceName = std::move(deviceName);
  live.subject = subject_;
  live.outcomeSlot = outcomeSlot_;
  live.started = startedAt_;
  live.minutes = minutes_;
  live.stamp = now();
  live.focused = std::min(elapsed(), total());
  live.remaining = remaining_;
  switch (phase_) {
    case Phase::idle:
      break;
    case Phase::running:
      live.phase = LiveSession::Phase::running;
      live.ends = sessionEnd_;
      live.graceEnds = softUntil_;
      break;
    case Phase::paused:
      if (onBreak()) {
        live.phase = LiveSession::Phase::onBreak;
        live.ends = pauseEnd_;
        live.restEnds = pauseEnd_;
        if (!pauseSpans_.empty()) live.breakStarted = pauseSpans_.back().start;
      } else {
        live.phase = LiveSession::Phase::paused;
      }
      break;
    case Phase::finished:
      live.phase = LiveSession::Phase::finished;
      live.remaining = 0;
      if (autoLogEnabled_ && !autoLogHidden_ && finishedAt_) {
        live.autoAt = plusSeconds(autoLogArmedAt_.value_or(*finishedAt_), autoLogDelay);
      }
      break;
  }
  return live;
}

void TimerModel::describe(LiveState& state) const {
  state.subject = phase_ == Phase::idle ? std::nullopt : subject_;
  state.started = phase_ == Phase::idle ? std::nullopt : startedAt_;
  state.ends.reset();
  switch (phase_) {
    case Phase::idle:
    case Phase::finished:
      state.phase = LiveState::Phase::idle;
      break;
    case Phase::running:
      state.phase = LiveState::Phase::running;
      state.ends = sessionEnd_;
      break;
    case Phase::paused:
      state.phase = onBreak() ? LiveState::Phase::onBreak : LiveState::Phase::paused;
      if (onBreak()) state.ends = pauseEnd_;
      break;
  }
  state.planned = plannedMinutes_;
  state.pomodoro = countsSlices_;
  state.slice = countsSlices_ ? slicesToday_ + (phase_ == Phase::idle ? 0 : 1) : 0;
}

bool TimerModel::Snapshot::save(const std::filesystem::path& file) const {
  if (!shared::prepareFolder(file.parent_path(), shared::Access::privateToUser)) return false;
  Json j = *this;
  return shared::replaceFile(file, j.dump(), shared::Access::privateToUser);
}

std::optional<TimerModel::Snapshot> TimerModel::Snapshot::load(const std::filesystem::path& file) {
  auto bytes = shared::readFile(file, shared::Access::privateToUser);
  if (!bytes) return std::nullopt;
  try {
    return Json::parse(*bytes).get<Snapshot>();
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  } catch (const RecordError&) {
    return std::nullopt;
  }
}

namespace {

template <class T>
void putIfSet(Json& j, const char* key, const std::optional<T>& value) {
  if (value) j[key] = *value;
}

}  // namespace

void to_json(Json& j, const TimerModel::Snapshot& s) {
  j = Json::object();
  j["minutes"] = s.minutes;
  putIfSet(j, "planned", s.planned);
  putIfSet(j, "outcomeSlot", s.outcomeSlot);
  putIfSet(j, "subject", s.subject);
  putIfSet(j, "subjectPage", s.subjectPage);
  j["startedAt"] = s.startedAt;
  j["sessionEnd"] = s.sessionEnd;
  j["focusedSeconds"] = s.focusedSeconds;
  j["paused"] = s.paused;
  putIfSet(j, "pauseEnd", s.pauseEnd);
  j["pauseMinutes"] = s.pauseMinutes;
  j["remaining"] = s.remaining;
  putIfSet(j, "rest", s.rest);
  putIfSet(j, "finished", s.finished);
  putIfSet(j, "breakBeforeSlice", s.breakBeforeSlice);
  putIfSet(j, "breakOnly", s.breakOnly);
}

void from_json(const Json& j, TimerModel::Snapshot& s) {
  json::requireObject(j, "Snapshot");
  json::take(j, "minutes", s.minutes);
  json::take(j, "planned", s.planned);
  json::take(j, "outcomeSlot", s.outcomeSlot);
  json::take(j, "subject", s.subject);
  json::take(j, "subjectPage", s.subjectPage);
  json::take(j, "startedAt", s.startedAt);
  json::take(j, "sessionEnd", s.sessionEnd);
  json::take(j, "focusedSeconds", s.focusedSeconds);
  json::take(j, "paused", s.paused);
  json::take(j, "pauseEnd", s.pauseEnd);
  json::take(j, "pauseMinutes", s.pauseMinutes);
  json::take(j, "remaining", s.remaining);
  json::take(j, "rest", s.rest);
  json::take(j, "finished", s.finished);
  json::take(j, "breakBeforeSlice", s.breakBeforeSlice);
  json::take(j, "breakOnly", s.breakOnly);
}

}  // namespace trivo

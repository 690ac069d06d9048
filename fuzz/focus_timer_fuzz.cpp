// Drives the focus timer with arbitrary input: as a snapshot to restore, and as a walk of
// operations and clock jumps. Whatever comes in, the timer must keep its limits: lengths within
// 1…120 minutes, no negative or excess remaining time, never more credit than planned.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/focus/timer_model.h"
#include "core/util/iso_instant.h"

namespace {

using trivo::Instant;
using trivo::TimerModel;

class StepClock final : public trivo::Clock {
 public:
  [[nodiscard]] Instant now() const override { return now_; }
  [[nodiscard]] trivo::LocalReading local(Instant instant) const override {
    return trivo::readWithOffset(instant, std::chrono::seconds(0));
  }
  void advance(std::chrono::seconds by) { now_ += by; }

 private:
  Instant now_ = *trivo::parseIsoInstant("2026-09-16T09:00:00Z");
};

void check(bool ok) {
  if (!ok) std::abort();
}

void checkLimits(const TimerModel& timer, bool walked) {
  check(timer.minutes() >= TimerModel::minMinutes && timer.minutes() <= TimerModel::maxMinutes);
  check(timer.remaining() >= 0 && timer.remaining() <= TimerModel::maxMinutes * 60.0);
  check(timer.progress() >= 0 && timer.progress() <= 1);
  check(timer.pauseRemaining() >= 0 && timer.autoLogRemaining() >= 0);
  using Phase = TimerModel::Phase;
  bool openPause = !timer.pauseSpans().empty() && !timer.pauseSpans().back().end;
  check(openPause == (timer.phase() == Phase::paused));
  if (timer.phase() == Phase::idle) check(!timer.startedAt() && timer.focusedSeconds() == 0);
  if (timer.phase() == Phase::finished) check(timer.focusedSeconds() <= timer.total());
  // Snapshots may hold any remaining time; a walk keeps it within the session's length.
  if (walked) check(timer.remaining() <= timer.total());
}

void walk(std::string_view ops) {
  StepClock clock;
  trivo::MemorySessionLog log;
  TimerModel timer(&log, trivo::DayDate{2026, 9, 16}, clock);
  timer.setSoftWindow(30);
  timer.setMinuteTickEvery(2);
  timer.setWarnMarks({60, 30, 15});
  for (std::size_t i = 0; i < ops.size() && i < 512; ++i) {
    const auto byte = static_cast<unsigned char>(ops[i]);
    const auto arg = static_cast<std::int64_t>(byte / 20) - 6;  // -6…6
    switch (byte % 20) {
      case 0:
        timer.start();
        break;
      case 1:
        timer.start(static_cast<double>(arg) * 600);
        break;
      case 2:
        timer.startBreak(arg, byte % 2 == 0);
        break;
      case 3:
        timer.holdBreakThenSlice();
        break;
      case 4:
        timer.pause(arg, byte % 2 == 0);
        break;
      case 5:
        timer.resume();
        break;
      case 6:
        timer.startSliceNow();
        break;
      case 7:
        timer.startNextSlice();
        break;
      case 8:
        timer.finishNow();
        break;
      case 9:
        timer.stop();
        break;
      case 10:
        timer.adjust(arg * 25);
        break;
      case 11:
        timer.adjustBreak(arg * 3);
        break;
      case 12:
        timer.continueFor(arg, static_cast<double>(arg) * 5000);
        break;
      case 13:
        timer.logFinished();
        break;
      case 14:
        timer.discard();
        break;
      case 15:
        timer.dismissAutoLog();
        break;
      case 16:
        timer.setMinutes(arg * 30);
        break;
      case 17: {
        if (auto snap = timer.snapshot()) timer.restore(*snap);
        break;
      }
      default:
        clock.advance(std::chrono::seconds(byte) * byte);
        break;
    }
    timer.tick();
    (void)timer.consumeMinuteCue();
    checkLimits(timer, true);
  }
  for (const auto& [day, sessions] : log.days()) {
    for (const auto& s : sessions) check(s.minutes >= 1 && s.minutes <= TimerModel::maxMinutes);
  }
}

void restoreFrom(std::string_view text) {
  const trivo::Json j = trivo::Json::parse(text, nullptr, false);
  if (j.is_discarded()) return;
  TimerModel::Snapshot snap;
  try {
    snap = j.get<TimerModel::Snapshot>();
  } catch (const trivo::RecordError&) {
    return;
  }
  auto again = trivo::Json::parse(trivo::Json(snap).dump()).get<TimerModel::Snapshot>();
  check(trivo::Json(again).dump() == trivo::Json(snap).dump());

  StepClock clock;
  trivo::MemorySessionLog log;
  TimerModel timer(&log, trivo::DayDate{2026, 9, 16}, clock);
  timer.setSoftWindow(30);
  timer.restore(snap);
  checkLimits(timer, false);
  for (auto step : {1, 59, 3600, 86400}) {
    clock.advance(std::chrono::seconds(step));
    timer.tick();
    timer.resume();
    checkLimits(timer, false);
  }
  timer.stop();
  timer.logFinished();
  checkLimits(timer, false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  restoreFrom(text);
  walk(text);
  return 0;
}

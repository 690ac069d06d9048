#include "core/service/inbox_alerts.h"

#include <gtest/gtest.h>

#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

struct RecordingNotifier final : Notifier {
  std::vector<std::string> shown;
  bool notify(const std::string& summary, const std::string& body) override {
    shown.push_back(summary + " | " + body);
    return true;
  }
};

Instant at(const char* text) { return *parseIsoInstant(text); }

Inbox inboxWith(std::vector<std::int64_t> offsets, ClockTime time = {18, 0}) {
  InboxItem call = InboxItem::make("Call Anna");
  call.id = "A";
  call.due = DayDate{2026, 9, 16};
  call.time = time;
  for (auto m : offsets) call.alerts.push_back(AlertOffset{m});
  Inbox inbox;
  inbox.items.push_back(call);
  return inbox;
}

class InboxAlertsTest : public ::testing::Test {
 protected:
  testing::TempDir dir_;
  std::filesystem::path record_ = dir_.path() / "state" / "alerts.json";
  // Local time two hours ahead of UTC: the alerts follow the local clock.
  testing::FakeClock clock_{at("2026-09-16T15:00:00Z"), 2h};
  RecordingNotifier notifier_;
};

TEST_F(InboxAlertsTest, EachOffsetFiresOnceAtItsLocalMoment) {
  InboxAlerts alerts(record_, clock_, notifier_);
  alerts.update(inboxWith({-30, -60}));
  EXPECT_EQ(alerts.next(), at("2026-09-16T15:00:00Z"));  // 17:00 local
  EXPECT_EQ(alerts.fire(), 1);
  clock_.set(at("2026-09-16T15:29:59Z"));
  EXPECT_EQ(alerts.fire(), 0);
  clock_.set(at("2026-09-16T15:30:00Z"));
  EXPECT_EQ(alerts.fire(), 1);
  clock_.advance(10min);
  EXPECT_EQ(alerts.fire(), 0);
  EXPECT_EQ(alerts.next(), std::nullopt);
  EXPECT_EQ(notifier_.shown,
            (std::vector<std::string>{"Call Anna | Due 2026-09-16 18:00 (1 hour before)",
                                      "Call Anna | Due 2026-09-16 18:00 (30 minutes before)"}));
}

TEST_F(InboxAlertsTest, AlertsMissedWhileDownAreShownLateOnceAndNeverAgain) {
  {
    InboxAlerts alerts(record_, clock_, notifier_);  // up at 17:00 local, then stopped
    alerts.update(inboxWith({-30}));
    alerts.save();
  }
  clock_.set(at("2026-09-16T15:45:00Z"));  // back at 17:45: the 17:30 alert was missed
  {
    InboxAlerts alerts(record_, clock_, notifier_);
    alerts.update(inboxWith({-30}));
    EXPECT_EQ(alerts.fire(), 1);
  }
  InboxAlerts again(record_, clock_, notifier_);
  again.update(inboxWith({-30}));
  EXPECT_EQ(again.fire(), 0);
  EXPECT_EQ(notifier_.shown, (std::vector<std::string>{
                                 "Call Anna | Late: Due 2026-09-16 18:00 (30 minutes before)"}));
}

TEST_F(InboxAlertsTest, AFirstRunShowsTodaysMissedAlertsButNotEarlierDays) {
  InboxItem old = InboxItem::make("Yesterday's call");
  old.due = DayDate{2026, 9, 15};
  old.time = ClockTime{18, 0};
  old.alerts = {AlertOffset{0}};
  Inbox inbox = inboxWith({-120});  // 16:00 local today
  inbox.items.push_back(old);
  InboxItem done = inboxWith({-90}).items[0];
  done.id = "B";
  done.done = true;
  inbox.items.push_back(done);
  InboxAlerts alerts(record_, clock_, notifier_);
  alerts.update(inbox);
  EXPECT_EQ(alerts.fire(), 1);
  EXPECT_EQ(notifier_.shown, (std::vector<std::string>{
                                 "Call Anna | Late: Due 2026-09-16 18:00 (2 hours before)"}));
}

TEST_F(InboxAlertsTest, AMovedDueTimeIsANewAlert) {
  InboxAlerts alerts(record_, clock_, notifier_);
  alerts.update(inboxWith({0}, ClockTime{17, 0}));
  EXPECT_EQ(alerts.fire(), 1);
  alerts.update(inboxWith({0}, ClockTime{17, 5}));
  clock_.advance(5min);
  EXPECT_EQ(alerts.fire(), 1);
}

}  // namespace
}  // namespace trivo

// The service's desktop notifications, seen by a mock notification server on a private session
// bus: inbox alerts on time and late, once each, and focus cues that ask to notify.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

#include "core/platform/clock.h"
#include "core/util/iso_instant.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// A session bus of our own with python3-dbusmock's notification daemon on it.
class MockNotifications {
 public:
  MockNotifications() {
    const auto bus = testing::runExecutable(
        "/usr/bin/dbus-daemon", {"--session", "--fork", "--print-address=1", "--print-pid=1"});
    std::istringstream lines(bus.out);
    std::getline(lines, address_);
    lines >> busPid_;
    if (address_.empty() || busPid_ <= 0) return;
    testing::ProcessOptions options;
    options.env = {{"DBUS_SESSION_BUS_ADDRESS", address_}, {"PYTHONUNBUFFERED", "1"}};
    mock_ = std::make_unique<testing::BackgroundProcess>(
        "/usr/bin/python3",
        std::vector<std::string>{"-m", "dbusmock", "--template", "notification_daemon"}, options);
    for (int i = 0; i < 250 && !ready(); ++i) std::this_thread::sleep_for(20ms);
  }
  ~MockNotifications() {
    mock_.reset();
    if (busPid_ > 0) ::kill(busPid_, SIGTERM);
  }

  [[nodiscard]] const std::string& address() const { return address_; }

  // True once the daemon owns its name on the bus.
  [[nodiscard]] bool ready() const {
    testing::ProcessOptions options;
    options.env = {{"DBUS_SESSION_BUS_ADDRESS", address_}};
    const auto r = testing::runExecutable(
        "/usr/bin/dbus-send",
        {"--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
         "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.Notifications"},
        options);
    return r.out.find("boolean true") != std::string::npos;
  }

  // Every Notify call logged so far, one per line.
  std::string calls(std::chrono::milliseconds wait) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    while (std::chrono::steady_clock::now() < deadline) {
      if (auto line = mock_->readLine(20)) log_ += *line + "\n";
    }
    return log_;
  }

 private:
  std::string address_;
  pid_t busPid_ = -1;
  std::unique_ptr<testing::BackgroundProcess> mock_;
  std::string log_;
};

class ServiceNotifications : public ::testing::Test {
 protected:
  testing::TempDir vault_;
  testing::TempDir group_;
  testing::TempDir state_;
  MockNotifications mock_;
  std::string anchor_ = isoInstantString(std::chrono::system_clock::now());

  void SetUp() override {
    if (mock_.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
    ASSERT_TRUE(mock_.ready()) << "the mock notification daemon did not come up";
    fs::create_directories(vault_.path() / ".trivo");
    fs::permissions(group_.path(), fs::perms::owner_all, fs::perm_options::replace);
  }

  testing::ProcessOptions options(const std::string& clock) const {
    testing::ProcessOptions o;
    o.env = {{"TRIVO_VAULT", vault_.path().string()},
             {"TRIVO_GROUP_DIR", group_.path().string()},
             {"XDG_STATE_HOME", state_.path().string()},
             {"XDG_CONFIG_HOME", state_.path().string()},
             {"XDG_RUNTIME_DIR", std::nullopt},
             {"TZ", "UTC"},
             {"PULSE_SERVER", "unix:/nonexistent"},
             {"DBUS_SESSION_BUS_ADDRESS", mock_.address()},
             {"TRIVO_SERVICE_CLOCK", clock}};
    return o;
  }

  std::unique_ptr<testing::BackgroundProcess> start(const std::string& clock) {
    auto service = std::make_unique<testing::BackgroundProcess>(testing::builtProgram("trivo"),
                                                                std::vector<std::string>{"app"},
                                                                options(clock));
    EXPECT_TRUE(service->readLine(10000));
    return service;
  }
};

// The service time at which the mock logged the first call that mentions `text` (the mock
// stamps each call with the real time in seconds).
std::optional<Instant> shownAt(const std::string& calls, const std::string& text, Instant start,
                               Instant anchor, double scale) {
  const auto at = calls.find(text);
  if (at == std::string::npos) return std::nullopt;
  const auto lineStart = calls.rfind('\n', at);
  const double real = std::stod(calls.substr(lineStart == std::string::npos ? 0 : lineStart + 1));
  const double sinceAnchor =
      real - std::chrono::duration<double>(anchor.time_since_epoch()).count();
  return start + std::chrono::duration_cast<Instant::duration>(
                     std::chrono::duration<double>(sinceAnchor * scale));
}

TEST_F(ServiceNotifications, AnAlertThirtyMinutesBeforeSixIsShownOnceAtHalfPastFive) {
  vault_.write("inbox.md",
               "# Inbox\n\n"
               "- [ ] Call Anna due:2026-09-16 @18:00 alert:30m\n"
               "- [ ] Pay the rent due:2026-09-16 @17:15 alert:15m\n");
  // Service time starts at 17:29:00 and runs ten times faster: 17:30 comes after 6 s.
  const Instant start = *parseIsoInstant("2026-09-16T17:29:00Z");
  const Instant anchor = std::chrono::system_clock::now();
  const std::string clock = "2026-09-16T17:29:00Z,10," + isoInstantString(anchor);
  auto service = this->start(clock);
  // The rent's alert (17:00) fell before the service started: it is shown at once, as late.
  std::string calls = mock_.calls(1000ms);
  EXPECT_EQ(occurrences(calls, "\"Pay the rent\""), 1u) << calls;
  EXPECT_EQ(occurrences(calls, "Late: Due 2026-09-16 17:15 (15 minutes before)"), 1u) << calls;

  for (int i = 0; i < 30 && calls.find("Call Anna") == std::string::npos; ++i) {
    calls = mock_.calls(500ms);
  }
  const auto shown = shownAt(calls, "\"Call Anna\"", start, anchor, 10);
  ASSERT_TRUE(shown) << calls;
  EXPECT_GE(*shown, *parseIsoInstant("2026-09-16T17:30:00Z")) << calls;
  // Late only by how long a loaded machine takes to wake the service.
  EXPECT_LT(*shown, *parseIsoInstant("2026-09-16T17:31:00Z")) << calls;
  calls = mock_.calls(2000ms);
  EXPECT_EQ(occurrences(calls, "\"Call Anna\""), 1u) << calls;
  EXPECT_EQ(occurrences(calls, "\"Due 2026-09-16 18:00 (30 minutes before)\""), 1u) << calls;
  EXPECT_EQ(service->stop(5000), 0);

  // A restart remembers what was shown.
  auto again = this->start(clock);
  calls = mock_.calls(1000ms);
  EXPECT_EQ(occurrences(calls, "Call Anna"), 1u) << calls;
  EXPECT_EQ(occurrences(calls, "Pay the rent"), 1u) << calls;
  EXPECT_EQ(again->stop(5000), 0);
}

TEST_F(ServiceNotifications, ACueThatAsksToNotifyShowsItsText) {
  vault_.write(".trivo/config.json",
               R"({"focus": {"cueSet": {"started": {"sound": "", "notify": true}}}})");
  auto service = start(",1," + anchor_);
  const auto r = testing::runTrivo({"focus", "start", "20", "Essay"}, options(",1," + anchor_));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const std::string calls = mock_.calls(1000ms);
  EXPECT_EQ(occurrences(calls, "\"Focus started: Essay\""), 1u) << calls;
  EXPECT_EQ(service->stop(5000), 0);
}

}  // namespace
}  // namespace trivo

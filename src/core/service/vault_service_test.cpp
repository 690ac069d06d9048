#include "core/service/vault_service.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>

#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct RecordingNotifier final : Notifier {
  bool notify(const std::string&, const std::string&) override { return true; }
};

// The service in this process, on a thread of its own, with a clock the test moves.
class VaultServiceTest : public ::testing::Test {
 protected:
  testing::TempDir vault_;
  testing::TempDir group_;
  testing::ScopedEnv groupEnv_{"TRIVO_GROUP_DIR", group_.path().c_str()};
  testing::ScopedEnv stateEnv_{"XDG_STATE_HOME", group_.path().c_str()};
  testing::FakeClock clock_{*parseIsoInstant("2026-09-16T09:00:00Z")};
  RecordingNotifier notifier_;

  void SetUp() override {
    fs::permissions(group_.path(), fs::perms::owner_all, fs::perm_options::replace);
  }

  VaultService::Options options() {
    VaultService::Options o;
    o.root = vault_.path();
    o.clock = &clock_;
    o.stateFolder = group_.path() / "state";
    o.handleSignals = false;
    o.notifier = &notifier_;
    o.device = DeviceIdentity::derive("machine", "host");
    return o;
  }

  static bool waitFor(const std::function<bool()>& done) {
    for (int i = 0; i < 150 && !done(); ++i) std::this_thread::sleep_for(20ms);
    return done();
  }
};

TEST_F(VaultServiceTest, FollowsPageEditsAndKeepsTheSessionWhenStopped) {
  VaultService service(options());
  auto running = std::async(std::launch::async, [&] { return service.run(); });
  vault_.write("days/2026-09-16.md",
               "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday\n\n## Outcomes\n- [x] Ship\n");
  EXPECT_TRUE(waitFor([] { return LiveState::read().done == 1; }));
  LiveState::send(LiveState::Order{LiveState::Command::start, std::chrono::system_clock::now(), 10,
                                   std::string("Write")});
  EXPECT_TRUE(waitFor([] { return LiveState::read().phase == LiveState::Phase::running; }));
  EXPECT_EQ(LiveState::read().planned, 10);
  clock_.advance(3min);
  service.requestStop();
  ASSERT_EQ(running.wait_for(5s), std::future_status::ready);
  EXPECT_EQ(running.get(), 0);
  EXPECT_FALSE(LiveState::read().appIsUp(SystemClock::shared()));

  // A new service over the same state resumes the session where it stood.
  VaultService again(options());
  EXPECT_EQ(again.timer().phase(), TimerModel::Phase::running);
  EXPECT_EQ(again.timer().subject(), std::optional<std::string>("Write"));
  EXPECT_NEAR(again.timer().elapsed(), 180.0, 1.0);
}

TEST_F(VaultServiceTest, RefusesAVaultFolderThatDoesNotExist) {
  auto o = options();
  o.root = vault_.path() / "missing";
  try {
    VaultService service(o);
    FAIL() << "a missing vault was opened";
  } catch (const std::runtime_error& e) {
    EXPECT_EQ(std::string(e.what()), "The vault folder " + o.root.string() +
                                         " does not exist; create it or name another with --vault.");
  }
}

}  // namespace
}  // namespace trivo

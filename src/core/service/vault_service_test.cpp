#include "core/service/vault_service.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>

#include "core/search/search_index.h"
#include "core/search/sqlite_db.h"
#include "core/util/iso_instant.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct ServiceNotifier final : Notifier {
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
  ServiceNotifier notifier_;

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

TEST_F(VaultServiceTest, KeepsTheSearchIndexUpToDateAsPagesChange) {
  testing::TempDir cache;
  auto o = options();
  o.searchCache = cache.path();
  o.searchQuiet = 20ms;
  VaultService service(o);
  auto running = std::async(std::launch::async, [&] { return service.run(); });
  // Looks into the database without bringing it up to date, as a search would.
  auto indexed = [&](const std::string& word) {
    const fs::path file = SearchIndex::databaseFile(cache.path(), vault_.path());
    if (!fs::exists(file)) return false;
    try {
      SqliteDb db(file, false);
      auto rows = db.prepare("SELECT count(*) FROM lines WHERE flat LIKE ?");
      rows.bind(1, "%" + word + "%");
      return rows.step() && rows.integer(0) > 0;
    } catch (const SqliteError&) {
      return false;  // being written at this moment
    }
  };
  vault_.write("days/2026-09-16.md",
               "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday\n\n## Journal\n"
               "- 08:00 \u2014 Fed the zebra\n");
  EXPECT_TRUE(waitFor([&] { return indexed("zebra"); }));
  vault_.write("days/2026-09-16.md",
               "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday\n\n## Journal\n"
               "- 08:00 \u2014 Fed the okapi\n");
  EXPECT_TRUE(waitFor([&] { return indexed("okapi") && !indexed("zebra"); }));
  service.requestStop();
  EXPECT_EQ(running.get(), 0);

  // A search then finds nothing left to read.
  SearchIndex::Options options;
  options.vault = vault_.path();
  options.cacheFolder = cache.path();
  SearchIndex index(options);
  EXPECT_EQ(index.refresh().read, 0u);
}

TEST_F(VaultServiceTest, TurnsTheDayAtLocalMidnight) {
  clock_.set(*parseIsoInstant("2026-09-16T23:59:58Z"));
  auto o = options();
  o.heartbeat = 50ms;  // the fake clock does not move by itself: let the loop look often
  VaultService service(o);
  auto running = std::async(std::launch::async, [&] { return service.run(); });
  auto dayTitle = [] {
    const auto card = LiveState::read().card("day");
    return card ? card->title : std::string();
  };
  EXPECT_TRUE(waitFor([&] { return dayTitle() == "Wednesday"; }));
  clock_.advance(3s);
  EXPECT_TRUE(waitFor([&] { return dayTitle() == "Thursday"; }));
  EXPECT_EQ(LiveState::read().week.back().day, 17);
  service.requestStop();
  EXPECT_EQ(running.get(), 0);
}

TEST_F(VaultServiceTest, ShowsAnotherDevicesSessionAndObeysItsAsks) {
  auto o = options();
  o.heartbeat = 50ms;
  VaultService service(o);
  auto running = std::async(std::launch::async, [&] { return service.run(); });
  const Instant now = SystemClock::shared().now();
  LiveSession other;
  other.device = "laptop";
  other.deviceName = "Laptop";
  other.subject = "Essay";
  other.started = now - 5min;
  other.ends = now + 20min;
  other.minutes = 25;
  other.stamp = now;
  LiveSession::publish(other, other.device, vault_.path());
  EXPECT_TRUE(waitFor([] { return LiveState::read().subject == std::optional<std::string>("Essay"); }));
  EXPECT_EQ(LiveState::read().phase, LiveState::Phase::running);
  EXPECT_EQ(LiveState::read().planned, 25);

  // This device starts its own session; the other device asks it to pause.
  LiveState::send(LiveState::Command::start, SystemClock::shared());
  EXPECT_TRUE(waitFor([] { return LiveState::read().subject == std::nullopt; }));
  LiveAsk ask;
  ask.id = "1";
  ask.action = LiveAsk::Action::pause;
  ask.from = "laptop";
  ask.stamp = now;
  LiveSession::send(ask, options().device.id, vault_.path());
  EXPECT_TRUE(waitFor([] { return LiveState::read().phase == LiveState::Phase::paused; }));
  // Its own session is published for the other device to see.
  const auto mine = LiveSession::own(options().device.id, vault_.path(), clock_.now());
  ASSERT_TRUE(mine);
  EXPECT_EQ(mine->phase, LiveSession::Phase::paused);
  service.requestStop();
  EXPECT_EQ(running.get(), 0);
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

// Runs `trivo app` as a child process over a temporary vault, with its clock sped up, and talks
// to it the way widgets and `trivo focus` do: through live.json and command.json.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "core/focus/live_state.h"
#include "core/service/service_lock.h"
#include "core/service/vault_service.h"
#include "core/util/iso_instant.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* kServiceDay = "2026-09-16";

bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    if (done()) return true;
    std::this_thread::sleep_for(20ms);
  }
  return done();
}

std::string readWhole(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

class Service : public ::testing::Test {
 protected:
  testing::TempDir vault_;
  testing::TempDir group_;
  testing::TempDir state_;
  testing::TempDir config_;
  fs::path errFile_ = state_.path() / "service.err";
  // One anchor for every process of a test, so that a restarted service reads the same time.
  std::string anchor_ = isoInstantString(std::chrono::system_clock::now());
  double scale_ = 1;

  void SetUp() override {
    fs::create_directories(vault_.path() / ".trivo");
    fs::permissions(group_.path(), fs::perms::owner_all, fs::perm_options::replace);
  }

  testing::ProcessOptions options() const {
    testing::ProcessOptions o;
    o.env = {{"TRIVO_VAULT", vault_.path().string()},
             {"TRIVO_GROUP_DIR", group_.path().string()},
             {"XDG_STATE_HOME", state_.path().string()},
             {"XDG_CONFIG_HOME", config_.path().string()},
             {"XDG_RUNTIME_DIR", std::nullopt},
             {"TRIVO_TODAY", std::nullopt},
             {"TZ", "UTC"},
             // No sound server and no session bus: the service must carry on silently.
             {"PULSE_SERVER", "unix:/nonexistent"},
             {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"},
             {"TRIVO_SERVICE_CLOCK",
              std::string(kServiceDay) + "T09:00:00Z," + std::to_string(scale_) + "," + anchor_}};
    return o;
  }

  // Starts the service with its standard error in a file; waits until it says it is up.
  std::unique_ptr<testing::BackgroundProcess> start(pid_t* pid = nullptr) {
    auto service = startWith(options(), errFile_);
    EXPECT_TRUE(waitFor([&] { return fs::exists(group_.path() / "live.json"); }, 5s));
    if (pid) *pid = pid_;
    return service;
  }
  std::unique_ptr<testing::BackgroundProcess> startWith(const testing::ProcessOptions& options,
                                                        const fs::path& errFile) {
    auto service = std::make_unique<testing::BackgroundProcess>(
        "/bin/sh",
        std::vector<std::string>{"-c", "exec \"$0\" app 2>>\"$1\"", testing::builtProgram("trivo"),
                                 errFile.string()},
        options);
    const auto line = service->readLine(10000);
    EXPECT_TRUE(line && line->rfind("Trivo serves ", 0) == 0) << line.value_or("(nothing)");
    if (line) pid_ = std::stoi(line->substr(line->find("process ") + 8));
    return service;
  }
  pid_t pid_ = 0;

  testing::ProcessResult trivo(const std::vector<std::string>& args) const {
    return testing::runTrivo(args, options());
  }

  LiveState live() const {
    try {
      return Json::parse(readWhole(group_.path() / "live.json")).get<LiveState>();
    } catch (const std::exception&) {
      return LiveState{};
    }
  }

  fs::path dayPage() const { return vault_.path() / "days" / (std::string(kServiceDay) + ".md"); }
  std::string log() const { return readWhole(errFile_); }

  // The service's snapshot file, by the rule the service follows under this XDG_STATE_HOME.
  fs::path snapshotFile() const {
    testing::ScopedEnv env("XDG_STATE_HOME", state_.path().c_str());
    return VaultService::stateFolderFor(vault_.path()) / VaultService::kSnapshotFile;
  }
};

TEST_F(Service, PagesAndDraftsReachLiveStateWithinASecondAndLinksStartSessions) {
  auto service = start();
  ASSERT_EQ(live().set, 0);
  const auto written = std::chrono::steady_clock::now();
  vault_.write(fs::path("days") / (std::string(kServiceDay) + ".md"),
               "---\ndate: 2026-09-16\ntype: day\n---\n# Wednesday, 16 September 2026\n\n"
               "## Outcomes\n- [x] Ship the release\n- [ ] Write the essay\n- [ ]\n");
  ASSERT_TRUE(waitFor([&] { return live().set == 2; }, 3s)) << log();
  EXPECT_LT(std::chrono::steady_clock::now() - written, 1s);
  const LiveState state = live();
  EXPECT_EQ(state.done, 1);
  const auto day = state.card("day");
  ASSERT_TRUE(day);
  EXPECT_EQ(day->title, "Wednesday");
  ASSERT_EQ(day->outcomes.size(), 2u);
  EXPECT_EQ(day->outcomes[0], (LiveState::Line{"Ship the release", "done"}));
  EXPECT_TRUE(state.appIsUp(SystemClock::shared()));

  // Drafts reach it when written and when pinned.
  EXPECT_TRUE(live().drafts.empty());
  vault_.write("drafts/Garden.md", "# Plant tulips\n");
  vault_.write("drafts/Trip.md", "Book the train\n");
  ASSERT_TRUE(waitFor([&] { return live().drafts.size() == 2; }, 3s)) << log();
  ASSERT_EQ(trivo({"config", "set", "draftPins", R"(["Trip"])"}).exitCode, 0);
  ASSERT_TRUE(waitFor([&] { return live().drafts.size() == 1; }, 3s)) << log();
  EXPECT_EQ(live().drafts.front().title, "Trip");
  vault_.write("drafts/Trip.md", "Pack the bags\n");
  EXPECT_TRUE(waitFor(
      [&] {
        const auto d = live().drafts;
        return d.size() == 1 && d.front().preview == "Pack the bags";
      },
      3s));

  // A widget's link starts a session with its minutes and subject.
  const auto r = trivo({"open", "trivo://focus/start?minutes=7&subject=Deep%20work"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  ASSERT_TRUE(waitFor([&] { return live().phase == LiveState::Phase::running; }, 1s)) << log();
  EXPECT_EQ(live().planned, 7);
  EXPECT_EQ(live().subject, std::optional<std::string>("Deep work"));
  EXPECT_EQ(service->stop(5000), 0);
  // A stopped service says so at once: its record is no longer fresh.
  EXPECT_FALSE(live().appIsUp(SystemClock::shared()));
}

TEST_F(Service, ASessionStartedThroughTheServiceSurvivesSigkillAndIsLoggedOnce) {
  scale_ = 20;  // 3 s of real time is a minute of session
  pid_t pid = 0;
  auto first = start(&pid);
  const auto r = trivo({"focus", "start", "1", "Write"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out.rfind("Focusing on Write", 0), 0u) << r.out;
  const LiveState before = live();
  ASSERT_EQ(before.phase, LiveState::Phase::running);
  std::this_thread::sleep_for(1s);
  ASSERT_EQ(::kill(pid, SIGKILL), 0);
  first.reset();  // reaps the killed child
  EXPECT_EQ(readWhole(dayPage()).find("Write"), std::string::npos);
  EXPECT_TRUE(fs::exists(snapshotFile()));
  fs::remove(group_.path() / "live.json");  // so that what is read next is the new service's

  auto second = start();
  const LiveState resumed = live();
  EXPECT_EQ(resumed.phase, LiveState::Phase::running) << log();
  EXPECT_EQ(resumed.started, before.started);
  EXPECT_EQ(resumed.ends, before.ends);
  EXPECT_EQ(resumed.subject, std::optional<std::string>("Write"));
  ASSERT_TRUE(waitFor([&] { return readWhole(dayPage()).find("· 1m · Write") != std::string::npos; },
                      15s))
      << log();
  EXPECT_EQ(countOf(readWhole(dayPage()), "Write"), 1u);
  EXPECT_TRUE(waitFor([&] { return live().todayMinutes == 1; }, 2s));
  EXPECT_EQ(live().phase, LiveState::Phase::idle);
  // Other devices learn about the session through the vault, and about its end too.
  EXPECT_TRUE(fs::is_empty(vault_.path() / ".trivo" / "live"));
  EXPECT_EQ(second->stop(5000), 0);
}

TEST_F(Service, DamagedFilesAndStaleCommandsAreReportedInOneLineEachAndNeverStopIt) {
  group_.write("live.json", "{\"phase\": \"sleeping\"");
  vault_.write(".trivo/config.json", "[1, 2");
  {
    const fs::path file = snapshotFile();
    fs::create_directories(file.parent_path());
    fs::permissions(file.parent_path(), fs::perms::owner_all, fs::perm_options::replace);
    std::ofstream(file) << "not a snapshot";
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write,
                    fs::perm_options::replace);
  }
  auto service = start();
  ASSERT_TRUE(waitFor([&] { return live().vault.has_value(); }, 2s));
  LiveState::Order stale{LiveState::Command::start, std::chrono::system_clock::now() - 61s, 5,
                         std::string("Late")};
  group_.write("command.json", Json(stale).dump());
  ASSERT_TRUE(waitFor([&] { return !fs::exists(group_.path() / "command.json"); }, 1s));
  group_.write("command.json", "{\"command\": \"start\", \"at\": ");
  ASSERT_TRUE(waitFor([&] { return !fs::exists(group_.path() / "command.json"); }, 1s));
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(live().phase, LiveState::Phase::idle);
  const std::string err = log();
  EXPECT_EQ(countOf(err, "cannot be read; it is replaced.\n"), 1u) << err;
  EXPECT_EQ(countOf(err, "cannot be read; it is ignored.\n"), 1u) << err;
  EXPECT_EQ(countOf(err, "config.json cannot be read"), 1u) << err;
  EXPECT_EQ(countOf(err, "is older than a minute; it is dropped.\n"), 1u) << err;
  EXPECT_EQ(countOf(err, "is not a command; it is dropped.\n"), 1u) << err;
  EXPECT_EQ(countOf(err, "\n"), 5u) << err;
  // The settings file is the user's: it is reported, never rewritten.
  EXPECT_EQ(readWhole(vault_.path() / ".trivo" / "config.json"), "[1, 2");

  // An order without minutes or subject, as older widgets write it, is still obeyed.
  group_.write("command.json",
               "{\"command\": \"start\", \"at\": \"" +
                   isoInstantString(std::chrono::system_clock::now()) + "\"}");
  EXPECT_TRUE(waitFor([&] { return live().phase == LiveState::Phase::running; }, 1s));
  EXPECT_EQ(live().planned, 25);
  EXPECT_EQ(service->stop(5000), 0);
}

TEST_F(Service, AVaultFolderThatDisappearsStopsItWithExit1) {
  auto service = start();
  fs::remove_all(vault_.path());
  // stop() sends SIGTERM only after the service has had time to notice on its own.
  std::this_thread::sleep_for(1500ms);
  EXPECT_NE(log().find("The vault folder " + vault_.path().string() +
                       " disappeared; the service stops.\n"),
            std::string::npos)
      << log();
  EXPECT_EQ(service->stop(5000), 1);
}

TEST_F(Service, ASecondServiceNamesTheProcessThatHoldsTheVault) {
  pid_t pid = 0;
  auto service = start(&pid);
  const auto r = trivo({"service"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err, "trivo: The vault " + vault_.path().string() + " is already served by process " +
                       std::to_string(pid) + "; stop it first (kill " + std::to_string(pid) +
                       ").\n");
  EXPECT_EQ(service->stop(5000), 0);
  // Once it is gone the vault is free again.
  auto next = start();
  EXPECT_EQ(next->stop(5000), 0);
}

TEST_F(Service, WithoutAServiceFocusStartRunsInTheForegroundAndOrdersAreRefused) {
  scale_ = 60;
  EXPECT_EQ(trivo({"focus"}).out, "No focus session is under way; 0 minutes focused today.\n");
  const auto r = trivo({"focus", "start", "1", "Read", "the", "paper"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find("Focusing for 1 minute on Read the paper;"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Logged 1 minute of Read the paper into today's page."), std::string::npos)
      << r.out;
  EXPECT_NE(readWhole(dayPage()).find("· 1m · Read the paper"), std::string::npos);
  EXPECT_FALSE(fs::exists(snapshotFile()));
  // The day's minutes come from the page, where the foreground session logged its own (the
  // command is put on the session's day: the service's clock runs on a day of its own here).
  auto onServiceDay = options();
  onServiceDay.env["TRIVO_TODAY"] = std::string(kServiceDay);
  EXPECT_EQ(testing::runTrivo({"focus"}, onServiceDay).out,
            "No focus session is under way; 1 minute focused today.\n");

  // Orders for a session need the service that runs it.
  const auto stop = trivo({"focus", "stop"});
  EXPECT_EQ(stop.exitCode, 1);
  EXPECT_EQ(stop.err,
            "trivo: No service runs for this vault, so no session is under way; start one with: "
            "trivo focus start.\n");
  const auto bad = trivo({"focus", "start", "121"});
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_EQ(bad.err,
            "trivo: \"121\" is not a length in minutes; give a whole number from 1 to 120.\n");
}

TEST_F(Service, AForegroundSessionEndedEarlyLogsWhatWasFocused) {
  scale_ = 60;
  testing::BackgroundProcess focus(testing::builtProgram("trivo"), {"focus", "start", "25", "Draft"},
                                   options());
  ASSERT_TRUE(focus.readLine(5000));
  std::this_thread::sleep_for(2500ms);  // two and a half minutes of session time
  EXPECT_EQ(focus.stop(5000), 0);
  EXPECT_NE(readWhole(dayPage()).find("· 2m · Draft"), std::string::npos) << readWhole(dayPage());
}

TEST_F(Service, CtrlCAtATerminalAsksBeforeLoggingTheSession) {
  scale_ = 60;
  for (const bool keep : {false, true}) {
    testing::TerminalProcess focus(testing::builtProgram("trivo"),
                                   {"focus", "start", "25", keep ? "Kept" : "Dropped"}, options());
    ASSERT_TRUE(focus.waitForOutput("asks whether to log it", 5000)) << focus.output();
    ASSERT_TRUE(focus.waitForOutput("\x1b[2K22:", 8000)) << focus.output();  // 3 minutes focused
    focus.type("\x03");
    ASSERT_TRUE(focus.waitForOutput("into today's page? [Y/n] ", 5000)) << focus.output();
    focus.type(keep ? "\n" : "n\n");
    EXPECT_EQ(focus.wait(5000), 0) << focus.output();
    EXPECT_NE(focus.output().find(keep ? "Logged " : "The session was not logged."),
              std::string::npos)
        << focus.output();
  }
  const std::string page = readWhole(dayPage());
  EXPECT_EQ(page.find("Dropped"), std::string::npos) << page;
  EXPECT_NE(page.find("m · Kept"), std::string::npos) << page;
}

TEST_F(Service, OneVaultFeedsTheWidgetsAndAnotherTakesOverWhenItStops) {
  auto first = start();
  testing::TempDir other;
  fs::create_directories(other.path() / ".trivo");
  auto otherOptions = options();
  otherOptions.env["TRIVO_VAULT"] = other.path().string();
  const fs::path otherErr = state_.path() / "other.err";
  auto second = startWith(otherOptions, otherErr);
  ASSERT_TRUE(waitFor([&] { return readWhole(otherErr).find("feeds the widgets") != std::string::npos; },
                      5s))
      << readWhole(otherErr);
  EXPECT_EQ(live().vault, vault_.path().filename().string());

  // A focus order for the second vault would reach the first vault's service: refused.
  const auto order = testing::runTrivo({"focus", "start", "5", "Wrong vault"}, otherOptions);
  EXPECT_EQ(order.exitCode, 1);
  EXPECT_NE(order.err.find("Another vault's service"), std::string::npos) << order.err;
  EXPECT_EQ(live().phase, LiveState::Phase::idle);

  ASSERT_EQ(first->stop(5000), 0);
  EXPECT_TRUE(waitFor([&] { return live().vault == other.path().filename().string(); }, 8s));
  EXPECT_NE(readWhole(otherErr).find("This service feeds the widgets now."), std::string::npos);
}

TEST_F(Service, PrintsAUserUnitThatRunsThisProgramForTheVault) {
  const auto r = trivo({"app", "--print-unit"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find("ExecStart=" + testing::builtProgram("trivo") + " app\n"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("Environment=\"TRIVO_VAULT=" + vault_.path().string() + "\"\n"),
            std::string::npos);
  EXPECT_NE(r.out.find("WantedBy=default.target"), std::string::npos);
}

}  // namespace
}  // namespace trivo

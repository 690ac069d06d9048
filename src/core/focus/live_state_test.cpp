// The live state: its JSON, its places, writing only changed bytes, the command channel, and
// readers in another process never seeing half a record.
#include "core/focus/live_state.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/focus/shared_files.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
using testing::FakeClock;
using testing::ScopedEnv;
using testing::TempDir;

const Instant kStateNoon = Instant(std::chrono::seconds(1789560000));  // 2026-09-16T12:00:00Z

LiveState sampleState() {
  LiveState s;
  s.phase = LiveState::Phase::onBreak;
  s.subject = "Essay";
  s.ends = kStateNoon + 5min;
  s.started = kStateNoon - 25min;
  s.todayMinutes = 75;
  s.done = 1;
  s.set = 3;
  s.vault = "Notes";
  s.locale = "de";
  s.scheme = "dark";
  s.week = {{"Mo", 14, 30, 1, false}, {"Di", 15, 45, 2, true}};
  s.accent = "#ff8800";
  s.stamp = kStateNoon;
  s.cards = {{"day", "Wednesday", "16 September", {{"Write", "done"}, {"Call", "planned"}}}};
  s.agenda = {{"Standup", "", "09:30", true, false, false},
              {"Dentist", "Thu", "14:00", false, true, true}};
  s.drafts = {{"Idea", "first line"}};
  s.pomodoro = true;
  s.slice = 2;
  s.slices = 4;
  s.breakMinutes = 5;
  s.planned = 25;
  return s;
}

TEST(LiveStateJson, RoundTripsEveryFieldWithKeysInTableOrder) {
  const LiveState s = sampleState();
  const Json j = s;
  std::vector<std::string> keys;
  for (const auto& item : j.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{
                      "phase",  "subject",      "ends",   "started", "todayMinutes", "done",
                      "set",    "vault",        "locale", "scheme",  "week",         "accent",
                      "stamp",  "cards",        "agenda", "drafts",  "pomodoro",     "slice",
                      "slices", "breakMinutes", "planned"}));
  EXPECT_EQ(j["phase"], "onBreak");
  EXPECT_EQ(j["ends"], "2026-09-16T12:05:00.000Z");
  EXPECT_EQ(Json::parse(j.dump()).get<LiveState>(), s);
}

TEST(LiveStateJson, MissingKeysTakeDefaultsAndWrongTypesAreErrors) {
  const auto empty = Json::parse("{}").get<LiveState>();
  EXPECT_EQ(empty, LiveState{});
  EXPECT_EQ(empty.stamp, distantPast());

  // An older writer that knows only a few keys, and nested records with keys missing.
  const auto partial = Json::parse(R"({"phase": "running", "ends": "2026-09-16T12:05:00Z",
      "cards": [{"key": "week", "outcomes": [{"text": "Ship"}]}], "agenda": [{"text": "x"}],
      "future": {"anything": 1}})")
                           .get<LiveState>();
  EXPECT_EQ(partial.phase, LiveState::Phase::running);
  EXPECT_EQ(partial.ends, kStateNoon + 5min);
  ASSERT_EQ(partial.cards.size(), 1u);
  EXPECT_EQ(partial.cards[0].outcomes, (std::vector<LiveState::Line>{{"Ship", ""}}));
  EXPECT_EQ(partial.locale, "en");

  for (const char* bad :
       {R"([])", R"({"phase": "sleeping"})", R"({"todayMinutes": "75"})", R"({"stamp": 12})",
        R"({"ends": "soon"})", R"({"week": {}})", R"({"cards": [{"outcomes": "none"}]})",
        R"({"pomodoro": "yes"})", R"({"slice": 2.5})", R"({"todayMinutes": 1e300})",
        R"({"done": 18446744073709551615})"}) {
    EXPECT_THROW((void)Json::parse(bad).get<LiveState>(), RecordError) << bad;
  }
}

TEST(LiveState, AppIsUpWhileTheStampIsUnderFiveSecondsOld) {
  FakeClock clock(kStateNoon);
  LiveState s;
  EXPECT_FALSE(s.appIsUp(clock));
  s.stamp = kStateNoon - 4s;
  EXPECT_TRUE(s.appIsUp(clock));
  s.stamp = kStateNoon - 5s;
  EXPECT_FALSE(s.appIsUp(clock));
  EXPECT_EQ(sampleState().card("day")->title, "Wednesday");
  EXPECT_EQ(sampleState().card("year"), std::nullopt);
}

// Points the shared folder and the state folder at temporary folders.
class LiveStateFiles : public ::testing::Test {
 protected:
  TempDir group_;
  TempDir state_;
  ScopedEnv groupEnv_{"TRIVO_GROUP_DIR", group_.path().c_str()};
  ScopedEnv runtimeEnv_{"XDG_RUNTIME_DIR", nullptr};
  ScopedEnv stateEnv_{"XDG_STATE_HOME", state_.path().c_str()};
  FakeClock clock_{kStateNoon};

  std::filesystem::path groupFile(const char* name) const { return group_.path() / name; }
  std::filesystem::path stateFile(const char* name) const { return state_.path() / "trivo" / name; }
  static struct stat statOf(const std::filesystem::path& path) {
    struct stat st {};
    EXPECT_EQ(::stat(path.c_str(), &st), 0) << path;
    return st;
  }
};

TEST_F(LiveStateFiles, WritesPrivateFilesToEveryPlaceAndReadsThemBack) {
  EXPECT_EQ(LiveState::read(), LiveState{});  // nothing written yet: idle, from the distant past
  EXPECT_EQ(LiveState::urls(),
            (std::vector<std::filesystem::path>{groupFile("live.json"), stateFile("live.json")}));
  LiveState::write(sampleState());
  EXPECT_EQ(LiveState::read(), sampleState());
  for (const auto& path : LiveState::urls()) {
    EXPECT_EQ(statOf(path).st_mode & 0777, 0600u) << path;
  }
  EXPECT_EQ(statOf(stateFile("")).st_mode & 0777, 0700u);
}

TEST_F(LiveStateFiles, AnIdenticalRecordIsNotWrittenAgain) {
  LiveState::write(sampleState());
  const auto before = statOf(groupFile("live.json"));
  LiveState::write(sampleState());
  const auto same = statOf(groupFile("live.json"));
  EXPECT_EQ(same.st_ino, before.st_ino);
  EXPECT_EQ(same.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
  EXPECT_EQ(same.st_mtim.tv_sec, before.st_mtim.tv_sec);

  LiveState changed = sampleState();
  changed.todayMinutes += 1;
  LiveState::write(changed);
  EXPECT_NE(statOf(groupFile("live.json")).st_ino, before.st_ino);
  EXPECT_EQ(LiveState::read(), changed);
}

TEST_F(LiveStateFiles, ARestampReachesTheFirstPlaceOnly) {
  LiveState::write(sampleState());
  const auto fallback = statOf(stateFile("live.json"));
  LiveState later = sampleState();
  later.stamp += 4s;
  LiveState::restamp(later);
  EXPECT_EQ(LiveState::read(), later);
  EXPECT_EQ(statOf(stateFile("live.json")).st_ino, fallback.st_ino);
  // With the first place gone, a restamp recreates it there.
  std::filesystem::remove(groupFile("live.json"));
  later.stamp += 4s;
  LiveState::restamp(later);
  EXPECT_EQ(LiveState::read(), later);
}

TEST_F(LiveStateFiles, TextThatIsNotUtf8IsReplacedNotFatal) {
  LiveState s = sampleState();
  s.subject = std::string("Caf\xC3", 4);
  ASSERT_NO_THROW(LiveState::write(s));
  EXPECT_EQ(LiveState::read().subject, "Caf\xEF\xBF\xBD");
}

// A FIFO named live.json used to hang every reader (the widgets, the status bar) forever. It,
// like a broken or huge record, is passed over for the next place.
TEST_F(LiveStateFiles, AFifoOrAHugeOrBrokenRecordIsPassedOver) {
  LiveState::write(sampleState());
  std::filesystem::remove(groupFile("live.json"));
  ASSERT_EQ(::mkfifo(groupFile("live.json").c_str(), 0600), 0);
  EXPECT_EQ(LiveState::read(), sampleState());
  std::filesystem::remove(groupFile("live.json"));
  for (const std::string& text :
       {std::string("{\"phase\": "), std::string("{\"phase\": \"nonsense\"}"),
        "{\"phase\": \"idle\", \"subject\": \"" + std::string(std::size_t{2} << 20, 'x') + "\"}"}) {
    group_.write("live.json", text);
    ASSERT_EQ(::chmod(groupFile("live.json").c_str(), 0600), 0);
    EXPECT_EQ(LiveState::read(), sampleState()) << text.substr(0, 40);
  }
}

TEST_F(LiveStateFiles, ASharedFolderOpenToOthersIsNotUsed) {
  ASSERT_EQ(::chmod(group_.path().c_str(), 0755), 0);
  EXPECT_EQ(LiveState::places(), (std::vector<std::filesystem::path>{state_.path() / "trivo"}));
  ASSERT_EQ(::chmod(group_.path().c_str(), 0700), 0);
  // A record another user could have left writable is not believed either.
  LiveState::write(sampleState());
  ASSERT_EQ(::chmod(groupFile("live.json").c_str(), 0666), 0);
  ASSERT_EQ(::chmod(stateFile("live.json").c_str(), 0666), 0);
  EXPECT_EQ(LiveState::read(), LiveState{});
}

TEST_F(LiveStateFiles, AFreshCommandIsTakenOnceEvenThoughEveryPlaceHoldsIt) {
  LiveState::send(LiveState::Command::pause, clock_);
  EXPECT_TRUE(std::filesystem::exists(groupFile("command.json")));
  EXPECT_TRUE(std::filesystem::exists(stateFile("command.json")));
  clock_.advance(59s);
  EXPECT_EQ(LiveState::takeCommand(clock_), LiveState::Command::pause);
  EXPECT_EQ(LiveState::takeCommand(clock_), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(groupFile("command.json")));
  EXPECT_FALSE(std::filesystem::exists(stateFile("command.json")));
}

TEST_F(LiveStateFiles, StaleOrBrokenCommandsAreDeletedAndNotObeyed) {
  LiveState::send(LiveState::Command::start, clock_);
  clock_.advance(61s);
  EXPECT_EQ(LiveState::takeCommand(clock_), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(groupFile("command.json")));
  // Only the stale shared copy: the next place's fresh order still counts.
  LiveState::send(LiveState::Command::stop, clock_);
  group_.write("command.json", R"({"command": "start", "at": "2026-09-16T11:00:00.000Z"})");
  EXPECT_EQ(LiveState::takeCommand(clock_), LiveState::Command::stop);

  for (const char* text : {"", "not json", R"({"command": "dance", "at": "2026-09-16T12:00:00Z"})",
                           R"({"command": "stop"})"}) {
    group_.write("command.json", text);
    ::chmod(groupFile("command.json").c_str(), 0600);
    EXPECT_EQ(LiveState::takeCommand(clock_), std::nullopt) << text;
    EXPECT_FALSE(std::filesystem::exists(groupFile("command.json"))) << text;
  }
}

TEST_F(LiveStateFiles, ACommandWrittenWhileOneIsTakenSurvivesForTheNextTake) {
  LiveState::send(LiveState::Command::pause, clock_);
  bool sentMeanwhile = false;
  auto taken = LiveState::takeCommand(clock_, [&] {
    if (sentMeanwhile) return;
    sentMeanwhile = true;
    LiveState::send(LiveState::Command::resume, clock_);
  });
  EXPECT_EQ(taken, LiveState::Command::pause);
  EXPECT_EQ(LiveState::takeCommand(clock_), LiveState::Command::resume);
  EXPECT_EQ(LiveState::takeCommand(clock_), std::nullopt);
}

// A writer process rewrites the record in a loop while this process reads it: every read must
// parse and be one of the two records, never a mix or a truncated file.
TEST_F(LiveStateFiles, AReaderInAnotherProcessNeverSeesATornRecord) {
  LiveState a = sampleState();
  LiveState b = sampleState();
  b.phase = LiveState::Phase::running;
  // Long enough that a non-atomic write would be seen half done.
  for (int i = 0; i < 200; ++i) {
    a.agenda.push_back({"line " + std::to_string(i), "Fri", "10:00", false, false, false});
    b.drafts.push_back({"draft " + std::to_string(i), std::string(100, 'x')});
  }
  LiveState::write(a);

  const pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    for (int i = 0; i < 300; ++i) LiveState::write(i % 2 ? a : b);
    _exit(0);
  }
  int reads = 0;
  int sawA = 0;
  int sawB = 0;
  int status = 0;
  bool writerDone = false;
  while (!writerDone || reads < 50) {
    writerDone = writerDone || waitpid(writer, &status, WNOHANG) == writer;
    auto text = shared::readFile(groupFile("live.json"), shared::Access::privateToUser);
    ASSERT_TRUE(text.has_value());
    LiveState got;
    ASSERT_NO_THROW(got = Json::parse(*text).get<LiveState>()) << "read " << reads;
    ASSERT_TRUE(got == a || got == b) << "read " << reads;
    (got == a ? sawA : sawB) += 1;
    ++reads;
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_GT(sawA + sawB, 0);
}

}  // namespace
}  // namespace trivo

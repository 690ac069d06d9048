// Runs `trivo-widgets` against a temporary shared folder, as a status bar or a terminal would.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/focus/live_state.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

class WidgetHostCommands : public ::testing::Test {
 protected:
  testing::TempDir group_;
  testing::TempDir state_;

  testing::ProcessOptions options() const {
    testing::ProcessOptions options;
    options.env = {{"TRIVO_GROUP_DIR", group_.path().string()},
                   {"XDG_STATE_HOME", state_.path().string()},
                   {"XDG_RUNTIME_DIR", std::nullopt},
                   {"TRIVO_TODAY", "2026-09-16"}};
    return options;
  }
  testing::ProcessResult run(const std::vector<std::string>& args) const {
    return testing::runProgram("trivo-widgets", args, options());
  }
  std::unique_ptr<testing::BackgroundProcess> bar(const std::vector<std::string>& args) const {
    return std::make_unique<testing::BackgroundProcess>(testing::builtProgram("trivo-widgets"),
                                                        args, options());
  }

  // Written the way the app writes: beside the target, then renamed over it.
  void writeLive(const LiveState& state) const {
    group_.write(".live.json.tmp", Json(state).dump());
    std::filesystem::rename(group_.path() / ".live.json.tmp", group_.path() / "live.json");
  }

  static LiveState running() {
    LiveState s;
    s.phase = LiveState::Phase::running;
    s.subject = "Essay";
    s.ends = std::chrono::system_clock::now() + 10min;
    s.stamp = std::chrono::system_clock::now();
    s.done = 2;
    s.set = 3;
    s.drafts = {{"Idea & more", "first line"}};
    s.cards = {{"week", "Week 38", "", {{"Ship", "done"}}}};
    return s;
  }
};

TEST_F(WidgetHostCommands, ListsTheNineKindsInOrderAndRefusesUnknownKindsAndBadUsage) {
  auto r = run({"list"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out.rfind("TrivoFocus ", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("TrivoWeekOutcomes  Weekly Outcomes: The three that carry this scope."),
            std::string::npos)
      << r.out;
  auto json = run({"list", "--json"});
  ASSERT_EQ(json.exitCode, 0);
  const Json all = Json::parse(json.out);
  ASSERT_EQ(all.size(), 9u);
  EXPECT_EQ(all[8]["kind"], "TrivoYear");
  EXPECT_EQ(all[8]["cardKey"], "year");

  auto unknown = run({"show", "TrivoNope"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_EQ(unknown.err,
            "trivo-widgets: There is no widget of kind \"TrivoNope\"; run `trivo-widgets list` "
            "to see the kinds.\n");
  EXPECT_EQ(run({"show"}).exitCode, 2);
  EXPECT_EQ(run({"bar", "TrivoFocus", "--size", "huge"}).exitCode, 2);
  EXPECT_EQ(run({"bar", "TrivoFocus", "--format", "xmobar"}).exitCode, 2);
}

TEST_F(WidgetHostCommands, ShowsTheDefaultRecordThenWhatTheAppWroteWithoutColour) {
  auto idle = run({"show", "TrivoFocus"});
  ASSERT_EQ(idle.exitCode, 0) << idle.err;
  EXPECT_EQ(idle.out,
            "Trivo\nNo session\nToday: 0 of 0 · 0 min focused\n[Start] trivo://widget/start\n"
            "trivo://open?page=focus\n");

  writeLive(running());
  auto focus = run({"show", "TrivoFocus", "--size", "large"});
  ASSERT_EQ(focus.exitCode, 0) << focus.err;
  EXPECT_EQ(focus.out.rfind("Essay\n", 0), 0u) << focus.out;
  EXPECT_NE(focus.out.find(" left\n"), std::string::npos) << focus.out;
  EXPECT_NE(focus.out.find("[Stop] trivo://widget/stop"), std::string::npos) << focus.out;
  EXPECT_EQ(focus.out.find('\x1b'), std::string::npos);

  auto drafts = run({"show", "TrivoDrafts"});
  EXPECT_NE(drafts.out.find("trivo://open?page=drafts&name=Idea%20%26%20more"), std::string::npos)
      << drafts.out;
  auto week = run({"show", "TrivoWeekOutcomes"});
  EXPECT_EQ(week.out, "Week 38\n[x] Ship\ntrivo://open?page=week:2026-W38\n");
}

TEST_F(WidgetHostCommands, BarOncePrintsOneStatusLine) {
  writeLive(running());
  auto r = run({"bar", "TrivoFocus", "--once"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  ASSERT_EQ(r.out.back(), '\n');
  ASSERT_EQ(r.out.find('\n'), r.out.size() - 1) << r.out;
  const Json line = Json::parse(r.out);
  std::vector<std::string> keys;
  for (const auto& item : line.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"text", "tooltip", "class"}));
  EXPECT_EQ(line["class"], "running");
  EXPECT_NE(line["text"].get<std::string>().find("Essay"), std::string::npos);
  EXPECT_NE(line["tooltip"].get<std::string>().find("Today: 2 of 3"), std::string::npos);

  auto agenda = run({"bar", "TrivoAgenda", "--once"});
  EXPECT_EQ(Json::parse(agenda.out)["text"], "Nothing on this day.");
  EXPECT_EQ(Json::parse(agenda.out)["class"], "empty");
}

TEST_F(WidgetHostCommands, BarPrintsANewLineWhenTheRecordChanges) {
  auto watching = bar({"bar", "TrivoFocus"});
  const auto first = watching->readLine(5000);
  ASSERT_TRUE(first);
  EXPECT_EQ(Json::parse(*first)["class"], "idle");
  LiveState paused;
  paused.phase = LiveState::Phase::paused;
  paused.subject = "Essay";
  paused.stamp = std::chrono::system_clock::now();
  writeLive(paused);
  const auto second = watching->readLine(5000);
  ASSERT_TRUE(second) << "no line after the record changed";
  EXPECT_EQ(Json::parse(*second)["class"], "paused");
  EXPECT_EQ(Json::parse(*second)["text"], "Paused Essay");
}

// Bytes a terminal or a bar would act on: C0 and C1 controls, DEL, a bidirectional override.
bool hasControls(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if ((c < 0x20 && c != '\n') || c == 0x7F) return true;
    if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
        static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
      return true;
    }
    if (text.compare(i, 3, "\xE2\x80\xAE") == 0) return true;
  }
  return false;
}

TEST_F(WidgetHostCommands, NoEscapeSequenceFromTheRecordReachesTheTerminal) {
  // Written by hand: JSON escapes carry what a hostile writer would put there.
  group_.write("live.json", R"({"phase": "running", "subject": "\u001b]0;owned\u0007Essay\u001b[2J",
    "ends": "2099-01-01T00:00:00.000Z", "stamp": "2099-01-01T00:00:00.000Z",
    "agenda": [{"text": "\u009b31mDentist\u007f", "day": "", "time": "09:30"}],
    "drafts": [{"title": "txt.\u202egpj", "preview": "one\ntwo\u0000"}],
    "cards": [{"key": "day", "title": "\u001bP+q\u001b\\", "outcomes": [{"text": "\u001b[5mShip", "state": "done"}]}]})");
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"show", "TrivoFocus", "--size", "large"},
           {"show", "TrivoAgenda"},
           {"show", "TrivoDrafts"},
           {"show", "TrivoDay"},
           {"bar", "TrivoFocus", "--once", "--format", "i3blocks"},
           {"bar", "TrivoDrafts", "--once", "--format", "tmux"},
           {"bar", "TrivoAgenda", "--once", "--format", "polybar"}}) {
    const auto r = run(args);
    ASSERT_EQ(r.exitCode, 0) << args[1] << ": " << r.err;
    EXPECT_FALSE(hasControls(r.out)) << args[1] << ": " << r.out;
  }
  // The words around the escapes are still shown.
  EXPECT_NE(run({"show", "TrivoFocus"}).out.find("Essay"), std::string::npos);
  EXPECT_NE(run({"show", "TrivoAgenda"}).out.find("31mDentist"), std::string::npos);
  EXPECT_NE(run({"show", "TrivoDrafts"}).out.find("one two"), std::string::npos);
}

TEST_F(WidgetHostCommands, BarCountsDownEachSecondOfTheLastMinute) {
  auto counting = bar({"bar", "TrivoFocus", "--format", "i3blocks"});
  ASSERT_TRUE(counting->readLine(10000)) << "no first line";
  // A session with 63.5 s left starts once the bar runs: "2:00" (minutes count up), "1:00" at
  // the last minute, then a line each second. A slow start may cost the "2:00", nothing else.
  LiveState s = running();
  s.ends = std::chrono::system_clock::now() + 63500ms;
  writeLive(s);
  std::vector<std::string> lines;
  while (lines.empty() || lines.back() != "0:58 Essay") {
    const auto line = counting->readLine(4000);
    if (!line) break;
    lines.push_back(*line);
  }
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(std::vector<std::string>(lines.end() - 3, lines.end()),
            (std::vector<std::string>{"1:00 Essay", "0:59 Essay", "0:58 Essay"}));
  for (std::size_t i = 0; i + 3 < lines.size(); ++i) EXPECT_EQ(lines[i], "2:00 Essay");
}

}  // namespace
}  // namespace trivo

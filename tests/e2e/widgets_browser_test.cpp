// The widget board in a real browser: `trivo-widgets serve` on a loopback port, headless Chromium
// loading the page, and the server refusing foreign hosts and writes.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <regex>

#include "core/focus/live_state.h"
#include "core/widgets/board.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr const char* kChromium = "/usr/bin/chromium";

// Sends one raw HTTP request and returns the status code of the answer (0 when none came).
int rawStatus(int port, const std::string& request) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  timeval timeout{10, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  int status = 0;
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
    char buffer[256] = {};
    if (read(fd, buffer, sizeof buffer - 1) > 12) {
      status = std::atoi(buffer + 9);  // "HTTP/1.1 403 ..."
    }
  }
  close(fd);
  return status;
}

class WidgetBoard : public ::testing::Test {
 protected:
  void SetUp() override {
    LiveState live;
    live.phase = LiveState::Phase::running;
    live.subject = "Write <the> essay";
    live.ends = std::chrono::system_clock::now() + 20min;
    live.todayMinutes = 75;
    live.done = 1;
    live.set = 3;
    live.cards = {{"day", "Today", "", {{"Draft chapter", "done"}, {"Call Ana", "planned"}}},
                  {"week", "Week 38", "", {{"Ship the beta", "planned"}}},
                  {"month", "September", "", {{"Run 80 km", "blocked"}}},
                  {"year", "2026", "", {{"Write the book", "planned"}}}};
    live.agenda = {{"Dentist", "", "09:30", false, false, false}};
    live.drafts = {{"Ideas", "a planner that keeps text"}};
    group_.write("live.json", Json(live).dump());
    options_.env = {{"TRIVO_GROUP_DIR", group_.path().string()},
                    {"XDG_STATE_HOME", state_.path().string()},
                    {"XDG_RUNTIME_DIR", std::nullopt},
                    {"TRIVO_TODAY", "2026-09-16"}};
  }

  testing::TempDir group_;
  testing::TempDir state_;
  testing::ProcessOptions options_;
};

TEST_F(WidgetBoard, ChromiumShowsTheNineWidgetsWithTheirLinks) {
  testing::BackgroundProcess server(testing::builtProgram("trivo-widgets"),
                                    {"serve", "--port", "0"}, options_);
  const auto first = server.readLine(30000);
  ASSERT_TRUE(first) << "the server printed no address";
  std::smatch match;
  ASSERT_TRUE(
      std::regex_match(*first, match, std::regex(R"(serving (http://127\.0\.0\.1:(\d+)/))")))
      << *first;
  const std::string url = match[1];
  const int port = std::stoi(match[2]);

  // Foreign hosts (a rebinding attack) and writes are refused before any page is made.
  EXPECT_EQ(rawStatus(port, "GET / HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n"),
            403);
  EXPECT_EQ(rawStatus(port,
                      "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n"
                      "Connection: close\r\n\r\n"),
            405);
  EXPECT_EQ(rawStatus(port, "GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n"), 200);

  if (!fs::exists(kChromium)) {
    GTEST_SKIP() << "Chromium is not installed (" << kChromium
                 << "); scripts/install-deps installs it. Skipping the browser half.";
  }
  testing::TempDir profile;
  const std::vector<std::string> flags = {
      "--headless",
      "--no-sandbox",
      "--disable-gpu",
      "--disable-quic",
      "--no-first-run",
      "--disable-background-networking",
      "--disable-sync",
      "--disable-component-update",
      "--user-data-dir=" + (profile.path() / "profile").string(),
      "--window-size=1200,1400"};
  auto withFlags = [&](std::vector<std::string> extra) {
    std::vector<std::string> args{"60", kChromium};
    args.insert(args.end(), flags.begin(), flags.end());
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
  };

  const fs::path shot = profile.path() / "board.png";
  const auto screenshot =
      testing::runExecutable("/usr/bin/timeout", withFlags({"--screenshot=" + shot.string(), url}));
  ASSERT_EQ(screenshot.exitCode, 0) << screenshot.err;
  ASSERT_TRUE(fs::exists(shot)) << screenshot.err;
  EXPECT_GT(fs::file_size(shot), 10000u);
  EXPECT_EQ(profile.read("board.png").substr(1, 3), "PNG");

  const auto dom = testing::runExecutable("/usr/bin/timeout", withFlags({"--dump-dom", url}));
  ASSERT_EQ(dom.exitCode, 0) << dom.err;
  const std::vector<std::string> kinds = {"TrivoFocus",        "TrivoKeys",  "TrivoAgenda",
                                          "TrivoDrafts",       "TrivoWeek",  "TrivoDay",
                                          "TrivoWeekOutcomes", "TrivoMonth", "TrivoYear"};
  std::size_t at = 0;
  for (const auto& kind : kinds) {
    const auto found = dom.out.find("data-kind=\"" + kind + "\"", at);
    ASSERT_NE(found, std::string::npos) << kind << " missing or out of order";
    at = found;
  }
  for (const char* link : {"trivo://widget/stop", "trivo://widget/hold",
                           "trivo://open?page=day:2026-09-16", "trivo://open?page=year:2026"}) {
    EXPECT_NE(dom.out.find(std::string("href=\"") + link), std::string::npos) << link;
  }
  // The subject came from the live state: the browser shows it as text, never as markup.
  EXPECT_NE(dom.out.find("Write &lt;the&gt; essay"), std::string::npos);
  EXPECT_EQ(server.stop(5000), 0);
}

TEST(WidgetBoardPolicy, OnlyLoopbackHostsAndReadingMethodsAreServed) {
  using widgets::BoardVerdict;
  for (const char* host :
       {"127.0.0.1", "127.0.0.1:8080", "localhost", "LOCALHOST:1", "[::1]", "[::1]:9000"}) {
    EXPECT_EQ(widgets::checkRequest("GET", host), BoardVerdict::serve) << host;
  }
  for (const char* host :
       {"", "evil.example", "localhost.evil.example", "127.0.0.1.nip.io", "127.0.0.2",
        "localhost:", "localhost:80x", "[::1", "[::1]x", "0.0.0.0", "[::2]:80"}) {
    EXPECT_EQ(widgets::checkRequest("GET", host), BoardVerdict::forbidden) << host;
  }
  EXPECT_EQ(widgets::checkRequest("HEAD", "localhost"), BoardVerdict::serve);
  for (const char* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
    EXPECT_EQ(widgets::checkRequest(method, "localhost"), BoardVerdict::methodNotAllowed) << method;
  }
}

TEST(WidgetBoardPolicy, TextsFromTheLiveStateAreEscaped) {
  EXPECT_EQ(widgets::htmlEscape(R"(<script>alert("x&y")</script>')"),
            "&lt;script&gt;alert(&quot;x&amp;y&quot;)&lt;/script&gt;&#39;");
  LiveState live;
  live.phase = LiveState::Phase::running;
  live.subject = "<img src=x onerror=alert(1)>";
  const widgets::ViewContext context{std::chrono::system_clock::now(), DayDate{2026, 9, 16},
                                     widgets::WidgetSize::medium};
  const std::string page = widgets::boardPage(live, context, 30);
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_NE(page.find("&lt;img src=x onerror=alert(1)&gt;"), std::string::npos);
  // Never reloads more often than once a minute.
  EXPECT_NE(page.find("content=\"60\""), std::string::npos);
}

}  // namespace
}  // namespace trivo

// The widget board in a real browser: `trivo-widgets serve` on a loopback port, headless Chromium
// loading the page, and the server refusing foreign hosts and writes.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
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

// Chromium headless with a profile of its own, quiet on the network but for the board.
std::vector<std::string> chromiumFlags(const fs::path& profile) {
  return {"--headless",
          "--no-sandbox",
          "--disable-gpu",
          "--disable-quic",
          "--no-first-run",
          "--disable-background-networking",
          "--disable-sync",
          "--disable-component-update",
          "--user-data-dir=" + profile.string()};
}

// Sends one raw HTTP request and returns the whole answer (empty when none came).
std::string rawAnswer(int port, const std::string& request) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return {};
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  timeval timeout{10, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  std::string answer;
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      ::write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
    char buffer[4096];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) {
      answer.append(buffer, static_cast<std::size_t>(n));
    }
  }
  close(fd);
  return answer;
}

// The status code of the answer to one raw HTTP request (0 when none came).
int rawStatus(int port, const std::string& request) {
  const std::string answer = rawAnswer(port, request);
  return answer.size() > 12 ? std::atoi(answer.c_str() + 9) : 0;  // "HTTP/1.1 403 ..."
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

  // Starts the board on a free port; its address, or nothing when it printed none.
  std::optional<std::string> serve() {
    server_.emplace(testing::builtProgram("trivo-widgets"),
                    std::vector<std::string>{"serve", "--port", "0"}, options_);
    const auto first = server_->readLine(30000);
    std::smatch match;
    if (!first ||
        !std::regex_match(*first, match, std::regex(R"(serving (http://127\.0\.0\.1:(\d+)/))"))) {
      return std::nullopt;
    }
    port_ = std::stoi(match[2]);
    return match[1];
  }

  testing::TempDir group_;
  testing::TempDir state_;
  testing::ProcessOptions options_;
  std::optional<testing::BackgroundProcess> server_;
  int port_ = 0;
};

TEST_F(WidgetBoard, ChromiumShowsTheNineWidgetsWithTheirLinks) {
  const auto url = serve();
  ASSERT_TRUE(url) << "the server printed no address";
  const int port = port_;

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
  std::vector<std::string> flags = chromiumFlags(profile.path() / "profile");
  flags.emplace_back("--window-size=1200,1400");
  auto withFlags = [&](std::vector<std::string> extra) {
    std::vector<std::string> args{"60", kChromium};
    args.insert(args.end(), flags.begin(), flags.end());
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
  };

  const fs::path shot = profile.path() / "board.png";
  const auto screenshot = testing::runExecutable(
      "/usr/bin/timeout", withFlags({"--screenshot=" + shot.string(), *url}));
  ASSERT_EQ(screenshot.exitCode, 0) << screenshot.err;
  ASSERT_TRUE(fs::exists(shot)) << screenshot.err;
  EXPECT_GT(fs::file_size(shot), 10000u);
  EXPECT_EQ(profile.read("board.png").substr(1, 3), "PNG");

  const auto dom = testing::runExecutable("/usr/bin/timeout", withFlags({"--dump-dom", *url}));
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
  EXPECT_EQ(server_->stop(5000), 0);
}

// Headless Chromium driven over the DevTools protocol on a pipe (file descriptors 3 and 4 of the
// child, messages ended by NUL), so that a test can read an open page as it changes.
class DevToolsBrowser {
 public:
  DevToolsBrowser(const fs::path& profile, const std::string& url) {
    int toBrowser[2];
    int fromBrowser[2];
    if (pipe2(toBrowser, O_CLOEXEC) != 0 || pipe2(fromBrowser, O_CLOEXEC) != 0) return;
    std::vector<std::string> args = chromiumFlags(profile);
    args.insert(args.begin(), kChromium);
    args.emplace_back("--remote-debugging-pipe");
    args.push_back(url);
    std::vector<char*> argv;
    for (auto& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      // Move both ends out of the way first: one of them may already sit on 3 or 4.
      const int in = fcntl(toBrowser[0], F_DUPFD_CLOEXEC, 10);
      const int out = fcntl(fromBrowser[1], F_DUPFD_CLOEXEC, 10);
      dup2(in, 3);
      dup2(out, 4);
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      execv(kChromium, argv.data());
      _exit(127);
    }
    close(toBrowser[0]);
    close(fromBrowser[1]);
    to_ = toBrowser[1];
    from_ = fromBrowser[0];
  }
  ~DevToolsBrowser() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      for (int i = 0; i < 50 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i) usleep(100000);
      if (waitpid(pid_, nullptr, WNOHANG) == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
      }
    }
    if (to_ >= 0) close(to_);
    if (from_ >= 0) close(from_);
  }
  DevToolsBrowser(const DevToolsBrowser&) = delete;
  DevToolsBrowser& operator=(const DevToolsBrowser&) = delete;

  // Sends a command and returns its "result" (null on an error or after `timeoutMs`).
  Json call(const std::string& method, Json params, const std::string& session = "",
            int timeoutMs = 10000) {
    Json message = {{"id", ++lastId_}, {"method", method}, {"params", std::move(params)}};
    if (!session.empty()) message["sessionId"] = session;
    const std::string text = message.dump() + '\0';
    if (::write(to_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) return nullptr;
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
      for (auto end = buffer_.find('\0'); end != std::string::npos; end = buffer_.find('\0')) {
        Json reply = Json::parse(buffer_.substr(0, end), nullptr, false);
        buffer_.erase(0, end + 1);
        // Events carry no id; answers to this command carry its id.
        if (reply.is_object() && reply.contains("id") && reply["id"] == lastId_) {
          return reply.contains("result") ? reply["result"] : Json(nullptr);
        }
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                            until - std::chrono::steady_clock::now())
                            .count();
      pollfd p{from_, POLLIN, 0};
      if (left <= 0 || poll(&p, 1, static_cast<int>(left)) <= 0) return nullptr;
      char chunk[65536];
      const ssize_t n = read(from_, chunk, sizeof chunk);
      if (n <= 0) return nullptr;
      buffer_.append(chunk, static_cast<std::size_t>(n));
    }
  }

  // Attaches to the first page and returns its session, or "".
  std::string attachToPage() {
    for (int attempt = 0; attempt < 100; ++attempt) {
      const Json targets = call("Target.getTargets", Json::object());
      if (targets.is_object()) {
        for (const auto& target : targets["targetInfos"]) {
          if (target["type"] == "page") {
            const Json attached = call("Target.attachToTarget",
                                       {{"targetId", target["targetId"]}, {"flatten", true}});
            if (attached.is_object()) return attached["sessionId"].get<std::string>();
          }
        }
      }
      usleep(100000);
    }
    return "";
  }

  // The value of a script expression in the page (null when it failed).
  Json evaluate(const std::string& session, const std::string& expression) {
    const Json result = call("Runtime.evaluate",
                             {{"expression", expression}, {"returnByValue", true}}, session);
    if (!result.is_object() || !result.contains("result")) return nullptr;
    return result["result"].value("value", Json(nullptr));
  }

  // Evaluates until the expression is true, at most `timeoutMs`.
  bool waitFor(const std::string& session, const std::string& expression, int timeoutMs) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < until) {
      if (evaluate(session, expression) == Json(true)) return true;
      usleep(50000);
    }
    return false;
  }

 private:
  pid_t pid_ = -1;
  int to_ = -1;
  int from_ = -1;
  int lastId_ = 0;
  std::string buffer_;
};

TEST_F(WidgetBoard, AnOpenPageFollowsLiveJsonWithoutAReload) {
  const auto url = serve();
  ASSERT_TRUE(url) << "the server printed no address";
  const int port = port_;

  // Every answer carries the policy; the stream itself is read-only like the rest.
  const std::string page = rawAnswer(port, "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
  EXPECT_NE(page.find("Content-Security-Policy: " + std::string(widgets::kBoardContentSecurityPolicy) + "\r\n"),
            std::string::npos) << page.substr(0, 600);
  EXPECT_EQ(rawStatus(port, "POST /events HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n"
                            "Connection: close\r\n\r\n"),
            405);

  if (!fs::exists(kChromium)) {
    GTEST_SKIP() << "Chromium is not installed (" << kChromium
                 << "); scripts/install-deps installs it. Skipping the browser half.";
  }
  testing::TempDir profile;
  DevToolsBrowser browser(profile.path() / "profile", *url);
  const std::string session = browser.attachToPage();
  ASSERT_FALSE(session.empty()) << "no page to attach to";
  ASSERT_TRUE(browser.waitFor(session, "document.body && document.body.dataset.live === 'open'", 30000))
      << "the page never opened its event stream";
  EXPECT_EQ(browser.evaluate(session, "document.querySelector('main').innerText.includes('Write <the> essay')"),
            Json(true));
  // A mark that a reload would wipe.
  browser.evaluate(session, "window.sameDocument = true");

  LiveState changed;
  changed.phase = LiveState::Phase::paused;
  changed.subject = "Revise the essay";
  changed.stamp = std::chrono::system_clock::now();
  group_.write(".live.json.tmp", Json(changed).dump());
  fs::rename(group_.path() / ".live.json.tmp", group_.path() / "live.json");

  EXPECT_TRUE(browser.waitFor(
      session, "document.querySelector('article[data-kind=\"TrivoFocus\"]').innerText.includes('Revise the essay')",
      10000))
      << browser.evaluate(session, "document.querySelector('main').innerText").dump();
  EXPECT_EQ(browser.evaluate(session, "window.sameDocument === true"), Json(true));
  EXPECT_EQ(browser.evaluate(session, "Number(document.body.dataset.updates) >= 1"), Json(true));
  EXPECT_EQ(browser.evaluate(session, "document.querySelector('main').innerText.includes('Write <the> essay')"),
            Json(false));
  EXPECT_EQ(server_->stop(10000), 0);
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

TEST(WidgetBoardPolicy, ThePageRunsNoInlineCodeAndEventsCarryTheWidgetsLineByLine) {
  LiveState live;
  live.subject = "Essay";
  const widgets::ViewContext context{std::chrono::system_clock::now(), DayDate{2026, 9, 16},
                                     widgets::WidgetSize::medium};
  const std::string main = widgets::boardMain(live, context);
  const std::string page = widgets::boardPage(live, context, 900);
  // The policy allows only the page's own files: inline code would be blocked anyway.
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_EQ(page.find("<style"), std::string::npos);
  EXPECT_NE(page.find("<script src=\"/board.js\""), std::string::npos);
  EXPECT_NE(page.find("data-version=\"" + widgets::boardVersion(main) + "\""), std::string::npos);
  EXPECT_NE(page.find(main), std::string::npos);

  EXPECT_EQ(widgets::boardVersion(main), widgets::boardVersion(std::string(main)));
  EXPECT_NE(widgets::boardVersion(main), widgets::boardVersion(main + " "));
  EXPECT_EQ(widgets::boardEvent("<p>a</p>\n<p>b</p>\n"),
            "id: " + widgets::boardVersion("<p>a</p>\n<p>b</p>\n") +
                "\ndata: <p>a</p>\ndata: <p>b</p>\n\n");
}

}  // namespace
}  // namespace trivo

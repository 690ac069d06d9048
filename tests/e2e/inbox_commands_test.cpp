// `trivo capture`, `trivo inbox` and `trivo agenda` run as a person runs them, against a
// temporary vault in each syntax with today pinned to a Wednesday.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "core/calendar/day_date.h"
#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_format.h"
#include "testing/process.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

class InboxCommands : public ::testing::TestWithParam<VaultFormat> {
 protected:
  InboxCommands() {
    dir_.write("vault/.trivo/config.json", GetParam() == VaultFormat::org
                                               ? R"({"fileFormat": "org"})"
                                               : R"({"fileFormat": "markdown"})");
  }
  std::filesystem::path vault() const { return dir_.path() / "vault"; }
  std::string inboxName() const {
    return GetParam() == VaultFormat::org ? "vault/inbox.org" : "vault/inbox.md";
  }
  bool hasInbox() const { return std::filesystem::exists(dir_.path() / inboxName()); }

  testing::ProcessResult trivo(std::vector<std::string> args) const {
    args.insert(args.begin(), {"--vault", vault().string()});
    testing::ProcessOptions options;
    options.env["TRIVO_TODAY"] = "2026-11-25";
    options.env["NO_COLOR"] = std::nullopt;
    return testing::runTrivo(args, options);
  }
  // Runs a command that must succeed and returns what it printed.
  std::string ok(const std::vector<std::string>& args) const {
    const auto r = trivo(args);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    return r.out;
  }
  // Runs a command that must be refused with one line and the exit code.
  std::string refused(const std::vector<std::string>& args, int code) const {
    const auto r = trivo(args);
    EXPECT_EQ(r.exitCode, code) << r.out << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    return r.err;
  }

  testing::TempDir dir_;
};

TEST_P(InboxCommands, ADryRunWritesNothingAndCapturesAreListedAndShownOnTheAgenda) {
  // A dry run says what it understood.
  EXPECT_EQ(ok({"capture", "--dry-run", "pay rent every month on the 31st"}),
            "Would capture: pay rent\n"
            "  day:      Monday 2026-11-30\n"
            "  repeat:   every month on the 31st\n");
  const Json json = Json::parse(ok({"--json", "capture", "--dry-run", "fix bike in 3 days"}));
  EXPECT_EQ(json["understood"]["text"], "fix bike");
  EXPECT_EQ(json["understood"]["due"], Json(DayDate{2026, 11, 28}));
  EXPECT_TRUE(json["number"].is_null());
  EXPECT_FALSE(hasInbox());
  EXPECT_EQ(ok({"capture", "call", "mum", "friday", "at", "6pm", "remind", "30m", "before"}),
            "Captured #1: call mum\n"
            "  day:      Friday 2026-11-27\n"
            "  time:     18:00\n"
            "  remind:   30 minutes before\n");
  EXPECT_EQ(ok({"capture", "standup every weekday at 9"}),
            "Captured #2: standup\n"
            "  day:      Wednesday 2026-11-25\n"
            "  time:     09:00\n"
            "  repeat:   every weekday\n");
  ok({"capture", "read Dune someday"});
  ok({"capture", "Friday's report"});
  ok({"capture", "waiting reply from Bob"});

  EXPECT_EQ(
      ok({"inbox"}),
      "captured\n"
      "   i4  [ ] Friday's report\n"
      "\n"
      "later\n"
      "   i1  [ ] call mum \u00B7 due Friday 2026-11-27 18:00 \u00B7 remind 30 minutes before\n"
      "\n"
      "waiting\n"
      "   i5  [ ] reply from Bob \u00B7 waiting\n"
      "\n"
      "routine\n"
      "   i2  [ ] standup \u00B7 due Wednesday 2026-11-25 09:00 \u00B7 every weekday\n"
      "\n"
      "someday\n"
      "   i3  [ ] read Dune \u00B7 someday\n");
  EXPECT_EQ(ok({"inbox", "Today"}),
            "today\n"
            "   i2  [ ] standup \u00B7 due Wednesday 2026-11-25 09:00 \u00B7 every weekday\n");
  EXPECT_EQ(ok({"inbox", "overdue"}), "overdue\n  (nothing)\n");

  EXPECT_EQ(ok({"agenda", "--days", "3"}),
            "Wednesday 2026-11-25 (today)\n"
            "  09:00  standup  (inbox #2)\n"
            "\n"
            "Thursday 2026-11-26\n"
            "  09:00  standup  (inbox #2)\n"
            "\n"
            "Friday 2026-11-27\n"
            "  09:00  standup  (inbox #2)\n"
            "  18:00  call mum  (inbox #1)\n");
  const Json agenda = Json::parse(ok({"--json", "agenda", "--days", "1"}));
  ASSERT_EQ(agenda["items"].size(), 1u);
  EXPECT_EQ(agenda["items"][0]["number"], 2);
  const Json lists = Json::parse(ok({"inbox", "--json", "routine"}));
  EXPECT_EQ(lists["routine"][0]["item"]["text"], "standup");

  // What was written reads back as written.
  const auto check = trivo({"check", "--roundtrip", (dir_.path() / inboxName()).string()});
  EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

TEST_P(InboxCommands, BadRequestsAreRefusedWithOneSentenceAndNothingIsWritten) {
  ok({"capture", "first"});
  const std::string before = dir_.read(inboxName());
  EXPECT_EQ(refused({"capture", "report 2026-11-24"}, 1),
            "trivo: The day 2026-11-24 is before today, 2026-11-25; name a day from today on, "
            "nothing was written.\n");
  EXPECT_EQ(refused({"capture", "--dry-run", "report 2026-11-24"}, 1),
            "trivo: The day 2026-11-24 is before today, 2026-11-25; name a day from today on, "
            "nothing was written.\n");
  EXPECT_EQ(refused({"capture", "  "}, 1),
            "trivo: There is nothing to capture; write the item's words after the command.\n");
  EXPECT_EQ(refused({"inbox", "done"}, 1),
            "trivo: There is no inbox list \"done\"; the lists are captured, later, someday, "
            "waiting, routine, overdue and today.\n");
  EXPECT_EQ(refused({"agenda", "--days", "0"}, 1),
            "trivo: An agenda shows 1 to 366 days, not 0.\n");
  EXPECT_EQ(dir_.read(inboxName()), before);
}

TEST_P(InboxCommands, AnUnreadableInboxIsNamedAndNeverWritten) {
  const std::string broken = "- [ ] bad \xff byte\n";
  dir_.write(inboxName(), broken);
  const std::string file = (dir_.path() / inboxName()).string();
  for (const auto& args :
       std::vector<std::vector<std::string>>{{"capture", "hello"}, {"inbox"}, {"agenda"}}) {
    EXPECT_EQ(refused(args, 3), "trivo: The page " + file +
                                    " cannot be read (encoding); fix the file in an editor and "
                                    "run the command again.\n")
        << args[0];
  }
  EXPECT_EQ(dir_.read(inboxName()), broken);
}

// The inbox is changed by another program after `trivo capture` read it and before it writes:
// the test holds the vault's write lock, so the command waits at its write until the test has
// edited the file, and then must refuse.
TEST_P(InboxCommands, AnInboxChangedWhileCapturingIsKeptAndTheCaptureRefused) {
  ok({"capture", "first"});
  const auto file = dir_.path() / inboxName();
  const std::string edited = dir_.read(inboxName()) + "\n- [ ] typed in an editor\n";

  const int watch = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  ASSERT_GE(watch, 0);
  ASSERT_GE(inotify_add_watch(watch, file.c_str(), IN_CLOSE_NOWRITE), 0);
  std::promise<void> locked;
  std::thread editor([&] {
    Coordinated::Lock lock(vault());
    locked.set_value();
    pollfd p{watch, POLLIN, 0};
    // The command reads the inbox before it asks for the lock; give it ten seconds at most.
    if (poll(&p, 1, 10'000) == 1) {
      std::ofstream(file, std::ios::binary | std::ios::trunc) << edited;
    }
  });
  locked.get_future().wait();
  const auto r = trivo({"capture", "second"});
  editor.join();
  close(watch);

  EXPECT_EQ(r.exitCode, 4) << r.err;
  EXPECT_EQ(r.err, "trivo: The page " + file.string() +
                       " changed on disk while this command ran, so it was kept as it is and "
                       "nothing was written; run the command again.\n");
  EXPECT_EQ(dir_.read(inboxName()), edited);
}

TEST_P(InboxCommands, CapturesLeaveTheSyncNoteAndWaitForAnInboxWrittenElsewhere) {
  ok({"capture", "first"});
  const auto touched = vault() / ".trivo" / "signal" / "touched";
  ASSERT_TRUE(std::filesystem::is_directory(touched));
  EXPECT_FALSE(std::filesystem::is_empty(touched));

  // Another device wrote the inbox later than the copy here holds: its text has not arrived yet.
  const std::string page = dir_.read(inboxName());
  const std::string name = std::filesystem::path(inboxName()).filename().string();
  dir_.write("vault/.trivo/signal/touched/another-device.json",
             R"({"device": "another-device", "stamp": "2099-01-01T00:00:00.000Z", "paths": [")" +
                 name + R"("]})");
  EXPECT_NE(refused({"capture", "second"}, 4).find("changed on disk"), std::string::npos);
  EXPECT_EQ(dir_.read(inboxName()), page);
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, InboxCommands, testing::bothSyntaxes(),
                         testing::syntaxName);

}  // namespace
}  // namespace trivo

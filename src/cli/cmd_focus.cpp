// `trivo focus [start [MINUTES] [SUBJECT] | hold [MINUTES] | resume | stop | status]`: the focus
// timer. Orders go to the vault's service when one runs; without one, `start` runs the session
// here in the foreground and logs it into the day page when it ends or on Ctrl-C.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <ostream>
#include <thread>

#include "cli/cmd_today_support.h"
#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/focus/audio_sink.h"
#include "core/focus/live_state.h"
#include "core/focus/tick_player.h"
#include "core/service/service_lock.h"
#include "core/service/service_setup.h"
#include "core/service/vault_service.h"
#include "core/util/iso_instant.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;
using Command_ = LiveState::Command;

std::string clockText(double seconds) {
  const auto s = static_cast<std::int64_t>(std::ceil(std::max(0.0, seconds)));
  return std::to_string(s / 60) + ":" + (s % 60 < 10 ? "0" : "") + std::to_string(s % 60);
}

std::string minutesText(std::int64_t minutes) { return counted(minutes, "minute", "minutes"); }

// One line for people about the record's session.
std::string describe(const LiveState& state, const Clock& clock) {
  const std::string subject = state.subject ? " " + *state.subject : std::string();
  auto left = [&] {
    return state.ends ? ", " + clockText(std::chrono::duration<double>(*state.ends - clock.now())
                                             .count()) +
                            " left"
                      : std::string();
  };
  switch (state.phase) {
    case LiveState::Phase::idle:
      return "No focus session is under way; " + minutesText(state.todayMinutes) +
             " focused today.";
    case LiveState::Phase::running:
      return "Focusing" + (state.subject ? " on" + subject : std::string()) + left() + ".";
    case LiveState::Phase::paused:
      return "Paused" + (state.subject ? ":" + subject : std::string()) + ".";
    case LiveState::Phase::onBreak:
      return "On a break" + left() + ".";
  }
  return "";
}

class FocusCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "focus"; }
  [[nodiscard]] const char* summary() const override {
    return "Focus timer: start [MINUTES] [SUBJECT] | hold [MINUTES] | resume | stop | status";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("ACTION", action_, "start, hold, resume, stop or status (the default)")
        ->check(CLI::IsMember({"start", "hold", "resume", "stop", "status"}));
    app.add_option("ARGS", args_, "start: MINUTES (1–120) and SUBJECT; hold: MINUTES");
  }

  int run(Context& context) override {
    Order order = parse();
    const fs::path root = commandVault(context);
    const auto lockFile = serviceLockFile(root);
    const std::optional<pid_t> holder = lockFile ? ServiceLock::holder(*lockFile) : std::nullopt;
    if (action_ == "status") return status(context, holder.has_value());
    if (holder) return throughService(order, *holder, context);
    if (action_ != "start") {
      throw UserError("No service runs for this vault, so no session is under way; start one "
                      "with: trivo focus start.");
    }
    return foreground(order, root, *lockFile, context);
  }

 private:
  using Order = LiveState::Order;

  Order parse() const {
    Order order;
    auto minutesOf = [](const std::string& text) {
      const auto m = wholeNumber(text);
      if (!m || *m < 1 || *m > 120) {
        throw UserError("\"" + text + "\" is not a length in minutes; give a whole number from 1 "
                        "to 120.");
      }
      return *m;
    };
    std::vector<std::string> rest = args_;
    if (action_ == "start") {
      order.command = Command_::start;
      if (!rest.empty() && wholeNumber(rest.front())) {
        order.minutes = minutesOf(rest.front());
        rest.erase(rest.begin());
      }
      std::string subject;
      for (const auto& word : rest) subject += (subject.empty() ? "" : " ") + word;
      if (!subject.empty()) order.subject = subject;
    } else if (action_ == "hold") {
      order.command = Command_::pause;
      if (rest.size() > 1) throw UserError("hold takes at most one argument: the pause in minutes.");
      if (!rest.empty()) order.minutes = minutesOf(rest.front());
    } else if (!rest.empty()) {
      throw UserError(action_ + " takes no arguments.");
    } else if (action_ == "resume") {
      order.command = Command_::resume;
    } else if (action_ == "stop") {
      order.command = Command_::stop;
    }
    return order;
  }

  int status(Context& context, bool serviceUp) const {
    LiveState state = serviceUp ? LiveState::read() : LiveState{};
    if (!serviceUp) {
      // A record left by a service that is gone tells nothing about a session under way, nor
      // about today's minutes: sessions run in the foreground since then, or another vault's
      // service, wrote them elsewhere. The day page holds them all.
      DailyVault vault(context);
      vault.run([&] { state.todayMinutes = vault.model().focusMinutes(vault.today()); },
                /*writes=*/false);
    }
    if (context.json) {
      context.out << Json(state).dump(2) << "\n";
    } else {
      context.out << describe(state, context.clock) << "\n";
    }
    return 0;
  }

  static bool answered(const LiveState& state, Command_ command) {
    switch (command) {
      case Command_::start:
      case Command_::resume:
        return state.phase == LiveState::Phase::running;
      case Command_::pause:
        return state.phase == LiveState::Phase::paused || state.phase == LiveState::Phase::onBreak;
      case Command_::stop:
        return state.phase == LiveState::Phase::idle;
    }
    return false;
  }

  int throughService(Order order, pid_t pid, Context& context) const {
    // Orders go through the widgets' command file, which only the service feeding the widgets
    // reads: sent to another vault's service, this one would start a session in the wrong vault.
    if (const auto feed = VaultService::widgetFeedFile()) {
      const auto feeder = ServiceLock::holder(*feed);
      if (feeder && *feeder != pid) {
        throw UserError("Another vault's service (process " + std::to_string(*feeder) +
                        ") feeds the widgets and takes focus orders; stop it to use this "
                        "vault's timer.");
      }
    }
    order.at = context.clock.now();
    LiveState::send(order);
    // The service takes the order within a second and rewrites the live state.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (std::chrono::steady_clock::now() < deadline) {
      const LiveState state = LiveState::read();
      if (state.stamp >= order.at - std::chrono::milliseconds(1) && answered(state, order.command)) {
        if (context.json) {
          context.out << Json(state).dump(2) << "\n";
        } else {
          context.out << describe(state, context.clock) << "\n";
        }
        return 0;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    throw UserError("The service (process " + std::to_string(pid) +
                    ") did not act on the order within 3 seconds; check its log (journalctl "
                    "--user -u trivo).");
  }

  int foreground(const Order& order, const fs::path& root, const fs::path& lockFile,
                 Context& context) const {
    auto lock = ServiceLock::acquire(lockFile);
    if (!lock) throw UserError("A service started for this vault meanwhile; run the command again.");
    std::unique_ptr<Clock> clock;
    try {
      clock = serviceClockFromEnvironment();
    } catch (const std::invalid_argument& e) {
      throw UserError(e.what());
    }
    const bool terminal = context.outIsTerminal;
    VaultService::Options options;
    options.root = root;
    options.clock = clock.get();
    options.log = &context.err;
    options.foreground = true;
    options.alerts = false;
    options.openSound = [] { return openPulseSink(TickPlayer::kSampleRate, "Trivo focus"); };
    std::ostream& out = context.out;
    if (terminal) {
      options.onTick = [&out](const TimerModel& timer) {
        constexpr int width = 24;
        const int filled = static_cast<int>(std::lround(timer.progress() * width));
        out << "\r\x1b[2K" << clockText(timer.remaining()) << " ["
            << std::string(static_cast<std::size_t>(filled), '#')
            << std::string(static_cast<std::size_t>(width - filled), '-') << "] "
            << timer.subject().value_or("") << std::flush;
      };
    }
    bool declined = false;
    if (terminal && isatty(STDIN_FILENO) != 0) {
      // Ctrl-C may be a slip of the hand or a session that went wrong: the person decides.
      options.keepEndedEarly = [&out, &declined](const TimerModel& timer) {
        const std::int64_t minutes = timer.pendingMinutes();
        if (minutes < 1) return true;  // nothing would be logged either way
        out << "\r\x1b[2KLog the " << minutesText(minutes) << " focused"
            << (timer.subject() ? " on " + *timer.subject() : std::string())
            << " into today's page? [Y/n] " << std::flush;
        std::string answer;
        if (!std::getline(std::cin, answer)) return true;
        declined = !answer.empty() && (answer.front() == 'n' || answer.front() == 'N');
        return !declined;
      };
    }
    try {
      VaultService service(options);
      TimerModel& timer = service.timer();
      if (timer.phase() != TimerModel::Phase::idle) {
        out << "Resuming the session kept from before." << std::endl;
      } else {
        service.obey(order);
      }
      out << "Focusing for " << minutesText(timer.minutes())
          << (timer.subject() ? " on " + *timer.subject() : std::string())
          << (terminal && isatty(STDIN_FILENO) != 0
                  ? "; Ctrl-C ends the session early and asks whether to log it."
                  : "; Ctrl-C ends the session early and keeps what was focused.")
          << std::endl;
      const int code = service.run();
      if (terminal) out << "\n";
      if (declined) {
        out << "The session was not logged." << std::endl;
      } else if (const auto& logged = timer.lastLogged()) {
        out << "Logged " << minutesText(logged->minutes)
            << (logged->outcome.empty() ? std::string() : " of " + logged->outcome)
            << " into today's page." << std::endl;
      } else {
        out << "Less than a minute was focused, so nothing was logged." << std::endl;
      }
      return code;
    } catch (const std::runtime_error& e) {
      throw UserError(e.what());
    }
  }

  std::string action_ = "status";
  std::vector<std::string> args_;
};

}  // namespace

std::unique_ptr<Command> makeFocusCommand() { return std::make_unique<FocusCommand>(); }

}  // namespace trivo::cli

// Service set-up shared by `trivo app` and `trivo focus`.
#include "core/service/service_setup.h"

#include <cstdlib>
#include <stdexcept>

#include "core/focus/live_state.h"
#include "core/service/service_clock.h"
#include "core/service/service_lock.h"

namespace trivo {

namespace fs = std::filesystem;

namespace {

// A clock that owns nothing: the process-wide system clock behind a unique_ptr.
class SystemClockRef final : public Clock {
 public:
  [[nodiscard]] Instant now() const override { return SystemClock::shared().now(); }
  [[nodiscard]] LocalReading local(Instant instant) const override {
    return SystemClock::shared().local(instant);
  }
};

}  // namespace

std::optional<fs::path> serviceLockFile(const fs::path& vault) {
  const auto places = LiveState::places();
  if (places.empty()) return std::nullopt;
  return ServiceLock::fileFor(places.front(), vault);
}

std::unique_ptr<Clock> serviceClockFromEnvironment() {
  const char* text = std::getenv("TRIVO_SERVICE_CLOCK");
  if (!text || !*text) return std::make_unique<SystemClockRef>();
  const auto setting = ScaledClock::parse(text);
  if (!setting) {
    throw std::invalid_argument(
        "TRIVO_SERVICE_CLOCK must read START,SCALE,ANCHOR (ISO instants and a number above 0), "
        "not \"" +
        std::string(text) + "\".");
  }
  return std::make_unique<ScaledClock>(*setting, SystemClock::shared());
}

std::string systemdUserUnit(const fs::path& program, const std::optional<fs::path>& vault) {
  std::string unit =
      "[Unit]\n"
      "Description=Trivo planner service: focus timer, live state for widgets, inbox alerts\n"
      "Documentation=man:trivo(1)\n"
      "After=graphical-session.target\n"
      "\n"
      "[Service]\n"
      "Type=simple\n";
  if (vault) unit += "Environment=\"TRIVO_VAULT=" + vault->string() + "\"\n";
  unit +=
      "ExecStart=" + program.string() +
      " app\n"
      // Exit 1 means the vault is gone or served already: starting again would not help.
      "Restart=on-abnormal\n"
      "RestartSec=5\n"
      "\n"
      "[Install]\n"
      "WantedBy=default.target\n";
  return unit;
}

std::optional<fs::path> userUnitFolder() {
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config == '/') {
    return fs::path(config) / "systemd" / "user";
  }
  if (const char* home = std::getenv("HOME"); home && *home == '/') {
    return fs::path(home) / ".config" / "systemd" / "user";
  }
  return std::nullopt;
}

}  // namespace trivo

// What the commands that start a service share: the vault's lock in the group folder, the
// service's clock from the test setting, and the systemd user unit.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "core/platform/clock.h"

namespace trivo {

// The lock file of the vault's service; nothing when no private group folder can be used.
std::optional<std::filesystem::path> serviceLockFile(const std::filesystem::path& vault);

// The service's clock: the system clock, unless TRIVO_SERVICE_CLOCK (for tests only) sets a
// start, a time scale and an anchor (see ScaledClock::parse). Throws std::invalid_argument
// with one sentence when the setting does not read.
std::unique_ptr<Clock> serviceClockFromEnvironment();

// The systemd user unit that runs `program app`, for the vault given (else the one the program
// finds itself: TRIVO_VAULT, then the default vault).
std::string systemdUserUnit(const std::filesystem::path& program,
                            const std::optional<std::filesystem::path>& vault);

// Where a user's own units go: $XDG_CONFIG_HOME/systemd/user, else ~/.config/systemd/user.
std::optional<std::filesystem::path> userUnitFolder();

}  // namespace trivo

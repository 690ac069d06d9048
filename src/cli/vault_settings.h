// The few settings the commands read before anything else: read leniently, never refused.
#pragma once

#include <filesystem>

#include "core/config/year_mode.h"

namespace trivo::cli {

// The vault's year mode from its settings file; anything unreadable means the default (quarter).
YearMode yearModeOf(const std::filesystem::path& root);

}  // namespace trivo::cli

// The known-vaults list "vaults.json" beside the device settings: the vaults made or opened on
// this machine, and the one a command uses when nothing else names a vault.
#pragma once

#include <filesystem>

namespace trivo {

// Records `root` (absolute) as the default vault in `configDirectory`/vaults.json and adds it to
// the list of vaults once ({"default": "/path", "vaults": ["/path", …]}). Keys of other tools
// and the other vaults stay; a list that is unreadable or not a JSON object is started afresh.
// The file is replaced atomically. Throws FileError when it cannot be written.
void rememberDefaultVault(const std::filesystem::path& configDirectory,
                          const std::filesystem::path& root);

}  // namespace trivo

// The final step of an atomic write, exposed so that tests can stage the race it guards against.
#pragma once

#include <filesystem>

namespace trivo::AtomicWrite::detail {

// Renames `from` onto `to`. With `noReplace`, an existing `to` is left alone and EEXIST comes
// back (also on file systems without RENAME_NOREPLACE). Returns 0 or the errno.
int renameOnto(const std::filesystem::path& from, const std::filesystem::path& to, bool noReplace);

}  // namespace trivo::AtomicWrite::detail

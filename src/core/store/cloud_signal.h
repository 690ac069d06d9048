// What the vault needs to know about file-sync tools: which files are their conflict copies.
#pragma once

#include <string_view>

namespace trivo {

// True for a conflict copy left by a file-sync tool. Recognised, ignoring case:
// Syncthing's "NAME.sync-conflict-DATE-TIME-DEVICE.EXT", and any parenthesised remark that
// mentions a conflict, as Dropbox, Nextcloud, ownCloud, Seafile and others write them:
// "NAME (conflicted copy 2026-09-16).EXT", "NAME (Conflict).EXT", "NAME (SFConflict x).EXT".
// Such a file is the user's data, never a page of its own.
bool isConflictCopy(std::string_view fileName);

}  // namespace trivo

// What `trivo edit` and `trivo reflect --edit` share: the located vault, a store that writes
// pages as records, and a page handed to the person's editor and checked when it comes back.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "cli/command.h"
#include "core/store/vault_store.h"
#include "core/vault/entry_key.h"

namespace trivo::cli {

// A store on the vault that reads and writes pages through its format's serializer, writing at
// flush() without a debounce.
std::unique_ptr<VaultStore> openPageStore(const std::filesystem::path& root,
                                          const Context& context);

// Opens $VISUAL (else $EDITOR) on the page's file, creating the file from the page's blank
// template first. When the editor exits, reports a page that does not read as
// "RELATIVE-PATH: problem: detail" on standard output and returns 3; otherwise returns 0.
// Refuses (exit 1) when no editor is set or the editor fails.
int editPage(const std::filesystem::path& root, const EntryKey& key, Context& context);

// The process that edits: runs the shell command `editor` with the file as its one argument,
// waits for it and returns its exit status (128 + the signal when it was killed).
int runEditor(const std::string& editor, const std::filesystem::path& file);

}  // namespace trivo::cli

// Opening the vault for the inbox commands and wording their refusals.
#include "cli/cmd_inbox_vault.h"

#include <chrono>
#include <cstdlib>

#include "cli/vault_settings.h"
#include "core/backup/backup_store.h"
#include "core/format/serializer_error.h"
#include "core/search/search_index.h"
#include "core/store/atomic_write.h"
#include "core/store/serializer_codec.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {

InboxVault InboxVault::open(const Context& context, bool readOnly) {
  InboxVault vault;
  vault.root = commandVault(context);
  vault.store = openCommandStore(vault.root, context,
                                 readOnly ? StoreWrites::never : StoreWrites::whenDone);
  return vault;
}

std::filesystem::path InboxVault::fileOf(const EntryKey& key) const {
  return store->paths().urlFor(key);
}

std::optional<std::filesystem::path> InboxVault::appendPointFile() const {
  const auto folder = SearchIndex::defaultCacheFolder();
  if (!folder) return std::nullopt;
  return SearchIndex::cacheFile(*folder, root, "inbox-", ".json");
}

InboxModel captureModel(const InboxVault& vault, const Clock& clock, const DayDate& today) {
  InboxModel model(*vault.store, clock, today);
  if (auto file = vault.appendPointFile()) model.rememberAppendPoint(*file);
  return model;
}

void guarded(const InboxVault& vault, const std::function<void()>& work) {
  try {
    work();
  } catch (const PageReadError& e) {
    throw UserError("The page " + vault.fileOf(e.key()).string() + " cannot be read (" +
                        std::string(kReadProblemNames[static_cast<std::size_t>(e.problem().kind)]) +
                        (e.problem().detail.empty() ? "" : ": " + e.problem().detail) +
                        "); fix the file in an editor and run the command again.",
                    3);
  } catch (const SerializerError& e) {
    // Only the inbox is read for editing here, so a page that does not parse is the inbox or a
    // page read for the agenda; the message names the inbox's file as the likely one.
    throw UserError("A page cannot be read (" + std::string(e.what()) + "), the inbox is " +
                        vault.fileOf(EntryKey::inbox()).string() +
                        "; fix the file in an editor and run the command again.",
                    3);
  } catch (const VaultError& e) {
    const std::string file =
        e.key() ? vault.fileOf(*e.key()).string() : vault.fileOf(EntryKey::inbox()).string();
    if (e.kind() == VaultError::Kind::changedOnDisk) {
      throw UserError("The page " + file +
                          " changed on disk while this command ran, so it was kept as it is and "
                          "nothing was written; run the command again.",
                      4);
    }
    throw UserError("The page " + file + " cannot be read now (" + std::string(e.what()) +
                        "); try again in a moment.",
                    3);
  } catch (const InboxError& e) {
    switch (e.kind()) {
      case InboxError::Kind::emptyText:
        throw UserError("There is nothing to capture; write the item's words after the command.");
      case InboxError::Kind::pastDay:
        throw UserError("The day " + std::string(e.what()) +
                        "; name a day from today on, nothing was written.");
      case InboxError::Kind::unknownItem:
      case InboxError::Kind::unknownList:
        throw UserError("Nothing was changed: " + std::string(e.what()) + ".");
    }
  } catch (const FileError& e) {
    throw UserError(std::string(e.what()) +
                    " Nothing you wrote is lost: a text that could not be written is kept (trivo "
                    "refused lists it).");
  }
}

Paint Paint::forContext(const Context& context) {
  const char* noColor = std::getenv("NO_COLOR");
  return Paint{context.outIsTerminal && noColor == nullptr};
}

std::string Paint::bold(std::string_view text) const {
  return on ? "\x1b[1m" + std::string(text) + "\x1b[0m" : std::string(text);
}
std::string Paint::dim(std::string_view text) const {
  return on ? "\x1b[2m" + std::string(text) + "\x1b[0m" : std::string(text);
}
std::string Paint::red(std::string_view text) const {
  return on ? "\x1b[31m" + std::string(text) + "\x1b[0m" : std::string(text);
}

std::string dayWords(const DayDate& day) {
  return std::string(weekdayName(day.weekday())) + " " + day.isoString();
}

std::string itemLine(const InboxItem& item, const Paint& paint) {
  std::string line = item.done ? "[x] " : "[ ] ";
  if (item.priority)
    line += "[#" + std::string(1, static_cast<char>('A' + static_cast<int>(*item.priority))) + "] ";
  line += item.text;
  std::string meta;
  auto add = [&meta](const std::string& piece) { meta += " \u00B7 " + piece; };
  if (item.due)
    add("due " + dayWords(*item.due) + (item.time ? " " + item.time->description() : ""));
  if (item.repeats) add(item.repeats->phrase());
  if (item.hiddenUntil) add("hidden until " + item.hiddenUntil->isoString());
  if (item.someday) add("someday");
  if (item.waiting) add("waiting");
  for (const auto& alert : item.alerts) add("remind " + alert.description());
  return line + paint.dim(meta);
}

}  // namespace trivo::cli

// The daily commands' vault, their refusals and their marks.
#include "cli/cmd_today_support.h"

#include <chrono>
#include <cstdlib>

#include "cli/vault_settings.h"
#include "core/backup/backup_store.h"
#include "core/format/serializer_error.h"
#include "core/inbox/inbox_error.h"
#include "core/platform/device_identity.h"
#include "core/store/atomic_write.h"
#include "core/store/cloud_signal.h"
#include "core/store/page_check.h"
#include "core/store/serializer_codec.h"
#include "core/vault/page_address.h"
#include "core/vault/vault_locator.h"

namespace fs = std::filesystem;

namespace trivo::cli {

DailyVault::DailyVault(const Context& context) : context_(context) {
  root_ = commandVault(context);
  store_ = openCommandStore(root_, context, StoreWrites::whenDone);
  model_ = std::make_unique<TodayModel>(*store_, context.clock,
                                        std::make_shared<FolderDayPageIndex>(store_->paths()));
}

std::string DailyVault::fileOf(const EntryKey& key) const {
  return store_->paths().urlFor(key).lexically_relative(root_).generic_string();
}

EntryKey DailyVault::periodPage(const std::string& text) const {
  const auto target = parsePageAddress(text, today(), yearModeOf(root_));
  const EntryKey* key = target ? target->asPage() : nullptr;
  if (!key || key->isInbox()) {
    throw UserError("\"" + text +
                    "\" is not a period page; name a day, week, month, quarter or year such "
                    "as 2026-09-16, 2026-W38, 2026-09, 2026-Q3, 2026, yesterday or wo.");
  }
  return *key;
}

void DailyVault::run(const std::function<void()>& work, bool writes) {
  try {
    work();
    if (writes) model_->commit();
  } catch (const TodayError& e) {
    discard();
    throw UserError(e.what());
  } catch (const InboxError& e) {
    discard();
    throw UserError("Nothing was changed: " + std::string(e.what()) + ".");
  } catch (const UserError&) {
    discard();
    throw;
  } catch (const PageReadError& e) {
    discard();
    throw UserError("The page " + fileOf(e.key()) + " cannot be read (" + describe(e.problem()) +
                        "), so nothing was written; fix the page and run the command again.",
                    kUnreadablePage);
  } catch (const SerializerError& e) {
    discard();
    throw UserError(std::string("A page cannot be read (") + e.what() +
                        "), so nothing was written; fix the page and run the command again.",
                    kUnreadablePage);
  } catch (const VaultError& e) {
    discard();
    const std::string page = e.key() ? "The page " + fileOf(*e.key()) : std::string("A page");
    if (e.kind() == VaultError::Kind::changedOnDisk) {
      throw UserError(page +
                          " changed on disk while the command ran, so it was kept as it is and "
                          "not written; run the command again.",
                      kChangedPage);
    }
    throw UserError(page +
                        " is not on this device yet, so nothing was written; try again once "
                        "it has downloaded.",
                    kUnreadablePage);
  } catch (const FileError& e) {
    discard();
    throw UserError(std::string(e.what()) + "; the page was left as it was.");
  }
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  std::int64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

void printOutcomes(const Context& context, const OutcomeSet& outcomes) {
  for (const Outcome& o : outcomes.outcomes) {
    context.out << "  " << o.order << ". " << stateMark(context, o.state) << " ";
    if (o.isBlank()) {
      context.out << paint(context, "2", "(not set)");
    } else {
      context.out << o.text;
      if (o.serves) context.out << " → #" << *o.serves;
    }
    context.out << "\n";
  }
}

void DailyVault::discard() {
  model_->discard();
  // Inbox items are ticked through the inbox model, which queues the inbox page itself.
  store_->discardPending(EntryKey::inbox());
}

std::string carryKindWord(TodayModel::CarryOffer::Kind kind) {
  switch (kind) {
    case TodayModel::CarryOffer::Kind::outcome:
      return "outcome";
    case TodayModel::CarryOffer::Kind::checklist:
      return "checklist";
    case TodayModel::CarryOffer::Kind::forTomorrow:
      return "for tomorrow";
  }
  return "";
}

bool useColour(const Context& context) {
  const char* noColour = std::getenv("NO_COLOR");
  return context.outIsTerminal && !context.json && (noColour == nullptr || *noColour == '\0');
}

std::string paint(const Context& context, std::string_view code, const std::string& text) {
  if (!useColour(context)) return text;
  return "\x1b[" + std::string(code) + "m" + text + "\x1b[0m";
}

std::string stateMark(const Context& context, OutcomeState state) {
  switch (state) {
    case OutcomeState::done:
      return paint(context, "32", "[x]");
    case OutcomeState::blocked:
      return paint(context, "31", "[-]");
    case OutcomeState::planned:
      break;
  }
  return "[ ]";
}

}  // namespace trivo::cli

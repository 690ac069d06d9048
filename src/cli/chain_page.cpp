// Resolving a period page for the outcome-chain commands and opening the vault to read it.
#include "cli/chain_page.h"

#include "cli/vault_settings.h"
#include "core/calendar/day_date.h"
#include "core/format/serializer_error.h"
#include "core/store/serializer_codec.h"
#include "core/vault/page_address.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {

ChainPage chainPage(const std::string& page, const Context& context) {
  const std::filesystem::path root = commandVault(context);
  const auto target = parsePageAddress(page, DayDate::today(context.clock), yearModeOf(root));
  if (!target) {
    throw UserError("\"" + page +
                    "\" is not a page address; try a period such as 2026-W38, 2026-09, 2026-Q3 "
                    "or 2026, or a word such as wo, mo or yo.");
  }
  const EntryKey* key = target->asPage();
  if (!key) {
    throw UserError("\"" + page + "\" names the " + *target->asView() +
                    " view; name a week, month, quarter or year page instead.");
  }
  if (key->kind() == EntryKey::Kind::day || key->isInbox()) {
    throw UserError("\"" + page + "\" names " + key->description() +
                    ", which nothing serves; name a week, month, quarter or year page instead.");
  }
  return {root, *key};
}

std::unique_ptr<VaultStore> openChainStore(const std::filesystem::path& root,
                                           const Context& context) {
  return openCommandStore(root, context, StoreWrites::never);
}

void readingPages(const EntryKey& key, const std::function<void()>& read) {
  try {
    read();
  } catch (const SerializerError& e) {
    throw UserError("A page counted for " + key.description() + " cannot be read (" +
                        std::string(e.what()) + "); fix the page and try again.",
                    3);
  } catch (const PageReadError& e) {
    throw UserError("A page counted for " + key.description() + " cannot be read (" +
                        std::string(e.what()) + "); fix the page and try again.",
                    3);
  } catch (const VaultError& e) {
    throw UserError("A page counted for " + key.description() + " cannot be read (" +
                        std::string(e.what()) + "); try again in a moment.",
                    3);
  }
}

}  // namespace trivo::cli

// What the daily commands (today, outcome, done, journal, pull, carry) share: the vault opened
// for writing with the today model on it, the one place where the model's and the store's
// failures become sentences and exit codes, and the marks they print.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "cli/command.h"
#include "core/store/vault_store.h"
#include "core/today/today_model.h"
#include "core/vault/entry_key.h"

namespace trivo::cli {

// Exit codes of the daily commands besides 1 (input the command cannot act on, UserError's own):
// 3 for a page that cannot be read (it is never written then), 4 for a page changed on disk
// under the command.
inline constexpr int kUnreadablePage = 3;
inline constexpr int kChangedPage = 4;

class DailyVault {
 public:
  // Finds the vault (refusing with one sentence when there is none) and opens its store, which
  // writes only when asked to commit.
  explicit DailyVault(const Context& context);

  TodayModel& model() { return *model_; }
  VaultStore& store() { return *store_; }
  [[nodiscard]] const std::filesystem::path& root() const { return root_; }
  [[nodiscard]] DayDate today() const { return model_->today(); }
  // The page's file relative to the vault, as the person sees it: "days/2026-09-16.md".
  [[nodiscard]] std::string fileOf(const EntryKey& key) const;
  // A page named on the command line (a day, week, month, quarter or year); refuses anything
  // else with one sentence (exit 1).
  [[nodiscard]] EntryKey periodPage(const std::string& text) const;

  // Runs `work`, then writes what it queued when `writes`. Every failure becomes a UserError
  // with its exit code, and nothing queued by `work` is written after a refusal.
  void run(const std::function<void()>& work, bool writes = true);

 private:
  void discard();

  const Context& context_;
  std::filesystem::path root_;
  std::unique_ptr<VaultStore> store_;
  std::unique_ptr<TodayModel> model_;
};

// A whole number written in digits, or nothing.
std::optional<std::int64_t> wholeNumber(std::string_view text);
// Prints a period's outcomes, one numbered line each.
void printOutcomes(const Context& context, const OutcomeSet& outcomes);

// "outcome", "checklist" or "for tomorrow": the list a carry-over item comes from.
std::string carryKindWord(TodayModel::CarryOffer::Kind kind);

// Colour on a terminal only, and never when NO_COLOR is set.
bool useColour(const Context& context);
// The text in an ANSI colour ("32" green, "31" red, "1" bold, "2" dim) when colour is on.
std::string paint(const Context& context, std::string_view code, const std::string& text);
// "[ ]", "[x]" or "[-]" for a state, coloured.
std::string stateMark(const Context& context, OutcomeState state);

}  // namespace trivo::cli

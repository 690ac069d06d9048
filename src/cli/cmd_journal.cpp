// `trivo journal [TEXT] [--at HH:MM]`: writes a line into today's journal at a time (now when
// none is given), or lists the journal when no words are given.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"

namespace trivo::cli {
namespace {

class JournalCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "journal"; }
  [[nodiscard]] const char* summary() const override {
    return "Write a journal line into today's page (at HH:MM, or now), or list the journal";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("TEXT", words_, "The entry's words; none lists today's journal");
    app.add_option("--at", at_, "The entry's time, HH:MM (now when left out)");
  }

  int run(Context& context) override {
    std::string text;
    for (const auto& w : words_) text += (text.empty() ? "" : " ") + w;
    std::optional<ClockTime> at;
    if (at_) {
      at = ClockTime::parse(*at_);
      if (!at) {
        throw UserError("\"" + *at_ + "\" is not a time of day; write it as HH:MM, such as 09:30.");
      }
    }
    if (text.empty() && at) {
      throw UserError("A journal entry needs words; write them after trivo journal.");
    }
    DailyVault vault(context);
    std::optional<JournalEntry> added;
    std::vector<JournalEntry> journal;
    vault.run(
        [&] {
          if (!text.empty()) added = vault.model().addJournal(text, at);
          journal = vault.model().page().journal;
        },
        !text.empty());
    if (context.json) {
      context.out << (added ? Json(*added) : Json(journal)).dump(2) << "\n";
      return 0;
    }
    if (added) {
      context.out << "Journal " << vault.today().isoString() << " " << added->time.description()
                  << ": " << added->text << "\n";
      return 0;
    }
    for (const JournalEntry& entry : journal) {
      context.out << paint(context, "2", entry.time.description()) << " " << entry.text << "\n";
    }
    return 0;
  }

 private:
  std::vector<std::string> words_;
  std::optional<std::string> at_;
};

}  // namespace

std::unique_ptr<Command> makeJournalCommand() { return std::make_unique<JournalCommand>(); }

}  // namespace trivo::cli

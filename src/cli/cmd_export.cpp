// `trivo export journal [--from DAY] [--to DAY] [--format md|org|json]` prints the journal
// entries of a range of days, in a form `trivo import journal` reads back.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/cmd_today_support.h"
#include "cli/command.h"
#include "cli/day_argument.h"
#include "core/convert/markup_converter.h"
#include "core/imports/journal_file.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

class ExportCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "export"; }
  [[nodiscard]] const char* summary() const override {
    return "Print the journal of a range of days as Markdown, Org or JSON";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("WHAT", what_, "What to export: journal")
        ->required()
        ->check(CLI::IsMember({"journal"}));
    app.add_option("--from", from_, "The first day (default: the first day with a page)");
    app.add_option("--to", to_, "The last day (default: the last day with a page)");
    app.add_option("--format", format_, "md, org or json (default: the vault's syntax)")
        ->check(CLI::IsMember({"md", "markdown", "org", "json"}));
  }

  int run(Context& context) override {
    InboxVault vault = InboxVault::open(context, true);
    VaultStore& store = *vault.store;
    const DayDate today = DayDate::today(context.clock);
    const std::optional<DayDate> from =
        from_ ? std::optional(parseDayArgument(*from_, today)) : std::nullopt;
    const std::optional<DayDate> to =
        to_ ? std::optional(parseDayArgument(*to_, today)) : std::nullopt;
    if (from && to && *to < *from) {
      throw UserError("--to " + to->isoString() + " comes before --from " + from->isoString() +
                      "; name the first day first.");
    }
    // The days with a page, in order, within the range.
    std::vector<DayDate> days;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(store.paths().base() / "days", ec)) {
      const auto key = store.paths().keyFor(entry.path());
      if (!key || !key->asDay()) continue;
      const DayDate day = *key->asDay();
      if ((from && day < *from) || (to && *to < day)) continue;
      days.push_back(day);
    }
    std::sort(days.begin(), days.end());

    const VaultFormat own = store.vault().format;
    const bool json = format_ == "json" || (context.json && !format_);
    const VaultFormat target = !format_ || json    ? own
                               : *format_ == "org" ? VaultFormat::org
                                                   : VaultFormat::markdown;
    std::vector<ImportedEntry> entries;
    guarded(vault, [&] {
      for (const DayDate& day : days) {
        for (const JournalEntry& j : store.peekDay(day).journal) {
          std::string text = j.text;
          if (target != own) {
            text = target == VaultFormat::org ? MarkupConverter::toOrg(text)
                                              : MarkupConverter::toMarkdown(text);
          }
          entries.push_back(ImportedEntry{day, j.time, std::move(text), {}});
        }
      }
    });
    if (json) {
      Json out = Json::array();
      for (const auto& e : entries) {
        out.push_back(
            {{"date", e.day.isoString()}, {"time", e.time.description()}, {"text", e.text}});
      }
      context.out << out.dump(2) << "\n";
    } else {
      context.out << JournalFile::write(entries, target);
    }
    return 0;
  }

 private:
  std::string what_;
  std::optional<std::string> from_;
  std::optional<std::string> to_;
  std::optional<std::string> format_;
};

}  // namespace

std::unique_ptr<Command> makeExportCommand() { return std::make_unique<ExportCommand>(); }

}  // namespace trivo::cli

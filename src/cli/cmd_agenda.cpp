// `trivo agenda [--days N]`: what is due or scheduled today and on the days after it.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/cmd_search_support.h"
#include "cli/command.h"
#include "core/agenda/agenda.h"

namespace trivo::cli {
namespace {

constexpr std::int64_t kMostDays = 366;

class AgendaCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "agenda"; }
  [[nodiscard]] const char* summary() const override {
    return "Show what is due or scheduled today and on the days after it";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("--days", days_, "How many days to show, today included (1 to 366)")
        ->default_val(7);
  }

  int run(Context& context) override {
    if (days_ < 1 || days_ > kMostDays) {
      throw UserError("An agenda shows 1 to " + std::to_string(kMostDays) + " days, not " +
                      std::to_string(days_) + ".");
    }
    const DayDate today = DayDate::today(context.clock);
    InboxVault vault = InboxVault::open(context, true);
    std::vector<AgendaItem> items;
    guarded(vault, [&] { items = Agenda::build(*vault.store, today, days_); });
    // The person's own Org files join the agenda unless the settings turn them off.
    const SearchVault settings = SearchVault::open(context);
    const VaultConfig defaults;
    const VaultConfig& config = settings.config ? *settings.config : defaults;
    if (config.orgAgenda) {
      std::vector<std::string> skip = config.orgSkip;
      skip.insert(skip.end(), config.agendaSkip.begin(), config.agendaSkip.end());
      Agenda::merge(items,
                    Agenda::orgFileItems(vault.store->paths(), skip, config.orgPins,
                                         config.orgKeywords, today, today.adding(days_ - 1)));
    }

    if (context.json) {
      Json out = Json::object();
      out["from"] = today;
      out["through"] = today.adding(days_ - 1);
      out["items"] = items;
      context.out << out.dump(2) << "\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    auto& out = context.out;
    if (items.empty()) {
      out << "Nothing is due or scheduled "
          << (days_ == 1 ? "today" : "in these " + std::to_string(days_) + " days") << ".\n";
      return 0;
    }
    std::optional<DayDate> current;
    for (const AgendaItem& item : items) {
      if (item.day != current) {
        if (current) out << "\n";
        current = item.day;
        out << paint.bold(dayWords(item.day) + (item.day == today ? " (today)" : "")) << "\n";
      }
      std::string line = "  " + (item.time ? item.time->description() : std::string(5, ' '));
      line += "  " + item.text;
      std::string source;
      switch (item.kind) {
        case AgendaItem::Kind::inbox:
          source = "inbox #" + std::to_string(item.number.value_or(0));
          break;
        case AgendaItem::Kind::outcome:
          source = "outcome of " + (item.page ? item.page->description() : std::string());
          break;
        case AgendaItem::Kind::planning:
          source =
              std::string(item.planning == AgendaItem::Planning::deadline ? "deadline"
                                                                          : "scheduled") +
              ", " +
              (item.file ? *item.file : (item.page ? item.page->description() : std::string()));
          break;
      }
      line += "  " + paint.dim("(" + source + ")");
      if (item.overdue) line += " " + paint.red("overdue");
      out << line << "\n";
    }
    return 0;
  }

 private:
  std::int64_t days_ = 7;
};

}  // namespace

std::unique_ptr<Command> makeAgendaCommand() { return std::make_unique<AgendaCommand>(); }

}  // namespace trivo::cli

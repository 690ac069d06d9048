// `trivo today [DAY]`: a day's page at a glance, with what the last lived day left unfinished
// while today has no plan yet.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"
#include "cli/day_argument.h"

namespace trivo::cli {
namespace {

class TodayCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "today"; }
  [[nodiscard]] const char* summary() const override {
    return "Show a day: outcomes, checklist, pulled items, journal, for tomorrow, focus, "
           "carry-over";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("DAY", day_, "The day: YYYY-MM-DD, today, yesterday, tomorrow or a weekday")
        ->default_str("today");
  }

  int run(Context& context) override {
    DailyVault vault(context);
    const DayDate date = parseDayArgument(day_, vault.today());
    DayEntry entry;
    std::int64_t minutes = 0;
    std::vector<TodayModel::CarryOffer> offers;
    vault.run(
        [&] {
          TodayModel& model = vault.model();
          entry = model.day(date);
          minutes = model.focusMinutes(date);
          if (date == model.today()) offers = model.offersForToday();
        },
        /*writes=*/false);
    if (context.json) {
      Json j = Json::object();
      j["day"] = entry;
      j["focusMinutes"] = minutes;
      j["carryOffers"] = offers;
      context.out << j.dump(2) << "\n";
      return 0;
    }
    print(context, entry, minutes, offers);
    return 0;
  }

 private:
  static void print(const Context& context, const DayEntry& entry, std::int64_t minutes,
                    const std::vector<TodayModel::CarryOffer>& offers) {
    auto& out = context.out;
    const auto heading = [&](const std::string& text) { out << paint(context, "1", text) << "\n"; };
    heading(std::string(weekdayName(entry.date.weekday())) + " " + entry.date.isoString() +
            "  (week " + entry.date.isoWeek().id() + ")");
    out << "Outcomes\n";
    printOutcomes(context, entry.outcomes);
    if (!entry.checklist.empty()) {
      out << "Checklist\n";
      for (std::size_t i = 0; i < entry.checklist.size(); ++i) {
        const CarryItem& c = entry.checklist[i];
        out << "  c" << i + 1 << ". "
            << stateMark(context, c.done ? OutcomeState::done : OutcomeState::planned) << " "
            << c.text << "\n";
      }
    }
    if (!entry.pulledItems.empty()) {
      out << "From the inbox\n";
      for (std::size_t i = 0; i < entry.pulledItems.size(); ++i) {
        const InboxItem& item = entry.pulledItems[i];
        out << "  p" << i + 1 << ". " << stateMark(context, item.state()) << " " << item.text
            << (item.serves ? " → #" + std::to_string(*item.serves) : std::string()) << "\n";
      }
    }
    if (!entry.journal.empty()) {
      out << "Journal\n";
      for (const JournalEntry& j : entry.journal) {
        out << "  " << paint(context, "2", j.time.description()) << " " << j.text << "\n";
      }
    }
    if (!entry.forTomorrow.empty()) {
      out << "For tomorrow\n";
      for (const CarryItem& c : entry.forTomorrow) {
        out << "  " << stateMark(context, c.done ? OutcomeState::done : OutcomeState::planned)
            << " " << c.text << "\n";
      }
    }
    if (minutes > 0) out << "Focus: " << minutes << " min\n";
    if (!offers.empty()) {
      out << "Left from " << offers.front().from.isoString()
          << " (trivo carry --all, or trivo carry N…):\n";
      for (std::size_t i = 0; i < offers.size(); ++i) {
        out << "  " << i + 1 << ". " << offers[i].text << "  "
            << paint(context, "2", "(" + carryKindWord(offers[i].kind) + ")") << "\n";
      }
    }
  }

  std::string day_ = "today";
};

}  // namespace

std::unique_ptr<Command> makeTodayCommand() { return std::make_unique<TodayCommand>(); }

}  // namespace trivo::cli

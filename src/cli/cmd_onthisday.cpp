// `trivo onthisday [DAY]`: the journals of the same date in earlier years and of the same
// weekday in the weeks before.
#include <CLI/CLI.hpp>
#include <ostream>
#include <set>

#include "cli/cmd_inbox_vault.h"
#include "cli/cmd_today_support.h"
#include "cli/command.h"
#include "cli/day_argument.h"
#include "core/indexes/on_this_day.h"
#include "core/search/search_sources.h"

namespace trivo::cli {
namespace {

constexpr std::int64_t kMostWeeks = 520;

std::string howLongAgo(const DayDate& day, const DayDate& from) {
  if (day.month == from.month && day.day == from.day) {
    const std::int64_t years = from.year - day.year;
    return years == 1 ? "a year ago" : std::to_string(years) + " years ago";
  }
  const std::int64_t weeks = from.daysSince(day) / 7;
  return weeks == 1 ? "a week ago" : std::to_string(weeks) + " weeks ago";
}

class OnThisDayCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "onthisday"; }
  [[nodiscard]] const char* summary() const override {
    return "Look back: the same date in earlier years and the same weekday of earlier weeks";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("DAY", day_, "The day to look back from (default today)");
    app.add_option("--weeks", weeks_, "How many earlier weeks to show (0 to 520)")->default_val(4);
  }

  int run(Context& context) override {
    if (weeks_ < 0 || weeks_ > kMostWeeks) {
      throw UserError("--weeks takes 0 to " + std::to_string(kMostWeeks) + ", not " +
                      std::to_string(weeks_) + ".");
    }
    const DayDate today = DayDate::today(context.clock);
    const DayDate day = day_ ? parseDayArgument(*day_, today) : today;
    InboxVault vault = InboxVault::open(context, true);
    std::set<DayDate> written;
    for (const SearchSource& source :
         searchSources(vault.root, vault.store->vault().format, false, {}, {})) {
      if (source.page && source.page->asDay()) written.insert(*source.page->asDay());
    }
    std::vector<std::pair<DayDate, DayEntry>> found;
    if (!written.empty()) {
      guarded(vault, [&] {
        for (const DayDate& earlier : OnThisDay::days(day, *written.begin(), weeks_)) {
          if (written.contains(earlier)) found.emplace_back(earlier, vault.store->peekDay(earlier));
        }
      });
    }

    if (context.json) {
      Json out = Json::array();
      for (const auto& [d, entry] : found) {
        out.push_back(Json{{"day", d.isoString()},
                           {"ago", howLongAgo(d, day)},
                           {"journal", entry.journal},
                           {"outcomes", entry.outcomes}});
      }
      context.out << out.dump(2) << "\n";
      return 0;
    }
    if (found.empty()) {
      context.out << "No earlier journal falls on this day.\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    bool first = true;
    for (const auto& [d, entry] : found) {
      if (!first) context.out << "\n";
      first = false;
      context.out << paint.bold(dayWords(d)) << "  " << paint.dim(howLongAgo(d, day)) << "\n";
      bool any = false;
      for (const Outcome& outcome : entry.outcomes.outcomes) {
        if (outcome.isBlank()) continue;
        context.out << "  " << (outcome.state == OutcomeState::done ? "[x] " : "[ ] ")
                    << outcome.text << "\n";
        any = true;
      }
      for (const JournalEntry& journal : entry.journal) {
        const std::string firstLine = journal.text.substr(0, journal.text.find('\n'));
        context.out << "  " << journal.time.description() << "  " << firstLine << "\n";
        any = true;
      }
      if (!any) context.out << "  " << paint.dim("(no outcomes or journal lines)") << "\n";
    }
    return 0;
  }

 private:
  std::optional<std::string> day_;
  std::int64_t weeks_ = 4;
};

}  // namespace

std::unique_ptr<Command> makeOnThisDayCommand() { return std::make_unique<OnThisDayCommand>(); }

}  // namespace trivo::cli

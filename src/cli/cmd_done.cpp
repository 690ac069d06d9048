// `trivo done TARGET…` and `trivo undone TARGET…`: tick, block and untick outcomes of any page,
// today's checklist and pulled items, and inbox items.
#include <CLI/CLI.hpp>
#include <ostream>
#include <variant>

#include "cli/cmd_today_support.h"
#include "core/inbox/inbox_model.h"

namespace trivo::cli {
namespace {

// What a target names: an outcome of a page, an item of one of today's lists, an inbox item.
struct OutcomeTarget {
  EntryKey page;
  std::int64_t slot;
};
struct ChecklistTarget {
  std::size_t number;
};
struct PulledTarget {
  std::size_t number;
};
struct InboxTarget {
  std::int64_t number;
};
using Target = std::variant<OutcomeTarget, ChecklistTarget, PulledTarget, InboxTarget>;

template <class... Ts>
struct Overloaded : Ts... {
  using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

std::string badTarget(const std::string& text) {
  return "\"" + text +
         "\" is not something to tick; write an outcome 1–3 of today, PAGE:N (such as wo:2), c2 "
         "for a checklist item, p1 for a pulled item or i4 for an inbox item.";
}

// "2", "wo:2", "2026-W38:1", "c2", "p1", "i4".
Target parseTarget(const std::string& text, const DailyVault& vault) {
  if (const auto n = wholeNumber(text)) {
    if (*n >= 1 && *n <= 3) return OutcomeTarget{EntryKey::day(vault.today()), *n};
    throw UserError("Today has outcomes 1, 2 and 3, not " + text + "; an inbox item is written i" +
                    text + ".");
  }
  if (const auto colon = text.rfind(':'); colon != std::string::npos) {
    const auto n = wholeNumber(std::string_view(text).substr(colon + 1));
    if (!n || colon == 0) throw UserError(badTarget(text));
    return OutcomeTarget{vault.periodPage(text.substr(0, colon)), *n};
  }
  if (text.size() > 1) {
    const auto n = wholeNumber(std::string_view(text).substr(1));
    if (n && *n >= 1) {
      switch (text[0]) {
        case 'c':
          return ChecklistTarget{static_cast<std::size_t>(*n)};
        case 'p':
          return PulledTarget{static_cast<std::size_t>(*n)};
        case 'i':
          return InboxTarget{*n};
        default:
          break;
      }
    }
  }
  throw UserError(badTarget(text));
}

class TickCommand final : public Command {
 public:
  explicit TickCommand(bool done) : done_(done) {}
  [[nodiscard]] const char* name() const override { return done_ ? "done" : "undone"; }
  [[nodiscard]] const char* summary() const override {
    return done_ ? "Tick (or block) outcomes and items: 2, wo:1, c2, p1, i4"
                 : "Untick outcomes and items: 2, wo:1, c2, p1, i4";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("TARGET", targets_,
                   "An outcome of today (1–3), PAGE:N, a checklist item cN, a pulled item pN or "
                   "an inbox item iN")
        ->required();
    if (done_) app.add_flag("--blocked", blocked_, "Mark the outcomes blocked instead of done");
  }

  int run(Context& context) override {
    DailyVault vault(context);
    std::vector<Target> targets;
    for (const std::string& text : targets_) targets.push_back(parseTarget(text, vault));
    if (blocked_) {
      for (std::size_t i = 0; i < targets.size(); ++i) {
        if (!std::holds_alternative<OutcomeTarget>(targets[i])) {
          throw UserError("Only outcomes can be blocked, and " + targets_[i] + " is none.");
        }
      }
    }
    std::vector<std::string> lines;
    Json ticked = Json::array();
    vault.run([&] {
      TodayModel& model = vault.model();
      InboxModel inbox(vault.store(), context.clock, vault.today());
      for (const Target& target : targets) {
        std::visit(
            Overloaded{
                [&](const OutcomeTarget& t) {
                  const OutcomeState state = !done_     ? OutcomeState::planned
                                             : blocked_ ? OutcomeState::blocked
                                                        : OutcomeState::done;
                  model.setOutcomeState(t.page, t.slot, state);
                  const Outcome o =
                      model.outcomes(t.page).outcomes[static_cast<std::size_t>(t.slot - 1)];
                  lines.push_back(std::to_string(t.slot) + ". " + stateMark(context, o.state) +
                                  " " + o.text + "  (" + t.page.description() + ")");
                  ticked.push_back(o);
                },
                [&](const ChecklistTarget& t) {
                  model.setChecklistDone(t.number, done_);
                  const CarryItem c = model.page().checklist[t.number - 1];
                  lines.push_back(
                      "c" + std::to_string(t.number) + ". " +
                      stateMark(context, c.done ? OutcomeState::done : OutcomeState::planned) +
                      " " + c.text);
                  ticked.push_back(c);
                },
                [&](const PulledTarget& t) {
                  const auto pulled = model.page().pulledItems;
                  if (t.number > pulled.size()) {
                    throw TodayError(TodayError::Kind::item,
                                     "Today has no pulled item " + std::to_string(t.number) +
                                         "; it has " + std::to_string(pulled.size()) + ".");
                  }
                  model.setPulledDone(pulled[t.number - 1].id, done_);
                  const InboxItem item = model.page().pulledItems[t.number - 1];
                  lines.push_back("p" + std::to_string(t.number) + ". " +
                                  stateMark(context, item.state()) + " " + item.text);
                  ticked.push_back(item);
                },
                [&](const InboxTarget& t) {
                  const InboxModel::Entry entry = inbox.setDone(t.number, done_);
                  std::string line = "i" + std::to_string(t.number) + ". " +
                                     stateMark(context, entry.item.state()) + " " + entry.item.text;
                  if (done_ && !entry.item.done && entry.item.due) {
                    line += "  (next due " + entry.item.due->isoString() + ")";
                  }
                  lines.push_back(line);
                  ticked.push_back(entry.item);
                },
            },
            target);
      }
    });
    if (context.json) {
      context.out << ticked.dump(2) << "\n";
      return 0;
    }
    for (const std::string& line : lines) context.out << line << "\n";
    return 0;
  }

 private:
  bool done_;
  bool blocked_ = false;
  std::vector<std::string> targets_;
};

}  // namespace

std::unique_ptr<Command> makeDoneCommand() { return std::make_unique<TickCommand>(true); }
std::unique_ptr<Command> makeUndoneCommand() { return std::make_unique<TickCommand>(false); }

}  // namespace trivo::cli

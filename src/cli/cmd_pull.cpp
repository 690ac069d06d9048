// `trivo pull ITEM [--slot N]`: moves an inbox item onto today's page, serving one of today's
// outcomes when a slot is named; `--back` sends a pulled item back to the inbox.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_today_support.h"
#include "core/inbox/inbox_model.h"

namespace trivo::cli {
namespace {

// "4" or "i4" for an inbox item, "p1" for an item pulled into today.
std::int64_t itemNumber(const std::string& text, char prefix) {
  std::string_view digits = text;
  if (!digits.empty() && digits.front() == prefix) digits.remove_prefix(1);
  const auto n = wholeNumber(digits);
  if (!n || *n < 1) {
    throw UserError(prefix == 'i' ? "\"" + text +
                                        "\" is not an inbox item; write its number as trivo inbox "
                                        "prints it, such as 4 or i4."
                                  : "\"" + text +
                                        "\" is not a pulled item; write its number as trivo "
                                        "today prints it, such as p1.");
  }
  return *n;
}

class PullCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "pull"; }
  [[nodiscard]] const char* summary() const override {
    return "Pull an inbox item onto today's page (--slot N: serving outcome N), or send it back";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("ITEM", item_, "The inbox item's number (4 or i4); with --back, p1")->required();
    app.add_option("--slot", slot_, "The outcome 1–3 of today that the item serves");
    app.add_flag("--back", back_, "Send an item pulled into today back to the inbox");
  }

  int run(Context& context) override {
    if (back_ && slot_) {
      throw UserError("An item sent back to the inbox serves no outcome; leave out --slot.");
    }
    const std::int64_t number = itemNumber(item_, back_ ? 'p' : 'i');
    DailyVault vault(context);
    InboxItem moved;
    vault.run([&] {
      TodayModel& model = vault.model();
      if (back_) {
        const auto pulled = model.page().pulledItems;
        if (static_cast<std::size_t>(number) > pulled.size()) {
          throw TodayError(TodayError::Kind::item, "Today has no pulled item " +
                                                       std::to_string(number) + "; it has " +
                                                       std::to_string(pulled.size()) + ".");
        }
        moved = model.sendBack(pulled[static_cast<std::size_t>(number - 1)].id);
        return;
      }
      InboxModel inbox(vault.store(), context.clock, vault.today());
      const auto entry = inbox.find(number);
      if (!entry) {
        throw TodayError(TodayError::Kind::item, "The inbox has no item " + std::to_string(number) +
                                                     "; trivo inbox lists the numbers.");
      }
      moved = model.pull(entry->item.id, slot_);
    });
    if (context.json) {
      context.out << Json(moved).dump(2) << "\n";
      return 0;
    }
    if (back_) {
      context.out << "Sent back to the inbox: " << moved.text << "\n";
    } else {
      context.out << "Pulled into " << vault.today().isoString() << ": " << moved.text;
      if (moved.serves) context.out << " → #" << *moved.serves;
      context.out << "\n";
    }
    return 0;
  }

 private:
  std::string item_;
  std::optional<std::int64_t> slot_;
  bool back_ = false;
};

}  // namespace

std::unique_ptr<Command> makePullCommand() { return std::make_unique<PullCommand>(); }

}  // namespace trivo::cli

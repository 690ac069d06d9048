// `trivo capture TEXT… [--dry-run]`: puts a line into the inbox with the day, time, repeat and
// flags its words name, and says what it understood.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/command.h"

namespace trivo::cli {
namespace {

class CaptureCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "capture"; }
  [[nodiscard]] const char* summary() const override {
    return "Capture a line into the inbox, reading its day, time and repeat (\"call mum friday "
           "6pm\")";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("TEXT", words_, "The words of the item, with scheduling words among them")
        ->required();
    app.add_flag("--dry-run", dryRun_, "Print what would be captured and write nothing");
  }

  int run(Context& context) override {
    std::string line;
    for (const auto& w : words_) line += (line.empty() ? "" : " ") + w;
    const DayDate today = DayDate::today(context.clock);
    const CapturePhrase phrase = CapturePhrase::read(line, today);
    std::optional<InboxModel::Entry> entry;
    if (dryRun_) {
      // The same refusals as a real capture, without needing a vault.
      if (trimmedWhitespace(phrase.text).empty()) {
        throw UserError("There is nothing to capture; write the item's words after the command.");
      }
      if (phrase.due && *phrase.due < today) {
        throw UserError("The day " + phrase.due->isoString() + " is before today, " +
                        today.isoString() + "; name a day from today on, nothing was written.");
      }
    } else {
      InboxVault vault = InboxVault::open(context, false);
      guarded(vault, [&] {
        InboxModel model = captureModel(vault, context.clock, today);
        entry = model.capture(phrase);
        vault.store->flush();
      });
    }
    if (context.json) {
      Json out = Json::object();
      out["dryRun"] = dryRun_;
      out["understood"] = phrase;
      out["number"] = entry ? Json(entry->number) : Json(nullptr);
      out["id"] = entry ? Json(entry->item.id) : Json(nullptr);
      context.out << out.dump(2) << "\n";
      return 0;
    }
    const Paint paint = Paint::forContext(context);
    auto& out = context.out;
    out << (entry ? "Captured #" + std::to_string(entry->number) + ": " : "Would capture: ")
        << paint.bold(phrase.text) << "\n";
    if (phrase.due) {
      out << "  day:      " << dayWords(*phrase.due) << "\n";
    }
    if (phrase.time) out << "  time:     " << phrase.time->description() << "\n";
    if (phrase.repeats) out << "  repeat:   " << phrase.repeats->phrase() << "\n";
    if (phrase.priority) {
      out << "  priority: " << static_cast<char>('A' + static_cast<int>(*phrase.priority)) << "\n";
    }
    if (phrase.someday) out << "  list:     someday\n";
    if (phrase.waiting) out << "  list:     waiting\n";
    for (const auto& alert : phrase.alerts) out << "  remind:   " << alert.description() << "\n";
    return 0;
  }

 private:
  std::vector<std::string> words_;
  bool dryRun_ = false;
};

}  // namespace

std::unique_ptr<Command> makeCaptureCommand() { return std::make_unique<CaptureCommand>(); }

}  // namespace trivo::cli

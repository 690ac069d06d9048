// `trivo reflect [week|month|quarter|year] [WHEN] [--edit]`: the reflection questions of a
// period asked one by one (or read from standard input, one answer per line), the answers
// written into the period page's reflection.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/cmd_edit_page.h"
#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/calendar/day_date.h"
#include "core/format/serializer_error.h"
#include "core/planning/reflection_questions.h"
#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"
#include "core/vault/page_address.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

EntryKey currentPeriod(const std::string& period, const DayDate& today) {
  if (period == "month") return EntryKey::month(today.yearMonth());
  if (period == "quarter") return EntryKey::quarter(today.yearQuarter());
  if (period == "year") return EntryKey::year(today.year);
  return EntryKey::week(today.isoWeek());
}

// Reads the page's record, lets `edit` change its reflection and saves it; returns the
// reflection as it was before.
template <typename Edit>
Reflection withReflection(VaultStore& store, const EntryKey& key, Edit edit) {
  auto apply = [&](auto entry) {
    Reflection before = entry.reflection;
    if (edit(entry.reflection)) store.save(entry);
    return before;
  };
  switch (key.kind()) {
    case EntryKey::Kind::week:
      return apply(store.week(*key.asWeek()));
    case EntryKey::Kind::month:
      return apply(store.month(*key.asMonth()));
    case EntryKey::Kind::quarter:
      return apply(store.quarter(*key.asQuarter()));
    case EntryKey::Kind::year:
      return apply(store.year(*key.asYear()));
    case EntryKey::Kind::day:
    case EntryKey::Kind::inbox:
      break;
  }
  return {};
}

class ReflectCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "reflect"; }
  [[nodiscard]] const char* summary() const override {
    return "Answer the reflection questions of this week, month, quarter or year";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("PERIOD", period_, "week, month, quarter or year")
        ->check(CLI::IsMember({"week", "month", "quarter", "year"}))
        ->default_str("week");
    app.add_option("WHEN", when_,
                   "Another period than the current one, such as 2026-W38, 2026-09, 2026-Q3, "
                   "2026 or lastweek");
    app.add_flag("--edit", edit_, "Open the page in $VISUAL or $EDITOR instead of asking");
  }

  int run(Context& context) override {
    const auto root = commandVault(context);
    const DayDate today = DayDate::today(context.clock);
    EntryKey key = currentPeriod(period_, today);
    if (when_) {
      const auto target = parsePageAddress(*when_, today, yearModeOf(root));
      const EntryKey* named = target ? target->asPage() : nullptr;
      if (!named || named->kind() != key.kind()) {
        throw UserError("\"" + *when_ + "\" is not a " + period_ + "; name one such as " +
                        currentPeriod(period_, today).payloadText() + ".");
      }
      key = *named;
    }
    if (edit_) return editPage(root, key, context);

    auto store = openPageStore(root, context);
    const fs::path relative = store->paths().urlFor(key).lexically_relative(root);
    const auto questions = reflectionQuestions(key.kind());
    std::vector<std::pair<std::string, std::string>> given;
    try {
      const bool terminal = isatty(STDIN_FILENO) != 0;
      // With --json the questions go to standard error, so standard output stays one document.
      std::ostream& ask = context.json ? context.err : context.out;
      Reflection after;
      withReflection(*store, key, [&](Reflection& reflection) {
        const Reflection original = reflection;
        if (terminal) {
          ask << "Reflection for " << key.description() << " (" << relative.string()
                      << "). Enter keeps an answer; Ctrl-D stops.\n";
        }
        for (const auto& question : questions) {
          const std::string questionKey(question.key);
          if (terminal) {
            ask << "\n" << question.text << "\n";
            if (auto now = reflection[questionKey]) ask << "  (now: " << *now << ")\n";
            ask << "> " << std::flush;
          }
          std::string line;
          if (!std::getline(std::cin, line)) break;
          if (!line.empty() && line.back() == '\r') line.pop_back();
          given.emplace_back(questionKey, line);
          if (trimmedWhitespace(line).empty()) continue;
          reflection.set(questionKey, line);
        }
        if (terminal) ask << "\n";
        if (given.empty() && !terminal) {
          throw UserError(
              "No answers came on standard input; give one answer per line, or run trivo "
              "reflect on a terminal to be asked.");
        }
        after = reflection;
        return reflection != original;
      });
      store->flush();
      std::size_t answered = 0;
      for (const auto& [questionKey, answer] : given) {
        if (!trimmedWhitespace(answer).empty()) ++answered;
      }
      if (context.json) {
        Json out = Json::object();
        out["key"] = key;
        out["path"] = relative.string();
        out["reflection"] = after;
        context.out << out.dump(2) << "\n";
      } else {
        context.out << "Wrote " << counted(answered, "answer", "answers") << " to "
                    << relative.string() << ".\n";
      }
      return 0;
    } catch (const SerializerError& e) {
      throw UserError(relative.string() + " cannot be read (" + e.what() +
                          "); fix it (trivo edit " + key.payloadText() +
                          ") and try again; nothing was written.",
                      3);
    } catch (const PageReadError& e) {
      throw UserError(relative.string() + " cannot be read (" + std::string(e.what()) +
                          "); nothing was written.",
                      3);
    } catch (const VaultError& e) {
      keepAnswers(context, given);
      throw UserError(relative.string() +
                          " changed on disk while you answered, so nothing was written; your "
                          "answers are above: run trivo reflect again to add them.",
                      4);
    } catch (const FileError& e) {
      keepAnswers(context, given);
      throw UserError("Cannot write " + relative.string() + ": " + e.what() +
                      "; your answers are above.");
    }
  }

 private:
  // What the person typed, so that a refused write loses nothing.
  static void keepAnswers(Context& context,
                          const std::vector<std::pair<std::string, std::string>>& given) {
    for (const auto& [questionKey, answer] : given) {
      if (!trimmedWhitespace(answer).empty()) context.err << questionKey << ": " << answer << "\n";
    }
  }

  std::string period_ = "week";
  std::optional<std::string> when_;
  bool edit_ = false;
};

}  // namespace

std::unique_ptr<Command> makeReflectCommand() { return std::make_unique<ReflectCommand>(); }

}  // namespace trivo::cli

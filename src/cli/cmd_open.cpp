// `trivo open URL [--dry-run]`: follows a "trivo://" link, the handler that the desktop entry
// registers for the app's link schemes.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "cli/cmd_inbox_vault.h"
#include "cli/cmd_search_support.h"
#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/calendar/day_date.h"
#include "core/focus/live_state.h"
#include "core/focus/timer_model.h"
#include "core/format/serializer_error.h"
#include "core/links/deep_link.h"
#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "core/vault/page_link.h"
#include "core/vault/relative_page.h"
#include "core/vault/vault_locator.h"
#include "core/vault/vault_paths.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

template <class... Ts>
struct OpenOverloaded : Ts... {
  using Ts::operator()...;
};
template <class... Ts>
OpenOverloaded(Ts...) -> OpenOverloaded<Ts...>;

std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

// The text of a capture link as one line of words. A link may come from any web page, so control
// characters (NUL among them, which would cut or corrupt the page) are refused rather than
// written; line breaks and tabs are only layout and become blanks.
std::string linkWords(std::string_view text) {
  if (!isValidUtf8(text)) {
    throw UserError("The link's text is not valid UTF-8, so nothing was captured.");
  }
  std::string words;
  words.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool c1 = c == 0xC2 && i + 1 < text.size() &&
                    static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                    static_cast<unsigned char>(text[i + 1]) <= 0x9F;
    if (c == '\n' || c == '\r' || c == '\t') {
      words += ' ';
    } else if (c < 0x20 || c == 0x7F || c1) {
      throw UserError(
          "The link's text holds a control character, so nothing was captured; send plain text.");
    } else {
      words += static_cast<char>(c);
    }
  }
  return words;
}

// A link may come from anywhere (a web page, another program), so a note path is taken only
// when it names a file inside the vault: relative, without "..", and not leaving through a
// symbolic link.
fs::path noteInside(const fs::path& root, const std::string& note) {
  const std::string refusal =
      inQuotes(note) + " is outside the vault; a note link names a file inside the vault.";
  const fs::path relative(note);
  if (relative.is_absolute() || relative.has_root_name() || relative.has_root_directory()) {
    throw UserError(refusal);
  }
  for (const fs::path& part : relative) {
    if (part == "..") throw UserError(refusal);
  }
  const fs::path file = root / relative;
  std::error_code rootError;
  std::error_code fileError;
  const fs::path realRoot = fs::weakly_canonical(root, rootError);
  const fs::path realFile = fs::weakly_canonical(file, fileError);
  if (!rootError && !fileError) {
    const auto rel = realFile.lexically_relative(realRoot);
    if (rel.empty() || rel == "." || *rel.begin() == "..") throw UserError(refusal);
  }
  return file;
}

// What following a link does here: a sentence, and the file it leads to when there is one.
struct Action {
  std::string sentence;
  std::optional<fs::path> file;
};

class OpenCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "open"; }
  [[nodiscard]] const char* summary() const override {
    return "Follow a trivo:// link (--dry-run prints the link as read)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("URL", url_, "A link such as trivo://open?page=day:2026-09-16")->required();
    app.add_flag("--dry-run", dryRun_, "Print the link as read, as JSON, and do nothing");
  }

  int run(Context& context) override {
    const auto link = DeepLink::parse(url_);
    if (!link) {
      throw UserError(url_ +
                      " is not a link Trivo follows; write one such as trivo://open?page=journal, "
                      "trivo://capture?text=milk or trivo://find?q=coffee.");
    }
    if (dryRun_) {
      context.out << Json(*link).dump(2) << "\n";
      return 0;
    }
    if (const auto* find = std::get_if<DeepLink::Find>(&link->payload)) {
      // A find link runs the search itself: the results are what the person asked to see.
      const SearchVault vault = SearchVault::open(context);
      const std::string asked = "\"" + find->query + "\"";
      return searchAndPrint(context, vault, asked, parseQuery(find->query), 1);
    }
    const Action action = follow(*link, context);
    if (context.json) {
      Json out = Json::object();
      out["link"] = *link;
      out["action"] = action.sentence;
      out["file"] = action.file ? Json(action.file->string()) : Json(nullptr);
      context.out << out.dump(2) << "\n";
    } else {
      context.out << action.sentence << "\n";
    }
    return 0;
  }

 private:
  fs::path root(const Context& context) {
    if (!root_) {
      root_ = commandVault(context);
    }
    return *root_;
  }

  Action openPage(const EntryKey& key, const Context& context) {
    const fs::path r = root(context);
    const fs::path file = VaultPaths(r, detectVaultFormat(r)).urlFor(key);
    return {"Would open " + key.description() + ": " + file.string(), file};
  }

  // Orders reach the running timer through the live-state command file, which the app takes
  // within its next tick; an order left for 60 seconds is dropped, so say when nobody listens.
  static Action sendToTimer(LiveState::Command command, const Context& context,
                            std::optional<std::int64_t> minutes = std::nullopt,
                            std::optional<std::string> subject = std::nullopt) {
    LiveState::send(LiveState::Order{command, context.clock.now(), minutes, std::move(subject)});
    std::string sentence = "Asked the focus timer to " +
                           std::string(kLiveStateCommandNames[static_cast<std::size_t>(command)]) +
                           ".";
    if (!LiveState::read().appIsUp(context.clock)) {
      sentence +=
          " The app is not running; the order is dropped if it does not start within a "
          "minute.";
    }
    return {sentence, std::nullopt};
  }

  static Action pressWidgetKey(DeepLink::WidgetKey key, const Context& context) {
    using Key = DeepLink::WidgetKey;
    switch (key) {
      case Key::start:
        return sendToTimer(LiveState::Command::start, context);
      case Key::stop:
        return sendToTimer(LiveState::Command::stop, context);
      case Key::hold: {
        // "Hold" toggles: it pauses a running session and resumes a paused one or a break.
        const auto phase = LiveState::read().phase;
        if (phase == LiveState::Phase::idle) {
          throw UserError("No focus session is under way, so there is nothing to hold.");
        }
        return sendToTimer(phase == LiveState::Phase::running ? LiveState::Command::pause
                                                              : LiveState::Command::resume,
                           context);
      }
      case Key::focus:
        return {"Would show the focus window.", std::nullopt};
      case Key::capture:
        return {"Would open the inbox to capture a line.", std::nullopt};
      case Key::journal:
        return {"Would open today's journal.", std::nullopt};
    }
    return {"", std::nullopt};
  }

  // Captures the line through the inbox model, so it lands among the inbox's items (never in a
  // section of the person's own at the page's end) with the scheduling its words name, and the
  // store refuses to write over an edit made meanwhile in another program.
  Action capture(const DeepLink::Capture& v, const Context& context) {
    const std::string words = linkWords(v.text);
    if (v.pull) {
      const fs::path r = root(context);
      return pull(words, v.slot, r, context);
    }
    InboxVault vault = InboxVault::open(context, false);
    root_ = vault.root;
    std::optional<InboxModel::Entry> entry;
    guarded(vault, [&] {
      InboxModel model = captureModel(vault, context.clock, DayDate::today(context.clock));
      entry = model.capture(words);
      vault.store->flush();
    });
    return {"Captured into the inbox: " + entry->item.text, vault.fileOf(EntryKey::inbox())};
  }

  // Puts the captured line straight onto today's page among the items pulled from the inbox,
  // serving the outcome of the given slot (0–2) when one is named.
  Action pull(const std::string& words, std::optional<std::int64_t> slot, const fs::path& r,
              const Context& context) {
    const DayDate today = DayDate::today(context.clock);
    const auto opened = openCommandStore(r, context, StoreWrites::atOnce);
    VaultStore& store = *opened;
    InboxItem item;
    item.id = InboxItem::newId();
    item.text = words;
    item.captured = today;
    item.pulledInto = today;
    if (slot) item.serves = *slot + 1;
    try {
      DayEntry day = store.dayForEditing(today);
      day.pulledItems.push_back(item);
      store.save(day);
      store.flush();
    } catch (const VaultError&) {
      throw UserError(
          "Today's page changed on disk while capturing, so nothing was written; run "
          "the link again.",
          4);
    } catch (const PageReadError& e) {
      throw UserError("Today's page cannot be read (" + std::string(e.what()) +
                      "); nothing was written.");
    } catch (const SerializerError& e) {
      throw UserError(
          "Today's page cannot be read (" + std::string(e.what()) + "); nothing was written.", 3);
    }
    return {"Captured onto today's page: " + words,
            store.paths().urlFor(EntryKey::day(today))};
  }

  Action follow(const DeepLink& link, const Context& context) {
    using DL = DeepLink;
    return std::visit(
        OpenOverloaded{
            [&](const DL::Open& v) -> Action {
              if (const auto* key = std::get_if<PageKey>(&v.destination.value);
                  key && key->kind == PageKey::Kind::period && key->period) {
                return openPage(*key->period, context);
              }
              return {"Would open " + v.destination.pageKey() + ".", std::nullopt};
            },
            [&](const DL::OpenRelative& v) -> Action {
              const fs::path r = root(context);
              const PageTarget target =
                  resolve(v.page, DayDate::today(context.clock), yearModeOf(r));
              if (const EntryKey* key = target.asPage()) return openPage(*key, context);
              return {"Would open the " + *target.asView() + " view.", std::nullopt};
            },
            [&](const DL::OpenDraft& v) -> Action {
              return {"Would open the draft " + inQuotes(v.name) + ".", std::nullopt};
            },
            [&](const DL::OpenNote& v) -> Action {
              const fs::path file = noteInside(root(context), v.path);
              return {"Would open the note: " + file.string(), file};
            },
            [&](const DL::OpenInbox& v) -> Action {
              Action action = openPage(EntryKey::inbox(), context);
              action.sentence =
                  "Would open the inbox list " + inQuotes(v.list) + ": " + action.file->string();
              return action;
            },
            [&](const DL::Find& v) -> Action {
              // Reached only through follow() callers other than run(), which searches itself.
              return {"Search the vault for " + inQuotes(v.query) + ".", std::nullopt};
            },
            [&](const DL::DraftsWindow& v) -> Action {
              return {v.name ? "Would open the drafts window at " + inQuotes(*v.name) + "."
                             : std::string("Would open the drafts window."),
                      std::nullopt};
            },
            [&](const DL::License& v) -> Action {
              return {"Would enter the licence key " + inQuotes(v.key) + ".", std::nullopt};
            },
            [&](const DL::Debug& v) -> Action {
              return {"Would run the debugging command " + inQuotes(v.command) + ".", std::nullopt};
            },
            [&](const DL::Widget& v) -> Action { return pressWidgetKey(v.key, context); },
            [&](const DL::FocusStart& v) -> Action {
              // A session longer than the timer allows is started at its longest.
              std::optional<std::int64_t> minutes;
              if (v.minutes) minutes = std::min<std::int64_t>(*v.minutes, TimerModel::maxMinutes);
              return sendToTimer(LiveState::Command::start, context, minutes, v.subject);
            },
            [&](const DL::FocusStop&) -> Action {
              return sendToTimer(LiveState::Command::stop, context);
            },
            [&](const DL::FocusWindow&) -> Action {
              return {"Would show the focus window.", std::nullopt};
            },
            [&](const DL::Capture& v) -> Action { return capture(v, context); },
        },
        link.payload);
  }

  std::string url_;
  bool dryRun_ = false;
  std::optional<fs::path> root_;
};

}  // namespace

std::unique_ptr<Command> makeOpenCommand() { return std::make_unique<OpenCommand>(); }

}  // namespace trivo::cli

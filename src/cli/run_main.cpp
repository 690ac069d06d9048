// Parses the command line, dispatches to a command and turns failures into exit codes.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "cli/command.h"
#include "core/config/config_store.h"
#include "core/format/serializer_error.h"
#include "core/store/atomic_write.h"
#include "core/store/store_errors.h"
#include "core/util/json_fields.h"
#include "core/version.h"

namespace trivo::cli {
namespace {

constexpr const char* kUsage =
    "usage: trivo [--vault DIR] [--json] COMMAND ...  (trivo help lists the commands)\n";

// The first word that is not an option or the value of --vault: the command the person meant.
std::optional<std::string> commandWord(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--vault") {
      ++i;
    } else if (!arg.empty() && arg.front() != '-') {
      return std::string(arg);
    }
  }
  return std::nullopt;
}

std::string commandList(const std::vector<CLI::App*>& subs) {
  std::string list;
  for (const CLI::App* sub : subs) list += (list.empty() ? "" : ", ") + sub->get_name();
  return list;
}

const CLI::App* findCommand(const std::string& word, const std::vector<CLI::App*>& subs) {
  for (const CLI::App* sub : subs) {
    if (sub->check_name(word)) return sub;  // its name or one of its aliases
  }
  return nullptr;
}

int unknownCommand(const std::string& word, const std::vector<CLI::App*>& subs,
                   std::ostream& err) {
  err << "trivo: \"" << word << "\" is not a command; the commands are " << commandList(subs)
      << ".\n"
      << kUsage;
  return 2;
}

}  // namespace

int runMain(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  CLI::App app{"Trivo: a plain-text planner and journal built on the Rule of Three.", "trivo"};
  app.set_version_flag("--version", std::string("trivo ") + versionString());
  app.require_subcommand(1);
  std::optional<std::string> vault;
  app.add_option("--vault", vault,
                 "The vault folder (else TRIVO_VAULT, else the nearest "
                 "folder upward holding .trivo, else the default vault of trivo init)")
      ->type_name("DIR");
  bool json = false;
  app.add_flag("--json", json, "Print one JSON document instead of text for people");

  const auto word = commandWord(argc, argv);
  auto commands = allCommands();
  // Only the named command's options are built: building all of them is most of the start-up
  // of a command that does little. Without a command word (--version, --help) none are needed;
  // a word that is no command's name (an alias, help, a typo) needs them all.
  const bool namesCommand =
      word && std::any_of(commands.begin(), commands.end(),
                          [&](const auto& command) { return *word == command->name(); });
  std::vector<CLI::App*> subs;
  for (auto& command : commands) {
    CLI::App* sub = app.add_subcommand(command->name(), command->summary());
    sub->fallthrough();
    if (word && (!namesCommand || *word == command->name())) command->define(*sub);
    subs.push_back(sub);
  }
  CLI::App* help = app.add_subcommand("help", "Print the help of trivo or of one command");
  std::optional<std::string> helpTopic;
  help->add_option("COMMAND", helpTopic, "The command to explain");
  subs.push_back(help);

  if (word && !findCommand(*word, subs)) return unknownCommand(*word, subs, err);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    out << app.help();
    return 0;
  } catch (const CLI::CallForAllHelp&) {
    out << app.help("", CLI::AppFormatMode::All);
    return 0;
  } catch (const CLI::CallForVersion&) {
    out << app.version() << "\n";
    return 0;
  } catch (const CLI::RequiredError& e) {
    if (!word) {
      err << "trivo: name a command; the commands are " << commandList(subs) << ".\n" << kUsage;
    } else {
      err << "trivo: " << e.what() << "\n" << kUsage;
    }
    return 2;
  } catch (const CLI::ParseError& e) {
    err << "trivo: " << e.what() << "\n" << kUsage;
    return 2;
  }

  if (help->parsed()) {
    if (!helpTopic) {
      // Not app.help(), which would explain the help command itself.
      out << app.get_formatter()->make_help(&app, "trivo", CLI::AppFormatMode::Normal);
      return 0;
    }
    const CLI::App* topic = findCommand(*helpTopic, subs);
    if (!topic) return unknownCommand(*helpTopic, subs, err);
    out << topic->help("trivo");
    return 0;
  }

  Context context{out,   err,  SystemClock::shared(),
                  vault, json, &out == &std::cout && isatty(STDOUT_FILENO) != 0};
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (!subs[i]->parsed()) continue;
    try {
      return commands[i]->run(context);
    } catch (const UserError& e) {
      err << "trivo: " << e.what() << "\n";
      return e.exitCode();
    } catch (const RecordError& e) {
      err << "trivo: " << e.what() << ".\n";
      return 1;
    } catch (const VaultError& e) {
      // Commands word their own refusals; these are the ones a command did not expect.
      if (e.kind() == VaultError::Kind::changedOnDisk) {
        err << "trivo: " << (e.key() ? e.key()->description() : std::string("A page"))
            << " changed on disk while trivo was writing it, so it was left as it is; your text "
               "is kept (trivo refused lists it).\n";
        return 4;
      }
      err << "trivo: " << e.what() << "\n";
      return 1;
    } catch (const PageReadError& e) {
      err << "trivo: " << e.what() << "\n";
      return 3;
    } catch (const SerializerError& e) {
      err << "trivo: A page cannot be read (" << e.what() << "); fix it and try again.\n";
      return 3;
    } catch (const FileError& e) {
      // A full disk, a dangling link, a folder where a page should be: say so and keep the text.
      err << "trivo: " << e.what() << " Nothing you wrote is lost: a text that could not be "
             "written is kept (trivo refused lists it).\n";
      return 1;
    } catch (const ConfigError& e) {
      err << "trivo: " << e.what() << "\n";
      return 1;
    }
  }
  return 2;
}

}  // namespace trivo::cli

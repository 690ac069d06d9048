// `trivo completion bash|zsh|fish`: a completion script for the shell, made from the command
// registry so that every command and option appears without a hand-kept list.
#include <CLI/CLI.hpp>
#include <ostream>
#include <sstream>

#include "cli/command.h"

namespace trivo::cli {
namespace {

struct OptionInfo {
  std::string name;  // "--roundtrip" or "-r"
  std::string help;
  bool takesValue = false;
};

struct CommandInfo {
  std::string name;
  std::string summary;
  std::vector<OptionInfo> options;
  std::vector<std::string> subcommands;  // such as config's get and set
};

// Every option (long and short name) of a subcommand, as its definition declares them.
std::vector<OptionInfo> optionsOf(const CLI::App& app) {
  std::vector<OptionInfo> out;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->nonpositional() || option == app.get_help_ptr()) continue;
    const bool value = option->get_items_expected_max() > 0;
    for (const auto& name : option->get_lnames()) {
      out.push_back({"--" + name, option->get_description(), value});
    }
    for (const auto& name : option->get_snames()) {
      out.push_back({"-" + name, option->get_description(), value});
    }
  }
  return out;
}

// The registry's commands with their options, plus `help`, which the program adds itself.
std::vector<CommandInfo> registeredCommands() {
  std::vector<CommandInfo> out;
  for (auto& command : allCommands()) {
    CLI::App app{command->summary(), command->name()};
    command->define(app);
    std::vector<std::string> subcommands;
    for (const CLI::App* sub : app.get_subcommands({})) subcommands.push_back(sub->get_name());
    out.push_back({command->name(), command->summary(), optionsOf(app), subcommands});
  }
  out.push_back({"help", "Print the help of trivo or of one command", {}, {}});
  return out;
}

const std::vector<OptionInfo> kGlobalOptions = {
    {"--vault", "The vault folder", true},
    {"--json", "Print one JSON document instead of text for people", false},
    {"--help", "Print the help", false},
    {"--version", "Print the version", false},
};

// Text inside single quotes of any of the three shells.
std::string shellQuoted(std::string_view text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      out += c;
    }
  }
  return out + "'";
}

std::string joined(const std::vector<std::string>& list) {
  std::string out;
  for (const auto& word : list) out += (out.empty() ? "" : " ") + word;
  return out;
}

std::string words(const std::vector<OptionInfo>& options) {
  std::string out;
  for (const auto& option : options) out += (out.empty() ? "" : " ") + option.name;
  return out;
}

std::string bash(const std::vector<CommandInfo>& commands) {
  std::ostringstream s;
  std::string names;
  for (const auto& c : commands) names += (names.empty() ? "" : " ") + c.name;
  s << "# bash completion for trivo (made by: trivo completion bash)\n"
    << "_trivo() {\n"
    << "  local cur=\"${COMP_WORDS[COMP_CWORD]}\" prev=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
    << "  local i command=\n"
    << "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
    << "    case \"${COMP_WORDS[i]}\" in\n"
    << "      --vault) ((i++)) ;;\n"
    << "      -*) ;;\n"
    << "      *) command=\"${COMP_WORDS[i]}\"; break ;;\n"
    << "    esac\n"
    << "  done\n"
    << "  if [[ $prev == --vault ]]; then\n"
    << "    COMPREPLY=($(compgen -d -- \"$cur\"))\n"
    << "    return\n"
    << "  fi\n"
    << "  local options=" << shellQuoted(words(kGlobalOptions)) << " subcommands=\n"
    << "  case \"$command\" in\n"
    << "    '')\n"
    << "      if [[ $cur == -* ]]; then\n"
    << "        COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
    << "      else\n"
    << "        COMPREPLY=($(compgen -W " << shellQuoted(names) << " -- \"$cur\"))\n"
    << "      fi\n"
    << "      return ;;\n"
    << "    help) COMPREPLY=($(compgen -W " << shellQuoted(names) << " -- \"$cur\")); return ;;\n";
  for (const auto& c : commands) {
    if (c.name == "help") continue;
    s << "    " << c.name << ") options=" << shellQuoted(words(c.options) + " --help");
    if (!c.subcommands.empty()) s << " subcommands=" << shellQuoted(joined(c.subcommands));
    s << " ;;\n";
  }
  s << "  esac\n"
    << "  if [[ $cur == -* ]]; then\n"
    << "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
    << "  elif [[ -n $subcommands ]]; then\n"
    << "    COMPREPLY=($(compgen -W \"$subcommands\" -- \"$cur\"))\n"
    << "  fi\n"
    << "}\n"
    << "complete -o default -o bashdefault -F _trivo trivo\n";
  return s.str();
}

// zsh's descriptions: brackets end an option's description and a colon ends a command's name.
std::string zshText(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

std::string zsh(const std::vector<CommandInfo>& commands) {
  std::ostringstream s;
  s << "#compdef trivo\n"
    << "# zsh completion for trivo (made by: trivo completion zsh)\n"
    << "_trivo() {\n"
    << "  local curcontext=\"$curcontext\" state line\n"
    << "  local -a commands\n"
    << "  commands=(\n";
  for (const auto& c : commands) s << "    " << shellQuoted(c.name + ":" + zshText(c.summary)) << "\n";
  s << "  )\n"
    << "  _arguments -C \\\n"
    << "    '--vault[The vault folder]:folder:_files -/' \\\n"
    << "    '--json[Print one JSON document instead of text for people]' \\\n"
    << "    '(- *)--help[Print the help]' \\\n"
    << "    '(- *)--version[Print the version]' \\\n"
    << "    '1:command:->command' \\\n"
    << "    '*::argument:->argument'\n"
    << "  case $state in\n"
    << "    command) _describe -t commands 'trivo command' commands ;;\n"
    << "    argument)\n"
    << "      case $words[1] in\n"
    << "        help) _describe -t commands 'trivo command' commands ;;\n";
  for (const auto& c : commands) {
    if (c.name == "help") continue;
    s << "        " << c.name << ") _arguments";
    for (const auto& o : c.options) {
      s << " " << shellQuoted(o.name + "[" + zshText(o.help) + "]" + (o.takesValue ? ":value:" : ""));
    }
    s << " '--help[Print the help]' '*:file:_files' ;;\n";
  }
  s << "      esac ;;\n"
    << "  esac\n"
    << "}\n"
    << "_trivo \"$@\"\n";
  return s.str();
}

std::string fish(const std::vector<CommandInfo>& commands) {
  std::ostringstream s;
  std::string names;
  for (const auto& c : commands) names += (names.empty() ? "" : " ") + c.name;
  s << "# fish completion for trivo (made by: trivo completion fish)\n"
    << "complete -c trivo -l vault -r -a '(__fish_complete_directories)' -d 'The vault folder'\n"
    << "complete -c trivo -l json -d 'Print one JSON document instead of text for people'\n"
    << "complete -c trivo -l help -d 'Print the help'\n"
    << "complete -c trivo -l version -d 'Print the version'\n";
  for (const auto& c : commands) {
    s << "complete -c trivo -f -n __fish_use_subcommand -a " << shellQuoted(c.name) << " -d "
      << shellQuoted(c.summary) << "\n";
  }
  s << "complete -c trivo -f -n '__fish_seen_subcommand_from help' -a " << shellQuoted(names) << "\n";
  for (const auto& c : commands) {
    for (const auto& o : c.options) {
      const bool isLong = o.name.rfind("--", 0) == 0;
      s << "complete -c trivo -n " << shellQuoted("__fish_seen_subcommand_from " + c.name)
        << (isLong ? " -l " : " -s ") << o.name.substr(isLong ? 2 : 1)
        << (o.takesValue ? " -r" : "") << " -d " << shellQuoted(o.help) << "\n";
    }
  }
  return s.str();
}

class CompletionCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "completion"; }
  [[nodiscard]] const char* summary() const override {
    return "Print the completion script of a shell (bash, zsh or fish)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    app.add_option("SHELL", shell_, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  }

  int run(Context& context) override {
    const auto commands = registeredCommands();
    if (shell_ == "bash") {
      context.out << bash(commands);
    } else if (shell_ == "zsh") {
      context.out << zsh(commands);
    } else {
      context.out << fish(commands);
    }
    return 0;
  }

 private:
  std::string shell_;
};

}  // namespace

std::unique_ptr<Command> makeCompletionCommand() { return std::make_unique<CompletionCommand>(); }

}  // namespace trivo::cli

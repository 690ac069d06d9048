// `trivo app` (also `trivo service`): the vault's service, in the foreground until SIGTERM or
// Ctrl-C; `--print-unit` and `--install-unit` give the systemd user unit that runs it.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <ostream>

#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/focus/audio_sink.h"
#include "core/focus/tick_player.h"
#include "core/search/search_index.h"
#include "core/service/service_lock.h"
#include "core/service/service_setup.h"
#include "core/service/vault_service.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

fs::path thisProgram() {
  std::error_code ec;
  const fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::path("trivo") : self;
}

class AppCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "app"; }
  [[nodiscard]] const char* summary() const override {
    return "Run the vault's service: focus timer, live state for widgets, inbox alerts (alias: "
           "service)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.alias("service");
    app.add_flag("--print-unit", printUnit_, "Print the systemd user unit that runs the service");
    app.add_flag("--install-unit", installUnit_,
                 "Write that unit (for this vault) into ~/.config/systemd/user/trivo.service");
  }

  int run(Context& context) override {
    if (printUnit_ || installUnit_) return unit(context);
    const fs::path root = commandVault(context);
    const auto lockFile = serviceLockFile(root);
    if (!lockFile) {
      throw UserError(
          "No private folder for the service's lock: set XDG_RUNTIME_DIR or TRIVO_GROUP_DIR to a "
          "folder of your own.");
    }
    auto lock = ServiceLock::acquire(*lockFile);
    if (!lock) {
      const auto pid = ServiceLock::holder(*lockFile);
      throw UserError("The vault " + root.string() + " is already served by process " +
                      (pid && *pid > 0 ? std::to_string(*pid) : std::string("(unknown)")) +
                      "; stop it first (kill " +
                      (pid && *pid > 0 ? std::to_string(*pid) : std::string("PID")) + ").");
    }
    std::unique_ptr<Clock> clock;
    try {
      clock = serviceClockFromEnvironment();
    } catch (const std::invalid_argument& e) {
      throw UserError(e.what());
    }
    VaultService::Options options;
    options.root = root;
    options.clock = clock.get();
    options.log = &context.err;
    options.openSound = [] { return openPulseSink(TickPlayer::kSampleRate, "Trivo focus"); };
    if (auto cache = SearchIndex::defaultCacheFolder()) {
      options.searchCache = *cache;
    }
    try {
      VaultService service(options);
      context.out << "Trivo serves " << root.string() << " (process " << ::getpid() << ")."
                  << std::endl;
      const int code = service.run();
      if (code == 0) context.out << "Trivo service stopped." << std::endl;
      return code;
    } catch (const std::runtime_error& e) {
      throw UserError(e.what());
    }
  }

 private:
  int unit(Context& context) {
    std::optional<fs::path> vault;
    try {
      vault = locateVault(VaultSearch::fromProcess(context.vault));
    } catch (const VaultNotFound&) {
      // The unit then finds the vault when it starts: TRIVO_VAULT or the default vault.
    }
    const std::string text = systemdUserUnit(thisProgram(), vault);
    if (printUnit_) {
      context.out << text;
      return 0;
    }
    const auto folder = userUnitFolder();
    if (!folder) throw UserError("HOME is not set, so there is no folder for user units.");
    std::error_code ec;
    fs::create_directories(*folder, ec);
    const fs::path file = *folder / "trivo.service";
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) throw UserError("Could not write " + file.string() + "; check that folder.");
    context.out << "Wrote " << file.string()
                << "; start it with: systemctl --user daemon-reload && systemctl --user enable "
                   "--now trivo.service\n";
    return 0;
  }

  bool printUnit_ = false;
  bool installUnit_ = false;
};

}  // namespace

std::unique_ptr<Command> makeAppCommand() { return std::make_unique<AppCommand>(); }

}  // namespace trivo::cli

// `trivo init [DIR] [--org] [--sample]`: makes a vault in a new or empty folder, remembers it as
// the default vault, and with --sample fills it with a few weeks of sample pages.
#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/cmd_edit_page.h"
#include "cli/command.h"
#include "core/calendar/day_date.h"
#include "core/config/config_store.h"
#include "core/format/serializer_error.h"
#include "core/imports/sample_vault.h"
#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"
#include "core/vault/known_vaults.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// The vault that holds `folder` (a folder upward with ".trivo"), if any.
std::optional<fs::path> enclosingVault(const fs::path& folder) {
  std::error_code ec;
  for (fs::path dir = folder.parent_path(); !dir.empty(); dir = dir.parent_path()) {
    if (fs::is_directory(dir / ".trivo", ec)) return dir;
    if (dir == dir.root_path()) break;
  }
  return std::nullopt;
}

class InitCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "init"; }
  [[nodiscard]] const char* summary() const override {
    return "Make a vault in a new or empty folder and remember it as the default vault";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("DIR", dir_, "The folder for the vault (default: --vault, else the current one)");
    app.add_flag("--org", org_, "Write the pages in Org syntax (.org) instead of Markdown (.md)");
    app.add_flag("--sample", sample_, "Fill the vault with a few weeks of sample pages");
  }

  int run(Context& context) override {
    const VaultSearch search = VaultSearch::fromProcess(std::nullopt);
    fs::path root = dir_ ? fs::path(*dir_) : context.vault ? fs::path(*context.vault) : ".";
    if (root.is_relative()) root = search.currentDirectory / root;
    root = root.lexically_normal();
    if (!root.has_filename() && root.has_relative_path()) root = root.parent_path();
    const std::string shown = root.string();

    std::error_code ec;
    if (fs::exists(root, ec)) {
      if (!fs::is_directory(root, ec)) {
        throw UserError("\"" + shown + "\" is a file; name a new or empty folder for the vault.");
      }
      if (fs::is_directory(root / ".trivo", ec)) {
        throw UserError("\"" + shown + "\" already holds a vault; use it with --vault " + shown +
                        ", or name a new or empty folder.");
      }
      if (!fs::is_empty(root, ec)) {
        throw UserError("\"" + shown +
                        "\" is not empty and holds no vault; name a new or empty folder, so "
                        "that no file of yours is mixed into the vault.");
      }
    }
    if (auto outer = enclosingVault(root)) {
      throw UserError("\"" + shown + "\" lies inside the vault " + outer->string() +
                      "; a vault cannot hold another, so name a folder outside it.");
    }

    const VaultFormat format = org_ ? VaultFormat::org : VaultFormat::markdown;
    try {
      fs::create_directories(root);
      VaultConfig config;
      config.fileFormat = format;
      ConfigStore(root, ConfigStore::defaultDeviceURL()).save(config);
    } catch (const fs::filesystem_error& e) {
      throw UserError("Cannot make the folder \"" + shown + "\": " + e.code().message() + ".");
    } catch (const FileError& e) {
      throw UserError("Cannot write the vault's settings in \"" + shown + "\": " + e.what() +
                      ".");
    } catch (const ConfigError& e) {
      throw UserError("Cannot write the vault's settings in \"" + shown + "\": " + e.what() +
                      ".");
    }

    if (sample_) {
      try {
        auto store = openPageStore(root, context);
        SampleVault::write(*store, DayDate::today(context.clock));
      } catch (const std::exception& e) {
        // The vault itself is made; only some sample pages may be missing.
        throw UserError("The vault is made, but writing the sample pages failed: " +
                        std::string(e.what()) + ".");
      }
    }

    bool remembered = false;
    if (search.configDirectory) {
      try {
        rememberDefaultVault(*search.configDirectory, root);
        remembered = true;
      } catch (const FileError& e) {
        context.err << "trivo: the vault is made, but the list of known vaults in "
                    << search.configDirectory->string() << " cannot be written (" << e.what()
                    << "); use --vault " << shown << ".\n";
      }
    }

    if (context.json) {
      Json out = Json::object();
      out["root"] = shown;
      out["format"] = format;
      out["sample"] = sample_;
      out["default"] = remembered;
      context.out << out.dump(2) << "\n";
    } else {
      context.out << "Made " << (format == VaultFormat::org ? "an Org" : "a Markdown")
                  << " vault in " << shown << (sample_ ? ", with sample pages" : "")
                  << (remembered ? "; it is now the default vault." : ".") << "\n";
    }
    return 0;
  }

 private:
  std::optional<std::string> dir_;
  bool org_ = false;
  bool sample_ = false;
};

}  // namespace

std::unique_ptr<Command> makeInitCommand() { return std::make_unique<InitCommand>(); }

}  // namespace trivo::cli

// `trivo config get [KEY.PATH]` and `trivo config set KEY.PATH VALUE`: the vault's settings.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <ostream>

#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/config/config_store.h"
#include "core/store/atomic_write.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// Settings whose keys are the user's own names (tags, activities, view preferences): any key
// directly under them is a setting.
constexpr std::array<std::string_view, 8> kMaps = {
    "savedFilters",  "tagColors", "draftColors",  "activityDays",
    "activityIcons", "prompts",   "hotspotIcons", "view",
};

bool isSettingPath(const Json& settings, std::string_view path) {
  if (ConfigStore::value(settings, path)) return true;
  const auto dot = path.find('.');
  if (dot == std::string_view::npos || dot + 1 == path.size()) return false;
  const auto rest = path.substr(dot + 1);
  return std::find(kMaps.begin(), kMaps.end(), path.substr(0, dot)) != kMaps.end() &&
         rest.find('.') == std::string_view::npos;
}

std::string unknownKey(const std::string& path) {
  return "\"" + path + "\" is not a setting; `trivo config get` lists them all.";
}

class ConfigCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "config"; }
  [[nodiscard]] const char* summary() const override {
    return "Show or change the vault's settings (.trivo/config.json)";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.require_subcommand(1);
    get_ = app.add_subcommand("get", "Print a setting as JSON (all settings without KEY.PATH)");
    get_->add_option("KEY.PATH", path_, "A dotted path such as focus.sound");
    set_ = app.add_subcommand("set", "Change a setting; VALUE is JSON, or a plain word");
    set_->add_option("KEY.PATH", path_, "A dotted path such as focus.sound")->required();
    set_->add_option("VALUE", value_, "true, 25, \"text\", [1, 2], {…}, or a plain word")
        ->required();
  }

  int run(Context& context) override {
    const fs::path root = commandVault(context);
    std::error_code ec;
    if (!fs::is_directory(root, ec)) {
      throw UserError("The vault folder " + root.string() + " does not exist.");
    }
    const ConfigStore store(root, ConfigStore::defaultDeviceURL());
    try {
      return set_->parsed() ? runSet(store) : runGet(context, store);
    } catch (const ConfigError& e) {
      throw UserError(e.what());
    } catch (const FileError& e) {
      throw UserError(e.what());
    }
  }

 private:
  static VaultConfig load(const ConfigStore& store) {
    try {
      return store.load();
    } catch (const RecordError& e) {
      throw UserError("The settings file " + store.url().string() +
                      " holds a value of the wrong type (" + e.what() + "); fix it by hand.");
    }
  }

  int runGet(Context& context, const ConfigStore& store) const {
    const Json settings = load(store);
    if (path_.empty()) {
      context.out << settings.dump(2) << "\n";
      return 0;
    }
    auto value = ConfigStore::value(settings, path_);
    if (!value) {
      if (!isSettingPath(settings, path_)) throw UserError(unknownKey(path_));
      value = Json(nullptr);  // an entry of a map that is not there
    }
    context.out << value->dump(2) << "\n";
    return 0;
  }

  int runSet(const ConfigStore& store) const {
    const VaultConfig current = load(store);
    Json settings = current;
    if (!isSettingPath(settings, path_)) throw UserError(unknownKey(path_));
    Json value = Json::parse(value_, nullptr, /*allow_exceptions=*/false);
    if (value.is_discarded()) value = value_;
    ConfigStore::set(settings, path_, value);
    // Reading the changed settings back is the type check: the reader knows every key's type.
    VaultConfig changed;
    try {
      changed = settings.get<VaultConfig>();
    } catch (const RecordError&) {
      throw UserError(value_ + " is not a valid value for " + path_ + ".");
    }
    if (changed != current) store.save(changed);
    return 0;
  }

  CLI::App* get_ = nullptr;
  CLI::App* set_ = nullptr;
  std::string path_;
  std::string value_;
};

}  // namespace

std::unique_ptr<Command> makeConfigCommand() { return std::make_unique<ConfigCommand>(); }

}  // namespace trivo::cli

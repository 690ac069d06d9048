// The vault search order of the command line, and format detection.
#include "core/vault/vault_locator.h"

#include <cstdlib>
#include <fstream>

#include "core/store/atomic_write.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_paths.h"

namespace fs = std::filesystem;

namespace trivo {
namespace {

std::optional<Json> readJsonFile(const fs::path& file) { return Coordinated::readJson(file); }

fs::path absoluteFrom(const fs::path& p, const fs::path& cwd) {
  fs::path full = p.is_absolute() ? p : cwd / p;
  full = full.lexically_normal();
  if (!full.has_filename() && full.has_relative_path()) full = full.parent_path();
  return full;
}

// True when any period folder or the inbox holds a page file of that format.
bool hasPages(const fs::path& root, VaultFormat format) {
  const VaultPaths paths(root, format);
  std::error_code ec;
  if (fs::is_regular_file(paths.inbox(), ec)) return true;
  for (const auto folder : VaultPaths::folders) {
    for (auto it = fs::directory_iterator(root / folder, ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
      if (paths.key(folder, it->path().filename().string())) return true;
    }
    ec.clear();
  }
  return false;
}

}  // namespace

VaultSearch VaultSearch::fromProcess(std::optional<std::string> option) {
  VaultSearch search;
  search.option = std::move(option);
  if (const char* env = std::getenv("TRIVO_VAULT"); env && *env) search.environment = env;
  std::error_code ec;
  search.currentDirectory = fs::current_path(ec);
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME");
      xdg && *xdg && fs::path(xdg).is_absolute()) {
    search.configDirectory = fs::path(xdg) / "trivo";
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    search.configDirectory = fs::path(home) / ".config" / "trivo";
  }
  return search;
}

fs::path locateVault(const VaultSearch& search) {
  if (search.option) return absoluteFrom(*search.option, search.currentDirectory);
  if (search.environment) return absoluteFrom(*search.environment, search.currentDirectory);
  std::error_code ec;
  for (fs::path dir = absoluteFrom(search.currentDirectory, fs::path("/"));;
       dir = dir.parent_path()) {
    if (fs::is_directory(dir / ".trivo", ec)) return dir;
    if (dir == dir.root_path() || dir.empty()) break;
  }
  if (search.configDirectory) {
    if (auto list = readJsonFile(*search.configDirectory / "vaults.json")) {
      if (list->is_object()) {
        auto it = list->find("default");
        if (it != list->end() && it->is_string()) {
          const fs::path folder = absoluteFrom(it->get<std::string>(), *search.configDirectory);
          if (fs::is_directory(folder, ec)) return folder;
        }
      }
    }
  }
  throw VaultNotFound(
      "No vault found: run trivo init DIR to make one (add --sample to try it with sample "
      "pages), pass --vault DIR, or set TRIVO_VAULT.");
}

VaultFormat detectVaultFormat(const fs::path& root) {
  if (auto config = readJsonFile(root / ".trivo" / "config.json")) {
    if (config->is_object()) {
      auto it = config->find("fileFormat");
      if (it != config->end() && it->is_string()) {
        if (auto format = vaultFormatFromRaw(it->get<std::string>())) return *format;
      }
    }
  }
  if (hasPages(root, VaultFormat::org) && !hasPages(root, VaultFormat::markdown)) {
    return VaultFormat::org;
  }
  return VaultFormat::markdown;
}

}  // namespace trivo

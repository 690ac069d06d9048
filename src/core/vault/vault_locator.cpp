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

// The format of the period pages, from one listing of each period folder: markdown as soon as
// one ".md" page shows (a single one rules org out), org when only ".org" pages were seen.
std::optional<VaultFormat> formatOfPeriodPages(const fs::path& root) {
  const VaultPaths md(root, VaultFormat::markdown);
  const VaultPaths org(root, VaultFormat::org);
  bool sawOrg = false;
  std::error_code ec;
  for (const auto folder : VaultPaths::folders) {
    for (auto it = fs::directory_iterator(root / folder, ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
      const std::string name = it->path().filename().string();
      if (name.ends_with(".md") && md.key(folder, name)) return VaultFormat::markdown;
      if (!sawOrg && name.ends_with(".org") && org.key(folder, name)) sawOrg = true;
    }
    ec.clear();
  }
  if (sawOrg) return VaultFormat::org;
  return std::nullopt;
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

std::optional<VaultFormat> declaredVaultFormat(const fs::path& root) {
  if (auto config = readJsonFile(root / ".trivo" / "config.json")) {
    if (config->is_object()) {
      auto it = config->find("fileFormat");
      if (it != config->end() && it->is_string()) {
        if (auto format = vaultFormatFromRaw(it->get<std::string>())) return *format;
      }
    }
  }
  // The inbox is the one page every vault has, so it settles the question without a look at
  // the period folders, which grow by a page a day: a command about one day must not list years
  // of pages to learn how to name it.
  std::error_code ec;
  const bool mdInbox = fs::is_regular_file(VaultPaths(root, VaultFormat::markdown).inbox(), ec);
  const bool orgInbox = fs::is_regular_file(VaultPaths(root, VaultFormat::org).inbox(), ec);
  if (mdInbox) return VaultFormat::markdown;  // a Markdown page rules org out
  if (orgInbox) return VaultFormat::org;
  return std::nullopt;
}

VaultFormat detectVaultFormat(const fs::path& root) {
  if (auto declared = declaredVaultFormat(root)) return *declared;
  return formatOfPeriodPages(root).value_or(VaultFormat::markdown);
}

}  // namespace trivo

// `trivo check [--roundtrip] PATH...` reports pages that do not read (or, with --roundtrip, that
// would change when written back); `trivo fmt PATH...` writes the latter back in their canonical
// form and leaves the former untouched.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <ostream>

#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/store/atomic_write.h"
#include "core/store/page_check.h"
#include "core/util/json_fields.h"
#include "core/util/line_diff.h"
#include "core/vault/vault.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// A diff longer than this is cut: the point is to show what kind of change it is.
constexpr std::size_t kDiffLines = 40;

std::string shortened(const std::string& diff) {
  std::size_t at = 0;
  for (std::size_t line = 0; line < kDiffLines; ++line) {
    at = diff.find('\n', at);
    if (at == std::string::npos) return diff;
    ++at;
  }
  if (at >= diff.size()) return diff;
  const auto rest = static_cast<std::size_t>(
      std::count(diff.begin() + static_cast<std::ptrdiff_t>(at), diff.end(), '\n'));
  return diff.substr(0, at) + "… " + std::to_string(rest) + " more lines\n";
}

// What check and fmt share: the paths, finding the pages and one codec per vault.
class PageCommand : public Command {
 public:
  void define(CLI::App& app) override {
    app.add_option("PATH", paths_, "Vault folders or page files (default: the vault)");
  }

 protected:
  std::vector<PageFile> pages(const Context& context) const {
    std::vector<fs::path> paths(paths_.begin(), paths_.end());
    if (paths.empty()) {
      paths.push_back(commandVault(context));
    }
    try {
      return findPageFiles(paths);
    } catch (const fs::filesystem_error& e) {
      throw UserError("Cannot read \"" + e.path1().string() + "\": " + e.code().message() + ".");
    }
  }

  const SerializerCodec& codecFor(const PageFile& page) {
    auto& codec = codecs_[{page.vaultRoot, page.format}];
    if (!codec) {
      codec = SerializerCodec::forVault(Vault{page.vaultRoot, page.format, "en", std::nullopt},
                                        yearModeOf(page.vaultRoot));
    }
    return *codec;
  }

  static void report(Context& context, Json& reports, const PageFile& page,
                     const ReadProblem& problem) {
    if (context.json) {
      reports.push_back({{"path", page.relative},
                         {"problem", kReadProblemNames[static_cast<std::size_t>(problem.kind)]},
                         {"detail", describe(problem)}});
    } else {
      context.out << page.relative << ": " << describe(problem) << "\n";
    }
  }

  std::vector<std::string> paths_;

 private:
  std::map<std::pair<std::string, VaultFormat>, std::shared_ptr<const SerializerCodec>> codecs_;
};

class CheckCommand final : public PageCommand {
 public:
  [[nodiscard]] const char* name() const override { return "check"; }
  [[nodiscard]] const char* summary() const override {
    return "Report pages that cannot be read (and, with --roundtrip, that writing would change)";
  }
  [[nodiscard]] bool writesVault() const override { return false; }

  void define(CLI::App& app) override {
    PageCommand::define(app);
    app.add_flag("--roundtrip", roundtrip_,
                 "Also report each page whose text would change if read and written back");
  }

  int run(Context& context) override {
    Json reports = Json::array();
    std::size_t reported = 0;
    const auto found = pages(context);
    std::vector<const SerializerCodec*> codecs;
    codecs.reserve(found.size());
    for (const auto& page : found) codecs.push_back(&codecFor(page));
    const auto checks = checkPages(found, codecs, roundtrip_);
    for (std::size_t i = 0; i < found.size(); ++i) {
      const PageFile& page = found[i];
      const PageCheck& checked = checks[i];
      if (checked.problem) {
        ++reported;
        report(context, reports, page, *checked.problem);
      } else if (checked.rewritten) {
        ++reported;
        const std::string name = page.relative;
        const std::string diff = shortened(
            unifiedDiff(checked.text, *checked.rewritten, name, name + " (written back)"));
        if (context.json) {
          reports.push_back({{"path", name}, {"problem", "roundtrip"}, {"diff", diff}});
        } else {
          context.out << name << ": roundtrip: writing the page back would change it\n" << diff;
        }
      }
    }
    if (context.json) context.out << reports.dump(2) << "\n";
    return reported == 0 ? 0 : 3;
  }

 private:
  bool roundtrip_ = false;
};

class FmtCommand final : public PageCommand {
 public:
  [[nodiscard]] const char* name() const override { return "fmt"; }
  [[nodiscard]] const char* summary() const override {
    return "Write pages back in their canonical form; pages that cannot be read are left alone";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  int run(Context& context) override {
    Json reports = Json::array();
    std::size_t problems = 0;
    std::size_t written = 0;
    const auto found = pages(context);
    for (const auto& page : found) {
      const auto checked = checkPage(page, codecFor(page), /*roundtrip=*/true);
      if (checked.problem) {
        ++problems;
        report(context, reports, page, *checked.problem);
        continue;
      }
      if (!checked.rewritten) continue;
      Coordinated::Lock lock(page.vaultRoot);
      // Another program may have saved the page since it was read; its text wins.
      if (Coordinated::readIfExists(page.path) != checked.text) {
        context.err << page.relative << ": changed while formatting; left as it is\n";
        continue;
      }
      AtomicWrite::write(*checked.rewritten, page.path);
      ++written;
      if (!context.json) context.out << "formatted " << page.relative << "\n";
      reports.push_back({{"path", page.relative}, {"formatted", true}});
    }
    if (context.json) context.out << reports.dump(2) << "\n";
    context.err << "Formatted " << written << " of " << counted(found.size(), "page", "pages")
                << (problems ? "; " + std::to_string(problems) + " cannot be read" : "") << ".\n";
    return problems ? 3 : 0;
  }
};

}  // namespace

std::unique_ptr<Command> makeCheckCommand() { return std::make_unique<CheckCommand>(); }
std::unique_ptr<Command> makeFmtCommand() { return std::make_unique<FmtCommand>(); }

}  // namespace trivo::cli

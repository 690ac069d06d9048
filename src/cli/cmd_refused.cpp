// `trivo refused [show|keep|drop|merge N]`: the texts Trivo could not write, and the conflict
// copies sync tools left beside pages, for the person to resolve.
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>

#include "cli/command.h"
#include "cli/vault_settings.h"
#include "core/store/atomic_write.h"
#include "core/store/refused_resolver.h"
#include "core/store/store_errors.h"
#include "core/util/iso_instant.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {
namespace {

namespace fs = std::filesystem;

// Runs $VISUAL or $EDITOR (else vi) on a file and returns its exit status.
int runEditor(const fs::path& file) {
  const char* editor = std::getenv("VISUAL");
  if (!editor || !*editor) editor = std::getenv("EDITOR");
  if (!editor || !*editor) editor = "vi";
  const pid_t child = ::fork();
  if (child < 0) return -1;
  if (child == 0) {
    // Through the shell, so that an editor given with its options ("code --wait") works.
    ::execl("/bin/sh", "sh", "-c", (std::string(editor) + " \"$1\"").c_str(), "sh", file.c_str(),
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class RefusedCommand final : public Command {
 public:
  [[nodiscard]] const char* name() const override { return "refused"; }
  [[nodiscard]] const char* summary() const override {
    return "Texts Trivo could not write and sync conflict copies: list, show, keep, merge, drop";
  }
  [[nodiscard]] bool writesVault() const override { return true; }

  void define(CLI::App& app) override {
    app.add_option("ACTION", action_, "show, keep, merge or drop (none: list them)")
        ->check(CLI::IsMember({"show", "keep", "merge", "drop"}));
    app.add_option("N", number_, "The number the list gives");
  }

  int run(Context& context) override {
    const fs::path root = commandVault(context);
    RefusedResolver resolver(Vault{root, detectVaultFormat(root), "en", std::nullopt});
    if (action_.empty()) return list(resolver, root, context);
    if (!number_) throw UserError("Name the text by the number trivo refused lists.");
    auto entry = resolver.entry(*number_);
    if (!entry) {
      throw UserError("There is no kept text " + std::to_string(*number_) +
                      "; trivo refused lists them.");
    }
    const std::string page = entry->page.lexically_relative(root).string();
    if (action_ == "show") {
      context.out << entry->text;
      return 0;
    }
    if (action_ == "drop") {
      resolver.drop(*entry);
      context.out << "Dropped the kept text for " << page << ".\n";
      return 0;
    }
    try {
      if (action_ == "keep") {
        resolver.keep(*entry);
        context.out << "Wrote the kept text to " << page
                    << "; the text it replaced is kept in its turn (trivo refused).\n";
        return 0;
      }
      return merge(resolver, *entry, page, context);
    } catch (const VaultError&) {
      throw UserError(page + " changed on disk meanwhile, so it was left as it is; run the "
                             "command again.",
                      4);
    }
  }

 private:
  int list(const RefusedResolver& resolver, const fs::path& root, Context& context) {
    const auto entries = resolver.list();
    if (context.json) {
      Json all = Json::array();
      for (const auto& e : entries) {
        Json j = Json::object();
        j["number"] = e.number;
        j["page"] = e.page.lexically_relative(root).string();
        j["reason"] = e.reason;
        if (e.keptAt) j["keptAt"] = isoInstantString(*e.keptAt);
        if (e.copy) j["copy"] = e.copy->lexically_relative(root).string();
        all.push_back(std::move(j));
      }
      context.out << all.dump(2) << "\n";
      return 0;
    }
    if (entries.empty()) {
      context.out << "Nothing is waiting: every text Trivo was given is on disk.\n";
      return 0;
    }
    for (const auto& e : entries) {
      context.out << e.number << "  " << e.page.lexically_relative(root).string() << "  "
                  << e.reason;
      if (e.keptAt) context.out << "  " << isoInstantString(*e.keptAt);
      if (e.copy) context.out << "  " << e.copy->filename().string();
      context.out << "\n";
    }
    context.out << "trivo refused show|keep|merge|drop N resolves one.\n";
    return 0;
  }

  static int merge(RefusedResolver& resolver, const RefusedResolver::Entry& entry,
                   const std::string& page, Context& context) {
    RefusedResolver::Merge merged;
    try {
      merged = resolver.merge(entry);
    } catch (const std::runtime_error& e) {
      throw UserError(e.what());
    }
    char pattern[] = "/tmp/trivo-merge-XXXXXX.md";
    const int fd = ::mkstemps(pattern, 3);
    if (fd < 0) throw UserError("Could not make a file for the merge.");
    ::close(fd);
    const fs::path file(pattern);
    struct Remove {
      fs::path file;
      ~Remove() {
        std::error_code ec;
        fs::remove(file, ec);
      }
    } remove{file};
    AtomicWrite::write(merged.text, file, {.mode = 0600, .durable = false, .fileSystem = nullptr});
    if (runEditor(file) != 0) {
      throw UserError("The editor did not finish cleanly, so nothing was written; the text is "
                      "still kept.");
    }
    const std::string result = Coordinated::read(file);
    if (hasConflictMarkers(result)) {
      throw UserError("The merge still holds conflict markers, so nothing was written; run "
                      "trivo refused merge " +
                      std::to_string(entry.number) + " again.");
    }
    resolver.saveMerged(entry, merged, result);
    context.out << "Merged into " << page << ".\n";
    return 0;
  }

  std::string action_;
  std::optional<int> number_;
};

}  // namespace

std::unique_ptr<Command> makeRefusedCommand() { return std::make_unique<RefusedCommand>(); }

}  // namespace trivo::cli

// Editing a page in the person's own editor.
#include "cli/cmd_edit_page.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ostream>

#include "cli/vault_settings.h"
#include "core/backup/backup_store.h"
#include "core/store/atomic_write.h"
#include "core/store/page_check.h"
#include "core/store/serializer_codec.h"
#include "core/vault/vault_locator.h"

namespace trivo::cli {

namespace fs = std::filesystem;

std::unique_ptr<VaultStore> openPageStore(const fs::path& root, const Context& context) {
  return openCommandStore(root, context, StoreWrites::atOnce);
}

int runEditor(const std::string& editor, const fs::path& file) {
  const pid_t pid = fork();
  if (pid < 0) return 127;
  if (pid == 0) {
    // Through the shell, as git and crontab do, so that "code --wait" or "emacs -nw" work.
    const std::string script = editor + " \"$@\"";
    execl("/bin/sh", "sh", "-c", script.c_str(), "sh", file.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return 127;
  }
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

int editPage(const fs::path& root, const EntryKey& key, Context& context) {
  std::string editor;
  if (const char* visual = std::getenv("VISUAL"); visual && *visual) {
    editor = visual;
  } else if (const char* plain = std::getenv("EDITOR"); plain && *plain) {
    editor = plain;
  } else {
    throw UserError(
        "No editor is set; set VISUAL or EDITOR to the command of your editor (for example "
        "EDITOR=nano) and try again.");
  }
  fs::path file;
  fs::path relative;
  {
    auto store = openPageStore(root, context);
    file = store->paths().urlFor(key);
    relative = file.lexically_relative(root);
    std::error_code ec;
    if (!fs::exists(file, ec)) {
      const auto codec = SerializerCodec::forVault(store->vault(), yearModeOf(root));
      try {
        store->saveText(key, codec->blankText(key));
        store->flush();
      } catch (const VaultError& e) {
        throw UserError("Cannot create " + relative.string() + " (" + e.what() +
                            "); nothing was written.",
                        4);
      } catch (const FileError& e) {
        throw UserError("Cannot create " + relative.string() + ": " + e.what() + ".");
      }
    }
  }
  const int status = runEditor(editor, file);
  if (status != 0) {
    throw UserError("The editor (" + editor + ") exited with status " + std::to_string(status) +
                    "; " + relative.string() + " is as the editor left it.");
  }
  auto store = openPageStore(root, context);
  if (auto problem = store->readProblem(key)) {
    context.out << relative.string() << ": " << describe(*problem) << "\n";
    return 3;
  }
  return 0;
}

}  // namespace trivo::cli

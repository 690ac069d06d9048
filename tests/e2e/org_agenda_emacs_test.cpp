// The agenda of a hand-written Org file as Emacs's own agenda (emacs-nox in batch mode) shows it
// and as Trivo reads it: the same items on the same days, repeaters, keywords the file declares
// and the trees Org leaves out included.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "core/agenda/org_file_reader.h"
#include "core/format/text_util.h"
#include "testing/process.h"
#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Every shape of heading a person writes by hand in a file of their own.
const std::string kFile = R"(#+title: Projects
#+TODO: TODO NEXT WAITING(w@/!) | DONE(d) CANCELLED(c)
#+STARTUP: overview

Some text before the first heading.

* Garden                                                          :home:
** TODO [#A] Prune the roses                                    :garden:
   SCHEDULED: <2027-01-05 Tue 10:00-11:00 +1w>
   :PROPERTIES:
   :EFFORT:   1:00
   :END:
** NEXT Order seeds
DEADLINE: <2027-01-08 Fri -3d>
** WAITING Delivery of the compost
   SCHEDULED: <2027-01-06 Wed> DEADLINE: <2027-01-12 Tue>
** DONE Plant bulbs
   CLOSED: [2027-01-03 Sun 09:00] SCHEDULED: <2027-01-04 Mon>
** CANCELLED Build a pond
   SCHEDULED: <2027-01-07 Thu>
* Work
** Weekly review
SCHEDULED: <2026-12-28 Mon .+1w>
** TODO Pay the invoice [1/2]
  DEADLINE: <2027-01-11 Mon 17:00 ++1m>
   - [X] find it
   - [ ] pay it
** TODO Stand-up
SCHEDULED: <2027-01-04 Mon 09:30 +1d>
*** TODO Nested child without planning
** TODO A sentence that says SCHEDULED: <2027-01-06 Wed> is a title
Body text with SCHEDULED: <2027-01-07 Thu> is not planning.
* COMMENT Drafts
** TODO Hidden draft
SCHEDULED: <2027-01-05 Tue>
* Archive                                                      :ARCHIVE:
** TODO Old task
SCHEDULED: <2027-01-05 Tue>
* Biweekly gym
  SCHEDULED: <2026-12-30 Wed +2w>
* TODO Far away
SCHEDULED: <2027-03-01 Mon>
)";

const char* kAgendaLisp = R"((progn
  (require 'org) (require 'org-agenda)
  (setq org-agenda-files (list (car command-line-args-left))
        org-agenda-start-day "2027-01-04" org-agenda-span 14 org-agenda-start-on-weekday nil
        org-deadline-warning-days 0 org-agenda-skip-scheduled-if-done t
        org-agenda-skip-deadline-if-done t org-agenda-entry-types '(:deadline :scheduled)
        org-agenda-include-diary nil org-agenda-show-future-repeats t)
  (org-agenda-list)
  (with-current-buffer org-agenda-buffer-name
    (goto-char (point-min))
    (while (not (eobp))
      (let ((m (get-text-property (point) 'org-hd-marker))
            (d (get-text-property (point) 'day))
            (type (or (get-text-property (point) 'type) "")))
        (when (and m d)
          (let ((date (calendar-gregorian-from-absolute d)))
            (princ (format "%04d-%02d-%02d|%s|%s\n" (nth 2 date) (nth 0 date) (nth 1 date)
                           (if (string-match-p "deadline" type) "deadline" "scheduled")
                           (with-current-buffer (marker-buffer m)
                             (save-excursion (goto-char m) (org-get-heading t t t t))))))))
      (forward-line 1)))
  (setq command-line-args-left nil)))";

TEST(OrgAgendaInEmacs, EmacsAndTrivoListTheSameItemsOnTheSameDays) {
  const auto emacs = testing::onPath("emacs");
  if (!emacs) {
    GTEST_SKIP() << "emacs is not installed (scripts/install-deps installs emacs-nox), so the "
                    "agenda is not checked against Emacs";
  }
  testing::TempDir dir;
  const fs::path file = dir.write("projects.org", kFile);
  testing::ProcessOptions options;
  options.env["HOME"] = dir.path().string();  // no init file, no saved state
  const auto run = testing::runExecutable(
      "/usr/bin/timeout", {"60", emacs->string(), "--batch", "-Q", "--eval", kAgendaLisp, file.string()},
      options);
  ASSERT_EQ(run.exitCode, 0) << run.err;

  std::vector<std::string> fromEmacs;
  for (std::string_view line : text::lines(run.out)) {
    if (!text::trim(line).empty()) fromEmacs.emplace_back(text::trim(line));
  }
  std::vector<std::string> fromTrivo;
  for (const AgendaItem& item : OrgFileReader::items(
           kFile, "projects.org", *DayDate::make(2027, 1, 4), *DayDate::make(2027, 1, 17))) {
    fromTrivo.push_back(
        item.day.isoString() + "|" +
        (item.planning == AgendaItem::Planning::deadline ? "deadline" : "scheduled") + "|" +
        item.text);
  }
  std::sort(fromEmacs.begin(), fromEmacs.end());
  std::sort(fromTrivo.begin(), fromTrivo.end());
  EXPECT_EQ(fromTrivo, fromEmacs);
  // The file is read for more than a handful of entries, so agreement means something.
  EXPECT_GE(fromTrivo.size(), 20u);
}

}  // namespace
}  // namespace trivo

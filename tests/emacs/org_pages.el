;;; org_pages.el --- Emacs's side of the Org page round trip  -*- lexical-binding: t -*-
;;
;; Run as: emacs --batch -Q -l org_pages.el ACTION FILE
;;   tick-day   ticks and clocks the outcomes of a day page as a person would in Emacs
;;   tick-week  ticks, clocks and re-dates the outcomes of a week page
;;   report     prints what Org reads from the page: every heading's keyword, planning stamps,
;;              properties and clocked minutes, the file's clock total and the agenda of the
;;              page's weeks with closed items, clocks and state changes shown
;; Time is pinned to 2026-09-11 10:02, so that CLOSED stamps and notes are the same on every run.

(require 'org)
(require 'org-clock)
(require 'org-agenda)
(require 'org-element)
(require 'cl-lib)

(setq org-log-done 'time
      org-log-into-drawer t
      org-clock-into-drawer t
      org-agenda-files nil
      make-backup-files nil
      auto-save-default nil)

(defconst org-pages-now (encode-time 0 2 10 11 9 2026))

(defun org-pages--at (hour minute &optional day)
  (encode-time 0 minute hour (or day 11) 9 2026))

(defmacro org-pages--pinned (&rest body)
  `(cl-letf (((symbol-function 'current-time) (lambda () org-pages-now)))
     ,@body))

(defun org-pages--goto (title)
  "Moves to the outcome heading whose title starts with TITLE."
  (goto-char (point-min))
  (unless (re-search-forward (concat "^\\*\\* [A-Z]+ " (regexp-quote title)) nil t)
    (error "No heading %s" title))
  (org-back-to-heading t))

(defun org-pages--clock (title start end)
  (org-pages--goto title)
  (org-clock-in nil start)
  (org-clock-out nil t end))

(defun org-pages--tick-with-note (title)
  "Ticks TITLE with a state-change note in its logbook, as a DONE(!) keyword asks for."
  (org-pages--goto title)
  (setq-local org-todo-log-states '(("DONE" time nil)))
  (org-todo "DONE")
  ;; In batch no command loop runs the note Org queued after the change.
  (remove-hook 'post-command-hook #'org-add-log-note)
  (org-add-log-note)
  (setq-local org-todo-log-states nil))

(defun org-pages-tick-day ()
  ;; A clock into the drawer Trivo wrote, then the tick: CLOSED joins the planning line.
  (org-pages--clock "Ship the report" (org-pages--at 11 0) (org-pages--at 11 40))
  (org-pages--goto "Ship the report")
  (org-todo "DONE")
  ;; An outcome without a drawer gets one from Emacs; its tick writes a note there too.
  (org-pages--clock "Call the bank" (org-pages--at 12 0) (org-pages--at 12 10))
  (org-pages--tick-with-note "Call the bank")
  ;; A property drawer under an outcome Trivo already ticked.
  (org-pages--goto "Fix the bike")
  (org-set-property "EFFORT" "0:30"))

(defun org-pages-tick-week ()
  (org-pages--goto "Launch the site")
  (org-todo "DONE")
  ;; A warning period and a second stamp on the planning line.
  (org-pages--goto "Hire a designer")
  (org-schedule nil "<2026-09-09 Wed 09:00-10:30>")
  (org-pages--goto "Hire a designer")
  (re-search-forward "DEADLINE: <2026-09-13 Sun")
  (insert " -2d")
  ;; A clock where Trivo wrote none, and a property drawer with it.
  (org-pages--clock "Write the plan" (org-pages--at 15 0 8) (org-pages--at 16 15 8))
  (org-pages--goto "Write the plan")
  (org-set-property "CATEGORY" "plans"))

(defun org-pages--stamp (headline key)
  (let ((stamp (org-element-property key headline)))
    (if stamp (org-element-property :raw-value stamp) "-")))

(defun org-pages-report ()
  (org-clock-sum)
  (let ((tree (org-element-parse-buffer)))
    (org-element-map tree 'headline
      (lambda (headline)
        (let* ((begin (org-element-property :begin headline))
               (minutes (or (get-text-property begin :org-clock-minutes) 0))
               (properties (save-excursion
                             (goto-char begin)
                             (org-entry-properties nil 'standard))))
          (princ (format "%s %s %s | closed %s | scheduled %s | deadline %s | clocked %d | %S\n"
                         (make-string (org-element-property :level headline) ?*)
                         (or (org-element-property :todo-keyword headline) "-")
                         (org-element-property :raw-value headline)
                         (org-pages--stamp headline :closed)
                         (org-pages--stamp headline :scheduled)
                         (org-pages--stamp headline :deadline)
                         minutes
                         (sort (cl-remove-if (lambda (p) (equal (car p) "CATEGORY"))
                                             properties)
                               (lambda (a b) (string< (car a) (car b)))))))))
    (princ (format "total %d\n" org-clock-file-total-minutes)))
  (let ((org-agenda-files (list (buffer-file-name)))
        (org-agenda-span 14)
        (org-agenda-start-day "2026-09-07")
        (org-agenda-start-on-weekday nil)
        (org-agenda-start-with-log-mode t)
        (org-agenda-log-mode-items '(closed clock state))
        (org-agenda-window-setup 'current-window))
    (org-agenda-list)
    (princ (buffer-substring-no-properties (point-min) (point-max)))))

(let ((action (pop command-line-args-left))
      (file (pop command-line-args-left)))
  (find-file file)
  (org-pages--pinned
   (pcase action
     ("tick-day" (org-pages-tick-day) (save-buffer))
     ("tick-week" (org-pages-tick-week) (save-buffer))
     ("report" (org-pages-report))
     (_ (error "Unknown action %s" action))))
  (setq command-line-args-left nil))

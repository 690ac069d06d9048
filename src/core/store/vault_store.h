// The only way pages are read and written: edits are queued and written after a short debounce,
// each write is atomic and taken under the vault's write lock, a page changed on disk by someone
// else is never silently overwritten, and outside changes are announced as streams of page keys.
//
// This layer works on page text. Turning records into text and back is the page codec's job.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/platform/clock.h"
#include "core/records/day_entry.h"
#include "core/records/inbox_item.h"
#include "core/records/period_entries.h"
#include "core/store/atomic_write.h"
#include "core/store/change_stream.h"
#include "core/store/cloud_signal.h"
#include "core/store/refused_texts.h"
#include "core/store/store_errors.h"
#include "core/vault/entry_key.h"
#include "core/vault/vault.h"
#include "core/vault/vault_paths.h"

namespace trivo {

class FileWatcher;
class VaultSerializer;

// What the store needs to know of the page format.
class PageCodec {
 public:
  virtual ~PageCodec() = default;
  // The text of a page with nothing filled in (the template a stray save could write over a
  // full page).
  [[nodiscard]] virtual std::string blankText(const EntryKey& key) const = 0;
  // What is wrong with a page's text (valid UTF-8 already), or nothing when it reads.
  [[nodiscard]] virtual std::optional<ReadProblem> check(const EntryKey& key,
                                                         std::string_view text) const = 0;
  // The serializer behind the codec, when pages are read as records.
  [[nodiscard]] virtual const VaultSerializer* serializer() const { return nullptr; }
};

// Until pages are parsed, a blank page is the empty text and every text reads.
class PlainTextCodec final : public PageCodec {
 public:
  [[nodiscard]] std::string blankText(const EntryKey&) const override { return {}; }
  [[nodiscard]] std::optional<ReadProblem> check(const EntryKey&, std::string_view) const override {
    return std::nullopt;
  }
};

// True when the bytes are valid UTF-8.
bool isValidUtf8(std::string_view bytes);

class VaultStore {
 public:
  struct Options {
    std::chrono::milliseconds debounce{500};
    // False: queued texts wait for flush() (or the store's end) alone, and no timer thread runs.
    bool debounced = true;
    // False: writes keep no undo steps (for a command that writes once and ends).
    bool undoable = true;
    bool readOnly = false;
    const Clock* clock = nullptr;            // null: the system clock
    std::shared_ptr<const PageCodec> codec;  // null: PlainTextCodec
    std::shared_ptr<CloudSignal> cloud;      // null: the do-nothing signal
    // How long the watcher waits for a path to fall quiet before reading it.
    std::chrono::milliseconds watcherQuiet{50};
    // The system calls for page files; null: the real ones.
    FileSystem* fileSystem = nullptr;
    // Where refused texts (and texts that could not be written when the store closes) are kept
    // so that they outlive the process. Null: the vault's folder under $XDG_DATA_HOME/trivo
    // (RefusedTexts::folderFor), unless `keepOnDisk` is false (then only in memory).
    std::shared_ptr<RefusedTexts> keep;
    bool keepOnDisk = true;
    // Told after each page this store writes (saves, undo, redo) with the text the file held
    // before (none when it did not exist), on the writing thread with the store's lock held:
    // keep it short and never call back into the store. File history keeps these texts.
    std::function<void(const EntryKey&, const std::optional<std::string>& before)> wrote;
    // A page replaced less than this long after this store wrote it, by a text that lacks lines
    // the write added, was replaced by someone who never saw our text: ours is kept.
    std::chrono::milliseconds overwrittenWithin{2000};
  };

  // An undoable write: the text before (none when the file did not exist) and after.
  struct Step {
    EntryKey key;
    std::optional<std::string> before;
    std::string after;
    bool operator==(const Step&) const = default;
  };

  // Opens a vault. Throws VaultError::unsupportedFormat for a format the store cannot write.
  VaultStore(Vault vault, Options options);
  // Flushes what is queued and stops the debounce timer and the watcher. Texts that still cannot
  // be written (refused, or a write that failed) stay kept where `Options::keep` says.
  ~VaultStore();

  // Removes scratch files that writes of crashed processes left in the page folders (never one a
  // live writer holds), under the vault's write lock. Returns how many went.
  std::size_t removeStaleScratchFiles();
  VaultStore(const VaultStore&) = delete;
  VaultStore& operator=(const VaultStore&) = delete;

  [[nodiscard]] const Vault& vault() const { return vault_; }
  [[nodiscard]] const VaultPaths& paths() const { return paths_; }

  // --- Reading. All are thread-safe.

  // The page text for editing: a queued text wins; else the disk text, recorded as the baseline
  // for outside edits; nothing for a page that does not exist. A known page that vanished throws
  // VaultError::notDownloaded for five seconds (another program may be replacing it), then
  // counts as deleted. Throws PageReadError (encoding, unreadable).
  std::optional<std::string> loadText(const EntryKey& key);
  // The text as it would load now, recording nothing.
  std::optional<std::string> peekText(const EntryKey& key);
  // What is wrong with the page file, or nothing (also for a missing file). Never throws.
  std::optional<ReadProblem> readProblem(const EntryKey& key);
  bool hasPendingWrite(const EntryKey& key);

  // --- Writing.

  // Queues a page text; only the last text of a burst is written, after the debounce. `force`
  // writes over outside edits; `emptying` allows a blank page over a full one. Both flags stay
  // set until the text is written.
  void saveText(const EntryKey& key, std::string text, bool force = false, bool emptying = false);
  // Writes everything queued now. Texts that cannot be written are refused: kept (five per page,
  // and by `Options::keep`), the page marked as a conflict, and `changes()` told; then
  // VaultError::changedOnDisk is thrown for the last refused page. Refusals and failures of
  // debounced writes made on the store's own thread since the last flush are reported here too,
  // so a caller always hears of its text. Throws FileError when a write itself fails (the text
  // stays queued).
  void flush();
  void discardPending(const EntryKey& key);
  // The refused texts of a page, oldest first, handed over once.
  std::vector<std::string> takeRefused(const EntryKey& key);
  std::set<EntryKey> conflicts();
  std::int64_t writeCount();

  // --- Records: the page texts above read and written through the codec's serializer (a store
  // without one throws std::logic_error). A missing page reads as the blank record; a page that
  // does not parse throws SerializerError and is left as it is.
  DayEntry day(const DayDate& date);
  DayEntry dayForEditing(const DayDate& date) { return day(date); }
  WeekEntry week(const ISOWeek& week);
  MonthEntry month(const YearMonth& month);
  QuarterEntry quarter(const YearQuarter& quarter);
  YearEntry year(std::int64_t year);
  Inbox inbox();
  // As they would read now (a queued text wins), recording nothing.
  DayEntry peekDay(const DayDate& date);
  DayEntry latestDay(const DayDate& date) { return peekDay(date); }
  WeekEntry peekWeek(const ISOWeek& week);
  MonthEntry peekMonth(const YearMonth& month);
  QuarterEntry peekQuarter(const YearQuarter& quarter);
  YearEntry peekYear(std::int64_t year);
  Inbox peekInbox();
  void save(const DayEntry& entry, bool overwritingExternalChanges = false, bool emptying = false);
  void save(const WeekEntry& entry, bool overwritingExternalChanges = false, bool emptying = false);
  void save(const MonthEntry& entry, bool overwritingExternalChanges = false,
            bool emptying = false);
  void save(const QuarterEntry& entry, bool overwritingExternalChanges = false,
            bool emptying = false);
  void save(const YearEntry& entry, bool overwritingExternalChanges = false, bool emptying = false);
  void save(const Inbox& inbox, bool overwritingExternalChanges = false);
  // The refused texts of a page read back as records, and forgotten. A refused text that does
  // not parse (one queued as raw text) is not forgotten: it stays for takeRefused().
  std::vector<DayEntry> takeRefusedDays(const DayDate& date);
  std::vector<Inbox> takeRefusedInboxes();
  // The serializer the records above are read and written with (std::logic_error without one).
  [[nodiscard]] const VaultSerializer& serializer() const;

  // --- Undo and redo (the last 100 writes). Each first flushes; a page changed outside since
  // the step throws VaultError::changedOnDisk and leaves both stacks alone.
  std::optional<EntryKey> undo();
  std::optional<EntryKey> redo();
  bool canUndo();
  bool canRedo();
  std::optional<EntryKey> undoTarget();
  std::optional<EntryKey> redoTarget();

  // --- Quotes (".trivo/quotes.txt", one per line) and media.
  std::vector<std::string> quotes();
  void saveQuotes(const std::vector<std::string>& lines);
  // Copies a picture into the media folder as "YYYY-MM-DD-HHMM-NAME" and returns the link text
  // to insert in the page ("![](media/...)" or "[[file:media/...]]").
  std::string importMedia(const std::filesystem::path& from, const DayDate& day,
                          const ClockTime& at);
  // Removes those of the named media files that no page refers to; returns the removed names.
  std::vector<std::string> deleteOrphanMedia(const std::vector<std::string>& names);

  // --- Observing. Subscribing starts the file watcher.
  std::shared_ptr<Subscription<EntryKey>> changes();
  std::shared_ptr<Subscription<EntryKey>> saves();
  std::shared_ptr<Subscription<bool>> configChanges();
  std::shared_ptr<Subscription<std::filesystem::path>> otherChanges();
  // Re-checks every page the store knows, as if each had changed on disk.
  void refresh();

  // Entry points of the watcher (also usable directly).
  void fileDidChange(const EntryKey& key);
  void configDidChange();
  void otherDidChange(const std::filesystem::path& path);

 private:
  struct Pending {
    std::string text;
    bool force = false;
    bool emptying = false;
  };

  void ensureWatching();
  void scheduleFlushLocked();
  void flushLocked();
  void reportLocked();
  void refuseLocked(const EntryKey& key, std::string text, const std::optional<std::string>& disk,
                    std::string_view reason);
  std::optional<std::string> onDiskLocked(const EntryKey& key);
  void putLocked(const std::optional<std::string>& text, const EntryKey& key,
                 const std::optional<std::string>& expected);
  bool keepIfOverwrittenLocked(const EntryKey& key, const std::string& disk);
  // Keeps a text that was not written (by `Options::keep` and in memory) and marks the conflict.
  void keepLocked(const EntryKey& key, std::string text, const std::optional<std::string>& base,
                  std::string_view reason);
  void timerLoop();
  template <typename Record, typename Parse>
  std::vector<Record> takeRefusedRecords(const EntryKey& key, Parse parse);
  [[nodiscard]] Instant now() const { return clock_->now(); }

  Vault vault_;
  VaultPaths paths_;
  Options options_;
  const Clock* clock_;
  FileSystem* fs_;
  std::shared_ptr<const PageCodec> codec_;
  std::shared_ptr<CloudSignal> cloud_;

  std::mutex mu_;  // the store's serial executor: every public call holds it
  std::unordered_map<EntryKey, std::string> snapshots_;
  std::map<EntryKey, Pending> pending_;
  std::unordered_map<EntryKey, std::vector<std::string>> refused_;
  std::unordered_map<EntryKey, Instant> goneSince_;
  std::unordered_map<EntryKey, std::optional<std::string>> lastSeen_;
  // The last write to each page, until the page is seen to hold something else: the text before
  // it and when it went into place (by the coarse clock the kernel stamps files with).
  struct Written {
    std::optional<std::string> before;
    std::chrono::nanoseconds at{};
  };
  std::unordered_map<EntryKey, Written> written_;
  std::set<EntryKey> conflicts_;
  // Refusals and a write failure that no caller has heard of yet.
  std::vector<EntryKey> unreportedRefusals_;
  std::optional<FileError> unreportedFailure_;
  std::vector<Step> undoStack_;
  std::vector<Step> redoStack_;
  std::int64_t writeCount_ = 0;

  Broadcaster<EntryKey> changes_;
  Broadcaster<EntryKey> saves_;
  Broadcaster<bool> configChanges_;
  Broadcaster<std::filesystem::path> otherChanges_;

  // The debounce: one timer thread, one deadline; a new edit moves the deadline.
  std::condition_variable timerWake_;
  std::optional<std::chrono::steady_clock::time_point> flushAt_;
  bool stopping_ = false;
  std::thread timer_;

  std::mutex watcherMu_;
  std::unique_ptr<FileWatcher> watcher_;
};

}  // namespace trivo

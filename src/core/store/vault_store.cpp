// The vault store: queued, debounced, checked and atomic page writes, with undo and outside
// change announcements.
#include "core/store/vault_store.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <unordered_set>

#include "core/format/text_util.h"
#include "core/store/atomic_write.h"
#include "core/store/file_watcher.h"
#include "core/util/printf.h"
#include "core/vault/vault_media.h"

namespace trivo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kUndoLimit = 100;
constexpr std::size_t kRefusedPerKey = 5;
constexpr std::size_t kEmptyingGuardCharacters = 300;
constexpr auto kGoneGrace = std::chrono::seconds(5);

// Characters as a person counts them: code points, not bytes.
std::size_t characterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// The real time as the kernel stamps files with it. Coarse like those stamps, so that a file
// changed after this moment never carries an earlier time.
std::chrono::nanoseconds fileClockNow() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// When the file's inode last changed: a rename that put it in place sets it, and no program can
// set it back (as sync tools do set the modification time to the other device's).
std::optional<std::chrono::nanoseconds> changedAt(const fs::path& file) {
  struct stat st {};
  if (::stat(file.c_str(), &st) != 0) return std::nullopt;
  return std::chrono::seconds(st.st_ctim.tv_sec) + std::chrono::nanoseconds(st.st_ctim.tv_nsec);
}

// Whether `now` lacks a line that `ours` added to `before` (blank lines aside).
bool dropsAddedLines(std::string_view ours, const std::optional<std::string>& before,
                     std::string_view now) {
  std::unordered_set<std::string_view> had;
  if (before) {
    for (std::string_view line : text::lines(*before)) had.insert(line);
  }
  std::unordered_set<std::string_view> kept;
  for (std::string_view line : text::lines(now)) kept.insert(line);
  for (std::string_view line : text::lines(ours)) {
    if (!text::isBlank(line) && !had.contains(line) && !kept.contains(line)) return true;
  }
  return false;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    // Most of a page is ASCII: eight bytes at a time while none has its high bit set.
    while (i + 8 <= bytes.size()) {
      std::uint64_t word;
      std::memcpy(&word, bytes.data() + i, sizeof word);
      if (word & 0x8080808080808080u) break;
      i += 8;
    }
    if (i >= bytes.size()) break;
    const auto c = static_cast<unsigned char>(bytes[i]);
    std::size_t extra = 0;
    std::uint32_t point = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      extra = 1;
      point = c & 0x1Fu;
    } else if ((c & 0xF0) == 0xE0) {
      extra = 2;
      point = c & 0x0Fu;
    } else if ((c & 0xF8) == 0xF0) {
      extra = 3;
      point = c & 0x07u;
    } else {
      return false;
    }
    if (i + extra >= bytes.size()) return false;
    for (std::size_t k = 1; k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      point = (point << 6) | (next & 0x3Fu);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
    static constexpr std::uint32_t minimum[] = {0, 0x80, 0x800, 0x10000};
    if (point < minimum[extra] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
      return false;
    }
    i += extra + 1;
  }
  return true;
}

VaultStore::VaultStore(Vault vault, Options options)
    : vault_(std::move(vault)),
      paths_(vault_.rootURL, vault_.format, vault_.perspective),
      options_(std::move(options)),
      clock_(options_.clock ? options_.clock : &SystemClock::shared()),
      fs_(options_.fileSystem ? options_.fileSystem : &FileSystem::real()),
      codec_(options_.codec ? options_.codec : std::make_shared<PlainTextCodec>()),
      cloud_(options_.cloud ? options_.cloud : std::make_shared<CloudSignal>()) {
  if (!options_.keep && options_.keepOnDisk && !options_.readOnly) {
    if (auto folder = RefusedTexts::folderFor(vault_.rootURL)) {
      options_.keep = std::make_shared<RefusedTexts>(*folder, clock_);
    }
  }
}

std::size_t VaultStore::removeStaleScratchFiles() {
  if (options_.readOnly) return 0;
  Coordinated::Lock vaultLock(vault_.rootURL);
  std::size_t removed = AtomicWrite::removeStaleScratchFiles(paths_.base());
  std::error_code ec;
  for (auto folder : VaultPaths::folders) {
    if (fs::is_directory(paths_.base() / folder, ec)) {
      removed += AtomicWrite::removeStaleScratchFiles(paths_.base() / folder);
    }
  }
  return removed;
}

VaultStore::~VaultStore() {
  {
    std::lock_guard watcherLock(watcherMu_);
    watcher_.reset();
  }
  std::thread timer;
  {
    std::unique_lock lock(mu_);
    stopping_ = true;
    timer = std::move(timer_);
    try {
      flushLocked();
    } catch (const std::exception&) {
      // Reported below by keeping the texts.
    }
    // A text that could not be written must outlive the store all the same.
    if (options_.keep) {
      for (const auto& [key, job] : pending_) {
        try {
          options_.keep->keep(key, paths_.urlFor(key), job.text, snapshots_.contains(key)
                                                                  ? std::optional(snapshots_[key])
                                                                  : std::nullopt,
                              "could not be written");
        } catch (const std::exception&) {
          // Nowhere left to put it.
        }
      }
    }
  }
  timerWake_.notify_all();
  if (timer.joinable()) timer.join();
}

// --- Reading

std::optional<std::string> VaultStore::loadText(const EntryKey& key) {
  std::lock_guard lock(mu_);
  if (auto it = pending_.find(key); it != pending_.end()) return it->second.text;
  const fs::path file = paths_.urlFor(key);
  std::optional<std::string> text;
  try {
    text = Coordinated::readIfExists(file, fs_);
  } catch (const FileError& e) {
    throw PageReadError(key, ReadProblem::of(ReadProblem::Kind::unreadable, e.what()));
  }
  if (text) {
    if (!isValidUtf8(*text)) {
      throw PageReadError(key, ReadProblem::of(ReadProblem::Kind::encoding));
    }
    goneSince_.erase(key);
    conflicts_.erase(key);
    if (keepIfOverwrittenLocked(key, *text)) changes_.yield(key);
    snapshots_[key] = *text;
    return text;
  }
  if (cloud_->isEvicted(file)) {
    cloud_->requestDownload(file);
    throw VaultError::notDownloaded(key);
  }
  if (!snapshots_.contains(key)) return std::nullopt;
  // A page we knew is gone: another program may be halfway through replacing it.
  const Instant since = goneSince_.try_emplace(key, now()).first->second;
  if (now() - since < kGoneGrace) throw VaultError::notDownloaded(key);
  goneSince_.erase(key);
  snapshots_.erase(key);
  conflicts_.erase(key);
  return std::nullopt;
}

std::optional<std::string> VaultStore::peekText(const EntryKey& key) {
  std::lock_guard lock(mu_);
  if (auto it = pending_.find(key); it != pending_.end()) return it->second.text;
  const fs::path file = paths_.urlFor(key);
  std::optional<std::string> text;
  try {
    text = Coordinated::readIfExists(file, fs_);
  } catch (const FileError& e) {
    throw PageReadError(key, ReadProblem::of(ReadProblem::Kind::unreadable, e.what()));
  }
  if (!text && cloud_->isEvicted(file)) cloud_->requestDownload(file);
  if (text && !isValidUtf8(*text)) {
    throw PageReadError(key, ReadProblem::of(ReadProblem::Kind::encoding));
  }
  return text;
}

std::optional<ReadProblem> VaultStore::readProblem(const EntryKey& key) {
  std::optional<std::string> text;
  try {
    text = Coordinated::readIfExists(paths_.urlFor(key), fs_);
  } catch (const FileError& e) {
    return ReadProblem::of(ReadProblem::Kind::unreadable, e.what());
  }
  if (!text) return std::nullopt;
  if (!isValidUtf8(*text)) return ReadProblem::of(ReadProblem::Kind::encoding);
  return codec_->check(key, *text);
}

bool VaultStore::hasPendingWrite(const EntryKey& key) {
  std::lock_guard lock(mu_);
  return pending_.contains(key);
}

// --- Writing

void VaultStore::saveText(const EntryKey& key, std::string text, bool force, bool emptying) {
  std::lock_guard lock(mu_);
  if (options_.readOnly) return;
  saves_.yield(key);
  auto queued = pending_.find(key);
  if (!force && queued == pending_.end()) {
    auto snapshot = snapshots_.find(key);
    if (snapshot != snapshots_.end() && snapshot->second == text) return;
  }
  Pending next{std::move(text), force, emptying};
  if (queued != pending_.end()) {
    next.force = next.force || queued->second.force;
    next.emptying = next.emptying || queued->second.emptying;
  }
  pending_[key] = std::move(next);
  scheduleFlushLocked();
}

void VaultStore::scheduleFlushLocked() {
  if (!options_.debounced) return;
  flushAt_ = std::chrono::steady_clock::now() + options_.debounce;
  // Started on the first debounced write: a command that reads, or flushes itself, never needs
  // the thread.
  if (!timer_.joinable() && !stopping_) timer_ = std::thread([this] { timerLoop(); });
  timerWake_.notify_all();
}

void VaultStore::timerLoop() {
  std::unique_lock lock(mu_);
  while (!stopping_) {
    if (!flushAt_) {
      timerWake_.wait(lock);
      continue;
    }
    const auto at = *flushAt_;
    if (timerWake_.wait_until(lock, at) == std::cv_status::timeout && flushAt_ == at) {
      flushAt_.reset();
      try {
        flushLocked();
      } catch (const std::exception&) {
        // Kept for the next explicit flush, which tells its caller.
      }
    }
  }
}

void VaultStore::flush() {
  std::lock_guard lock(mu_);
  flushLocked();
  reportLocked();
}

void VaultStore::reportLocked() {
  if (unreportedFailure_) {
    const FileError failure = *unreportedFailure_;
    unreportedFailure_.reset();
    throw failure;
  }
  if (!unreportedRefusals_.empty()) {
    const EntryKey key = unreportedRefusals_.back();
    unreportedRefusals_.clear();
    throw VaultError::changedOnDisk(key);
  }
}

void VaultStore::flushLocked() {
  flushAt_.reset();
  if (options_.readOnly || pending_.empty()) return;
  // A write older than the window can no longer tell anything; a long-lived store would
  // otherwise hold the text before every write it ever made to a page left alone since.
  std::erase_if(written_, [now = fileClockNow(), this](const auto& entry) {
    return now - entry.second.at >= options_.overwrittenWithin;
  });
  const AtomicWrite::Options writeOptions{.mode = std::nullopt, .durable = true, .fileSystem = fs_};
  const auto fail = [&](const FileError& e) {
    if (!unreportedFailure_) unreportedFailure_ = e;
  };
  // The slow part, writing and syncing the scratch files, happens before the vault's lock is
  // taken, so the checks below and the renames follow each other with no gap another writer
  // (which never waits for our lock) could fall into.
  std::map<EntryKey, std::unique_ptr<AtomicWrite::Scratch>> scratches;
  for (const auto& [key, job] : pending_) {
    try {
      scratches.emplace(key,
                        std::make_unique<AtomicWrite::Scratch>(job.text, paths_.urlFor(key),
                                                               writeOptions));
    } catch (const FileError& e) {
      fail(e);  // the text stays queued
    }
  }
  if (scratches.empty()) return;
  // One lock for the whole pass: every check and its rename happen with no other trivo writer in
  // between.
  Coordinated::Lock vaultLock(vault_.rootURL);
  for (auto& [key, scratch] : scratches) {
    // Not a copy: pages run to hundreds of kilobytes. Every path below that ends the job
    // (refuseLocked, the erase at the end) is its last use.
    const Pending& job = pending_.at(key);
    const fs::path file = paths_.urlFor(key);
    std::error_code ec;
    if (!fs::exists(file, ec) && fs::exists(placeholderFor(file), ec)) {
      cloud_->requestDownload(file);
      refuseLocked(key, job.text, std::nullopt, "not downloaded");
      continue;
    }
    if (!job.force && cloud_->newerElsewhere(file)) {
      refuseLocked(key, job.text, std::nullopt, "written on another device");
      continue;
    }
    std::optional<std::string> disk;
    try {
      disk = Coordinated::readIfExists(file, fs_);
    } catch (const FileError& e) {
      fail(e);
      continue;
    }
    auto snapshot = snapshots_.find(key);
    if (!job.force && disk && (snapshot == snapshots_.end() || snapshot->second != *disk)) {
      refuseLocked(key, job.text, disk, "changed on disk");
      continue;
    }
    if (!key.isInbox() && !job.emptying && disk &&
        characterCount(*disk) > kEmptyingGuardCharacters && job.text == codec_->blankText(key)) {
      refuseLocked(key, job.text, disk, "a blank page over a full one");
      continue;
    }
    bool placed = false;
    const auto placing = fileClockNow();
    try {
      if (job.force) {
        scratch->commit();
        placed = true;
      } else {
        placed = scratch->commitIf(disk);
      }
    } catch (const FileError& e) {
      fail(e);
      placed = scratch->placed();  // only the folder sync after the rename failed
    }
    if (!placed) {
      if (!scratch->placed() && !unreportedFailure_) {
        refuseLocked(key, job.text, disk, "changed on disk");
      }
      continue;
    }
    cloud_->touched(file);
    ++writeCount_;
    if (options_.wrote) options_.wrote(key, disk);
    written_[key] = Written{disk, placing};
    if (options_.undoable) {
      undoStack_.push_back(Step{key, std::move(disk), job.text});
      if (undoStack_.size() > kUndoLimit) undoStack_.erase(undoStack_.begin());
      redoStack_.clear();
    }
    auto done = pending_.extract(key);
    snapshots_[key] = std::move(done.mapped().text);
  }
}

void VaultStore::refuseLocked(const EntryKey& key, std::string text,
                              const std::optional<std::string>& disk, std::string_view reason) {
  pending_.erase(key);
  written_.erase(key);  // what our last write added is in the refused text
  auto snapshot = snapshots_.find(key);
  keepLocked(key, std::move(text),
             snapshot == snapshots_.end() ? std::nullopt : std::optional(snapshot->second), reason);
  (void)disk;
  unreportedRefusals_.push_back(key);
  changes_.yield(key);
}

void VaultStore::keepLocked(const EntryKey& key, std::string text,
                            const std::optional<std::string>& base, std::string_view reason) {
  if (options_.keep) {
    try {
      options_.keep->keep(key, paths_.urlFor(key), text, base, std::string(reason));
    } catch (const std::exception&) {
      // Still kept in memory below, and the caller is told.
    }
  }
  auto& kept = refused_[key];
  kept.push_back(std::move(text));
  if (kept.size() > kRefusedPerKey) kept.erase(kept.begin());
  conflicts_.insert(key);
}

void VaultStore::discardPending(const EntryKey& key) {
  std::lock_guard lock(mu_);
  pending_.erase(key);
}

std::vector<std::string> VaultStore::takeRefused(const EntryKey& key) {
  std::lock_guard lock(mu_);
  auto it = refused_.find(key);
  if (it == refused_.end()) return {};
  auto texts = std::move(it->second);
  refused_.erase(it);
  return texts;
}

std::set<EntryKey> VaultStore::conflicts() {
  std::lock_guard lock(mu_);
  return conflicts_;
}

std::int64_t VaultStore::writeCount() {
  std::lock_guard lock(mu_);
  return writeCount_;
}

// --- Undo and redo

std::optional<std::string> VaultStore::onDiskLocked(const EntryKey& key) {
  try {
    return Coordinated::readIfExists(paths_.urlFor(key), fs_);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

void VaultStore::putLocked(const std::optional<std::string>& text, const EntryKey& key,
                           const std::optional<std::string>& expected) {
  if (options_.readOnly) return;
  const fs::path file = paths_.urlFor(key);
  Coordinated::Lock vaultLock(vault_.rootURL);
  if (text) {
    const AtomicWrite::Options writeOptions{
        .mode = std::nullopt, .durable = true, .fileSystem = fs_};
    const auto placing = fileClockNow();
    if (!AtomicWrite::replaceIf(*text, file, expected, writeOptions)) {
      throw VaultError::changedOnDisk(key);
    }
    cloud_->touched(file);
    if (options_.wrote) options_.wrote(key, expected);
    snapshots_[key] = *text;
    written_[key] = Written{expected, placing};
  } else {
    if (onDiskLocked(key) != expected) throw VaultError::changedOnDisk(key);
    std::error_code ec;
    fs::remove(file, ec);
    snapshots_.erase(key);
    written_.erase(key);
  }
  changes_.yield(key);
}

std::optional<EntryKey> VaultStore::undo() {
  std::lock_guard lock(mu_);
  flushLocked();
  reportLocked();
  if (undoStack_.empty()) return std::nullopt;
  Step step = undoStack_.back();
  // An outside edit since the step is never undone away: the write happens only while the page
  // still holds what the step wrote.
  putLocked(step.before, step.key, step.after);
  undoStack_.pop_back();
  redoStack_.push_back(step);
  return step.key;
}

std::optional<EntryKey> VaultStore::redo() {
  std::lock_guard lock(mu_);
  flushLocked();
  reportLocked();
  if (redoStack_.empty()) return std::nullopt;
  Step step = redoStack_.back();
  putLocked(step.after, step.key, step.before);
  redoStack_.pop_back();
  undoStack_.push_back(step);
  return step.key;
}

bool VaultStore::canUndo() {
  std::lock_guard lock(mu_);
  return !undoStack_.empty();
}

bool VaultStore::canRedo() {
  std::lock_guard lock(mu_);
  return !redoStack_.empty();
}

std::optional<EntryKey> VaultStore::undoTarget() {
  std::lock_guard lock(mu_);
  if (undoStack_.empty()) return std::nullopt;
  return undoStack_.back().key;
}

std::optional<EntryKey> VaultStore::redoTarget() {
  std::lock_guard lock(mu_);
  if (redoStack_.empty()) return std::nullopt;
  return redoStack_.back().key;
}

// --- Quotes and media

std::vector<std::string> VaultStore::quotes() {
  std::vector<std::string> lines;
  std::ifstream in(paths_.appPrivate() / "quotes.txt", std::ios::binary);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

void VaultStore::saveQuotes(const std::vector<std::string>& lines) {
  if (options_.readOnly) return;
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  Coordinated::Lock vaultLock(vault_.rootURL);
  AtomicWrite::write(text, paths_.appPrivate() / "quotes.txt");
}

std::string VaultStore::importMedia(const fs::path& from, const DayDate& day, const ClockTime& at) {
  const std::string prefix = day.isoString() + "-" +
                             stringPrintf("%02lld%02lld", static_cast<long long>(at.hour),
                                          static_cast<long long>(at.minute)) +
                             "-";
  std::string name = prefix + from.filename().string();
  const fs::path folder = paths_.media();
  fs::create_directories(folder);
  // Never replace a picture already in the vault: number the newcomer instead.
  for (int n = 2; fs::exists(folder / name); ++n) {
    name = prefix + from.stem().string() + "-" + std::to_string(n) + from.extension().string();
  }
  if (!options_.readOnly) fs::copy_file(from, folder / name);
  const std::string target = "media/" + name;
  return vault_.format == VaultFormat::org ? "[[file:" + target + "]]" : "![](" + target + ")";
}

std::vector<std::string> VaultStore::deleteOrphanMedia(const std::vector<std::string>& names) {
  std::vector<std::string> removed;
  if (options_.readOnly) return removed;
  const auto leftovers = VaultMedia::leftovers(paths_);
  for (const auto& name : names) {
    if (std::find(leftovers.begin(), leftovers.end(), name) == leftovers.end()) continue;
    std::error_code ec;
    if (fs::remove(paths_.media() / name, ec)) removed.push_back(name);
  }
  return removed;
}

// --- Observing

std::shared_ptr<Subscription<EntryKey>> VaultStore::changes() {
  ensureWatching();
  return changes_.subscribe();
}

std::shared_ptr<Subscription<EntryKey>> VaultStore::saves() {
  ensureWatching();
  return saves_.subscribe();
}

std::shared_ptr<Subscription<bool>> VaultStore::configChanges() {
  ensureWatching();
  return configChanges_.subscribe();
}

std::shared_ptr<Subscription<fs::path>> VaultStore::otherChanges() {
  ensureWatching();
  return otherChanges_.subscribe();
}

void VaultStore::ensureWatching() {
  std::lock_guard lock(watcherMu_);
  if (watcher_) return;
  FileWatcher::Callbacks callbacks;
  callbacks.onChange = [this](const EntryKey& key) { fileDidChange(key); };
  callbacks.onConfig = [this] { configDidChange(); };
  callbacks.onOther = [this](const fs::path& path) { otherDidChange(path); };
  callbacks.mustScan = [this] { refresh(); };
  watcher_ = std::make_unique<FileWatcher>(paths_, std::move(callbacks), options_.watcherQuiet);
  watcher_->start();
}

void VaultStore::fileDidChange(const EntryKey& key) {
  std::lock_guard lock(mu_);
  const std::optional<std::string> disk = onDiskLocked(key);
  auto snapshot = snapshots_.find(key);
  if (snapshot != snapshots_.end()) {
    if (disk == snapshot->second) return;  // our own write coming back
    if (disk) keepIfOverwrittenLocked(key, *disk);  // announced below like any change
  } else {
    if (!disk && !lastSeen_.contains(key)) return;
    auto seen = lastSeen_.find(key);
    if (seen != lastSeen_.end() && seen->second == disk) return;
    lastSeen_[key] = disk;
  }
  changes_.yield(key);
}

// Sync tools check a page for local changes, then put the other device's text in its place; a
// write of ours in that instant is replaced unseen. What ours added and their text lacks would be
// gone without a trace, so ours is kept among the refused texts (to merge against the text before
// it) and the page marked as a conflict. Nobody removes a line moments after it was written
// without having seen it: a page replaced within `overwrittenWithin` of our write was replaced
// by a text made without ours. A later edit that removes our lines is an edit like any other.
// Ours is kept even when the tool made a conflict copy of it: Syncthing names its copies to the
// second, and a second conflict within that second can replace the first copy. Says whether a
// text was kept.
bool VaultStore::keepIfOverwrittenLocked(const EntryKey& key, const std::string& disk) {
  auto it = written_.find(key);
  if (it == written_.end()) return false;
  const Written written = std::move(it->second);
  written_.erase(it);
  auto snapshot = snapshots_.find(key);
  if (snapshot == snapshots_.end() || snapshot->second == disk) return false;
  const auto changed = changedAt(paths_.urlFor(key));
  if (!changed || *changed - written.at >= options_.overwrittenWithin) return false;
  if (!dropsAddedLines(snapshot->second, written.before, disk)) return false;
  keepLocked(key, snapshot->second, written.before, "replaced by a text made without it");
  return true;
}

void VaultStore::configDidChange() { configChanges_.yield(true); }

void VaultStore::otherDidChange(const fs::path& path) { otherChanges_.yield(path); }

void VaultStore::refresh() {
  std::vector<EntryKey> known;
  {
    std::lock_guard lock(mu_);
    for (const auto& [key, unused] : snapshots_) known.push_back(key);
    for (const auto& [key, unused] : lastSeen_) known.push_back(key);
  }
  for (const auto& key : known) fileDidChange(key);
}

}  // namespace trivo

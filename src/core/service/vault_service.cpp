// The service loop: one thread owns the timer and everything the live state is made of; it
// sleeps in poll() on a signal fd, an inotify fd (commands, other devices' sessions, the vault
// folder itself) and an event fd fed by the store's change streams, and wakes for the timer's
// ticks, the heartbeat, the turn of the day and the next alert only.
#include "core/service/vault_service.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <vector>

#include "core/backup/backup_store.h"
#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/config/config_store.h"
#include "core/focus/cue_announcer.h"
#include "core/focus/day_page_session_log.h"
#include "core/focus/live_session.h"
#include "core/focus/shared_files.h"
#include "core/focus/tick_player.h"
#include "core/format/serializer_error.h"
#include "core/search/search_index.h"
#include "core/drafts/draft_shelf.h"
#include "core/service/service_clock.h"
#include "core/service/service_lock.h"
#include "core/service/vault_live_view.h"
#include "core/store/atomic_write.h"
#include "core/store/serializer_codec.h"
#include "core/store/store_errors.h"
#include "core/store/vault_store.h"
#include "core/util/iso_instant.h"
#include "core/vault/vault_locator.h"

namespace trivo {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Steady = std::chrono::steady_clock;
// As many drafts as the largest widget shows.
constexpr std::size_t kDraftLines = 6;

namespace {

constexpr const char* kCommandFile = "command.json";
// A session other devices see is republished this often while it runs, well inside the three
// minutes after which they call it quiet.
constexpr std::chrono::seconds kPublishEvery{60};

}  // namespace

// Named, not anonymous: the service's Impl holds these as members.
namespace service_detail {

// Wakes the loop when a store stream has news: a thread per stream waits on it and rings the
// event fd. The streams have no file descriptor of their own.
template <class T>
class Forwarder {
 public:
  Forwarder(std::shared_ptr<Subscription<T>> sub, int eventFd, std::atomic<bool>& flag, T wakeValue)
      : sub_(std::move(sub)), wakeValue_(std::move(wakeValue)) {
    thread_ = std::thread([this, eventFd, &flag] {
      while (!quit_) {
        if (!sub_->next(std::chrono::hours(24))) continue;
        if (quit_) break;
        flag = true;
        const std::uint64_t one = 1;
        [[maybe_unused]] auto n = ::write(eventFd, &one, sizeof one);
      }
    });
  }
  ~Forwarder() {
    quit_ = true;
    sub_->push(wakeValue_);
    thread_.join();
  }
  Forwarder(const Forwarder&) = delete;
  Forwarder& operator=(const Forwarder&) = delete;

 private:
  std::shared_ptr<Subscription<T>> sub_;
  T wakeValue_;
  std::atomic<bool> quit_{false};
  std::thread thread_;
};

}  // namespace service_detail

namespace {

double serviceSecondsBetween(Instant later, Instant earlier) {
  return std::chrono::duration<double>(later - earlier).count();
}

std::string cueText(FocusEvent event, const std::optional<std::string>& subject) {
  switch (event) {
    case FocusEvent::start:
      return subject ? "Focus started: " + *subject : "Focus started";
    case FocusEvent::pause:
      return "Focus paused";
    case FocusEvent::resume:
      return "Focus resumed";
    case FocusEvent::finish:
      return "Focus session finished";
    case FocusEvent::stop:
      return "Focus session stopped";
    case FocusEvent::breakStart:
      return "Break started";
    case FocusEvent::breakEnd:
      return "Break over";
    case FocusEvent::sliceNext:
      return "Next slice";
  }
  return "";
}

std::string secondsLeftText(std::int64_t seconds) {
  if (seconds % 60 == 0) {
    const auto m = seconds / 60;
    return std::to_string(m) + (m == 1 ? " minute left" : " minutes left");
  }
  return std::to_string(seconds) + " seconds left";
}

std::optional<std::string> envText(const char* name) {
  const char* v = std::getenv(name);
  if (!v || !*v) return std::nullopt;
  return std::string(v);
}

}  // namespace

struct VaultService::Impl {
  Options o;
  const Clock& clock;
  const Clock& real;
  VaultConfig config;
  std::unique_ptr<ConfigStore> configStore;
  std::unique_ptr<VaultStore> store;
  std::unique_ptr<DayPageSessionLog> sessionLog;
  std::unique_ptr<TimerModel> timer;
  DesktopNotifier desktop;
  Notifier* notifier;
  std::unique_ptr<InboxAlerts> alerts;
  std::unique_ptr<SearchIndex> search;
  std::optional<Steady::time_point> searchDue;  // when the index reads what changed
  // When the next backup snapshot is due (read from the newest snapshot at the first look).
  std::optional<Instant> nextBackup;
  std::unique_ptr<TickPlayer> player;
  bool soundFailed = false;

  int signalFd = -1;
  int inotifyFd = -1;
  int eventFd = -1;
  int rootWatch = -1;
  int liveWatch = -1;
  int commandWatch = -1;
  int draftsWatch = -1;
  bool draftsChanged = true;
  std::vector<LiveState::DraftLine> drafts;
  std::string ownSessionFile;
  sigset_t oldMask{};

  std::atomic<bool> pagesChanged{true};
  std::atomic<bool> configChanged{false};
  std::unique_ptr<service_detail::Forwarder<EntryKey>> changesForwarder;
  std::unique_ptr<service_detail::Forwarder<EntryKey>> savesForwarder;
  std::unique_ptr<service_detail::Forwarder<bool>> configForwarder;

  DayDate today;
  Instant nextDay;
  VaultLiveView view;
  bool viewDirty = true;
  std::vector<LiveSession> others;
  bool othersDirty = true;
  bool timerChanged = true;
  std::optional<LiveState> lastWritten;  // content of the last write, stamp aside
  Steady::time_point lastStamp{};
  std::optional<LiveSession> lastPublished;
  Steady::time_point lastPublish{};
  std::optional<TimerModel::Snapshot> lastSnapshot;
  bool snapshotKnown = false;
  Steady::time_point nextTick{};
  std::atomic<bool> stopRequested{false};
  bool vaultGone = false;
  // The widgets show one vault: the service holding this lock writes live.json and takes
  // command.json; another vault's service leaves both alone until the lock is free.
  std::optional<ServiceLock> widgetFeed;
  Steady::time_point lastFeedTry{};
  bool feedTried = false;
  bool feedRefusalSaid = false;

  explicit Impl(Options options)
      : o(std::move(options)),
        clock(o.clock ? *o.clock : SystemClock::shared()),
        real(o.realClock ? *o.realClock : SystemClock::shared()),
        notifier(o.notifier ? o.notifier : &desktop) {}

  // Takes a snapshot of the pages when `backup.intervalMinutes` have passed since the last one.
  void backupIfDue() {
    if (!config.backup.enabled || o.foreground) return;
    // Most wake-ups come long before the next snapshot: they must cost nothing here.
    if (nextBackup && real.now() < *nextBackup) return;
    const auto folder = BackupStore::folderFor(o.root);
    if (!folder) return;
    BackupStore backups(*folder, real);
    const auto interval =
        std::chrono::minutes(std::max<std::int64_t>(config.backup.intervalMinutes, 1));
    if (!nextBackup) {
      const auto last = backups.lastSnapshot();
      nextBackup = last ? *last + interval : real.now();
    }
    if (real.now() < *nextBackup) return;
    // Only a failure is worth a line of the log; a backup that worked is the normal case.
    try {
      (void)backups.snapshot(o.root, config.backup.keep);
    } catch (const std::exception& e) {
      say(std::string("The backup failed: ") + e.what());
    }
    nextBackup = real.now() + interval;
  }

  void say(const std::string& line) const {
    if (o.log) *o.log << line << std::endl;
  }

  // Reads what changed into the search index once the pages have been quiet for a while. A
  // cache that cannot be used is said once and then left alone: searching still works, it only
  // reads the changed pages itself.
  void refreshSearchIfDue() {
    if (!searchDue || Steady::now() < *searchDue) return;
    // A first build reads every page, which would hold up the ticks of a session.
    if (timer->phase() != TimerModel::Phase::idle) return;
    searchDue.reset();
    try {
      if (!search) {
        search = std::make_unique<SearchIndex>(
            SearchIndex::Options::forVault(o.root, store->vault().format, o.searchCache, config));
      }
      (void)search->refresh();
    } catch (const std::exception& e) {
      say(std::string("The search index cannot be kept up to date (") + e.what() +
          "); searches bring it up to date themselves.");
      o.searchCache.clear();
      search.reset();
    }
  }

  void searchChanged() {
    if (!o.searchCache.empty()) searchDue = Steady::now() + o.searchQuiet;
  }

  // --- Setting up -------------------------------------------------------------------------

  void open() {
    std::error_code ec;
    if (!fs::is_directory(o.root, ec)) {
      throw std::runtime_error("The vault folder " + o.root.string() +
                               " does not exist; create it or name another with --vault.");
    }
    if (o.handleSignals) {
      // Blocked before the store starts its threads, so that they inherit the mask and the
      // signals wait in the signal fd for this thread.
      sigset_t mask;
      sigemptyset(&mask);
      sigaddset(&mask, SIGINT);
      sigaddset(&mask, SIGTERM);
      pthread_sigmask(SIG_BLOCK, &mask, &oldMask);
      signalFd = ::signalfd(-1, &mask, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    eventFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    inotifyFd = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);

    configStore = std::make_unique<ConfigStore>(o.root, ConfigStore::defaultDeviceURL());
    loadConfig();
    VaultFormat format = detectVaultFormat(o.root);
    const Vault vault{o.root, format, "en", std::nullopt};
    VaultStore::Options storeOptions;
    storeOptions.clock = &real;
    storeOptions.codec = SerializerCodec::forVault(vault, config.yearMode);
    storeOptions.cloud = std::make_shared<FileCloudSignal>(o.root, o.device, real);
    storeOptions.wrote = BackupStore::historyFor(VaultPaths(o.root, format), real);
    store = std::make_unique<VaultStore>(vault, storeOptions);
    sessionLog = std::make_unique<DayPageSessionLog>(*store);

    today = DayDate::today(clock);
    nextDay = dayTurnAfter(today);
    timer = std::make_unique<TimerModel>(sessionLog.get(), today, clock);
    timer->applySettings(config.focus);
    timer->setEventHandler([this](FocusEvent e) { onTimerEvent(e); });
    timer->setChangeHandler([this] { timerChanged = true; });
    restoreSnapshot();

    if (o.alerts) alerts = std::make_unique<InboxAlerts>(o.stateFolder / kAlertsFile, clock, *notifier);

    changesForwarder = std::make_unique<service_detail::Forwarder<EntryKey>>(store->changes(), eventFd,
                                                             pagesChanged, EntryKey::inbox());
    savesForwarder = std::make_unique<service_detail::Forwarder<EntryKey>>(store->saves(), eventFd, pagesChanged,
                                                           EntryKey::inbox());
    configForwarder =
        std::make_unique<service_detail::Forwarder<bool>>(store->configChanges(), eventFd, configChanged, false);
    watchFiles();
    reportDamagedLiveState();
  }

  void loadConfig() {
    try {
      config = configStore->load();
    } catch (const std::exception& e) {
      say("The settings in " + configStore->url().string() + " cannot be read (" + e.what() +
          "); the service uses the defaults until they are fixed.");
      config = VaultConfig{};
    }
  }

  void watchFiles() {
    if (inotifyFd < 0) return;
    // Creations in the root only matter for the drafts folder appearing.
    rootWatch = ::inotify_add_watch(inotifyFd, o.root.c_str(),
                                    IN_DELETE_SELF | IN_MOVE_SELF | IN_CREATE | IN_MOVED_TO |
                                        IN_ONLYDIR);
    watchDrafts();
    if (o.commands) {
      // Orders are left in every place at once and taken from all of them together, so the
      // first place is enough to hear of one; watching the others would only wake the service
      // for its own writes of live.json there.
      const auto places = LiveState::places();
      if (!places.empty()) {
        commandWatch = ::inotify_add_watch(inotifyFd, places.front().c_str(),
                                           IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR);
      }
    }
    if (config.focus.syncAcross) {
      std::error_code ec;
      const fs::path live = LiveSession::folder(o.root);
      fs::create_directories(live, ec);
      ownSessionFile = LiveSession::fileStem(o.device.id) + ".json";
      liveWatch = ::inotify_add_watch(inotifyFd, live.c_str(),
                                      IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE | IN_ONLYDIR);
    }
  }

  void watchDrafts() {
    if (draftsWatch >= 0) return;
    const fs::path folder = DraftShelf(o.root).folder();
    draftsWatch = ::inotify_add_watch(
        inotifyFd, folder.c_str(),
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR);
  }

  void reportDamagedLiveState() const {
    for (const fs::path& url : LiveState::urls()) {
      const auto text = shared::readFile(url, shared::Access::privateToUser);
      if (!text) continue;
      try {
        (void)Json::parse(*text).get<LiveState>();
      } catch (const std::exception&) {
        say("The live state " + url.string() + " cannot be read; it is replaced.");
      }
    }
  }

  void restoreSnapshot() {
    const fs::path file = o.stateFolder / kSnapshotFile;
    std::error_code ec;
    if (!fs::exists(file, ec)) return;
    const auto snapshot = TimerModel::Snapshot::load(file);
    if (!snapshot) {
      say("The focus snapshot " + file.string() + " cannot be read; it is ignored.");
      shared::removeFile(file);
      snapshotKnown = true;
      return;
    }
    timer->restore(*snapshot);
    lastSnapshot = normalized(timer->snapshot());
    snapshotKnown = true;
  }

  Instant dayTurnAfter(const DayDate& day) const {
    const DayDate next = day.adding(1);
    return instantOfLocal(clock, next.year, next.month, next.day, 0, 0);
  }

  // --- The timer --------------------------------------------------------------------------

  TickPlayer* sound() {
    if (!player && !soundFailed) {
      auto sink = o.openSound ? o.openSound() : nullptr;
      if (!sink) {
        soundFailed = true;
        return nullptr;
      }
      std::optional<fs::path> vaultSounds = o.root / ".trivo" / "sounds";
      player = std::make_unique<TickPlayer>(std::nullopt, vaultSounds, std::move(sink));
    }
    return player.get();
  }

  void announce(const Cue& cue, const std::string& text) {
    const Focus& f = config.focus;
    if (!f.cues) return;
    TickPlayer* p = (cue.sound.empty() || f.muted) ? nullptr : sound();
    CueAnnouncer announcer(p);
    Cue shown = cue;
    if (f.muted) shown.sound.clear();
    if (shown.notify) {
      // Notifications go through the service's notifier (the desktop, or a test's).
      notifier->notify("Trivo", text);
      shown.notify = false;
    }
    announcer.announce(shown, text, f.volume);
  }

  void onTimerEvent(FocusEvent event) {
    const CueSet& cues = config.focus.cueSet;
    const Cue* cue = nullptr;
    switch (event) {
      case FocusEvent::start:
      case FocusEvent::sliceNext:
        cue = &cues.started;
        break;
      case FocusEvent::pause:
      case FocusEvent::breakStart:
        cue = &cues.paused;
        break;
      case FocusEvent::resume:
        cue = &cues.resumed;
        break;
      case FocusEvent::finish:
        cue = &cues.finished;
        break;
      case FocusEvent::stop:
        cue = &cues.stopped;
        break;
      case FocusEvent::breakEnd:
        cue = &cues.breakEnded;
        break;
    }
    if (cue) announce(*cue, cueText(event, timer->subject()));
    updateTicking();
  }

  void updateTicking() {
    const Focus& f = config.focus;
    const bool wanted = timer->phase() == TimerModel::Phase::running && f.sound != TickPlayer::kOff &&
                        !f.muted;
    if (!wanted) {
      if (player) player->stop();
      return;
    }
    TickPlayer* p = sound();
    if (!p || p->current() == f.sound) return;
    try {
      p->play(f.sound, f.volume, static_cast<int>(std::clamp<std::int64_t>(f.tickBpm, 1, 600)));
    } catch (const SoundError& e) {
      say(std::string("The ticking sound cannot play: ") + e.what());
    }
  }

  void tickTimer() {
    if (const auto mark = timer->tick()) {
      if (*mark == TimerModel::softWindowCue) {
        announce(config.focus.cueSet.warning, "Time is up; wrapping up");
      } else {
        announce(config.focus.cueSet.warning, secondsLeftText(*mark));
      }
    }
    if (const auto minute = timer->consumeMinuteCue()) {
      announce(config.focus.cueSet.warning, std::to_string(*minute) + " minutes focused");
    }
    if (o.onTick) o.onTick(*timer);
  }

  // A running session's snapshot changes its countdown every second; what restoring needs
  // (its end, and the remaining time as it stood when the run began) changes only with the
  // session itself, so the countdown is left out of the comparison.
  static std::optional<TimerModel::Snapshot> normalized(std::optional<TimerModel::Snapshot> s) {
    if (s && !s->paused && !s->finished.value_or(false)) {
      s->remaining = 0;
      s->focusedSeconds = 0;
    }
    return s;
  }

  void saveSnapshot(bool force = false) {
    const auto snapshot = timer->snapshot();
    const auto key = normalized(snapshot);
    if (!force && snapshotKnown && key == lastSnapshot) return;
    const fs::path file = o.stateFolder / kSnapshotFile;
    if (snapshot) {
      if (!snapshot->save(file)) say("The focus snapshot " + file.string() + " cannot be written.");
    } else {
      shared::removeFile(file);
    }
    lastSnapshot = key;
    snapshotKnown = true;
  }

  void obey(const LiveState::Order& order) {
    using C = LiveState::Command;
    switch (order.command) {
      case C::start:
        if (timer->phase() == TimerModel::Phase::running) break;
        if (timer->phase() == TimerModel::Phase::finished) timer->logFinished();
        if (order.minutes) timer->setMinutes(*order.minutes);
        if (order.subject) timer->setSubject(order.subject);
        if (timer->phase() == TimerModel::Phase::paused) {
          timer->resume();
        } else {
          timer->start();
        }
        break;
      case C::stop:
        timer->stop();
        break;
      case C::pause:
        timer->pause(order.minutes);
        break;
      case C::resume:
        timer->resume();
        break;
    }
  }

  bool feedsWidgets() {
    if (widgetFeed) return true;
    const auto now = Steady::now();
    if (feedTried && now - lastFeedTry < o.heartbeat) return false;
    feedTried = true;
    lastFeedTry = now;
    const auto file = VaultService::widgetFeedFile();
    if (!file) return true;  // no folder to share: nothing is written anyway
    if (auto lock = ServiceLock::acquire(*file)) {
      widgetFeed.emplace(std::move(*lock));
      if (feedRefusalSaid) say("This service feeds the widgets now.");
      return true;
    }
    if (!feedRefusalSaid) {
      feedRefusalSaid = true;
      const auto pid = ServiceLock::holder(*file);
      say("Another vault's service" + (pid ? " (process " + std::to_string(*pid) + ")" : "") +
          " feeds the widgets; this one leaves live.json and command.json to it.");
    }
    return false;
  }

  void takeCommands() {
    if (!feedsWidgets()) return;
    const Instant now = real.now();
    std::optional<LiveState::Order> fresh;
    for (const fs::path& place : LiveState::places()) {
      const fs::path file = place / kCommandFile;
      const auto text = shared::claimFile(file, shared::Access::privateToUser);
      if (!text) continue;
      try {
        const auto order = Json::parse(*text).get<LiveState::Order>();
        if (order.at <= now - LiveState::commandLifetime) {
          say("A command of " + isoInstantString(order.at) + " in " + file.string() +
              " is older than a minute; it is dropped.");
        } else if (!fresh) {
          fresh = order;
        }
      } catch (const std::exception&) {
        say("The command file " + file.string() + " is not a command; it is dropped.");
      }
    }
    if (fresh) obey(*fresh);
  }

  // --- Other devices ----------------------------------------------------------------------

  void takeAsk() {
    const auto ask = LiveSession::takeAsk(o.device.id, o.root, real.now());
    if (!ask) return;
    using A = LiveAsk::Action;
    switch (ask->action) {
      case A::pause:
        timer->pause(ask->minutes);
        break;
      case A::resume:
        timer->resume();
        break;
      case A::finish:
        timer->stop();
        break;
      case A::add:
        if (ask->minutes) timer->adjust(*ask->minutes);
        break;
      case A::subject:
        timer->setSubject(ask->subject);
        break;
      case A::takeBreak:
        timer->startBreak(ask->minutes.value_or(5), true);
        break;
      case A::skip:
      case A::restEnd:
        timer->startSliceNow();
        break;
    }
  }

  void publishOwn() {
    if (!config.focus.syncAcross) return;
    auto session = timer->liveSession(o.device.id, o.device.name);
    auto sameSession = [](const std::optional<LiveSession>& a, const std::optional<LiveSession>& b) {
      if (a.has_value() != b.has_value()) return false;
      if (!a) return true;
      return a->phase == b->phase && a->subject == b->subject && a->started == b->started &&
             a->ends == b->ends && a->minutes == b->minutes && a->restEnds == b->restEnds;
    };
    const auto nowSteady = Steady::now();
    const bool due = session && nowSteady - lastPublish >= kPublishEvery;
    if (sameSession(session, lastPublished) && !due && lastPublish != Steady::time_point{}) return;
    LiveSession::publish(session, o.device.id, o.root);
    lastPublished = session;
    lastPublish = nowSteady;
  }

  // --- The live state ---------------------------------------------------------------------

  void refreshView() {
    try {
      view = VaultLiveView::read(*store, today, ClockTime::fromInstant(clock.now(), clock));
      if (alerts) alerts->update(store->peekInbox());
    } catch (const PageReadError& e) {
      say(std::string("A page cannot be read (") + e.what() + "); the live state keeps what it had.");
    } catch (const SerializerError& e) {
      say(std::string("A page cannot be read (") + e.what() + "); the live state keeps what it had.");
    } catch (const VaultError& e) {
      say(std::string("A page is not available (") + e.what() + "); the live state keeps what it had.");
    }
  }

  LiveState compose() {
    LiveState state;
    view.fill(state);
    state.drafts = drafts;
    timer->describe(state);
    if (timer->phase() == TimerModel::Phase::idle) {
      // Nothing runs here: show a session under way on another device.
      for (const LiveSession& other : others) {
        if (other.phase == LiveSession::Phase::finished) continue;
        state.phase = other.phase == LiveSession::Phase::running   ? LiveState::Phase::running
                      : other.phase == LiveSession::Phase::paused ? LiveState::Phase::paused
                                                                   : LiveState::Phase::onBreak;
        state.subject = other.subject;
        state.started = other.started;
        state.ends = other.phase == LiveSession::Phase::paused ? std::nullopt : other.ends;
        state.planned = other.minutes;
        break;
      }
    }
    state.vault = o.root.filename().string();
    state.scheme = std::string(kThemeNames[static_cast<std::size_t>(config.theme)]);
    if (config.accent != "default") state.accent = config.accent;
    return state;
  }

  void writeLiveState(bool heartbeatDue) {
    if (!feedsWidgets()) return;
    LiveState state = compose();
    const bool unchanged = lastWritten && *lastWritten == state;
    if (!heartbeatDue && unchanged) return;
    lastWritten = state;
    state.stamp = real.now();
    if (unchanged) {
      LiveState::restamp(state);
    } else {
      LiveState::write(state);
    }
    lastStamp = Steady::now();
  }

  // --- The loop ---------------------------------------------------------------------------

  bool vaultPresent() const {
    std::error_code ec;
    return fs::is_directory(o.root, ec);
  }

  // Real milliseconds until service time reaches `at`.
  milliseconds realUntil(Instant at) const {
    const double scale = o.clock ? scaleOf(*o.clock) : 1.0;
    const double ms = serviceSecondsBetween(at, clock.now()) * 1000.0 / scale;
    return milliseconds(static_cast<std::int64_t>(std::clamp(ms, 0.0, 3.6e6)) + 1);
  }

  static double scaleOf(const Clock& c) {
    if (const auto* scaled = dynamic_cast<const ScaledClock*>(&c)) return scaled->scale();
    return 1.0;
  }

  int timeoutMs() {
    const auto now = Steady::now();
    auto wait = o.heartbeat - std::chrono::duration_cast<milliseconds>(now - lastStamp);
    if (timer->phase() != TimerModel::Phase::idle) {
      wait = std::min(wait, std::chrono::duration_cast<milliseconds>(nextTick - now));
      if (config.focus.syncAcross) {
        wait = std::min(wait, std::chrono::duration_cast<milliseconds>(lastPublish + kPublishEvery - now));
      }
    }
    wait = std::min(wait, realUntil(nextDay));
    if (searchDue && timer->phase() == TimerModel::Phase::idle) {
      wait = std::min(wait, std::chrono::duration_cast<milliseconds>(*searchDue - now));
    }
    if (alerts) {
      if (auto next = alerts->next()) wait = std::min(wait, realUntil(*next));
    }
    return static_cast<int>(std::clamp<std::int64_t>(wait.count(), 0, 3'600'000));
  }

  void drainInotify(bool& commandsArrived, bool& liveChanged) {
    alignas(inotify_event) char buffer[4096];
    while (true) {
      const ssize_t n = ::read(inotifyFd, buffer, sizeof buffer);
      if (n <= 0) break;
      for (ssize_t i = 0; i < n;) {
        const auto* ev = reinterpret_cast<const inotify_event*>(buffer + i);
        i += static_cast<ssize_t>(sizeof(inotify_event) + ev->len);
        const std::string_view name = ev->len > 0 ? std::string_view(ev->name) : "";
        if (ev->wd == rootWatch && (ev->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED))) {
          vaultGone = !vaultPresent() || (ev->mask & IN_MOVE_SELF);
        } else if (ev->wd == rootWatch) {
          if (name == DraftShelf::kFolder) {
            watchDrafts();
            draftsChanged = true;
          }
        } else if (ev->wd == draftsWatch) {
          if (ev->mask & IN_IGNORED) draftsWatch = -1;  // the folder went away
          if (!name.empty() && name.front() != '.') draftsChanged = true;
        } else if (ev->wd == liveWatch) {
          // Scratch files and this device's own session file are the service's own writes.
          if (!name.empty() && name.front() != '.' && name != ownSessionFile) liveChanged = true;
        } else if (ev->wd == commandWatch && ev->len > 0 &&
                   std::string_view(ev->name) == kCommandFile) {
          commandsArrived = true;
        }
      }
    }
  }

  int run() {
    const double scale = scaleOf(clock);
    const auto tickEvery = milliseconds(std::max<std::int64_t>(1, std::llround(1000.0 / scale)));
    takeAsk();
    if (o.commands) takeCommands();
    nextTick = Steady::now();
    while (true) {
      // Work first, then sleep: every wake-up does what is due and writes what changed.
      if (!vaultPresent()) vaultGone = true;
      if (vaultGone) {
        say("The vault folder " + o.root.string() + " disappeared; the service stops.");
        shutdown();
        return 1;
      }
      if (configChanged.exchange(false)) {
        loadConfig();
        // Which Org files are searched may have changed.
        search.reset();
        searchChanged();
        timer->applySettings(config.focus);
        updateTicking();
        viewDirty = true;
        draftsChanged = true;  // the pins may have changed
      }
      if (draftsChanged) {
        draftsChanged = false;
        drafts = DraftShelf(o.root).lines(config.draftPins, kDraftLines);
      }
      const Instant now = clock.now();
      if (now >= nextDay) {
        today = DayDate::fromInstant(now, clock);
        nextDay = dayTurnAfter(today);
        viewDirty = true;
      }
      if (pagesChanged.exchange(false)) {
        viewDirty = true;
        searchChanged();
      }
      if (timer->phase() != TimerModel::Phase::idle && Steady::now() >= nextTick) {
        tickTimer();
        nextTick = Steady::now() + tickEvery;
      }
      if (timerChanged) {
        timerChanged = false;
        saveSnapshot();
      }
      if (viewDirty) {
        viewDirty = false;
        refreshView();
      }
      if (alerts) alerts->fire();
      backupIfDue();
      refreshSearchIfDue();
      if (othersDirty && config.focus.syncAcross) {
        othersDirty = false;
        others = LiveSession::others(o.root, o.device.id, real.now());
      }
      publishOwn();
      const bool heartbeatDue = Steady::now() - lastStamp >= o.heartbeat;
      writeLiveState(heartbeatDue);
      // Other devices' sessions go stale with time, not only with their files.
      if (heartbeatDue && !others.empty()) othersDirty = true;

      // In the foreground nobody is there to continue or discard: the session is logged at once.
      if (o.foreground && timer->phase() == TimerModel::Phase::finished) timer->logFinished();
      if (o.foreground && timer->phase() == TimerModel::Phase::idle) {
        shutdown();
        return 0;
      }
      if (stopRequested) {
        if (o.foreground) endForegroundSession();
        shutdown();
        return 0;
      }
      if (timer->phase() == TimerModel::Phase::idle) nextTick = Steady::now();

      waitForWork();
    }
  }

  // Sleeps until something is due or has arrived. Events that concern nobody (the service's own
  // writes into the folders it watches) put it back to sleep without a round of work.
  void waitForWork() {
    while (true) {
      pollfd fds[3] = {{signalFd, POLLIN, 0}, {inotifyFd, POLLIN, 0}, {eventFd, POLLIN, 0}};
      const int ready = ::poll(fds, 3, timeoutMs());
      if (ready <= 0) return;  // a deadline came (or a signal interrupted)
      bool relevant = false;
      if (fds[0].revents & POLLIN) {
        signalfd_siginfo info{};
        while (::read(signalFd, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        }
        stopRequested = true;
        relevant = true;
      }
      if (fds[2].revents & POLLIN) {
        std::uint64_t count = 0;
        [[maybe_unused]] auto n = ::read(eventFd, &count, sizeof count);
        relevant = true;
      }
      if (fds[1].revents & POLLIN) {
        bool commandsArrived = false;
        bool liveChanged = false;
        drainInotify(commandsArrived, liveChanged);
        if (commandsArrived && o.commands) takeCommands();
        if (liveChanged) {
          othersDirty = true;
          takeAsk();
        }
        relevant = relevant || commandsArrived || liveChanged || vaultGone || draftsChanged;
      }
      if (relevant) return;
    }
  }

  // Ctrl-C on a foreground session: what was focused is kept.
  void endForegroundSession() {
    if (timer->phase() == TimerModel::Phase::running || timer->phase() == TimerModel::Phase::paused) {
      timer->stop();
    }
    if (timer->phase() != TimerModel::Phase::finished) return;
    if (o.keepEndedEarly && !o.keepEndedEarly(*timer)) {
      timer->discard();
    } else {
      timer->logFinished();
    }
  }

  void shutdown() {
    if (player) player->stop();
    if (!vaultGone) {
      saveSnapshot(true);
      if (alerts) alerts->save();
      try {
        store->flush();
      } catch (const VaultError& e) {
        say(std::string("A page changed on disk, so the service's text was kept aside: ") +
            e.what());
      } catch (const FileError& e) {
        say(std::string("A page could not be written: ") + e.what());
      }
      if (config.focus.syncAcross && timer->phase() == TimerModel::Phase::idle) {
        LiveSession::publish(std::nullopt, o.device.id, o.root);
      }
    } else {
      // Nothing can be written into a vault that is gone; the snapshot keeps the session.
      saveSnapshot(true);
    }
    // Readers learn at once that nobody listens any more.
    LiveState state = lastWritten.value_or(compose());
    state.stamp = distantPast();
    LiveState::write(state);
  }

  ~Impl() {
    changesForwarder.reset();
    savesForwarder.reset();
    configForwarder.reset();
    // The store flushes what is left; into a vanished folder that fails, and it drops the error.
    store.reset();
    for (int fd : {signalFd, inotifyFd, eventFd}) {
      if (fd >= 0) ::close(fd);
    }
    if (o.handleSignals) pthread_sigmask(SIG_SETMASK, &oldMask, nullptr);
  }
};

VaultService::VaultService(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {
  if (impl_->o.stateFolder.empty()) impl_->o.stateFolder = stateFolderFor(impl_->o.root);
  if (impl_->o.device.id.empty()) impl_->o.device = DeviceIdentity::current();
  impl_->open();
}

VaultService::~VaultService() = default;

int VaultService::run() { return impl_->run(); }

void VaultService::requestStop() {
  impl_->stopRequested = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] auto n = ::write(impl_->eventFd, &one, sizeof one);
}

TimerModel& VaultService::timer() { return *impl_->timer; }

VaultStore& VaultService::store() { return *impl_->store; }

void VaultService::obey(const LiveState::Order& order) { impl_->obey(order); }

LiveState VaultService::liveState() {
  impl_->refreshView();
  return impl_->compose();
}

std::optional<fs::path> VaultService::widgetFeedFile() {
  const auto places = LiveState::places();
  if (places.empty()) return std::nullopt;
  return places.front() / "widgets.lock";
}

fs::path VaultService::stateFolderFor(const fs::path& root) {
  fs::path base;
  if (auto state = envText("XDG_STATE_HOME")) {
    base = fs::path(*state) / "trivo";
  } else if (auto home = envText("HOME")) {
    base = fs::path(*home) / ".local" / "state" / "trivo";
  } else {
    base = fs::temp_directory_path() / "trivo";
  }
  return base / "vaults" / ServiceLock::vaultTag(root);
}

}  // namespace trivo

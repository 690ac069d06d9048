// The vault's settings, kept in ".trivo/config.json": one record with a default for every key,
// read leniently (a missing key takes its default, a value of the wrong type is an error).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/calendar/calendar_grid.h"
#include "core/config/key_shortcut.h"
#include "core/config/saved_filters.h"
#include "core/config/year_mode.h"
#include "core/platform/clock.h"
#include "core/util/json_fields.h"
#include "core/vault/vault_format.h"

namespace trivo {

struct SavedSearch {
  std::string name;
  std::string words;
  std::vector<std::string> tags;
  std::string kind;
  std::vector<std::string> hide;
  bool operator==(const SavedSearch&) const = default;
};

struct BringToFront {
  bool withoutSession = false;
  std::int64_t withoutSessionMinutes = 5;
  bool afterIdle = false;
  bool operator==(const BringToFront&) const = default;
};

struct ChecklistTemplate {
  std::string id;
  std::string name;
  std::vector<std::string> lines;
  bool operator==(const ChecklistTemplate&) const = default;
};

struct Cue {
  std::string sound;
  bool speak = false;
  bool notify = false;
  bool operator==(const Cue&) const = default;
};

struct CueSet {
  Cue started{"Pop"};
  Cue warning{"Tink"};
  std::vector<std::int64_t> warnMinutes{1};
  Cue finished{"Glass"};
  Cue paused;
  Cue resumed;
  Cue stopped;
  Cue breakEnded{"Cuckoo"};
  bool operator==(const CueSet&) const = default;
};

struct Focus {
  struct Round {
    std::string day;
    std::int64_t slices = 0;
    std::int64_t logged = 0;
    bool operator==(const Round&) const = default;
  };
  struct BlockSchedule {
    std::string id;
    bool enabled = false;
    std::vector<std::int64_t> days;
    std::string start;
    std::string end;
    bool operator==(const BlockSchedule&) const = default;
  };

  std::string sound = "off";
  double volume = 0.3;
  std::int64_t tickBpm = 60;
  bool muted = false;
  bool autoBreak = true;
  bool blackoutAllScreens = true;
  std::string blackoutScreens = "all";
  double blackoutOpacity = 1.0;
  bool cues = true;
  bool autoLog = true;
  bool hideOnStart = false;
  std::string shortcutOnStart;
  std::string shortcutOnEnd;
  CueSet cueSet;
  std::int64_t autoBreakMinutes = 0;
  bool autoNextSlice = false;
  bool softBreak = true;
  std::int64_t softBreakSeconds = 30;
  bool skipBreaks = false;
  bool autoDone = false;
  std::vector<std::int64_t> continueMinutes{1, 3, 5};
  std::string style = "free";
  std::int64_t pomodoroWork = 25;
  bool syncAcross = true;
  std::optional<std::int64_t> nextMinutes;
  std::optional<std::string> nextSubject;
  std::int64_t rulerSpan = 60;
  std::int64_t breakLength = 2;
  bool breakDarkens = true;
  std::optional<Instant> nextStartsAt;
  std::optional<std::string> nextStartsBy;
  std::int64_t pomodoroBreak = 5;
  std::int64_t pomodoroLongBreak = 15;
  std::int64_t pomodoroSlices = 4;
  std::optional<Round> round;
  bool locked = false;
  bool blocking = false;
  bool blockOnBreak = false;
  std::vector<std::string> blockedApps;
  std::vector<std::string> blockedSites;
  std::vector<BlockSchedule> blockSchedules;
  std::int64_t minuteTick = 0;
  bool rulerTicks = false;
  bool rulerMarks = false;
  bool operator==(const Focus&) const = default;
};

struct Timeline {
  bool enabled = true;
  std::int64_t startHour = 0;
  std::int64_t endHour = 24;
  bool showCalendar = false;
  std::vector<std::string> calendars;
  std::vector<std::string> calendarNames;
  std::int64_t notifyMinutesBefore = 5;
  bool autoJoin = false;
  bool menuBarEvents = false;
  bool logToCalendar = false;
  std::string logCalendarName;
  bool tasksToCalendar = false;
  bool operator==(const Timeline&) const = default;
};

struct Backup {
  bool enabled = true;
  std::int64_t intervalMinutes = 1440;  // one day
  std::int64_t keep = 3;
  bool operator==(const Backup&) const = default;
};

// A small view preference: written as the bare JSON value (true, 3, 2.5 or "text").
using ViewValue = std::variant<bool, std::int64_t, double, std::string>;

struct DraftAction {
  std::string id;
  std::string name;
  std::string prompt;
  bool selection = false;
  bool operator==(const DraftAction&) const = default;
};

struct DraftSnippet {
  std::string id;
  std::string name;
  std::string text;
  bool operator==(const DraftSnippet&) const = default;
};

struct VaultConfig {
  using WeekStart = trivo::WeekStart;
  using YearMode = trivo::YearMode;
  enum class Theme { automatic, light, dark };

  // The settings layout this application writes; a file with a higher `vaultVersion` belongs to
  // a newer application and is never rewritten.
  static constexpr std::int64_t currentVaultVersion = 1;
  // Folders and files the agenda skips unless the user says otherwise.
  static std::vector<std::string> agendaSkipDefault();
  // The vault's built-in activity and hotspot lists.
  static std::vector<std::string> activitiesDefault();
  static std::vector<std::string> hotspotsDefault();

  VaultFormat fileFormat = VaultFormat::markdown;
  std::int64_t vaultVersion = 1;
  std::vector<std::string> perspectives;
  std::vector<std::string> setupDone;
  bool orgAgenda = true;
  bool orgInFind = false;
  std::string orgKeywords;
  std::vector<std::string> orgSkip;
  std::vector<std::string> agendaSkip = agendaSkipDefault();
  std::string shelfNaming = "denote";
  std::vector<std::string> orgPins;
  std::map<std::string, std::vector<SavedFilter>> savedFilters;
  std::vector<SavedSearch> savedSearches;
  bool setupDismissed = false;
  bool setupFresh = false;
  std::optional<std::string> firstDay;
  std::string locale = "system";
  std::string dateFace = "system";
  WeekStart weekStart = WeekStart::monday;
  Theme theme = Theme::automatic;
  YearMode yearMode = YearMode::quarter;
  std::string accent = "default";
  double accentShade = 0;
  std::int64_t quoteEvery = 0;
  bool quoteOnPause = false;
  // Read from older files without it as 1 when `quoteOnPause` is set, so quotes keep showing
  // at every break.
  std::int64_t quoteBreakEvery = 0;
  std::vector<std::string> tagPins;
  std::vector<std::string> draftPins;
  std::map<std::string, std::string> tagColors;
  std::map<std::string, std::string> draftColors;
  std::optional<std::vector<DraftAction>> draftActions;
  std::int64_t draftsFillColumn = 80;
  std::vector<std::string> tagBold;
  bool assistantRowHidden = false;
  std::string font = "rounded";
  bool wideMode = false;
  // The old value "white" reads as "none": a white sidebar was the untinted one.
  std::string sidebarTint = "none";
  double sidebarShade = 0;
  double textScale = 1.0;
  double sidebarScale = 1.0;
  bool showActivityRow = true;
  std::string activityCount = "none";
  bool showAdminList = true;
  std::vector<std::string> activities = activitiesDefault();
  std::map<std::string, std::vector<std::int64_t>> activityDays;
  std::map<std::string, std::string> activityIcons;
  std::vector<ChecklistTemplate> checklistTemplates;
  std::vector<DraftSnippet> draftSnippets;
  std::map<std::string, std::string> prompts;
  std::vector<std::string> hotspots = hotspotsDefault();
  std::map<std::string, std::string> hotspotIcons;
  bool showHotspots = true;
  Backup backup;
  Timeline timeline;
  Focus focus;
  bool urlActions = true;
  std::vector<std::string> pinned;
  KeyShortcut quickCaptureShortcut = KeyShortcut::quickCaptureDefault();
  KeyShortcut focusToggleShortcut = KeyShortcut::focusToggleDefault();
  KeyShortcut journalNoteShortcut = KeyShortcut::journalNoteDefault();
  KeyShortcut askAIShortcut = KeyShortcut::askAIDefault();
  KeyShortcut captureJournalShortcut = KeyShortcut::captureJournalDefault();
  KeyShortcut captureDraftShortcut = KeyShortcut::captureDraftDefault();
  std::map<std::string, ViewValue> view;

  // True when the file was written by a newer application.
  [[nodiscard]] bool isNewerThanThisApp() const { return vaultVersion > currentVaultVersion; }

  bool operator==(const VaultConfig&) const = default;
};

inline constexpr std::array<std::string_view, 2> kWeekStartNames = {"monday", "sunday"};
inline constexpr std::array<std::string_view, 3> kThemeNames = {"automatic", "light", "dark"};

void to_json(Json& j, const WeekStart& w);
void from_json(const Json& j, WeekStart& w);
void to_json(Json& j, const VaultConfig::Theme& t);
void from_json(const Json& j, VaultConfig::Theme& t);

void to_json(Json& j, const SavedSearch& r);
void from_json(const Json& j, SavedSearch& r);
void to_json(Json& j, const BringToFront& r);
void from_json(const Json& j, BringToFront& r);
void to_json(Json& j, const ChecklistTemplate& r);
void from_json(const Json& j, ChecklistTemplate& r);
void to_json(Json& j, const Cue& r);
void from_json(const Json& j, Cue& r);
void to_json(Json& j, const CueSet& r);
void from_json(const Json& j, CueSet& r);
void to_json(Json& j, const Focus::Round& r);
void from_json(const Json& j, Focus::Round& r);
void to_json(Json& j, const Focus::BlockSchedule& r);
void from_json(const Json& j, Focus::BlockSchedule& r);
void to_json(Json& j, const Focus& r);
void from_json(const Json& j, Focus& r);
void to_json(Json& j, const Timeline& r);
void from_json(const Json& j, Timeline& r);
void to_json(Json& j, const Backup& r);
void from_json(const Json& j, Backup& r);
void to_json(Json& j, const DraftAction& r);
void from_json(const Json& j, DraftAction& r);
void to_json(Json& j, const DraftSnippet& r);
void from_json(const Json& j, DraftSnippet& r);
void to_json(Json& j, const VaultConfig& r);
// Throws RecordError naming the key whose value has the wrong type.
void from_json(const Json& j, VaultConfig& r);

}  // namespace trivo

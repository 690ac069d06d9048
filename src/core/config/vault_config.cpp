// Reading and writing the vault's settings record.
#include "core/config/vault_config.h"

#include <cmath>

#include "core/util/iso_instant.h"
#include "core/util/json_integers.h"

namespace trivo {
namespace {

// A nested record read into the value already there, so that a key missing inside it keeps the
// default of the field it fills (the default shortcut of each action, for one).
template <class T>
void takeRecord(const Json& j, const char* key, T& value) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  from_json(*it, value);
}

template <class T>
void takeRecord(const Json& j, const char* key, std::optional<T>& value) {
  auto it = j.find(key);
  if (it == j.end()) return;
  if (it->is_null()) {
    value.reset();
    return;
  }
  T read{};
  from_json(*it, read);
  value = std::move(read);
}

std::vector<std::int64_t> integers(const Json& j, const char* key) {
  if (!j.is_array()) throw RecordError(std::string("\"") + key + "\" must be a list");
  std::vector<std::int64_t> out;
  out.reserve(j.size());
  for (const auto& item : j) out.push_back(json::integerValue(item, key));
  return out;
}

void takeIntegers(const Json& j, const char* key, std::vector<std::int64_t>& value) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  value = integers(*it, key);
}

// Reals must be finite numbers: NaN cannot be written back as JSON.
void takeReal(const Json& j, const char* key, double& value) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) return;
  if (!it->is_number() || !std::isfinite(it->get<double>())) {
    throw RecordError(std::string("\"") + key + "\" must be a number");
  }
  value = it->get<double>();
}

Json viewValueJson(const ViewValue& v) {
  return std::visit([](const auto& x) { return Json(x); }, v);
}

ViewValue viewValueFrom(const Json& j) {
  if (j.is_boolean()) return j.get<bool>();
  if (j.is_number_integer()) return json::integerValue(j, "view");
  if (j.is_number_float()) return j.get<double>();
  if (j.is_string()) return j.get<std::string>();
  throw RecordError("\"view\" values must be true or false, numbers or texts");
}

}  // namespace

std::vector<std::string> VaultConfig::agendaSkipDefault() {
  return {"_perspectives", "_archive", "templates"};
}

std::vector<std::string> VaultConfig::activitiesDefault() {
  return {"exercise", "reading", "meditation", "writing"};
}

std::vector<std::string> VaultConfig::hotspotsDefault() {
  return {"today", "inbox", "week", "drafts"};
}

void to_json(Json& j, const WeekStart& w) { j = json::enumName(w, kWeekStartNames); }
void from_json(const Json& j, WeekStart& w) {
  w = json::enumFromName<WeekStart>(j, kWeekStartNames, "weekStart");
}
void to_json(Json& j, const VaultConfig::Theme& t) { j = json::enumName(t, kThemeNames); }
void from_json(const Json& j, VaultConfig::Theme& t) {
  t = json::enumFromName<VaultConfig::Theme>(j, kThemeNames, "theme");
}

void to_json(Json& j, const SavedSearch& r) {
  j = Json::object();
  json::put(j, "name", r.name);
  json::put(j, "words", r.words);
  json::put(j, "tags", r.tags);
  json::put(j, "kind", r.kind);
  json::put(j, "hide", r.hide);
}
void from_json(const Json& j, SavedSearch& r) {
  json::requireObject(j, "SavedSearch");
  json::take(j, "name", r.name);
  json::take(j, "words", r.words);
  json::take(j, "tags", r.tags);
  json::take(j, "kind", r.kind);
  json::take(j, "hide", r.hide);
}

void to_json(Json& j, const BringToFront& r) {
  j = Json::object();
  json::put(j, "withoutSession", r.withoutSession);
  json::put(j, "withoutSessionMinutes", r.withoutSessionMinutes);
  json::put(j, "afterIdle", r.afterIdle);
}
void from_json(const Json& j, BringToFront& r) {
  json::requireObject(j, "BringToFront");
  json::take(j, "withoutSession", r.withoutSession);
  json::takeInteger(j, "withoutSessionMinutes", r.withoutSessionMinutes);
  json::take(j, "afterIdle", r.afterIdle);
}

void to_json(Json& j, const ChecklistTemplate& r) {
  j = Json::object();
  json::put(j, "id", r.id);
  json::put(j, "name", r.name);
  json::put(j, "lines", r.lines);
}
void from_json(const Json& j, ChecklistTemplate& r) {
  json::requireObject(j, "ChecklistTemplate");
  json::take(j, "id", r.id);
  json::take(j, "name", r.name);
  json::take(j, "lines", r.lines);
}

void to_json(Json& j, const Cue& r) {
  j = Json::object();
  json::put(j, "sound", r.sound);
  json::put(j, "speak", r.speak);
  json::put(j, "notify", r.notify);
}
void from_json(const Json& j, Cue& r) {
  json::requireObject(j, "Cue");
  json::take(j, "sound", r.sound);
  json::take(j, "speak", r.speak);
  json::take(j, "notify", r.notify);
}

void to_json(Json& j, const CueSet& r) {
  j = Json::object();
  json::put(j, "started", r.started);
  json::put(j, "warning", r.warning);
  json::put(j, "warnMinutes", r.warnMinutes);
  json::put(j, "finished", r.finished);
  json::put(j, "paused", r.paused);
  json::put(j, "resumed", r.resumed);
  json::put(j, "stopped", r.stopped);
  json::put(j, "breakEnded", r.breakEnded);
}
void from_json(const Json& j, CueSet& r) {
  json::requireObject(j, "CueSet");
  takeRecord(j, "started", r.started);
  takeRecord(j, "warning", r.warning);
  takeIntegers(j, "warnMinutes", r.warnMinutes);
  takeRecord(j, "finished", r.finished);
  takeRecord(j, "paused", r.paused);
  takeRecord(j, "resumed", r.resumed);
  takeRecord(j, "stopped", r.stopped);
  takeRecord(j, "breakEnded", r.breakEnded);
}

void to_json(Json& j, const Focus::Round& r) {
  j = Json::object();
  json::put(j, "day", r.day);
  json::put(j, "slices", r.slices);
  json::put(j, "logged", r.logged);
}
void from_json(const Json& j, Focus::Round& r) {
  json::requireObject(j, "Round");
  json::take(j, "day", r.day);
  json::takeInteger(j, "slices", r.slices);
  json::takeInteger(j, "logged", r.logged);
}

void to_json(Json& j, const Focus::BlockSchedule& r) {
  j = Json::object();
  json::put(j, "id", r.id);
  json::put(j, "enabled", r.enabled);
  json::put(j, "days", r.days);
  json::put(j, "start", r.start);
  json::put(j, "end", r.end);
}
void from_json(const Json& j, Focus::BlockSchedule& r) {
  json::requireObject(j, "BlockSchedule");
  json::take(j, "id", r.id);
  json::take(j, "enabled", r.enabled);
  takeIntegers(j, "days", r.days);
  json::take(j, "start", r.start);
  json::take(j, "end", r.end);
}

void to_json(Json& j, const Focus& r) {
  j = Json::object();
  json::put(j, "sound", r.sound);
  json::put(j, "volume", r.volume);
  json::put(j, "tickBpm", r.tickBpm);
  json::put(j, "muted", r.muted);
  json::put(j, "autoBreak", r.autoBreak);
  json::put(j, "blackoutAllScreens", r.blackoutAllScreens);
  json::put(j, "blackoutScreens", r.blackoutScreens);
  json::put(j, "blackoutOpacity", r.blackoutOpacity);
  json::put(j, "cues", r.cues);
  json::put(j, "autoLog", r.autoLog);
  json::put(j, "hideOnStart", r.hideOnStart);
  json::put(j, "shortcutOnStart", r.shortcutOnStart);
  json::put(j, "shortcutOnEnd", r.shortcutOnEnd);
  json::put(j, "cueSet", r.cueSet);
  json::put(j, "autoBreakMinutes", r.autoBreakMinutes);
  json::put(j, "autoNextSlice", r.autoNextSlice);
  json::put(j, "softBreak", r.softBreak);
  json::put(j, "softBreakSeconds", r.softBreakSeconds);
  json::put(j, "skipBreaks", r.skipBreaks);
  json::put(j, "autoDone", r.autoDone);
  json::put(j, "continueMinutes", r.continueMinutes);
  json::put(j, "style", r.style);
  json::put(j, "pomodoroWork", r.pomodoroWork);
  json::put(j, "syncAcross", r.syncAcross);
  json::put(j, "nextMinutes", r.nextMinutes);
  json::put(j, "nextSubject", r.nextSubject);
  json::put(j, "rulerSpan", r.rulerSpan);
  json::put(j, "breakLength", r.breakLength);
  json::put(j, "breakDarkens", r.breakDarkens);
  json::put(j, "nextStartsAt", r.nextStartsAt);
  json::put(j, "nextStartsBy", r.nextStartsBy);
  json::put(j, "pomodoroBreak", r.pomodoroBreak);
  json::put(j, "pomodoroLongBreak", r.pomodoroLongBreak);
  json::put(j, "pomodoroSlices", r.pomodoroSlices);
  json::put(j, "round", r.round);
  json::put(j, "locked", r.locked);
  json::put(j, "blocking", r.blocking);
  json::put(j, "blockOnBreak", r.blockOnBreak);
  json::put(j, "blockedApps", r.blockedApps);
  json::put(j, "blockedSites", r.blockedSites);
  json::put(j, "blockSchedules", r.blockSchedules);
  json::put(j, "minuteTick", r.minuteTick);
  json::put(j, "rulerTicks", r.rulerTicks);
  json::put(j, "rulerMarks", r.rulerMarks);
}
void from_json(const Json& j, Focus& r) {
  json::requireObject(j, "focus");
  json::take(j, "sound", r.sound);
  takeReal(j, "volume", r.volume);
  json::takeInteger(j, "tickBpm", r.tickBpm);
  json::take(j, "muted", r.muted);
  json::take(j, "autoBreak", r.autoBreak);
  json::take(j, "blackoutAllScreens", r.blackoutAllScreens);
  json::take(j, "blackoutScreens", r.blackoutScreens);
  takeReal(j, "blackoutOpacity", r.blackoutOpacity);
  json::take(j, "cues", r.cues);
  json::take(j, "autoLog", r.autoLog);
  json::take(j, "hideOnStart", r.hideOnStart);
  json::take(j, "shortcutOnStart", r.shortcutOnStart);
  json::take(j, "shortcutOnEnd", r.shortcutOnEnd);
  takeRecord(j, "cueSet", r.cueSet);
  json::takeInteger(j, "autoBreakMinutes", r.autoBreakMinutes);
  json::take(j, "autoNextSlice", r.autoNextSlice);
  json::take(j, "softBreak", r.softBreak);
  json::takeInteger(j, "softBreakSeconds", r.softBreakSeconds);
  json::take(j, "skipBreaks", r.skipBreaks);
  json::take(j, "autoDone", r.autoDone);
  takeIntegers(j, "continueMinutes", r.continueMinutes);
  json::take(j, "style", r.style);
  json::takeInteger(j, "pomodoroWork", r.pomodoroWork);
  json::take(j, "syncAcross", r.syncAcross);
  json::takeInteger(j, "nextMinutes", r.nextMinutes);
  json::take(j, "nextSubject", r.nextSubject);
  json::takeInteger(j, "rulerSpan", r.rulerSpan);
  json::takeInteger(j, "breakLength", r.breakLength);
  json::take(j, "breakDarkens", r.breakDarkens);
  json::take(j, "nextStartsAt", r.nextStartsAt);
  json::take(j, "nextStartsBy", r.nextStartsBy);
  json::takeInteger(j, "pomodoroBreak", r.pomodoroBreak);
  json::takeInteger(j, "pomodoroLongBreak", r.pomodoroLongBreak);
  json::takeInteger(j, "pomodoroSlices", r.pomodoroSlices);
  takeRecord(j, "round", r.round);
  json::take(j, "locked", r.locked);
  json::take(j, "blocking", r.blocking);
  json::take(j, "blockOnBreak", r.blockOnBreak);
  json::take(j, "blockedApps", r.blockedApps);
  json::take(j, "blockedSites", r.blockedSites);
  json::take(j, "blockSchedules", r.blockSchedules);
  json::takeInteger(j, "minuteTick", r.minuteTick);
  json::take(j, "rulerTicks", r.rulerTicks);
  json::take(j, "rulerMarks", r.rulerMarks);
}

void to_json(Json& j, const Timeline& r) {
  j = Json::object();
  json::put(j, "enabled", r.enabled);
  json::put(j, "startHour", r.startHour);
  json::put(j, "endHour", r.endHour);
  json::put(j, "showCalendar", r.showCalendar);
  json::put(j, "calendars", r.calendars);
  json::put(j, "calendarNames", r.calendarNames);
  json::put(j, "notifyMinutesBefore", r.notifyMinutesBefore);
  json::put(j, "autoJoin", r.autoJoin);
  json::put(j, "menuBarEvents", r.menuBarEvents);
  json::put(j, "logToCalendar", r.logToCalendar);
  json::put(j, "logCalendarName", r.logCalendarName);
  json::put(j, "tasksToCalendar", r.tasksToCalendar);
}
void from_json(const Json& j, Timeline& r) {
  json::requireObject(j, "timeline");
  json::take(j, "enabled", r.enabled);
  json::takeInteger(j, "startHour", r.startHour);
  json::takeInteger(j, "endHour", r.endHour);
  json::take(j, "showCalendar", r.showCalendar);
  json::take(j, "calendars", r.calendars);
  json::take(j, "calendarNames", r.calendarNames);
  json::takeInteger(j, "notifyMinutesBefore", r.notifyMinutesBefore);
  json::take(j, "autoJoin", r.autoJoin);
  json::take(j, "menuBarEvents", r.menuBarEvents);
  json::take(j, "logToCalendar", r.logToCalendar);
  json::take(j, "logCalendarName", r.logCalendarName);
  json::take(j, "tasksToCalendar", r.tasksToCalendar);
}

void to_json(Json& j, const Backup& r) {
  j = Json::object();
  json::put(j, "enabled", r.enabled);
  json::put(j, "intervalMinutes", r.intervalMinutes);
  json::put(j, "keep", r.keep);
}
void from_json(const Json& j, Backup& r) {
  json::requireObject(j, "backup");
  json::take(j, "enabled", r.enabled);
  json::takeInteger(j, "intervalMinutes", r.intervalMinutes);
  json::takeInteger(j, "keep", r.keep);
}

void to_json(Json& j, const DraftAction& r) {
  j = Json::object();
  json::put(j, "id", r.id);
  json::put(j, "name", r.name);
  json::put(j, "prompt", r.prompt);
  json::put(j, "selection", r.selection);
}
void from_json(const Json& j, DraftAction& r) {
  json::requireObject(j, "DraftAction");
  json::take(j, "id", r.id);
  json::take(j, "name", r.name);
  json::take(j, "prompt", r.prompt);
  json::take(j, "selection", r.selection);
}

void to_json(Json& j, const DraftSnippet& r) {
  j = Json::object();
  json::put(j, "id", r.id);
  json::put(j, "name", r.name);
  json::put(j, "text", r.text);
}
void from_json(const Json& j, DraftSnippet& r) {
  json::requireObject(j, "DraftSnippet");
  json::take(j, "id", r.id);
  json::take(j, "name", r.name);
  json::take(j, "text", r.text);
}

void to_json(Json& j, const VaultConfig& r) {
  j = Json::object();
  json::put(j, "fileFormat", r.fileFormat);
  json::put(j, "vaultVersion", r.vaultVersion);
  json::put(j, "perspectives", r.perspectives);
  json::put(j, "setupDone", r.setupDone);
  json::put(j, "orgAgenda", r.orgAgenda);
  json::put(j, "orgInFind", r.orgInFind);
  json::put(j, "orgKeywords", r.orgKeywords);
  json::put(j, "orgSkip", r.orgSkip);
  json::put(j, "agendaSkip", r.agendaSkip);
  json::put(j, "shelfNaming", r.shelfNaming);
  json::put(j, "orgPins", r.orgPins);
  json::put(j, "savedFilters", r.savedFilters);
  json::put(j, "savedSearches", r.savedSearches);
  json::put(j, "setupDismissed", r.setupDismissed);
  json::put(j, "setupFresh", r.setupFresh);
  json::put(j, "firstDay", r.firstDay);
  json::put(j, "locale", r.locale);
  json::put(j, "dateFace", r.dateFace);
  json::put(j, "weekStart", r.weekStart);
  json::put(j, "theme", r.theme);
  json::put(j, "yearMode", r.yearMode);
  json::put(j, "accent", r.accent);
  json::put(j, "accentShade", r.accentShade);
  json::put(j, "quoteEvery", r.quoteEvery);
  json::put(j, "quoteOnPause", r.quoteOnPause);
  json::put(j, "quoteBreakEvery", r.quoteBreakEvery);
  json::put(j, "tagPins", r.tagPins);
  json::put(j, "draftPins", r.draftPins);
  json::put(j, "tagColors", r.tagColors);
  json::put(j, "draftColors", r.draftColors);
  json::put(j, "draftActions", r.draftActions);
  json::put(j, "draftsFillColumn", r.draftsFillColumn);
  json::put(j, "tagBold", r.tagBold);
  json::put(j, "assistantRowHidden", r.assistantRowHidden);
  json::put(j, "font", r.font);
  json::put(j, "wideMode", r.wideMode);
  json::put(j, "sidebarTint", r.sidebarTint);
  json::put(j, "sidebarShade", r.sidebarShade);
  json::put(j, "textScale", r.textScale);
  json::put(j, "sidebarScale", r.sidebarScale);
  json::put(j, "showActivityRow", r.showActivityRow);
  json::put(j, "activityCount", r.activityCount);
  json::put(j, "showAdminList", r.showAdminList);
  json::put(j, "activities", r.activities);
  json::put(j, "activityDays", r.activityDays);
  json::put(j, "activityIcons", r.activityIcons);
  json::put(j, "checklistTemplates", r.checklistTemplates);
  json::put(j, "draftSnippets", r.draftSnippets);
  json::put(j, "prompts", r.prompts);
  json::put(j, "hotspots", r.hotspots);
  json::put(j, "hotspotIcons", r.hotspotIcons);
  json::put(j, "showHotspots", r.showHotspots);
  json::put(j, "backup", r.backup);
  json::put(j, "timeline", r.timeline);
  json::put(j, "focus", r.focus);
  json::put(j, "urlActions", r.urlActions);
  json::put(j, "pinned", r.pinned);
  json::put(j, "quickCaptureShortcut", r.quickCaptureShortcut);
  json::put(j, "focusToggleShortcut", r.focusToggleShortcut);
  json::put(j, "journalNoteShortcut", r.journalNoteShortcut);
  json::put(j, "askAIShortcut", r.askAIShortcut);
  json::put(j, "captureJournalShortcut", r.captureJournalShortcut);
  json::put(j, "captureDraftShortcut", r.captureDraftShortcut);
  Json view = Json::object();
  for (const auto& [name, value] : r.view) view[name] = viewValueJson(value);
  j["view"] = std::move(view);
}

void from_json(const Json& j, VaultConfig& r) {
  json::requireObject(j, "The settings");
  json::take(j, "fileFormat", r.fileFormat);
  json::takeInteger(j, "vaultVersion", r.vaultVersion);
  json::take(j, "perspectives", r.perspectives);
  json::take(j, "setupDone", r.setupDone);
  json::take(j, "orgAgenda", r.orgAgenda);
  json::take(j, "orgInFind", r.orgInFind);
  json::take(j, "orgKeywords", r.orgKeywords);
  json::take(j, "orgSkip", r.orgSkip);
  json::take(j, "agendaSkip", r.agendaSkip);
  json::take(j, "shelfNaming", r.shelfNaming);
  json::take(j, "orgPins", r.orgPins);
  json::take(j, "savedFilters", r.savedFilters);
  json::take(j, "savedSearches", r.savedSearches);
  json::take(j, "setupDismissed", r.setupDismissed);
  json::take(j, "setupFresh", r.setupFresh);
  json::take(j, "firstDay", r.firstDay);
  json::take(j, "locale", r.locale);
  json::take(j, "dateFace", r.dateFace);
  json::take(j, "weekStart", r.weekStart);
  json::take(j, "theme", r.theme);
  json::take(j, "yearMode", r.yearMode);
  json::take(j, "accent", r.accent);
  takeReal(j, "accentShade", r.accentShade);
  json::takeInteger(j, "quoteEvery", r.quoteEvery);
  json::take(j, "quoteOnPause", r.quoteOnPause);
  r.quoteBreakEvery = r.quoteOnPause ? 1 : 0;
  json::takeInteger(j, "quoteBreakEvery", r.quoteBreakEvery);
  json::take(j, "tagPins", r.tagPins);
  json::take(j, "draftPins", r.draftPins);
  json::take(j, "tagColors", r.tagColors);
  json::take(j, "draftColors", r.draftColors);
  json::take(j, "draftActions", r.draftActions);
  json::takeInteger(j, "draftsFillColumn", r.draftsFillColumn);
  json::take(j, "tagBold", r.tagBold);
  json::take(j, "assistantRowHidden", r.assistantRowHidden);
  json::take(j, "font", r.font);
  json::take(j, "wideMode", r.wideMode);
  json::take(j, "sidebarTint", r.sidebarTint);
  if (r.sidebarTint == "white") r.sidebarTint = "none";
  takeReal(j, "sidebarShade", r.sidebarShade);
  takeReal(j, "textScale", r.textScale);
  takeReal(j, "sidebarScale", r.sidebarScale);
  json::take(j, "showActivityRow", r.showActivityRow);
  json::take(j, "activityCount", r.activityCount);
  json::take(j, "showAdminList", r.showAdminList);
  json::take(j, "activities", r.activities);
  if (auto it = j.find("activityDays"); it != j.end() && !it->is_null()) {
    if (!it->is_object()) throw RecordError("\"activityDays\" must be an object");
    r.activityDays.clear();
    for (const auto& [name, days] : it->items())
      r.activityDays[name] = integers(days, "activityDays");
  }
  json::take(j, "activityIcons", r.activityIcons);
  json::take(j, "checklistTemplates", r.checklistTemplates);
  json::take(j, "draftSnippets", r.draftSnippets);
  json::take(j, "prompts", r.prompts);
  json::take(j, "hotspots", r.hotspots);
  json::take(j, "hotspotIcons", r.hotspotIcons);
  json::take(j, "showHotspots", r.showHotspots);
  takeRecord(j, "backup", r.backup);
  takeRecord(j, "timeline", r.timeline);
  takeRecord(j, "focus", r.focus);
  json::take(j, "urlActions", r.urlActions);
  json::take(j, "pinned", r.pinned);
  takeRecord(j, "quickCaptureShortcut", r.quickCaptureShortcut);
  takeRecord(j, "focusToggleShortcut", r.focusToggleShortcut);
  takeRecord(j, "journalNoteShortcut", r.journalNoteShortcut);
  takeRecord(j, "askAIShortcut", r.askAIShortcut);
  takeRecord(j, "captureJournalShortcut", r.captureJournalShortcut);
  takeRecord(j, "captureDraftShortcut", r.captureDraftShortcut);
  if (auto it = j.find("view"); it != j.end() && !it->is_null()) {
    if (!it->is_object()) throw RecordError("\"view\" must be an object");
    r.view.clear();
    for (const auto& [name, value] : it->items()) r.view[name] = viewValueFrom(value);
  }
}

}  // namespace trivo

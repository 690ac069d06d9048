// Inbox alerts: the schedule from the inbox, and the record of what was shown.
#include "core/service/inbox_alerts.h"

#include <algorithm>

#include "core/calendar/day_date.h"
#include "core/focus/cue_announcer.h"
#include "core/focus/shared_files.h"
#include "core/records/alert_offset.h"
#include "core/service/service_clock.h"
#include "core/util/iso_instant.h"
#include "core/util/json_fields.h"

namespace trivo {

namespace fs = std::filesystem;

bool DesktopNotifier::notify(const std::string& summary, const std::string& body) {
  return CueAnnouncer::notify(summary, body);
}

InboxAlerts::InboxAlerts(fs::path record, const Clock& clock, Notifier& notifier)
    : record_(std::move(record)), clock_(clock), notifier_(notifier), startedAt_(clock.now()) {
  load();
}

std::vector<InboxAlerts::Alert> InboxAlerts::alertsOf(const Inbox& inbox, const Clock& clock) {
  std::vector<Alert> alerts;
  for (const InboxItem& item : inbox.items) {
    if (item.done || !item.due || !item.time) continue;
    for (const AlertOffset& offset : item.alerts) {
      const auto [day, time] = offset.firesAt(*item.due, *item.time);
      Alert alert;
      alert.key = item.id + "@" + item.due->isoString() + "T" + item.time->description() + "/" +
                  std::to_string(offset.minutes);
      alert.at = instantOfLocal(clock, day.year, day.month, day.day, time.hour, time.minute);
      alert.summary = item.text;
      alert.body = "Due " + (item.due->isoString() + " " + item.time->description()) + " (" +
                   offset.description() + ")";
      alerts.push_back(std::move(alert));
    }
  }
  std::stable_sort(alerts.begin(), alerts.end(),
                   [](const Alert& a, const Alert& b) { return a.at < b.at; });
  return alerts;
}

void InboxAlerts::update(const Inbox& inbox) { schedule_ = alertsOf(inbox, clock_); }

int InboxAlerts::fire() {
  const Instant now = clock_.now();
  int count = 0;
  bool changed = false;
  for (const Alert& alert : schedule_) {
    if (alert.at > now) break;
    if (alert.at <= checked_ || shown_.count(alert.key)) continue;
    // The minute of grace covers a service that woke a little after the moment.
    const bool late = alert.at < startedAt_ - std::chrono::minutes(1);
    notifier_.notify(alert.summary, late ? "Late: " + alert.body : alert.body);
    shown_.insert(alert.key);
    changed = true;
    ++count;
  }
  if (changed) save();
  return count;
}

std::optional<Instant> InboxAlerts::next() const {
  for (const Alert& alert : schedule_) {
    if (alert.at > checked_ && !shown_.count(alert.key)) return alert.at;
  }
  return std::nullopt;
}

void InboxAlerts::load() {
  const Instant now = clock_.now();
  const DayDate today = DayDate::fromInstant(now, clock_);
  checked_ = instantOfLocal(clock_, today.year, today.month, today.day, 0, 0);
  const auto bytes = shared::readFile(record_, shared::Access::privateToUser);
  if (!bytes) return;
  try {
    const Json j = Json::parse(*bytes);
    if (j.contains("checked")) checked_ = std::min(j.at("checked").get<Instant>(), now);
    if (j.contains("shown")) shown_ = j.at("shown").get<std::set<std::string>>();
  } catch (const std::exception&) {
    shown_.clear();
  }
}

void InboxAlerts::save() {
  const Instant now = clock_.now();
  // Only alerts still in the schedule can come round again; the rest need not be remembered.
  std::set<std::string> keep;
  for (const Alert& alert : schedule_) {
    if (shown_.count(alert.key)) keep.insert(alert.key);
  }
  shown_ = std::move(keep);
  // Everything up to the earliest alert still waiting has been dealt with.
  Instant checked = now;
  if (auto waiting = next(); waiting && *waiting < checked) checked = *waiting - std::chrono::seconds(1);
  checked_ = std::max(checked_, checked);
  Json j = Json::object();
  j["checked"] = checked_;
  j["shown"] = shown_;
  if (shared::prepareFolder(record_.parent_path(), shared::Access::privateToUser)) {
    shared::replaceFile(record_, j.dump(), shared::Access::privateToUser);
  }
}

}  // namespace trivo

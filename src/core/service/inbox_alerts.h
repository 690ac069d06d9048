// Desktop notifications for inbox items with alerts: each alert of an item with a due day and
// time is shown once at its moment; alerts that fell while no service ran are shown once when it
// starts, marked as late. What was shown is remembered in a small file, so a restart never
// repeats an alert.
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/platform/clock.h"
#include "core/records/inbox_item.h"

namespace trivo {

// Where notifications go. The desktop one shows them through the notification service.
class Notifier {
 public:
  virtual ~Notifier() = default;
  // False when nothing could show it (no session bus, no service): never an error.
  virtual bool notify(const std::string& summary, const std::string& body) = 0;
};

class DesktopNotifier final : public Notifier {
 public:
  bool notify(const std::string& summary, const std::string& body) override;
};

class InboxAlerts {
 public:
  struct Alert {
    std::string key;  // item id, due day and time, and offset: names one alert for good
    Instant at;
    std::string summary;
    std::string body;
    bool operator==(const Alert&) const = default;
  };

  // `record` is the file that remembers shown alerts (created when needed, private to the
  // user). An unreadable record counts as empty, with the last check at the start of today.
  InboxAlerts(std::filesystem::path record, const Clock& clock, Notifier& notifier);

  // The alerts of the inbox's open items with a due day and time, in time order.
  static std::vector<Alert> alertsOf(const Inbox& inbox, const Clock& clock);

  // Takes the inbox's alerts as the schedule.
  void update(const Inbox& inbox);
  // Shows every alert whose moment has come and that was not shown yet, once; one that fell
  // before this object was made (while no service ran) is marked late. Alerts older than the
  // last check of an earlier run were its business and are skipped. Returns how many it showed.
  int fire();
  // The moment of the next alert to show; nothing when none waits.
  [[nodiscard]] std::optional<Instant> next() const;
  // Records now as the last check (call before stopping).
  void save();

 private:
  void load();

  std::filesystem::path record_;
  const Clock& clock_;
  Notifier& notifier_;
  Instant startedAt_;
  Instant checked_;
  std::set<std::string> shown_;
  std::vector<Alert> schedule_;
};

}  // namespace trivo

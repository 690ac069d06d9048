// The live state: one JSON record ("live.json") that the app rewrites whenever what it shows
// changes and that the widgets read, and the one-slot command file ("command.json") through which
// a widget asks the app to start, stop, pause or resume the focus timer.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/platform/clock.h"
#include "core/util/iso_instant.h"
#include "core/util/json_fields.h"

namespace trivo {

struct LiveState {
  enum class Phase { idle, running, paused, onBreak };

  // One day of the seven-day strip.
  struct Day {
    std::string label;     // short weekday label
    std::int64_t day = 0;  // day of the month
    std::int64_t minutes = 0;
    std::int64_t sessions = 0;
    bool today = false;
    bool operator==(const Day&) const = default;
  };

  // One outcome on a card: its text and its state word ("planned", "done", …).
  struct Line {
    std::string text;
    std::string state;
    bool operator==(const Line&) const = default;
  };

  // The outcomes of one period; `key` names the period ("day", "week", "month", "year").
  struct Card {
    std::string key;
    std::string title;
    std::string subtitle;
    std::vector<Line> outcomes;
    bool operator==(const Card&) const = default;
  };

  // An agenda line, with its texts already formatted for display.
  struct AgendaLine {
    std::string text;
    std::string day;
    std::string time;
    bool done = false;
    bool late = false;
    bool predicted = false;
    bool operator==(const AgendaLine&) const = default;
  };

  struct DraftLine {
    std::string title;
    std::string preview;
    bool operator==(const DraftLine&) const = default;
  };

  enum class Command { start, stop, pause, resume };

  // What "command.json" holds: a command and when it was asked for; a start may name the
  // session's length and subject, a pause its length (files without them still read).
  struct Order {
    Command command = Command::start;
    Instant at = distantPast();
    std::optional<std::int64_t> minutes;
    std::optional<std::string> subject;
    bool operator==(const Order&) const = default;
  };

  Phase phase = Phase::idle;
  std::optional<std::string> subject;
  std::optional<Instant> ends;  // planned end of the running session
  std::optional<Instant> started;
  std::int64_t todayMinutes = 0;
  std::int64_t done = 0;             // today's outcomes done
  std::int64_t set = 0;              // today's outcomes set
  std::optional<std::string> vault;  // name of the open vault; none when no vault is open
  std::string locale = "en";
  std::string scheme;
  std::vector<Day> week;
  std::optional<std::string> accent;
  Instant stamp = distantPast();  // when the app wrote the record
  std::vector<Card> cards;
  std::vector<AgendaLine> agenda;
  std::vector<DraftLine> drafts;
  bool pomodoro = false;
  std::int64_t slice = 0;
  std::int64_t slices = 0;
  std::int64_t breakMinutes = 0;
  std::int64_t planned = 0;

  // How long a command waits for the app before it is dropped.
  static constexpr std::chrono::seconds commandLifetime{60};
  // The app rewrites the record at least this often while it runs.
  static constexpr std::chrono::seconds appHeartbeat{5};

  // The folders that hold "live.json" and "command.json", in the order they are tried: the
  // shared folder ($TRIVO_GROUP_DIR, else $XDG_RUNTIME_DIR/trivo; private to the user, created
  // when missing, left out when unusable), then $XDG_STATE_HOME/trivo (default
  // ~/.local/state/trivo), which serves when no shared folder is available.
  static std::vector<std::filesystem::path> places();
  // "live.json" in each place.
  static std::vector<std::filesystem::path> urls();

  // Writes the record atomically to every place, unless its bytes equal the bytes this process
  // last wrote to those places (so the app may call this on every tick). Write errors are
  // ignored. Thread-safe.
  static void write(const LiveState& state);
  // Writes the record to the first place only: a restamp of unchanged content, which only says
  // the writer is still there. Readers take the first place that reads, so the others need the
  // stamp only when the first is gone, and then the next full write reaches them.
  static void restamp(const LiveState& state);
  // The first place whose record reads and decodes; otherwise the default record (phase idle,
  // stamp in the distant past).
  [[nodiscard]] static LiveState read();

  // True when the record was written less than five seconds ago: the app is there to obey.
  [[nodiscard]] bool appIsUp(const Clock& clock) const;
  // The card with the given key, or nothing.
  [[nodiscard]] std::optional<Card> card(std::string_view key) const;

  // Leaves an order with the command and the current time in "command.json" beside each place.
  static void send(Command command, const Clock& clock);
  // Leaves the order as it stands (its `at` included) in "command.json" beside each place.
  static void send(const Order& order);
  // Takes the order waiting in the places, so that it is obeyed at most once: every place's
  // file is consumed (one order is sent to all of them), broken and stale (60 s or older)
  // orders are dropped, and the first fresh one in place order is returned. `afterClaim` runs
  // after each file has been claimed and before it is read (for tests).
  [[nodiscard]] static std::optional<Command> takeCommand(
      const Clock& clock, const std::function<void()>& afterClaim = {});

  bool operator==(const LiveState&) const = default;
};

inline constexpr std::array<std::string_view, 4> kLiveStatePhaseNames = {"idle", "running",
                                                                         "paused", "onBreak"};
inline constexpr std::array<std::string_view, 4> kLiveStateCommandNames = {"start", "stop", "pause",
                                                                           "resume"};

void to_json(Json& j, const LiveState::Phase& phase);
void from_json(const Json& j, LiveState::Phase& phase);
void to_json(Json& j, const LiveState::Command& command);
void from_json(const Json& j, LiveState::Command& command);
void to_json(Json& j, const LiveState::Day& day);
void from_json(const Json& j, LiveState::Day& day);
void to_json(Json& j, const LiveState::Line& line);
void from_json(const Json& j, LiveState::Line& line);
void to_json(Json& j, const LiveState::Card& card);
void from_json(const Json& j, LiveState::Card& card);
void to_json(Json& j, const LiveState::AgendaLine& line);
void from_json(const Json& j, LiveState::AgendaLine& line);
void to_json(Json& j, const LiveState::DraftLine& line);
void from_json(const Json& j, LiveState::DraftLine& line);
void to_json(Json& j, const LiveState::Order& order);
void from_json(const Json& j, LiveState::Order& order);
void to_json(Json& j, const LiveState& state);
void from_json(const Json& j, LiveState& state);

}  // namespace trivo

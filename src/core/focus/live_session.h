// Focus sessions shared between devices through the vault's ".trivo/live" folder: each device
// publishes its running session, may ask the device that runs one to act (`LiveAsk`), and
// leaves a note when it ended another device's session (`LiveEnded`).
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/focus/session_log.h"
#include "core/platform/clock.h"
#include "core/util/iso_instant.h"
#include "core/util/json_fields.h"

namespace trivo {

// A request to the device that runs a session. Files "<device>.ask.json".
struct LiveAsk {
  enum class Action { pause, resume, finish, add, subject, takeBreak, skip, restEnd };

  std::string id;
  Action action = Action::pause;
  std::optional<std::int64_t> minutes;
  std::optional<std::string> subject;
  std::optional<std::int64_t> outcomeSlot;
  std::string from;  // the asking device
  Instant stamp = distantPast();

  // An ask this old or older is dropped instead of acted on late.
  static constexpr std::chrono::seconds lifetime{600};

  bool operator==(const LiveAsk&) const = default;
};

// A note that a device's session was ended by another device. Files "<device>.ended.json".
struct LiveEnded {
  std::optional<Instant> started;  // start of the ended session
  std::string by;                  // the device that ended it
  Instant stamp = distantPast();
  std::optional<bool> takenOver;  // the other device carried the session on

  bool operator==(const LiveEnded&) const = default;
};

// One device's focus session as other devices see it. Files "<device>.json".
//
// Device identifiers are used in file names with every character other than ASCII letters,
// digits, "-" and "_" written as "%XX", so any identifier gives one safe name and no identifier
// can pass for an ask or ended file.
struct LiveSession {
  enum class Phase { running, paused, onBreak, finished };

  std::string device;      // stable identifier of the device
  std::string deviceName;  // its display name
  Phase phase = Phase::running;
  std::optional<std::string> subject;
  std::optional<std::int64_t> outcomeSlot;
  std::optional<Instant> started;
  std::optional<Instant> ends;
  double remaining = 0;  // seconds
  std::int64_t minutes = 0;
  Instant stamp = distantPast();           // when the device wrote the record
  std::optional<double> focused;           // focused seconds
  std::optional<std::int64_t> breakOffer;  // offered break, minutes
  std::optional<Instant> restEnds;         // end of a break
  std::optional<Instant> autoAt;           // time of the automatic log
  std::optional<Instant> graceEnds;        // end of the grace window
  std::optional<Instant> breakStarted;     // start of the break

  // The folder ".trivo/live" of a vault.
  static std::filesystem::path folder(const std::filesystem::path& vault);
  // The file name stem used for a device identifier.
  static std::string fileStem(std::string_view device);

  // Writes this device's session to "<device>.json", or removes that file when there is no
  // session. Write errors are ignored.
  static void publish(const std::optional<LiveSession>& session, std::string_view device,
                      const std::filesystem::path& vault);
  // This device's published session, when it reads and is still current.
  static std::optional<LiveSession> own(std::string_view device, const std::filesystem::path& vault,
                                        Instant now);
  // The current sessions of every other device, ordered by file name. Unreadable files are
  // skipped.
  static std::vector<LiveSession> others(const std::filesystem::path& vault,
                                         std::string_view excluding, Instant now);

  // Leaves an ask for the target device (replacing one that waits).
  static void send(const LiveAsk& ask, std::string_view to, const std::filesystem::path& vault);
  // Takes the device's waiting ask: the file is consumed before anything acts on it; a broken
  // ask, and one 600 s old or older, is dropped.
  static std::optional<LiveAsk> takeAsk(std::string_view device, const std::filesystem::path& vault,
                                        Instant now);

  // Notes in "<this device>.ended.json" that this session was ended by `by`.
  void markEnded(std::string_view by, const std::filesystem::path& vault,
                 std::optional<bool> takenOver, Instant now) const;
  // The note for the device, when it is newer than `since`.
  static std::optional<LiveEnded> endedElsewhere(std::string_view device,
                                                 const std::filesystem::path& vault, Instant since);
  static void clearEnded(std::string_view device, const std::filesystem::path& vault);

  // Whether the record still describes a session under way at `at`: a running session or a
  // timed break until five minutes past its end; an open break, a pause or a finished session
  // for twelve hours after the record was written; a running session without an end never.
  [[nodiscard]] bool isCurrent(Instant at) const;
  // The owning device has not written for more than three minutes while running or paused.
  [[nodiscard]] bool isQuiet(Instant at) const;
  // A break with no set end.
  [[nodiscard]] bool isOpenBreak() const;
  // Focused seconds so far: the banked "focused" (or, when absent, the planned length less what
  // remained), plus the running time since the record was written, up to the planned end.
  [[nodiscard]] double focusedSeconds(Instant at) const;
  // Seconds left of the run or timed break, never below 0; for a pause, what remained.
  [[nodiscard]] double left(Instant at) const;
  // The seconds to display: time since the break began for an open break, focused seconds for a
  // finished session, otherwise `left`.
  [[nodiscard]] double shown(Instant at) const;
  // A short text of what the session is doing, such as "Focusing on Essay".
  [[nodiscard]] std::string meaning() const;

  // Writes this session, which another device ran and which ended at `endedAt`, into the day
  // page of its start, as the timer logs its own: its focused whole minutes (nothing under one
  // minute), its start and end as clock times, its subject as the outcome.
  void log(SessionLog& into, Instant endedAt, const Clock& clock) const;

  bool operator==(const LiveSession&) const = default;
};

inline constexpr std::array<std::string_view, 4> kLiveSessionPhaseNames = {"running", "paused",
                                                                           "onBreak", "finished"};
inline constexpr std::array<std::string_view, 8> kLiveAskActionNames = {
    "pause", "resume", "finish", "add", "subject", "takeBreak", "skip", "restEnd"};

void to_json(Json& j, const LiveSession::Phase& phase);
void from_json(const Json& j, LiveSession::Phase& phase);
void to_json(Json& j, const LiveSession& session);
void from_json(const Json& j, LiveSession& session);
void to_json(Json& j, const LiveAsk::Action& action);
void from_json(const Json& j, LiveAsk::Action& action);
void to_json(Json& j, const LiveAsk& ask);
void from_json(const Json& j, LiveAsk& ask);
void to_json(Json& j, const LiveEnded& ended);
void from_json(const Json& j, LiveEnded& ended);

}  // namespace trivo

// Cross-device focus sessions, asks and ended notes.
#include "core/focus/live_session.h"

#include <algorithm>

#include "core/focus/shared_files.h"
#include "core/util/json_integers.h"
#include "core/util/printf.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using shared::Access;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::seconds kOverrunGrace{300};
constexpr std::chrono::seconds kHeldLifetime{43200};
constexpr std::chrono::seconds kQuietAfter{180};

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

template <class T>
std::optional<T> readRecord(const fs::path& path) {
  auto text = shared::readFile(path, Access::ordinary);
  if (!text) return std::nullopt;
  try {
    return Json::parse(*text).get<T>();
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

template <class T>
void writeRecord(const fs::path& vault, const std::string& name, const T& record) {
  const fs::path folder = LiveSession::folder(vault);
  if (!shared::prepareFolder(folder, Access::ordinary)) return;
  shared::replaceFile(folder / name,
                      Json(record).dump(2, ' ', false, Json::error_handler_t::replace) + "\n",
                      Access::ordinary);
}

double secondsBetween(Instant from, Instant to) { return Seconds(to - from).count(); }

}  // namespace

// JSON ---------------------------------------------------------------------------------------

void to_json(Json& j, const LiveSession::Phase& phase) {
  j = json::enumName(phase, kLiveSessionPhaseNames);
}
void from_json(const Json& j, LiveSession::Phase& phase) {
  phase = json::enumFromName<LiveSession::Phase>(j, kLiveSessionPhaseNames, "phase");
}
void to_json(Json& j, const LiveAsk::Action& action) {
  j = json::enumName(action, kLiveAskActionNames);
}
void from_json(const Json& j, LiveAsk::Action& action) {
  action = json::enumFromName<LiveAsk::Action>(j, kLiveAskActionNames, "action");
}

void to_json(Json& j, const LiveSession& s) {
  j = Json::object();
  json::put(j, "device", s.device);
  json::put(j, "deviceName", s.deviceName);
  json::put(j, "phase", s.phase);
  json::put(j, "subject", s.subject);
  json::put(j, "outcomeSlot", s.outcomeSlot);
  json::put(j, "started", s.started);
  json::put(j, "ends", s.ends);
  json::put(j, "remaining", s.remaining);
  json::put(j, "minutes", s.minutes);
  json::put(j, "stamp", s.stamp);
  json::put(j, "focused", s.focused);
  json::put(j, "breakOffer", s.breakOffer);
  json::put(j, "restEnds", s.restEnds);
  json::put(j, "autoAt", s.autoAt);
  json::put(j, "graceEnds", s.graceEnds);
  json::put(j, "breakStarted", s.breakStarted);
}
void from_json(const Json& j, LiveSession& s) {
  json::requireObject(j, "LiveSession");
  s = LiveSession{};
  json::take(j, "device", s.device);
  json::take(j, "deviceName", s.deviceName);
  json::take(j, "phase", s.phase);
  json::take(j, "subject", s.subject);
  json::takeInteger(j, "outcomeSlot", s.outcomeSlot);
  json::take(j, "started", s.started);
  json::take(j, "ends", s.ends);
  json::take(j, "remaining", s.remaining);
  json::takeInteger(j, "minutes", s.minutes);
  json::take(j, "stamp", s.stamp);
  json::take(j, "focused", s.focused);
  json::takeInteger(j, "breakOffer", s.breakOffer);
  json::take(j, "restEnds", s.restEnds);
  json::take(j, "autoAt", s.autoAt);
  json::take(j, "graceEnds", s.graceEnds);
  json::take(j, "breakStarted", s.breakStarted);
}

void to_json(Json& j, const LiveAsk& a) {
  j = Json::object();
  json::put(j, "id", a.id);
  json::put(j, "action", a.action);
  json::put(j, "minutes", a.minutes);
  json::put(j, "subject", a.subject);
  json::put(j, "outcomeSlot", a.outcomeSlot);
  json::put(j, "from", a.from);
  json::put(j, "stamp", a.stamp);
}
void from_json(const Json& j, LiveAsk& a) {
  json::requireObject(j, "LiveAsk");
  // An ask without its action cannot be acted on.
  if (!j.contains("action")) throw RecordError("LiveAsk needs \"action\"");
  a = LiveAsk{};
  json::take(j, "id", a.id);
  json::take(j, "action", a.action);
  json::takeInteger(j, "minutes", a.minutes);
  json::take(j, "subject", a.subject);
  json::takeInteger(j, "outcomeSlot", a.outcomeSlot);
  json::take(j, "from", a.from);
  json::take(j, "stamp", a.stamp);
}

void to_json(Json& j, const LiveEnded& e) {
  j = Json::object();
  json::put(j, "started", e.started);
  json::put(j, "by", e.by);
  json::put(j, "stamp", e.stamp);
  json::put(j, "takenOver", e.takenOver);
}
void from_json(const Json& j, LiveEnded& e) {
  json::requireObject(j, "LiveEnded");
  e = LiveEnded{};
  json::take(j, "started", e.started);
  json::take(j, "by", e.by);
  json::take(j, "stamp", e.stamp);
  json::take(j, "takenOver", e.takenOver);
}

// Files --------------------------------------------------------------------------------------

fs::path LiveSession::folder(const fs::path& vault) { return vault / ".trivo" / "live"; }

std::string LiveSession::fileStem(std::string_view device) {
  std::string stem;
  for (char c : device) {
    const auto byte = static_cast<unsigned char>(c);
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
        c == '_') {
      stem += c;
    } else {
      stem += stringPrintf("%%%02X", static_cast<unsigned>(byte));
    }
  }
  return stem;
}

void LiveSession::publish(const std::optional<LiveSession>& session, std::string_view device,
                          const fs::path& vault) {
  if (!session) {
    shared::removeFile(folder(vault) / (fileStem(device) + ".json"));
    return;
  }
  writeRecord(vault, fileStem(device) + ".json", *session);
}

std::optional<LiveSession> LiveSession::own(std::string_view device, const fs::path& vault,
                                            Instant now) {
  auto session = readRecord<LiveSession>(folder(vault) / (fileStem(device) + ".json"));
  if (!session || !session->isCurrent(now)) return std::nullopt;
  return session;
}

std::vector<LiveSession> LiveSession::others(const fs::path& vault, std::string_view excluding,
                                             Instant now) {
  std::vector<std::pair<std::string, LiveSession>> found;
  const std::string skip = fileStem(excluding) + ".json";
  std::error_code ec;
  for (fs::directory_iterator it(folder(vault), ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (!endsWith(name, ".json") || endsWith(name, ".ask.json") || endsWith(name, ".ended.json") ||
        name == skip || name.starts_with(".")) {
      continue;
    }
    auto session = readRecord<LiveSession>(it->path());
    if (session && session->isCurrent(now)) found.emplace_back(name, std::move(*session));
  }
  std::sort(found.begin(), found.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<LiveSession> result;
  for (auto& entry : found) result.push_back(std::move(entry.second));
  return result;
}

void LiveSession::send(const LiveAsk& ask, std::string_view to, const fs::path& vault) {
  writeRecord(vault, fileStem(to) + ".ask.json", ask);
}

std::optional<LiveAsk> LiveSession::takeAsk(std::string_view device, const fs::path& vault,
                                            Instant now) {
  auto text = shared::claimFile(folder(vault) / (fileStem(device) + ".ask.json"), Access::ordinary);
  if (!text) return std::nullopt;
  try {
    auto ask = Json::parse(*text).get<LiveAsk>();
    if (ask.stamp > now - LiveAsk::lifetime) return ask;
  } catch (const std::exception&) {
    // A broken ask is gone with its claim.
  }
  return std::nullopt;
}

void LiveSession::markEnded(std::string_view by, const fs::path& vault,
                            std::optional<bool> takenOver, Instant now) const {
  writeRecord(vault, fileStem(device) + ".ended.json",
              LiveEnded{started, std::string(by), now, takenOver});
}

std::optional<LiveEnded> LiveSession::endedElsewhere(std::string_view device, const fs::path& vault,
                                                     Instant since) {
  auto note = readRecord<LiveEnded>(folder(vault) / (fileStem(device) + ".ended.json"));
  if (!note || note->stamp <= since) return std::nullopt;
  return note;
}

void LiveSession::clearEnded(std::string_view device, const fs::path& vault) {
  shared::removeFile(folder(vault) / (fileStem(device) + ".ended.json"));
}

// Views --------------------------------------------------------------------------------------

bool LiveSession::isCurrent(Instant at) const {
  // Each comparison adds to the record's time instead of subtracting from `at`, so that the
  // distant past never enters a subtraction.
  if ((phase == Phase::running || phase == Phase::onBreak) && ends) {
    return at < *ends + kOverrunGrace;
  }
  if (phase == Phase::running) return false;
  return at < stamp + kHeldLifetime;
}

bool LiveSession::isQuiet(Instant at) const {
  return (phase == Phase::running || phase == Phase::paused) && at > stamp + kQuietAfter;
}

bool LiveSession::isOpenBreak() const { return phase == Phase::onBreak && !ends; }

double LiveSession::focusedSeconds(Instant at) const {
  const double planned = static_cast<double>(minutes) * 60.0;
  double seconds = focused ? *focused : std::max(0.0, planned - remaining);
  if (phase == Phase::running && at > stamp) {
    const Instant until = ends ? std::min(at, *ends) : at;
    if (until > stamp) seconds += secondsBetween(stamp, until);
  }
  return seconds;
}

double LiveSession::left(Instant at) const {
  switch (phase) {
    case Phase::running:
    case Phase::onBreak:
      return ends ? std::max(0.0, secondsBetween(at, *ends)) : 0.0;
    case Phase::paused:
      return std::max(0.0, remaining);
    case Phase::finished:
      return 0.0;
  }
  return 0.0;
}

double LiveSession::shown(Instant at) const {
  if (isOpenBreak()) {
    const Instant since = breakStarted ? *breakStarted : stamp;
    return since < at ? secondsBetween(since, at) : 0.0;
  }
  if (phase == Phase::finished) return focusedSeconds(at);
  return left(at);
}

std::string LiveSession::meaning() const {
  switch (phase) {
    case Phase::running:
      return subject && !subject->empty() ? "Focusing on " + *subject : "Focusing";
    case Phase::paused:
      return "Paused";
    case Phase::onBreak:
      return "On a break";
    case Phase::finished:
      return "Finished";
  }
  return {};
}

void LiveSession::log(SessionLog& into, Instant endedAt, const Clock& clock) const {
  if (!started) return;
  const double seconds = std::min(focusedSeconds(endedAt), 1e12);
  if (!(seconds >= 60)) return;
  FocusSession session;
  session.start = ClockTime::fromInstant(*started, clock);
  session.end = ClockTime::fromInstant(endedAt, clock);
  session.minutes = static_cast<std::int64_t>(seconds / 60.0);
  session.outcome = subject.value_or("");
  into.append(DayDate::fromInstant(*started, clock), session);
}

}  // namespace trivo

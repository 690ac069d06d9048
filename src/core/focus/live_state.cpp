// The live-state record, its JSON form and its files.
#include "core/focus/live_state.h"

#include <cstdlib>
#include <map>
#include <mutex>

#include "core/focus/shared_files.h"
#include "core/util/json_integers.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using shared::Access;

constexpr const char* kLiveFile = "live.json";
constexpr const char* kLiveCommandFile = "command.json";

struct Place {
  fs::path folder;
  Access access;
};

std::optional<std::string> env(const char* name) {
  const char* value = std::getenv(name);
  if (!value || !*value) return std::nullopt;
  return std::string(value);
}

// The places with how each is guarded; only usable places are listed.
std::vector<Place> usablePlaces() {
  std::vector<Place> result;
  std::optional<fs::path> group;
  if (auto dir = env("TRIVO_GROUP_DIR")) {
    group = fs::path(*dir);
  } else if (auto runtime = env("XDG_RUNTIME_DIR")) {
    group = fs::path(*runtime) / "trivo";
  }
  if (group && shared::prepareFolder(*group, Access::privateToUser)) {
    result.push_back({*group, Access::privateToUser});
  }
  std::optional<fs::path> state;
  if (auto dir = env("XDG_STATE_HOME")) {
    state = fs::path(*dir) / "trivo";
  } else if (auto home = env("HOME")) {
    state = fs::path(*home) / ".local" / "state" / "trivo";
  }
  if (state && shared::prepareFolder(*state, Access::privateToUser)) {
    result.push_back({*state, Access::privateToUser});
  }
  return result;
}

// Bytes this process last wrote, per target file, so an unchanged record is not rewritten.
std::mutex lastWrittenMutex;
std::map<fs::path, std::string>& lastWritten() {
  static std::map<fs::path, std::string> bytes;
  return bytes;
}

// The defaults that a record's fields are read into, once its JSON is known to be an object.
template <class T>
T freshRecord(const Json& j, const char* record) {
  json::requireObject(j, record);
  return T{};
}

}  // namespace

// JSON ---------------------------------------------------------------------------------------

void to_json(Json& j, const LiveState::Phase& phase) {
  j = json::enumName(phase, kLiveStatePhaseNames);
}
void from_json(const Json& j, LiveState::Phase& phase) {
  phase = json::enumFromName<LiveState::Phase>(j, kLiveStatePhaseNames, "phase");
}
void to_json(Json& j, const LiveState::Command& command) {
  j = json::enumName(command, kLiveStateCommandNames);
}
void from_json(const Json& j, LiveState::Command& command) {
  command = json::enumFromName<LiveState::Command>(j, kLiveStateCommandNames, "command");
}

void to_json(Json& j, const LiveState::Day& day) {
  j = Json::object();
  json::put(j, "label", day.label);
  json::put(j, "day", day.day);
  json::put(j, "minutes", day.minutes);
  json::put(j, "sessions", day.sessions);
  json::put(j, "today", day.today);
}
void from_json(const Json& j, LiveState::Day& day) {
  day = freshRecord<LiveState::Day>(j, "LiveState.Day");
  json::take(j, "label", day.label);
  json::takeInteger(j, "day", day.day);
  json::takeInteger(j, "minutes", day.minutes);
  json::takeInteger(j, "sessions", day.sessions);
  json::take(j, "today", day.today);
}

void to_json(Json& j, const LiveState::Line& line) {
  j = Json::object();
  json::put(j, "text", line.text);
  json::put(j, "state", line.state);
}
void from_json(const Json& j, LiveState::Line& line) {
  line = freshRecord<LiveState::Line>(j, "LiveState.Line");
  json::take(j, "text", line.text);
  json::take(j, "state", line.state);
}

void to_json(Json& j, const LiveState::Card& card) {
  j = Json::object();
  json::put(j, "key", card.key);
  json::put(j, "title", card.title);
  json::put(j, "subtitle", card.subtitle);
  json::put(j, "outcomes", card.outcomes);
}
void from_json(const Json& j, LiveState::Card& card) {
  card = freshRecord<LiveState::Card>(j, "LiveState.Card");
  json::take(j, "key", card.key);
  json::take(j, "title", card.title);
  json::take(j, "subtitle", card.subtitle);
  json::take(j, "outcomes", card.outcomes);
}

void to_json(Json& j, const LiveState::AgendaLine& line) {
  j = Json::object();
  json::put(j, "text", line.text);
  json::put(j, "day", line.day);
  json::put(j, "time", line.time);
  json::put(j, "done", line.done);
  json::put(j, "late", line.late);
  json::put(j, "predicted", line.predicted);
}
void from_json(const Json& j, LiveState::AgendaLine& line) {
  line = freshRecord<LiveState::AgendaLine>(j, "LiveState.AgendaLine");
  json::take(j, "text", line.text);
  json::take(j, "day", line.day);
  json::take(j, "time", line.time);
  json::take(j, "done", line.done);
  json::take(j, "late", line.late);
  json::take(j, "predicted", line.predicted);
}

void to_json(Json& j, const LiveState::DraftLine& line) {
  j = Json::object();
  json::put(j, "title", line.title);
  json::put(j, "preview", line.preview);
}
void from_json(const Json& j, LiveState::DraftLine& line) {
  line = freshRecord<LiveState::DraftLine>(j, "LiveState.DraftLine");
  json::take(j, "title", line.title);
  json::take(j, "preview", line.preview);
}

void to_json(Json& j, const LiveState::Order& order) {
  j = Json::object();
  json::put(j, "command", order.command);
  json::put(j, "at", order.at);
  // Left out when unset, so that readers that predate them see the order they know.
  if (order.minutes) json::put(j, "minutes", order.minutes);
  if (order.subject) json::put(j, "subject", order.subject);
}
void from_json(const Json& j, LiveState::Order& order) {
  order = freshRecord<LiveState::Order>(j, "LiveState.Order");
  // An order without its command or time cannot be obeyed safely.
  if (!j.contains("command") || !j.contains("at")) {
    throw RecordError("LiveState.Order needs \"command\" and \"at\"");
  }
  json::take(j, "command", order.command);
  json::take(j, "at", order.at);
  json::take(j, "minutes", order.minutes);
  json::take(j, "subject", order.subject);
}

void to_json(Json& j, const LiveState& state) {
  j = Json::object();
  json::put(j, "phase", state.phase);
  json::put(j, "subject", state.subject);
  json::put(j, "ends", state.ends);
  json::put(j, "started", state.started);
  json::put(j, "todayMinutes", state.todayMinutes);
  json::put(j, "done", state.done);
  json::put(j, "set", state.set);
  json::put(j, "vault", state.vault);
  json::put(j, "locale", state.locale);
  json::put(j, "scheme", state.scheme);
  json::put(j, "week", state.week);
  json::put(j, "accent", state.accent);
  json::put(j, "stamp", state.stamp);
  json::put(j, "cards", state.cards);
  json::put(j, "agenda", state.agenda);
  json::put(j, "drafts", state.drafts);
  json::put(j, "pomodoro", state.pomodoro);
  json::put(j, "slice", state.slice);
  json::put(j, "slices", state.slices);
  json::put(j, "breakMinutes", state.breakMinutes);
  json::put(j, "planned", state.planned);
}
void from_json(const Json& j, LiveState& state) {
  state = freshRecord<LiveState>(j, "LiveState");
  json::take(j, "phase", state.phase);
  json::take(j, "subject", state.subject);
  json::take(j, "ends", state.ends);
  json::take(j, "started", state.started);
  json::takeInteger(j, "todayMinutes", state.todayMinutes);
  json::takeInteger(j, "done", state.done);
  json::takeInteger(j, "set", state.set);
  json::take(j, "vault", state.vault);
  json::take(j, "locale", state.locale);
  json::take(j, "scheme", state.scheme);
  json::take(j, "week", state.week);
  json::take(j, "accent", state.accent);
  json::take(j, "stamp", state.stamp);
  json::take(j, "cards", state.cards);
  json::take(j, "agenda", state.agenda);
  json::take(j, "drafts", state.drafts);
  json::take(j, "pomodoro", state.pomodoro);
  json::takeInteger(j, "slice", state.slice);
  json::takeInteger(j, "slices", state.slices);
  json::takeInteger(j, "breakMinutes", state.breakMinutes);
  json::takeInteger(j, "planned", state.planned);
}

// Files --------------------------------------------------------------------------------------

std::vector<fs::path> LiveState::places() {
  std::vector<fs::path> result;
  for (const auto& place : usablePlaces()) result.push_back(place.folder);
  return result;
}

std::vector<fs::path> LiveState::urls() {
  std::vector<fs::path> result;
  for (const auto& place : usablePlaces()) result.push_back(place.folder / kLiveFile);
  return result;
}

namespace {

void writeTo(const LiveState& state, bool firstOnly) {
  // Text that is not UTF-8 is replaced rather than failing the whole record.
  const std::string bytes = Json(state).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  std::lock_guard lock(lastWrittenMutex);
  auto places = usablePlaces();
  if (firstOnly && places.size() > 1) places.erase(places.begin() + 1, places.end());
  for (const auto& place : places) {
    const fs::path target = place.folder / kLiveFile;
    auto [it, fresh] = lastWritten().try_emplace(target);
    if (!fresh && it->second == bytes) continue;
    if (shared::replaceFile(target, bytes, place.access)) {
      it->second = bytes;
    } else {
      // Forget what was there, so that the next write tries again.
      lastWritten().erase(it);
    }
  }
}

}  // namespace

void LiveState::write(const LiveState& state) { writeTo(state, false); }

void LiveState::restamp(const LiveState& state) { writeTo(state, true); }

LiveState LiveState::read() {
  for (const auto& place : usablePlaces()) {
    auto text = shared::readFile(place.folder / kLiveFile, place.access);
    if (!text) continue;
    try {
      return Json::parse(*text).get<LiveState>();
    } catch (const std::exception&) {
      continue;  // broken: try the next place
    }
  }
  return LiveState{};
}

bool LiveState::appIsUp(const Clock& clock) const {
  // Compared this way round so that the distant past never enters a subtraction.
  return stamp > clock.now() - appHeartbeat;
}

std::optional<LiveState::Card> LiveState::card(std::string_view key) const {
  for (const auto& c : cards) {
    if (c.key == key) return c;
  }
  return std::nullopt;
}

void LiveState::send(Command command, const Clock& clock) {
  send(Order{command, clock.now(), std::nullopt, std::nullopt});
}

void LiveState::send(const Order& order) {
  const std::string bytes = Json(order).dump() + "\n";
  for (const auto& place : usablePlaces()) {
    shared::replaceFile(place.folder / kLiveCommandFile, bytes, place.access);
  }
}

std::optional<LiveState::Command> LiveState::takeCommand(const Clock& clock,
                                                         const std::function<void()>& afterClaim) {
  std::optional<Command> taken;
  const Instant oldest = clock.now() - commandLifetime;
  for (const auto& place : usablePlaces()) {
    auto text = shared::claimFile(place.folder / kLiveCommandFile, place.access, afterClaim);
    if (!text) continue;
    try {
      auto order = Json::parse(*text).get<Order>();
      if (order.at > oldest && !taken) taken = order.command;
    } catch (const std::exception&) {
      // A broken order is gone with its claim.
    }
  }
  return taken;
}

}  // namespace trivo

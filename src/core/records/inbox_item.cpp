// Inbox items: their state, close stamps and day questions.
#include "core/records/inbox_item.h"

#include <uuid/uuid.h>

#include "core/records/done_stamp.h"

namespace trivo {
namespace {

constexpr std::string_view kClosedPrefix = "CLOSED:";

bool isClosedLine(const std::string& line) { return line.starts_with(kClosedPrefix); }

}  // namespace

std::string InboxItem::newId() {
  uuid_t raw;
  uuid_generate_random(raw);
  char text[37];
  uuid_unparse_upper(raw, text);
  return text;
}

InboxItem InboxItem::make(std::string text, std::optional<DayDate> captured) {
  InboxItem item;
  item.id = newId();
  item.text = std::move(text);
  item.captured = captured;
  return item;
}

OutcomeState InboxItem::state() const {
  if (done) return OutcomeState::done;
  if (blocked) return OutcomeState::blocked;
  return OutcomeState::planned;
}

std::optional<DayDate> InboxItem::nextDue(const DayDate& doneOn) const {
  if (!repeats || !due) return std::nullopt;
  return repeats->following(*due, doneOn);
}

void InboxItem::setPulledDone(bool isDone, const std::optional<std::string>& stamp) {
  done = isDone;
  if (!trailingLines.empty() && isClosedLine(trailingLines.front())) {
    trailingLines.erase(trailingLines.begin());
  }
  if (isDone && stamp) {
    trailingLines.insert(trailingLines.begin(), std::string(kClosedPrefix) + " " + *stamp);
  }
}

std::optional<std::string> InboxItem::closedAt() const {
  if (closed) {
    std::string stamp = closed->isoString();
    if (closedTime) stamp += " " + closedTime->description();
    return stamp;
  }
  if (!trailingLines.empty() && isClosedLine(trailingLines.front())) {
    return std::string(
        trimmedWhitespace(std::string_view(trailingLines.front()).substr(kClosedPrefix.size())));
  }
  return std::nullopt;
}

void InboxItem::setClosedAt(const std::optional<std::string>& stamp) {
  closed = stamp ? DoneStamp::day(*stamp) : std::nullopt;
  closedTime = stamp ? DoneStamp::time(*stamp) : std::nullopt;
  if (!trailingLines.empty() && isClosedLine(trailingLines.front())) {
    trailingLines.erase(trailingLines.begin());
  }
  if (stamp) {
    trailingLines.insert(trailingLines.begin(), std::string(kClosedPrefix) + " " + *stamp);
  }
}

bool InboxItem::isHidden(const DayDate& day) const { return hiddenUntil && day < *hiddenUntil; }

bool InboxItem::isListed(const DayDate& day) const { return !done && !isHidden(day) && !someday; }

bool InboxItem::isAhead(const DayDate& day) const { return !done && due && *due > day; }

bool InboxItem::isRoutine(const DayDate& day) const {
  return repeats && due && !occurrences(day, day).empty();
}

bool InboxItem::isDue(const DayDate& day) const { return !done && due && *due <= day; }

bool InboxItem::isWaiting(const DayDate& day) const { return waiting && !done && !isHidden(day); }

std::vector<DayDate> InboxItem::occurrences(const DayDate& from, const DayDate& through) const {
  if (!due) return {};
  if (!repeats) {
    if (*due >= from && *due <= through) return {*due};
    return {};
  }
  return repeats->occurrences(*due, from, through);
}

InboxItem InboxItem::rolled(const DayDate& to) const {
  InboxItem copy = *this;
  if (copy.due) copy.due = to;
  if (copy.pulledInto) copy.pulledInto = to;
  return copy;
}

void to_json(Json& j, const InboxItem& i) {
  j = Json::object();
  json::put(j, "id", i.id);
  json::put(j, "text", i.text);
  json::put(j, "captured", i.captured);
  json::put(j, "pulledInto", i.pulledInto);
  json::put(j, "done", i.done);
  json::put(j, "priority", i.priority);
  json::put(j, "blocked", i.blocked);
  json::put(j, "closed", i.closed);
  json::put(j, "closedTime", i.closedTime);
  json::put(j, "hiddenUntil", i.hiddenUntil);
  json::put(j, "someday", i.someday);
  json::put(j, "waiting", i.waiting);
  json::put(j, "serves", i.serves);
  json::put(j, "trailingLines", i.trailingLines);
  json::put(j, "comments", i.comments);
  json::put(j, "subtasks", i.subtasks);
  json::put(j, "orgKeyword", i.orgKeyword);
  json::put(j, "due", i.due);
  json::put(j, "time", i.time);
  json::put(j, "repeats", i.repeats);
  json::put(j, "alerts", i.alerts);
  json::put(j, "extraMeta", i.extraMeta);
  json::put(j, "orgHeading", i.orgHeading);
  json::put(j, "orgPlanningRest", i.orgPlanningRest);
  json::put(j, "orgProperties", i.orgProperties);
  json::put(j, "orgStampExtra", i.orgStampExtra);
  json::put(j, "doneDates", i.doneDates);
  json::put(j, "orgLogbook", i.orgLogbook);
}

void from_json(const Json& j, InboxItem& i) {
  json::requireObject(j, "InboxItem");
  InboxItem r;
  json::take(j, "id", r.id);
  json::take(j, "text", r.text);
  json::take(j, "captured", r.captured);
  json::take(j, "pulledInto", r.pulledInto);
  json::take(j, "done", r.done);
  json::take(j, "priority", r.priority);
  json::take(j, "blocked", r.blocked);
  json::take(j, "closed", r.closed);
  json::take(j, "closedTime", r.closedTime);
  json::take(j, "hiddenUntil", r.hiddenUntil);
  json::take(j, "someday", r.someday);
  json::take(j, "waiting", r.waiting);
  json::take(j, "serves", r.serves);
  json::take(j, "trailingLines", r.trailingLines);
  json::take(j, "comments", r.comments);
  json::take(j, "subtasks", r.subtasks);
  json::take(j, "orgKeyword", r.orgKeyword);
  json::take(j, "due", r.due);
  json::take(j, "time", r.time);
  json::take(j, "repeats", r.repeats);
  json::take(j, "alerts", r.alerts);
  json::take(j, "extraMeta", r.extraMeta);
  json::take(j, "orgHeading", r.orgHeading);
  json::take(j, "orgPlanningRest", r.orgPlanningRest);
  json::take(j, "orgProperties", r.orgProperties);
  json::take(j, "orgStampExtra", r.orgStampExtra);
  json::take(j, "doneDates", r.doneDates);
  json::take(j, "orgLogbook", r.orgLogbook);
  i = std::move(r);
}

void to_json(Json& j, const Inbox& inbox) {
  j = Json::object();
  json::put(j, "items", inbox.items);
  json::put(j, "passthrough", inbox.passthrough);
}

void from_json(const Json& j, Inbox& inbox) {
  json::requireObject(j, "Inbox");
  Inbox r;
  json::take(j, "items", r.items);
  json::take(j, "passthrough", r.passthrough);
  inbox = std::move(r);
}

}  // namespace trivo

// The inbox for the window: lists read through the inbox model, actions written through it.
#include "app/inbox_screen.h"

#include <exception>
#include <set>

#include "app/app_session.h"
#include "app/display_text.h"
#include "core/inbox/capture_phrase.h"
#include "core/inbox/inbox_model.h"
#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "core/today/today_model.h"

namespace trivo::app {

namespace {

struct Section {
  InboxModel::List list;
  const char* title;
};
// Overdue and today's first: they are what needs doing; the rest in the order work flows.
constexpr Section kSections[] = {
    {InboxModel::List::overdue, "Overdue"},   {InboxModel::List::today, "Due today"},
    {InboxModel::List::captured, "Captured"}, {InboxModel::List::later, "Later"},
    {InboxModel::List::waiting, "Waiting"},   {InboxModel::List::routine, "Routine"},
    {InboxModel::List::someday, "Someday"},
};

QString dayText(const std::optional<DayDate>& day) {
  return day ? QString::fromStdString(shortDayText(*day)) : QString();
}

}  // namespace

InboxScreen::InboxScreen(AppSession& session, QObject* parent)
    : QObject(parent), session_(session) {
  connect(&session_, &AppSession::pageChanged, this, [this](int kind) {
    if (kind == static_cast<int>(EntryKey::Kind::inbox) ||
        kind == static_cast<int>(EntryKey::Kind::day)) {
      read();
    }
  });
  // Not read here: the inbox of a long-kept vault takes a moment, and the window reads it after
  // its first frame (refresh()).
}

void InboxScreen::refresh() { read(); }

void InboxScreen::read() {
  try {
    InboxModel model(session_.store(), session_.clock());
    const auto entries = model.items();
    sections_.clear();
    openCount_ = 0;
    std::set<std::string> shown;
    for (const Section& section : kSections) {
      QVariantList items;
      for (const auto& entry : InboxModel::select(entries, section.list, model.today())) {
        if (!shown.insert(entry.item.id).second) continue;
        const InboxItem& item = entry.item;
        items.append(QVariantMap{
            {"number", static_cast<int>(entry.number)},
            {"id", QString::fromStdString(item.id)},
            {"text", QString::fromStdString(item.text)},
            {"due", dayText(item.due)},
            {"time", item.time ? QString::fromStdString(item.time->description()) : QString()},
            {"repeat", item.repeats ? QString::fromStdString(item.repeats->phrase()) : QString()}});
      }
      openCount_ += static_cast<int>(items.size());
      if (items.isEmpty()) continue;
      sections_.append(QVariantMap{
          {"name", QString::fromUtf8(
                       InboxModel::kListNames[static_cast<std::size_t>(section.list)].data())},
          {"title", QString::fromUtf8(section.title)},
          {"items", items}});
    }
    canUndo_ = session_.store().canUndo();
  } catch (const PageReadError& e) {
    error_ = QString::fromStdString(unreadableText(e, session_.store()));
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
  }
  Q_EMIT changed();
}

QVariantMap InboxScreen::preview(const QString& line) const {
  const DayDate today = DayDate::today(session_.clock());
  const CapturePhrase phrase = CapturePhrase::read(line.toStdString(), today);
  return QVariantMap{
      {"text", QString::fromStdString(phrase.text)},
      {"day", dayText(phrase.due)},
      {"time", phrase.time ? QString::fromStdString(phrase.time->description()) : QString()},
      {"repeat", phrase.repeats ? QString::fromStdString(phrase.repeats->phrase()) : QString()}};
}

bool InboxScreen::edit(const std::function<void()>& change) {
  error_.clear();
  bool ok = true;
  try {
    change();
    session_.store().flush();
  } catch (const FileError& e) {
    // Still queued in the store; the next write takes it along.
    error_ = QString::fromStdString(failureText(e, session_.store()));
    ok = false;
  } catch (const InboxError& e) {
    error_ = QString::fromStdString("Nothing was changed: " + std::string(e.what()) + ".");
    ok = false;
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
    ok = false;
  }
  read();
  return ok;
}

bool InboxScreen::capture(const QString& line) {
  return edit([&] {
    InboxModel model(session_.store(), session_.clock());
    model.capture(line.toStdString());
  });
}

void InboxScreen::setDone(int number, bool done) {
  edit([&] {
    InboxModel model(session_.store(), session_.clock());
    model.setDone(number, done);
  });
}

void InboxScreen::pull(int number, int slot) {
  edit([&] {
    InboxModel inbox(session_.store(), session_.clock());
    const auto entry = inbox.find(number);
    if (!entry) throw InboxError::unknownItem(number);
    TodayModel today(session_.store(), session_.clock(),
                     std::make_shared<FolderDayPageIndex>(session_.store().paths()));
    try {
      today.pull(entry->item.id, slot > 0 ? std::optional<std::int64_t>(slot) : std::nullopt);
      today.commit();
    } catch (const FileError&) {
      throw;
    } catch (...) {
      today.discard();
      throw;
    }
  });
}

void InboxScreen::hideUntil(int number, const QString& day) {
  edit([&] {
    InboxModel model(session_.store(), session_.clock());
    const auto phrase = CapturePhrase::read("x " + day.toStdString(), model.today());
    const auto parsed = phrase.due ? phrase.due : DayDate::parse(day.trimmed().toStdString());
    if (!parsed) {
      throw std::runtime_error("\"" + day.toStdString() +
                               "\" is not a day; write one such as friday, 12 oct or 2026-10-12");
    }
    model.hideUntil(number, parsed);
  });
}

void InboxScreen::remove(int number) {
  edit([&] {
    InboxModel model(session_.store(), session_.clock());
    model.remove(number);
  });
}

void InboxScreen::undo() {
  edit([&] { session_.store().undo(); });
}

}  // namespace trivo::app

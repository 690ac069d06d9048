// Today's page for the window: read through the today model, written back through it.
#include "app/today_screen.h"

#include <QVariantMap>
#include <exception>

#include "app/app_session.h"
#include "app/display_text.h"
#include "core/content/content_bundle.h"
#include "core/format/serializer_error.h"
#include "core/inbox/inbox_error.h"
#include "core/planning/cadence_engine.h"
#include "core/planning/cadence_offers.h"
#include "core/store/atomic_write.h"
#include "core/store/store_errors.h"
#include "core/today/today_model.h"

namespace trivo::app {

namespace {

QVariantList outcomeList(const OutcomeSet& set) {
  QVariantList list;
  for (const Outcome& o : set.outcomes) {
    list.append(QVariantMap{
        {"slot", static_cast<int>(o.order)},
        {"text", QString::fromStdString(o.text)},
        {"state", QString::fromUtf8(kOutcomeStateNames[static_cast<std::size_t>(o.state)].data())},
        {"serves", static_cast<int>(o.serves.value_or(0))}});
  }
  return list;
}

QVariantList carryList(const std::vector<CarryItem>& items) {
  QVariantList list;
  int number = 0;
  for (const CarryItem& item : items) {
    list.append(QVariantMap{
        {"number", ++number}, {"text", QString::fromStdString(item.text)}, {"done", item.done}});
  }
  return list;
}

}  // namespace

TodayScreen::TodayScreen(AppSession& session, QObject* parent)
    : QObject(parent),
      session_(session),
      model_(std::make_unique<TodayModel>(
          session.store(), session.clock(),
          std::make_shared<FolderDayPageIndex>(session.store().paths()))) {
  connect(&session_, &AppSession::pageChanged, this, [this](int) { read(); });
  // A window left open overnight shows the new day, with its carry-over offer, by morning.
  dayTurn_.setInterval(30'000);
  connect(&dayTurn_, &QTimer::timeout, this, [this] {
    if (model_->today() != shown_) read();
  });
  dayTurn_.start();
  read();
}

TodayScreen::~TodayScreen() = default;

void TodayScreen::refresh() { read(); }

void TodayScreen::read() {
  const DayDate today = model_->today();
  if (today != shown_) carryDismissed_ = false;
  shown_ = today;
  title_ = QString::fromStdString(longDayText(today));
  try {
    const DayEntry day = model_->day(today);
    outcomes_ = outcomeList(day.outcomes);
    weekOutcomes_ = outcomeList(model_->outcomes(EntryKey::week(today.isoWeek())));
    checklist_ = carryList(day.checklist);
    forTomorrow_ = carryList(day.forTomorrow);
    pulled_.clear();
    for (const InboxItem& item : day.pulledItems) {
      pulled_.append(QVariantMap{
          {"id", QString::fromStdString(item.id)},
          {"text", QString::fromStdString(item.text)},
          {"done", item.done},
          {"slot", static_cast<int>(item.serves.value_or(0))},
          {"time", item.time ? QString::fromStdString(item.time->description()) : QString()}});
    }
    journal_.clear();
    for (const JournalEntry& entry : day.journal) {
      journal_.append(QVariantMap{{"time", QString::fromStdString(entry.time.description())},
                                  {"text", QString::fromStdString(entry.text)}});
    }
    focusMinutes_ = static_cast<int>(model_->focusMinutes(today));
    carryOffers_.clear();
    if (!carryDismissed_) {
      std::size_t number = 0;
      for (const auto& offer : model_->offersForToday()) {
        carryOffers_.append(QVariantMap{{"number", static_cast<int>(++number)},
                                        {"kind", QString::fromUtf8(caseName(offer.kind).data())},
                                        {"text", QString::fromStdString(offer.text)},
                                        {"from", QString::fromStdString(offer.from.isoString())}});
      }
    }
    const auto plan = openOffers(CadenceEngine::plan(today), session_.store());
    prompt_ = QString::fromUtf8(std::string(content::text(plan.promptKey)).c_str());
    offers_.clear();
    for (const auto& r : plan.reflections) {
      offers_.append(QVariantMap{{"text", QString::fromStdString(reflectionOfferText(r))},
                                 {"page", QString::fromStdString(r.periodText())}});
    }
    for (const auto& n : plan.setNext) {
      offers_.append(
          QVariantMap{{"text", QString::fromStdString("Set the outcomes of " + n.periodText())},
                      {"page", QString::fromStdString(n.periodText())}});
    }
    // The file was fixed: its reason no longer holds.
    if (readOnly_) error_.clear();
    readOnly_ = false;
  } catch (const PageReadError& e) {
    readOnly_ = true;
    error_ = QString::fromStdString(unreadableText(e, session_.store()));
  } catch (const SerializerError& e) {
    readOnly_ = true;
    error_ = QString::fromStdString(std::string("Today's page cannot be read (") + e.what() +
                                    "); it is shown read-only and nothing is written over it.");
  } catch (const VaultError& e) {
    error_ = QString::fromStdString(e.what());
  }
  Q_EMIT changed();
}

bool TodayScreen::edit(const std::function<void()>& change) {
  if (readOnly_) {
    // Keep the reason the page cannot be read on screen; it says what to fix.
    Q_EMIT changed();
    return false;
  }
  error_.clear();
  bool written = true;
  try {
    change();
    model_->commit();
  } catch (const FileError& e) {
    // The text stays queued in the store and goes out with the next write: nothing is dropped.
    error_ = QString::fromStdString(failureText(e, session_.store()));
    written = false;
  } catch (const std::exception& e) {
    model_->discard();
    error_ = QString::fromStdString(failureText(e, session_.store()));
    written = false;
  }
  const QString kept = error_;
  read();
  if (error_.isEmpty()) error_ = kept;
  return written;
}

void TodayScreen::setOutcome(int slot, const QString& text) {
  const auto current = outcomes_.value(slot - 1).toMap().value("text").toString();
  if (current == text.trimmed()) return;
  edit([&] {
    const EntryKey page = EntryKey::day(model_->today());
    if (text.trimmed().isEmpty()) {
      model_->clearOutcome(page, slot);
    } else {
      model_->setOutcome(page, slot, text.trimmed().toStdString());
    }
  });
}

void TodayScreen::toggleOutcome(int slot) {
  const QString state = outcomes_.value(slot - 1).toMap().value("state").toString();
  edit([&] {
    model_->setOutcomeState(EntryKey::day(model_->today()), slot,
                            state == "done" ? OutcomeState::planned : OutcomeState::done);
  });
}

void TodayScreen::toggleBlocked(int slot) {
  const QString state = outcomes_.value(slot - 1).toMap().value("state").toString();
  edit([&] {
    model_->setOutcomeState(EntryKey::day(model_->today()), slot,
                            state == "blocked" ? OutcomeState::planned : OutcomeState::blocked);
  });
}

void TodayScreen::setServes(int slot, int weekSlot) {
  edit([&] {
    model_->setServes(EntryKey::day(model_->today()), slot,
                      weekSlot > 0 ? std::optional<std::int64_t>(weekSlot) : std::nullopt);
  });
}

bool TodayScreen::addChecklistItem(const QString& text) {
  if (text.trimmed().isEmpty()) return false;
  return edit([&] { model_->addChecklistItem(text.trimmed().toStdString()); });
}

void TodayScreen::setChecklistDone(int number, bool done) {
  edit([&] { model_->setChecklistDone(static_cast<std::size_t>(number), done); });
}

bool TodayScreen::addForTomorrow(const QString& text) {
  if (text.trimmed().isEmpty()) return false;
  return edit([&] { model_->addForTomorrow(text.trimmed().toStdString()); });
}

bool TodayScreen::addJournal(const QString& text) {
  if (text.trimmed().isEmpty()) return false;
  return edit([&] { model_->addJournal(text.trimmed().toStdString()); });
}

void TodayScreen::setPulledDone(const QString& id, bool done) {
  edit([&] { model_->setPulledDone(id.toStdString(), done); });
}

void TodayScreen::sendBack(const QString& id) {
  edit([&] { model_->sendBack(id.toStdString()); });
}

void TodayScreen::carryAll() {
  edit([&] { model_->carry({}); });
}

void TodayScreen::dismissCarry() {
  carryDismissed_ = true;
  read();
}

}  // namespace trivo::app

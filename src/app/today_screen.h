// The Today screen's model for QML: today's page read through `TodayModel`, and every change the
// person makes handed back to it. QML only lays these lists out.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

#include "core/calendar/day_date.h"

namespace trivo {
class TodayModel;
namespace app {

class AppSession;

class TodayScreen final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString title READ title NOTIFY changed)
  // [{slot, text, state ("planned"|"done"|"blocked"), serves (0 = nothing)}] × 3
  Q_PROPERTY(QVariantList outcomes READ outcomes NOTIFY changed)
  // The week's three outcomes, for picking what a day outcome serves.
  Q_PROPERTY(QVariantList weekOutcomes READ weekOutcomes NOTIFY changed)
  Q_PROPERTY(QVariantList checklist READ checklist NOTIFY changed)
  Q_PROPERTY(QVariantList pulled READ pulled NOTIFY changed)
  Q_PROPERTY(QVariantList journal READ journal NOTIFY changed)
  Q_PROPERTY(QVariantList forTomorrow READ forTomorrow NOTIFY changed)
  Q_PROPERTY(int focusMinutes READ focusMinutes NOTIFY changed)
  // Yesterday's unfinished things, offered while today has no plan: [{number, kind, text, from}]
  Q_PROPERTY(QVariantList carryOffers READ carryOffers NOTIFY changed)
  Q_PROPERTY(QString prompt READ prompt NOTIFY changed)
  // Reflections and next periods the day offers: [{text, page}] with a page key to open.
  Q_PROPERTY(QVariantList offers READ offers NOTIFY changed)
  // A sentence about the last thing that went wrong; empty when all is well.
  Q_PROPERTY(QString error READ error NOTIFY changed)
  // Set when today's page cannot be read: nothing is written over it.
  Q_PROPERTY(bool readOnly READ readOnly NOTIFY changed)

 public:
  TodayScreen(AppSession& session, QObject* parent = nullptr);
  ~TodayScreen() override;

  [[nodiscard]] QString title() const { return title_; }
  [[nodiscard]] QVariantList outcomes() const { return outcomes_; }
  [[nodiscard]] QVariantList weekOutcomes() const { return weekOutcomes_; }
  [[nodiscard]] QVariantList checklist() const { return checklist_; }
  [[nodiscard]] QVariantList pulled() const { return pulled_; }
  [[nodiscard]] QVariantList journal() const { return journal_; }
  [[nodiscard]] QVariantList forTomorrow() const { return forTomorrow_; }
  [[nodiscard]] int focusMinutes() const { return focusMinutes_; }
  [[nodiscard]] QVariantList carryOffers() const { return carryOffers_; }
  [[nodiscard]] QString prompt() const { return prompt_; }
  [[nodiscard]] QVariantList offers() const { return offers_; }
  [[nodiscard]] QString error() const { return error_; }
  [[nodiscard]] bool readOnly() const { return readOnly_; }

  // Reads the page again (outside edits, a new day).
  Q_INVOKABLE void refresh();
  Q_INVOKABLE void setOutcome(int slot, const QString& text);
  // Cycles planned → done → planned; `blocked` toggles blocked.
  Q_INVOKABLE void toggleOutcome(int slot);
  Q_INVOKABLE void toggleBlocked(int slot);
  // 0 serves nothing.
  Q_INVOKABLE void setServes(int slot, int weekSlot);
  // The adders return false when the line was not written (the field keeps what was typed).
  Q_INVOKABLE bool addChecklistItem(const QString& text);
  Q_INVOKABLE void setChecklistDone(int number, bool done);
  Q_INVOKABLE bool addForTomorrow(const QString& text);
  Q_INVOKABLE bool addJournal(const QString& text);
  Q_INVOKABLE void setPulledDone(const QString& id, bool done);
  Q_INVOKABLE void sendBack(const QString& id);
  // Carries every offer, or leaves them for the day (they are not offered again until reopened).
  Q_INVOKABLE void carryAll();
  Q_INVOKABLE void dismissCarry();

 Q_SIGNALS:
  void changed();

 private:
  // Runs one change and writes it; any failure becomes `error` and nothing half-done is kept.
  bool edit(const std::function<void()>& change);
  void read();

  AppSession& session_;
  std::unique_ptr<TodayModel> model_;
  QTimer dayTurn_;
  DayDate shown_;
  bool carryDismissed_ = false;
  QString title_;
  QVariantList outcomes_, weekOutcomes_, checklist_, pulled_, journal_, forTomorrow_, carryOffers_,
      offers_;
  int focusMinutes_ = 0;
  QString prompt_;
  QString error_;
  bool readOnly_ = false;
};

}  // namespace app
}  // namespace trivo

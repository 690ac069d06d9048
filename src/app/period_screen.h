// The period pages in the window: a week, month, quarter or year with its outcomes, the progress
// dots of what serves each, the reflection questions and the outcome tree; a month calendar to
// move between days, weeks and months, with history back and forward.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/vault/entry_key.h"

namespace trivo::app {

class AppSession;

class PeriodScreen final : public QObject {
  Q_OBJECT
  // "day", "week", "month", "quarter" or "year".
  Q_PROPERTY(QString kind READ kind NOTIFY changed)
  Q_PROPERTY(QString title READ title NOTIFY changed)
  // [{slot, text, state, dots, serving: [{text, state, from}]}]
  Q_PROPERTY(QVariantList outcomes READ outcomes NOTIFY changed)
  // [{key, question, answer}]
  Q_PROPERTY(QVariantList questions READ questions NOTIFY changed)
  // The tree flattened for a list: [{depth, title, state}]
  Q_PROPERTY(QVariantList tree READ tree NOTIFY changed)
  // The month around the page, Monday first: [{day, date, inMonth, today, selected, hasPage}]
  Q_PROPERTY(QVariantList calendar READ calendar NOTIFY changed)
  Q_PROPERTY(QString calendarTitle READ calendarTitle NOTIFY changed)
  // "Mo" … "Su" in the order the calendar's columns follow the week start.
  Q_PROPERTY(QStringList weekdayLabels READ weekdayLabels NOTIFY changed)
  Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
  Q_PROPERTY(bool canGoForward READ canGoForward NOTIFY changed)
  Q_PROPERTY(QString error READ error NOTIFY changed)

 public:
  explicit PeriodScreen(AppSession& session, QObject* parent = nullptr);

  [[nodiscard]] QString kind() const;
  [[nodiscard]] QString title() const { return title_; }
  [[nodiscard]] QVariantList outcomes() const { return outcomes_; }
  [[nodiscard]] QVariantList questions() const { return questions_; }
  [[nodiscard]] QVariantList tree() const { return tree_; }
  [[nodiscard]] QVariantList calendar() const { return calendar_; }
  [[nodiscard]] QString calendarTitle() const { return calendarTitle_; }
  [[nodiscard]] QStringList weekdayLabels() const;
  // The calendar's weeks start on Sunday instead of Monday.
  void setWeekStartsSunday(bool sunday);
  [[nodiscard]] bool canGoBack() const { return back_.size() > 1; }
  [[nodiscard]] bool canGoForward() const { return !forward_.empty(); }
  [[nodiscard]] QString error() const { return error_; }

  // Opens a page by its id ("2026-W38", "2026-09", "2026-Q3", "2026", "2026-09-16");
  // false for text that names no page.
  Q_INVOKABLE bool open(const QString& id);
  // The page of that kind around the day shown ("week", "month", "quarter", "year").
  Q_INVOKABLE void showKind(const QString& kind);
  // The previous or next page of the same kind (-1 or 1).
  Q_INVOKABLE void step(int direction);
  Q_INVOKABLE void back();
  Q_INVOKABLE void forward();
  Q_INVOKABLE void setOutcome(int slot, const QString& text);
  Q_INVOKABLE void toggleOutcome(int slot);
  Q_INVOKABLE void setAnswer(const QString& key, const QString& answer);
  Q_INVOKABLE void refresh();

  [[nodiscard]] const EntryKey& page() const { return page_; }

 Q_SIGNALS:
  void changed();

 private:
  void show(const EntryKey& page, bool remember);
  void read();
  [[nodiscard]] DayDate anchor() const;

  AppSession& session_;
  EntryKey page_;
  bool sundayFirst_ = false;
  std::vector<EntryKey> back_;
  std::vector<EntryKey> forward_;
  QString title_, calendarTitle_, error_;
  QVariantList outcomes_, questions_, tree_, calendar_;
};

}  // namespace trivo::app

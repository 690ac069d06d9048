// The Inbox screen's model for QML: the lists (overdue and due today first), what a capture line
// would be read as while it is typed, and the item actions, all through `InboxModel`.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <functional>

namespace trivo::app {

class AppSession;

class InboxScreen final : public QObject {
  Q_OBJECT
  // [{name, title, items: [{number, id, text, due, time, repeat}]}], empty lists left out.
  Q_PROPERTY(QVariantList sections READ sections NOTIFY changed)
  Q_PROPERTY(int openCount READ openCount NOTIFY changed)
  Q_PROPERTY(QString error READ error NOTIFY changed)
  Q_PROPERTY(bool canUndo READ canUndo NOTIFY changed)

 public:
  explicit InboxScreen(AppSession& session, QObject* parent = nullptr);

  [[nodiscard]] QVariantList sections() const { return sections_; }
  [[nodiscard]] int openCount() const { return openCount_; }
  [[nodiscard]] QString error() const { return error_; }
  [[nodiscard]] bool canUndo() const { return canUndo_; }

  Q_INVOKABLE void refresh();
  // What the line would be captured as: {text, day, time, repeat} (empty strings for none).
  Q_INVOKABLE QVariantMap preview(const QString& line) const;
  // Captures the line; false (with `error`) when it is refused.
  Q_INVOKABLE bool capture(const QString& line);
  Q_INVOKABLE void setDone(int number, bool done);
  // Pulls the item into today, serving today's outcome `slot` (0: none).
  Q_INVOKABLE void pull(int number, int slot);
  // Hides the item until a day written as the capture field reads days ("friday", "2026-10-01").
  Q_INVOKABLE void hideUntil(int number, const QString& day);
  Q_INVOKABLE void remove(int number);
  // Takes back the last write of the vault (any page), as the store's undo does.
  Q_INVOKABLE void undo();

 Q_SIGNALS:
  void changed();

 private:
  bool edit(const std::function<void()>& change);
  void read();

  AppSession& session_;
  QVariantList sections_;
  int openCount_ = 0;
  QString error_;
  bool canUndo_ = false;
};

}  // namespace trivo::app

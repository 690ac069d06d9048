// Refused saves in the window: each kept text beside the page as it is now, to keep either one or
// merge the two in an editor. Nothing is dropped until the person says so.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

namespace trivo::app {

class AppSession;

class RefusedScreen final : public QObject {
  Q_OBJECT
  // [{number, file, reason, mine, theirs}]: `mine` the refused text, `theirs` the page now.
  Q_PROPERTY(QVariantList entries READ entries NOTIFY changed)
  Q_PROPERTY(QString error READ error NOTIFY changed)

 public:
  explicit RefusedScreen(AppSession& session, QObject* parent = nullptr);
  [[nodiscard]] QVariantList entries() const { return entries_; }
  [[nodiscard]] QString error() const { return error_; }

  Q_INVOKABLE void refresh();
  // Writes the refused text as the page (the page's text is kept in its place).
  Q_INVOKABLE void keepMine(int number);
  // Keeps the page as it is and forgets the refused text.
  Q_INVOKABLE void keepTheirs(int number);
  // Both texts merged line by line, with conflict markers where both changed a line.
  Q_INVOKABLE QString merged(int number);
  // Writes an edited merge as the page.
  Q_INVOKABLE void saveMerged(int number, const QString& text);

 Q_SIGNALS:
  void changed();

 private:
  AppSession& session_;
  QVariantList entries_;
  QString error_;
};

}  // namespace trivo::app

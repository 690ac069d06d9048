// The Search screen's model for QML: results as the query is typed, grouped by page.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <memory>

#include "app/page_search.h"

namespace trivo::app {

class SearchScreen final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY changed)
  // [{page, file, hits: [{line, text}]}], pages in the order the engine ranked their first hit.
  Q_PROPERTY(QVariantList groups READ groups NOTIFY changed)
  Q_PROPERTY(int count READ count NOTIFY changed)

 public:
  explicit SearchScreen(std::unique_ptr<PageSearch> engine, QObject* parent = nullptr);

  [[nodiscard]] QString query() const { return query_; }
  void setQuery(const QString& query);
  [[nodiscard]] QVariantList groups() const { return groups_; }
  [[nodiscard]] int count() const { return count_; }

  // Asks the window to open the page of a result.
  Q_INVOKABLE void open(const QString& page);

 Q_SIGNALS:
  void changed();
  void openPage(const QString& page);

 private:
  std::unique_ptr<PageSearch> engine_;
  QString query_;
  QVariantList groups_;
  int count_ = 0;
};

}  // namespace trivo::app

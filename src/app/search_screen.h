// The Search screen's model for QML: results as the query is typed, grouped by page. The engine
// runs on a thread of its own, so typing never waits for a scan; only the newest query's answer
// is shown.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "app/page_search.h"

namespace trivo::app {

class SearchScreen final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY changed)
  // [{page, file, hits: [{line, text}]}], pages in the order the engine ranked their first hit.
  Q_PROPERTY(QVariantList groups READ groups NOTIFY changed)
  Q_PROPERTY(int count READ count NOTIFY changed)
  // True while the newest query is being answered.
  Q_PROPERTY(bool busy READ busy NOTIFY changed)
  // Why the newest query has no answer (it cannot be read, the index cannot be kept); or empty.
  Q_PROPERTY(QString error READ error NOTIFY changed)
  // While the pages are read into the index for the first time: how far that has come.
  Q_PROPERTY(QString progress READ progress NOTIFY changed)

 public:
  // `engine` is called from the screen's worker thread only, one call at a time.
  explicit SearchScreen(std::unique_ptr<PageSearch> engine, QObject* parent = nullptr);
  ~SearchScreen() override;

  [[nodiscard]] QString query() const { return query_; }
  void setQuery(const QString& query);
  [[nodiscard]] QVariantList groups() const { return groups_; }
  [[nodiscard]] int count() const { return count_; }
  [[nodiscard]] bool busy() const { return busy_; }
  [[nodiscard]] QString error() const { return error_; }
  [[nodiscard]] QString progress() const { return progress_; }

  // Asks the window to open the page of a result; a file that is no period page opens in the
  // desktop's editor for it.
  Q_INVOKABLE void open(const QString& page, const QString& file);

 Q_SIGNALS:
  void changed();
  void openPage(const QString& page, const QString& file);

 private:
  void work();
  void show(std::uint64_t generation, const std::vector<SearchHit>& hits, const QString& error);

  std::unique_ptr<PageSearch> engine_;
  QString query_;
  QVariantList groups_;
  int count_ = 0;
  bool busy_ = false;
  QString error_;
  QString progress_;
  std::uint64_t generation_ = 0;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::optional<std::pair<std::uint64_t, std::string>> pending_;
  bool quit_ = false;
  std::thread worker_;
};

}  // namespace trivo::app

// The Search screen's model for QML: results as the query is typed, grouped by page. The engine
// runs on a thread of its own, so typing never waits for a scan; only the newest query's answer
// is shown.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
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
  // The page of the result the person picked, as it is on disk, with the picked line's place in
  // that text (characters, so the view can select it); an empty file when none is picked.
  Q_PROPERTY(QString shownFile READ shownFile NOTIFY shownChanged)
  Q_PROPERTY(QString shownPage READ shownPage NOTIFY shownChanged)
  Q_PROPERTY(QString shownText READ shownText NOTIFY shownChanged)
  Q_PROPERTY(int shownStart READ shownStart NOTIFY shownChanged)
  Q_PROPERTY(int shownEnd READ shownEnd NOTIFY shownChanged)

 public:
  // `engine` is called from the screen's worker thread only, one call at a time.
  // `root` is the vault's folder, which the results' files are relative to.
  SearchScreen(std::filesystem::path root, std::unique_ptr<PageSearch> engine,
               QObject* parent = nullptr);
  ~SearchScreen() override;

  [[nodiscard]] QString query() const { return query_; }
  void setQuery(const QString& query);
  [[nodiscard]] QVariantList groups() const { return groups_; }
  [[nodiscard]] int count() const { return count_; }
  [[nodiscard]] bool busy() const { return busy_; }
  [[nodiscard]] QString error() const { return error_; }
  [[nodiscard]] QString progress() const { return progress_; }
  [[nodiscard]] QString shownFile() const { return shownFile_; }
  [[nodiscard]] QString shownPage() const { return shownPage_; }
  [[nodiscard]] QString shownText() const { return shownText_; }
  [[nodiscard]] int shownStart() const { return shownStart_; }
  [[nodiscard]] int shownEnd() const { return shownEnd_; }

  // Shows a result's page at its line (read from disk now, so it is the page as it is).
  Q_INVOKABLE void showLine(const QString& page, const QString& file, int line);
  Q_INVOKABLE void closeShown();

  // Asks the window to open the page of a result; a file that is no period page opens in the
  // desktop's editor for it.
  Q_INVOKABLE void open(const QString& page, const QString& file);

 Q_SIGNALS:
  void changed();
  void shownChanged();
  void openPage(const QString& page, const QString& file);

 private:
  void work();
  void show(std::uint64_t generation, const std::vector<SearchHit>& hits, const QString& error);

  std::filesystem::path root_;
  std::unique_ptr<PageSearch> engine_;
  QString shownFile_;
  QString shownPage_;
  QString shownText_;
  int shownStart_ = 0;
  int shownEnd_ = 0;
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

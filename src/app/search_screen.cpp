// Results as the query is typed: the newest query goes to the worker, older ones are dropped.
#include "app/search_screen.h"

#include <QFile>
#include <QMetaObject>
#include <QVariantMap>
#include <chrono>

namespace trivo::app {

namespace {
// Enough to fill the screen a few times over; a longer list is a sign to type more.
constexpr std::size_t kLimit = 200;
// Shorter than the pause between words, longer than the one between a typist's keys.
constexpr std::chrono::milliseconds kSettle{150};
}  // namespace

SearchScreen::SearchScreen(std::filesystem::path root, std::unique_ptr<PageSearch> engine,
                           QObject* parent)
    : QObject(parent),
      root_(std::move(root)),
      engine_(std::move(engine)),
      worker_([this] { work(); }) {}

SearchScreen::~SearchScreen() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_all();
  worker_.join();
}

void SearchScreen::setQuery(const QString& query) {
  if (query == query_) return;
  query_ = query;
  busy_ = true;
  {
    std::lock_guard lock(mutex_);
    pending_ = std::make_pair(++generation_, query.toStdString());
  }
  wake_.notify_all();
  Q_EMIT changed();
}

void SearchScreen::work() {
  while (true) {
    std::pair<std::uint64_t, std::string> job;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return quit_ || pending_.has_value(); });
      // A query typed letter by letter settles first: of a quick run of keys only the last is
      // answered, instead of a scan for every prefix ("c", "co") that nobody waits for.
      for (std::uint64_t seen = 0; !quit_ && pending_ && pending_->first != seen;) {
        seen = pending_->first;
        wake_.wait_for(lock, kSettle, [&] { return quit_ || pending_->first != seen; });
      }
      if (quit_) return;
      job = std::move(*pending_);
      pending_.reset();
    }
    std::vector<SearchHit> hits;
    QString error;
    const PageSearch::Progress progress = [this](std::size_t done, std::size_t all) {
      // A tick per hundred files is enough for a person to see it move.
      if (done % 100 != 0 && done != all) return;
      const QString text = QString("Reading the pages into the index: %1 of %2").arg(done).arg(all);
      QMetaObject::invokeMethod(
          this,
          [this, text] {
            progress_ = text;
            Q_EMIT changed();
          },
          Qt::QueuedConnection);
    };
    try {
      hits = engine_->find(job.second, kLimit, progress);
    } catch (const std::exception& e) {
      error = QString::fromStdString(e.what());
    }
    // Delivered on the screen's thread; dropped by Qt if the screen is gone by then.
    QMetaObject::invokeMethod(
        this,
        [this, generation = job.first, hits = std::move(hits), error] {
          show(generation, hits, error);
        },
        Qt::QueuedConnection);
  }
}

void SearchScreen::show(std::uint64_t generation, const std::vector<SearchHit>& hits,
                        const QString& error) {
  if (generation != generation_) return;  // a newer query is on its way
  busy_ = false;
  error_ = error;
  progress_.clear();
  groups_.clear();
  count_ = 0;
  QString page;
  QString file;
  QVariantList lines;
  auto close = [&] {
    if (!file.isEmpty()) {
      groups_.append(QVariantMap{{"page", page}, {"file", file}, {"hits", lines}});
    }
    lines.clear();
  };
  for (const SearchHit& hit : hits) {
    const QString f = QString::fromStdString(hit.file);
    if (f != file) {
      close();
      page = QString::fromStdString(hit.page);
      file = f;
    }
    lines.append(QVariantMap{{"line", static_cast<int>(hit.line)},
                             {"text", QString::fromStdString(hit.text)}});
    ++count_;
  }
  close();
  Q_EMIT changed();
}

void SearchScreen::showLine(const QString& page, const QString& file, int line) {
  QFile in(QString::fromStdString((root_ / file.toStdString()).string()));
  if (!in.open(QIODevice::ReadOnly)) {
    error_ = QString("%1 cannot be read (%2).").arg(file, in.errorString());
    Q_EMIT changed();
    return;
  }
  shownText_ = QString::fromUtf8(in.readAll());
  shownFile_ = file;
  shownPage_ = page;
  // Lines are counted as the index counts them: from 1, split at "\n".
  qsizetype start = 0;
  for (int n = 1; n < line && start >= 0; ++n) {
    start = shownText_.indexOf('\n', start);
    if (start >= 0) ++start;
  }
  if (start < 0) start = shownText_.size();  // the page is shorter now than when it was found
  qsizetype end = shownText_.indexOf('\n', start);
  if (end < 0) end = shownText_.size();
  shownStart_ = static_cast<int>(start);
  shownEnd_ = static_cast<int>(end);
  Q_EMIT shownChanged();
}

void SearchScreen::closeShown() {
  shownFile_.clear();
  shownPage_.clear();
  shownText_.clear();
  shownStart_ = shownEnd_ = 0;
  Q_EMIT shownChanged();
}

void SearchScreen::open(const QString& page, const QString& file) { Q_EMIT openPage(page, file); }

}  // namespace trivo::app

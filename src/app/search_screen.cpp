// Results as the query is typed: the newest query goes to the worker, older ones are dropped.
#include "app/search_screen.h"

#include <QMetaObject>
#include <QVariantMap>

namespace trivo::app {

namespace {
// Enough to fill the screen a few times over; a longer list is a sign to type more.
constexpr std::size_t kLimit = 200;
}  // namespace

SearchScreen::SearchScreen(std::unique_ptr<PageSearch> engine, QObject* parent)
    : QObject(parent), engine_(std::move(engine)), worker_([this] { work(); }) {}

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
      if (quit_) return;
      job = std::move(*pending_);
      pending_.reset();
    }
    auto hits = engine_->find(job.second, kLimit);
    // Delivered on the screen's thread; dropped by Qt if the screen is gone by then.
    QMetaObject::invokeMethod(
        this, [this, generation = job.first, hits = std::move(hits)] { show(generation, hits); },
        Qt::QueuedConnection);
  }
}

void SearchScreen::show(std::uint64_t generation, const std::vector<SearchHit>& hits) {
  if (generation != generation_) return;  // a newer query is on its way
  busy_ = false;
  groups_.clear();
  count_ = 0;
  QString page;
  QString file;
  QVariantList lines;
  auto close = [&] {
    if (!page.isEmpty()) {
      groups_.append(QVariantMap{{"page", page}, {"file", file}, {"hits", lines}});
    }
    lines.clear();
  };
  for (const SearchHit& hit : hits) {
    const QString p = QString::fromStdString(hit.page);
    if (p != page) {
      close();
      page = p;
      file = QString::fromStdString(hit.file);
    }
    lines.append(QVariantMap{{"line", static_cast<int>(hit.line)},
                             {"text", QString::fromStdString(hit.text)}});
    ++count_;
  }
  close();
  Q_EMIT changed();
}

void SearchScreen::open(const QString& page) { Q_EMIT openPage(page); }

}  // namespace trivo::app

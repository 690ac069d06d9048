// Results as the query is typed: one engine call per change of the query.
#include "app/search_screen.h"

#include <QVariantMap>

namespace trivo::app {

namespace {
// Enough to fill the screen a few times over; a longer list is a sign to type more.
constexpr std::size_t kLimit = 200;
}  // namespace

SearchScreen::SearchScreen(std::unique_ptr<PageSearch> engine, QObject* parent)
    : QObject(parent), engine_(std::move(engine)) {}

void SearchScreen::setQuery(const QString& query) {
  if (query == query_) return;
  query_ = query;
  groups_.clear();
  count_ = 0;
  const auto hits = engine_->find(query.toStdString(), kLimit);
  QString page;
  QVariantList lines;
  QString file;
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

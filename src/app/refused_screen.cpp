// Refused texts through the library's resolver, the same one `trivo refused` uses.
#include "app/refused_screen.h"

#include <QVariantMap>
#include <exception>
#include <fstream>
#include <sstream>

#include "app/app_session.h"
#include "core/store/refused_resolver.h"
#include "core/store/vault_store.h"

namespace trivo::app {

namespace {

QString fileText(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return QString::fromStdString(text.str());
}

}  // namespace

RefusedScreen::RefusedScreen(AppSession& session, QObject* parent)
    : QObject(parent), session_(session) {
  connect(&session_, &AppSession::pageChanged, this, [this](int) { refresh(); });
  refresh();
}

void RefusedScreen::refresh() {
  entries_.clear();
  try {
    RefusedResolver resolver(session_.store().vault());
    for (const auto& e : resolver.list()) {
      entries_.append(QVariantMap{
          {"number", e.number},
          {"file",
           QString::fromStdString(e.page.lexically_relative(session_.root()).generic_string())},
          {"reason", QString::fromStdString(e.reason)},
          {"mine", QString::fromStdString(e.text)},
          {"theirs", fileText(e.page)}});
    }
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(e.what());
  }
  Q_EMIT changed();
}

void RefusedScreen::keepMine(int number) {
  try {
    RefusedResolver resolver(session_.store().vault());
    if (const auto e = resolver.entry(number)) resolver.keep(*e);
    error_.clear();
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(e.what());
  }
  refresh();
}

void RefusedScreen::keepTheirs(int number) {
  try {
    RefusedResolver resolver(session_.store().vault());
    if (const auto e = resolver.entry(number)) resolver.drop(*e);
    error_.clear();
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(e.what());
  }
  refresh();
}

QString RefusedScreen::merged(int number) {
  try {
    RefusedResolver resolver(session_.store().vault());
    if (const auto e = resolver.entry(number)) {
      return QString::fromStdString(resolver.merge(*e).text);
    }
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(e.what());
    Q_EMIT changed();
  }
  return {};
}

void RefusedScreen::saveMerged(int number, const QString& text) {
  try {
    RefusedResolver resolver(session_.store().vault());
    if (const auto e = resolver.entry(number)) {
      resolver.saveMerged(*e, resolver.merge(*e), text.toStdString());
    }
    error_.clear();
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(e.what());
  }
  refresh();
}

}  // namespace trivo::app

// Period pages for the window: outcomes, progress, reflection, tree and calendar, read through
// the planning models and written through the today model and the store's records.
#include "app/period_screen.h"

#include <QVariantMap>
#include <exception>
#include <filesystem>
#include <functional>

#include "app/app_session.h"
#include "app/display_text.h"
#include "core/calendar/day_date.h"
#include "core/planning/outcome_tree.h"
#include "core/planning/reflection_questions.h"
#include "core/planning/serves_progress.h"
#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"
#include "core/today/today_model.h"
#include "core/vault/page_address.h"

namespace trivo::app {

namespace {

QString stateName(OutcomeState state) {
  return QString::fromUtf8(kOutcomeStateNames[static_cast<std::size_t>(state)].data());
}

std::optional<ServesProgress::Set> progressOf(VaultStore& store, const EntryKey& page) {
  ServesProgress progress(store);
  if (const auto* w = page.asWeek()) return progress.forWeek(*w);
  if (const auto* m = page.asMonth()) return progress.forMonth(*m);
  if (const auto* q = page.asQuarter()) return progress.forQuarter(*q);
  if (const auto* y = page.asYear()) return progress.forYear(*y);
  return std::nullopt;
}

// Calls `change` on the page's reflection and saves the record: answers live in the record, so
// the page's other text is written back as it was read.
void editReflection(VaultStore& store, const EntryKey& page,
                    const std::function<void(Reflection&)>& change) {
  if (const auto* w = page.asWeek()) {
    auto e = store.week(*w);
    change(e.reflection);
    store.save(e);
  } else if (const auto* m = page.asMonth()) {
    auto e = store.month(*m);
    change(e.reflection);
    store.save(e);
  } else if (const auto* q = page.asQuarter()) {
    auto e = store.quarter(*q);
    change(e.reflection);
    store.save(e);
  } else if (const auto* y = page.asYear()) {
    auto e = store.year(*y);
    change(e.reflection);
    store.save(e);
  }
}

Reflection reflectionOf(VaultStore& store, const EntryKey& page) {
  if (const auto* w = page.asWeek()) return store.peekWeek(*w).reflection;
  if (const auto* m = page.asMonth()) return store.peekMonth(*m).reflection;
  if (const auto* q = page.asQuarter()) return store.peekQuarter(*q).reflection;
  if (const auto* y = page.asYear()) return store.peekYear(*y).reflection;
  return {};
}

void flatten(const OutcomeTree::Node& node, int depth, QVariantList& out) {
  if (node.title.empty() && node.children.empty()) return;
  out.append(
      QVariantMap{{"depth", depth},
                  {"title", QString::fromStdString(node.title.empty() ? "(blank)" : node.title)},
                  {"state", node.state ? stateName(*node.state) : QString()},
                  {"task", node.kind == OutcomeTree::Kind::task}});
  for (const auto& child : node.children) flatten(child, depth + 1, out);
}

std::string titleOf(const EntryKey& page) {
  if (const auto* d = page.asDay()) return longDayText(*d);
  if (const auto* w = page.asWeek()) {
    // "Week 38 · 14–20 Sep 2026": the days say which week it is at a glance.
    const DayDate first = w->monday();
    const DayDate last = w->sunday();
    static constexpr const char* kShort[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::string from = first.month == last.month
                                 ? std::to_string(first.day)
                                 : std::to_string(first.day) + " " + kShort[first.month - 1] + " ";
    return "Week " + std::to_string(w->week) + " · " + from + "–" + std::to_string(last.day) + " " +
           kShort[last.month - 1] + " " + std::to_string(last.year);
  }
  if (const auto* m = page.asMonth()) {
    return std::string(englishMonthName(m->month)) + " " + std::to_string(m->year);
  }
  if (const auto* q = page.asQuarter()) {
    return "Quarter " + std::to_string(q->quarter) + ", " + std::to_string(q->year);
  }
  if (const auto* y = page.asYear()) return "Year " + std::to_string(*y);
  return "Inbox";
}

}  // namespace

PeriodScreen::PeriodScreen(AppSession& session, QObject* parent)
    : QObject(parent),
      session_(session),
      page_(EntryKey::week(DayDate::today(session.clock()).isoWeek())) {
  connect(&session_, &AppSession::pageChanged, this, [this](int) { read(); });
  back_.push_back(page_);
  read();
}

QString PeriodScreen::kind() const { return QString::fromUtf8(caseName(page_.kind()).data()); }

DayDate PeriodScreen::anchor() const {
  if (const auto* d = page_.asDay()) return *d;
  if (const auto* w = page_.asWeek()) return w->monday();
  if (const auto* m = page_.asMonth()) return m->firstDay();
  if (const auto* q = page_.asQuarter()) return q->firstDay();
  if (const auto* y = page_.asYear()) return *DayDate::make(*y, 1, 1);
  return DayDate::today(session_.clock());
}

bool PeriodScreen::open(const QString& id) {
  const DayDate today = DayDate::today(session_.clock());
  const auto target = parsePageAddress(id.trimmed().toStdString(), today, YearMode::quarter);
  const EntryKey* key = target ? target->asPage() : nullptr;
  if (!key || key->isInbox()) {
    error_ = "\"" + id +
             "\" names no page; write a day, week, month, quarter or year such as "
             "2026-09-16, 2026-W38, 2026-09, 2026-Q3 or 2026.";
    Q_EMIT changed();
    return false;
  }
  show(*key, true);
  return true;
}

void PeriodScreen::showKind(const QString& kind) {
  const DayDate day = anchor();
  if (kind == "day") show(EntryKey::day(day), true);
  if (kind == "week") show(EntryKey::week(day.isoWeek()), true);
  if (kind == "month") show(EntryKey::month(day.yearMonth()), true);
  if (kind == "quarter") show(EntryKey::quarter(day.yearQuarter()), true);
  if (kind == "year") show(EntryKey::year(day.year), true);
}

void PeriodScreen::step(int direction) {
  const bool ahead = direction > 0;
  if (const auto* d = page_.asDay()) show(EntryKey::day(d->adding(ahead ? 1 : -1)), true);
  if (const auto* w = page_.asWeek()) show(EntryKey::week(ahead ? w->next() : w->previous()), true);
  if (const auto* m = page_.asMonth()) {
    show(EntryKey::month(ahead ? m->next() : m->previous()), true);
  }
  if (const auto* q = page_.asQuarter()) {
    show(EntryKey::quarter(ahead ? q->next() : q->previous()), true);
  }
  if (const auto* y = page_.asYear()) show(EntryKey::year(*y + (ahead ? 1 : -1)), true);
}

void PeriodScreen::back() {
  if (back_.size() < 2) return;
  forward_.push_back(back_.back());
  back_.pop_back();
  show(back_.back(), false);
}

void PeriodScreen::forward() {
  if (forward_.empty()) return;
  const EntryKey next = forward_.back();
  forward_.pop_back();
  back_.push_back(next);
  show(next, false);
}

void PeriodScreen::show(const EntryKey& page, bool remember) {
  if (remember) {
    if (!back_.empty() && back_.back() == page) return read();
    back_.push_back(page);
    forward_.clear();
  }
  page_ = page;
  error_.clear();
  read();
}

void PeriodScreen::refresh() { read(); }

QStringList PeriodScreen::weekdayLabels() const {
  QStringList labels{"Mo", "Tu", "We", "Th", "Fr", "Sa", "Su"};
  if (sundayFirst_) labels.move(6, 0);
  return labels;
}

void PeriodScreen::setWeekStartsSunday(bool sunday) {
  if (sunday == sundayFirst_) return;
  sundayFirst_ = sunday;
  read();
}

void PeriodScreen::read() {
  VaultStore& store = session_.store();
  title_ = QString::fromStdString(titleOf(page_));
  outcomes_.clear();
  questions_.clear();
  tree_.clear();
  try {
    TodayModel model(store, session_.clock(), std::make_shared<FolderDayPageIndex>(store.paths()));
    const OutcomeSet set = model.outcomes(page_);
    const auto progress = progressOf(store, page_);
    for (const Outcome& o : set.outcomes) {
      QVariantList serving;
      QString dots;
      if (progress) {
        const auto stat = progress->slots.find(o.order);
        if (stat != progress->slots.end())
          dots = QString::fromStdString(stat->second.dots(o.state));
        const auto children = progress->children.find(o.order);
        if (children != progress->children.end()) {
          for (const auto& child : children->second) {
            serving.append(QVariantMap{{"text", QString::fromStdString(child.text)},
                                       {"state", stateName(child.state)}});
          }
        }
      }
      outcomes_.append(QVariantMap{{"slot", static_cast<int>(o.order)},
                                   {"text", QString::fromStdString(o.text)},
                                   {"state", stateName(o.state)},
                                   {"dots", dots},
                                   {"serving", serving}});
    }
    const Reflection reflection = reflectionOf(store, page_);
    for (const auto& q : reflectionQuestions(page_.kind())) {
      const std::string key(q.key);
      questions_.append(
          QVariantMap{{"key", QString::fromStdString(key)},
                      {"question", QString::fromUtf8(std::string(q.text).c_str())},
                      {"answer", QString::fromStdString(reflection[key].value_or(""))}});
    }
    if (!page_.asDay()) {
      if (const auto tree = OutcomeTree(store).build(page_)) {
        for (const auto& node : tree->children) flatten(node, 0, tree_);
      }
    }
  } catch (const PageReadError& e) {
    error_ = QString::fromStdString(unreadableText(e, session_.store()));
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
  }

  // The month around the page, in whole weeks from the week's first day.
  const DayDate day = anchor();
  const YearMonth month = day.yearMonth();
  const DayDate first = month.firstDay();
  const int column = (weekdayIndex(first.weekday()) + (sundayFirst_ ? 1 : 0)) % 7;
  const DayDate start = first.adding(-column);
  const DayDate today = DayDate::today(session_.clock());
  calendarTitle_ = QString::fromStdString(titleOf(EntryKey::month(month)));
  calendar_.clear();
  for (int i = 0; i < 42; ++i) {
    const DayDate d = start.adding(i);
    std::error_code ec;
    calendar_.append(QVariantMap{
        {"day", static_cast<int>(d.day)},
        {"date", QString::fromStdString(d.isoString())},
        {"inMonth", d.yearMonth() == month},
        {"today", d == today},
        {"selected", page_.asDay() && *page_.asDay() == d},
        {"hasPage", std::filesystem::exists(store.paths().urlFor(EntryKey::day(d)), ec)}});
  }
  Q_EMIT changed();
}

void PeriodScreen::setOutcome(int slot, const QString& text) {
  const auto current = outcomes_.value(slot - 1).toMap().value("text").toString();
  if (current == text.trimmed()) return;
  TodayModel model(session_.store(), session_.clock(),
                   std::make_shared<FolderDayPageIndex>(session_.store().paths()));
  try {
    if (text.trimmed().isEmpty()) {
      model.clearOutcome(page_, slot);
    } else {
      model.setOutcome(page_, slot, text.trimmed().toStdString());
    }
    model.commit();
    error_.clear();
  } catch (const FileError& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
  } catch (const std::exception& e) {
    model.discard();
    error_ = QString::fromStdString(failureText(e, session_.store()));
  }
  read();
}

void PeriodScreen::toggleOutcome(int slot) {
  const QString state = outcomes_.value(slot - 1).toMap().value("state").toString();
  TodayModel model(session_.store(), session_.clock(),
                   std::make_shared<FolderDayPageIndex>(session_.store().paths()));
  try {
    model.setOutcomeState(page_, slot,
                          state == "done" ? OutcomeState::planned : OutcomeState::done);
    model.commit();
    error_.clear();
  } catch (const FileError& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
  } catch (const std::exception& e) {
    model.discard();
    error_ = QString::fromStdString(failureText(e, session_.store()));
  }
  read();
}

void PeriodScreen::setAnswer(const QString& key, const QString& answer) {
  try {
    editReflection(session_.store(), page_,
                   [&](Reflection& r) { r.set(key.toStdString(), answer.toStdString()); });
    session_.store().flush();
    error_.clear();
  } catch (const std::exception& e) {
    error_ = QString::fromStdString(failureText(e, session_.store()));
  }
  read();
}

}  // namespace trivo::app

// Words for dates, offers and failures as the window shows them.
#include "app/display_text.h"

#include <array>

#include "core/store/atomic_write.h"
#include "core/store/vault_store.h"

namespace trivo::app {

namespace {

constexpr std::array<const char*, 7> kWeekdays = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                  "Friday", "Saturday", "Sunday"};

}  // namespace

std::string longDayText(const DayDate& day) {
  return std::string(kWeekdays[static_cast<std::size_t>(weekdayIndex(day.weekday()))]) + " " +
         std::to_string(day.day) + " " + std::string(englishMonthName(day.month)) + " " +
         std::to_string(day.year);
}

std::string pageId(const EntryKey& key) {
  if (const auto* d = key.asDay()) return d->isoString();
  if (const auto* w = key.asWeek()) return w->id();
  if (const auto* m = key.asMonth()) return m->id();
  if (const auto* q = key.asQuarter()) return q->id();
  if (const auto* y = key.asYear()) return std::to_string(*y);
  return "inbox";
}

std::string shortDayText(const DayDate& day) {
  return std::string(kWeekdays[static_cast<std::size_t>(weekdayIndex(day.weekday()))], 3) + " " +
         std::to_string(day.day) + " " +
         std::string(englishMonthName(day.month).substr(0, 3));
}

std::string reflectionOfferText(const CadenceEngine::ReflectionOffer& offer) {
  using K = CadenceEngine::ReflectionOffer::Kind;
  switch (offer.kind) {
    case K::friday:
      return "Reflect on the week " + offer.periodText();
    case K::monthly:
      return "Reflect on the month " + offer.periodText();
    case K::quarterly:
      return "Reflect on the quarter " + offer.periodText();
    case K::yearly:
      return "Reflect on the year " + offer.periodText();
  }
  return offer.periodText();
}

namespace {

std::string fileOf(const EntryKey& key, const VaultStore& store) {
  return store.paths().urlFor(key).lexically_relative(store.vault().rootURL).generic_string();
}

std::string problemText(const ReadProblem& problem) {
  switch (problem.kind) {
    case ReadProblem::Kind::identity:
      return "it names " + problem.found + " instead of " + problem.expected;
    case ReadProblem::Kind::frontmatter:
      return "its header does not read" + (problem.detail.empty() ? "" : ": " + problem.detail);
    case ReadProblem::Kind::encoding:
      return "it is not UTF-8 text";
    case ReadProblem::Kind::unreadable:
      return problem.detail.empty() ? std::string("it cannot be opened") : problem.detail;
  }
  return problem.detail;
}

}  // namespace

std::string unreadableText(const PageReadError& error, const VaultStore& store) {
  return "The page " + fileOf(error.key(), store) + " cannot be read (" +
         problemText(error.problem()) +
         "), so it is shown read-only and nothing is written to it until the file is fixed.";
}

std::string failureText(const std::exception& error, const VaultStore& store) {
  if (const auto* v = dynamic_cast<const VaultError*>(&error)) {
    if (v->kind() == VaultError::Kind::changedOnDisk) {
      return "The page changed on disk while you were editing it; your text is kept, open "
             "Refused to keep either version or merge them.";
    }
    return v->what();
  }
  if (const auto* f = dynamic_cast<const FileError*>(&error)) {
    return "Could not write " + f->path().string() + " (" + f->reason() +
           "); your change is kept and written again with the next change.";
  }
  if (const auto* p = dynamic_cast<const PageReadError*>(&error)) return unreadableText(*p, store);
  std::string text = error.what();
  if (!text.empty() && text.back() != '.') text += '.';
  return text;
}

}  // namespace trivo::app

// Blank templates and read checks of pages through the serializer.
#include "core/store/serializer_codec.h"

#include "core/format/serializer_error.h"

namespace trivo {

std::shared_ptr<const SerializerCodec> SerializerCodec::forVault(const Vault& vault,
                                                                 YearMode yearMode) {
  return std::make_shared<const SerializerCodec>(
      MarkdownSerializer(yearMode, TextSyntax{vault.format}));
}

std::string SerializerCodec::blankText(const EntryKey& key) const {
  if (const auto* day = key.asDay()) {
    DayEntry entry;
    entry.date = *day;
    return serializer_.renderDay(entry);
  }
  if (const auto* week = key.asWeek()) {
    WeekEntry entry;
    entry.week = *week;
    entry.targetFriday = week->friday();
    return serializer_.renderWeek(entry);
  }
  if (const auto* month = key.asMonth()) {
    MonthEntry entry;
    entry.month = *month;
    return serializer_.renderMonth(entry);
  }
  if (const auto* quarter = key.asQuarter()) {
    QuarterEntry entry;
    entry.quarter = *quarter;
    return serializer_.renderQuarter(entry);
  }
  if (const auto* year = key.asYear()) {
    YearEntry entry;
    entry.year = *year;
    return serializer_.renderYear(entry);
  }
  return serializer_.renderInbox(Inbox{});
}

std::string SerializerCodec::rewrite(const EntryKey& key, std::string_view text) const {
  const auto& s = serializer_;
  if (const auto* day = key.asDay()) return s.renderDay(s.parseDay(text, *day));
  if (const auto* week = key.asWeek()) return s.renderWeek(s.parseWeek(text, *week));
  if (const auto* month = key.asMonth()) return s.renderMonth(s.parseMonth(text, *month));
  if (const auto* quarter = key.asQuarter()) {
    return s.renderQuarter(s.parseQuarter(text, *quarter));
  }
  if (const auto* year = key.asYear()) return s.renderYear(s.parseYear(text, *year));
  return s.renderInbox(s.parseInbox(text));
}

std::optional<ReadProblem> SerializerCodec::check(const EntryKey& key,
                                                  std::string_view text) const {
  try {
    if (const auto* day = key.asDay()) {
      (void)serializer_.parseDay(text, *day);
    } else if (const auto* week = key.asWeek()) {
      (void)serializer_.parseWeek(text, *week);
    } else if (const auto* month = key.asMonth()) {
      (void)serializer_.parseMonth(text, *month);
    } else if (const auto* quarter = key.asQuarter()) {
      (void)serializer_.parseQuarter(text, *quarter);
    } else if (const auto* year = key.asYear()) {
      (void)serializer_.parseYear(text, *year);
    } else {
      (void)serializer_.parseInbox(text);
    }
  } catch (const SerializerError& e) {
    if (e.kind() == SerializerError::Case::identityMismatch) {
      return ReadProblem::identity(e.expected(), e.found());
    }
    return ReadProblem::of(ReadProblem::Kind::frontmatter, e.what());
  }
  return std::nullopt;
}

}  // namespace trivo

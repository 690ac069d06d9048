// Turns the records of the period pages into page text and back, in Markdown or Org. Whatever a
// page holds that no grammar takes (front matter, stray lines, whole sections) is kept in the
// record's Passthrough and written back where it stood.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/day_date.h"
#include "core/calendar/periods.h"
#include "core/config/year_mode.h"
#include "core/format/section_reader.h"
#include "core/format/text_syntax.h"
#include "core/records/day_entry.h"
#include "core/records/inbox_item.h"
#include "core/records/period_entries.h"

namespace trivo {

// What every page serializer offers. The parse operations throw SerializerError: the page's
// front matter is malformed or names another period than the one asked for.
class VaultSerializer {
 public:
  virtual ~VaultSerializer() = default;
  [[nodiscard]] virtual std::string_view fileExtension() const = 0;
  [[nodiscard]] virtual DayEntry parseDay(std::string_view text, const DayDate& date) const = 0;
  [[nodiscard]] virtual std::string renderDay(const DayEntry& entry) const = 0;
  [[nodiscard]] virtual WeekEntry parseWeek(std::string_view text, const ISOWeek& week) const = 0;
  [[nodiscard]] virtual std::string renderWeek(const WeekEntry& entry) const = 0;
  [[nodiscard]] virtual MonthEntry parseMonth(std::string_view text,
                                              const YearMonth& month) const = 0;
  [[nodiscard]] virtual std::string renderMonth(const MonthEntry& entry) const = 0;
  [[nodiscard]] virtual QuarterEntry parseQuarter(std::string_view text,
                                                  const YearQuarter& quarter) const = 0;
  [[nodiscard]] virtual std::string renderQuarter(const QuarterEntry& entry) const = 0;
  [[nodiscard]] virtual YearEntry parseYear(std::string_view text, std::int64_t year) const = 0;
  [[nodiscard]] virtual std::string renderYear(const YearEntry& entry) const = 0;
  [[nodiscard]] virtual Inbox parseInbox(std::string_view text) const = 0;
  [[nodiscard]] virtual std::string renderInbox(const Inbox& inbox) const = 0;
  // One item as renderInbox writes it among the list items: its line and the lines under it.
  [[nodiscard]] virtual std::string renderInboxListItem(const InboxItem& item) const = 0;
};

// The serializer of both syntaxes, made once per vault; section headings come from the content
// bundle of the vault's language.
class MarkdownSerializer final : public VaultSerializer {
 public:
  MarkdownSerializer(YearMode yearMode, TextSyntax syntax);

  [[nodiscard]] std::string_view fileExtension() const override { return syntax_.fileExtension(); }
  [[nodiscard]] YearMode yearMode() const { return yearMode_; }
  [[nodiscard]] TextSyntax syntax() const { return syntax_; }

  [[nodiscard]] DayEntry parseDay(std::string_view text, const DayDate& date) const override;
  [[nodiscard]] std::string renderDay(const DayEntry& entry) const override;
  [[nodiscard]] WeekEntry parseWeek(std::string_view text, const ISOWeek& week) const override;
  [[nodiscard]] std::string renderWeek(const WeekEntry& entry) const override;
  [[nodiscard]] MonthEntry parseMonth(std::string_view text,
                                      const YearMonth& month) const override;
  [[nodiscard]] std::string renderMonth(const MonthEntry& entry) const override;
  [[nodiscard]] QuarterEntry parseQuarter(std::string_view text,
                                          const YearQuarter& quarter) const override;
  [[nodiscard]] std::string renderQuarter(const QuarterEntry& entry) const override;
  [[nodiscard]] YearEntry parseYear(std::string_view text, std::int64_t year) const override;
  [[nodiscard]] std::string renderYear(const YearEntry& entry) const override;
  // The inbox page is one list of items under its title; headings of the user's own follow it.
  [[nodiscard]] Inbox parseInbox(std::string_view text) const override;
  [[nodiscard]] std::string renderInbox(const Inbox& inbox) const override;
  [[nodiscard]] std::string renderInboxListItem(const InboxItem& item) const override;

  // The known sections of each page kind, in written order.
  [[nodiscard]] const std::vector<KnownSection>& dayKeys() const { return dayKeys_; }
  [[nodiscard]] const std::vector<KnownSection>& weekKeys() const { return weekKeys_; }
  [[nodiscard]] const std::vector<KnownSection>& fridayKeys() const { return fridayKeys_; }
  [[nodiscard]] const std::vector<KnownSection>& monthKeys() const { return monthKeys_; }
  [[nodiscard]] const std::vector<KnownSection>& quarterKeys() const { return quarterKeys_; }
  [[nodiscard]] const std::vector<KnownSection>& quarterGroupKeys() const {
    return quarterGroupKeys_;
  }
  [[nodiscard]] const std::vector<KnownSection>& yearKeys() const { return yearKeys_; }

 private:
  YearMode yearMode_;
  TextSyntax syntax_;
  std::vector<KnownSection> dayKeys_;
  std::vector<KnownSection> weekKeys_;
  std::vector<KnownSection> fridayKeys_;
  std::vector<KnownSection> monthKeys_;
  std::vector<KnownSection> quarterKeys_;
  std::vector<KnownSection> quarterGroupKeys_;
  std::vector<KnownSection> yearKeys_;
};

}  // namespace trivo
